// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/showrequest.h>

#include <sources/sourcelocation.h>

#include <QMainWindow>

#include <functional>

class QSettings;

namespace sito {

class ExportCommands;
class FilterCommands;
class FilterPanel;
class KeptViews;
class Languages;
class MessageBar;
class PageActions;
class RecentMenu;
class RefreshCommands;
class SettingsCommands;
class SettingsWindow;
class SideDocks;
class SourceCommands;
class TableList;
class TablePage;
class TablePages;
class WindowActions;
class WindowStatus;
class Workspace;

/// The browser's window: the tables of a source at the left, the rows of one in the middle, the filters over
/// them at the right. It puts together what others do: the Workspace opens and loads, KeptViews keeps,
/// TablePages shows the rows, the commands and actions do what the user asks for.
///
/// What goes wrong is told in the message bar. The filters, the columns and the sorting of every table are
/// kept in the store, as are the window's own shape, the recent sources, the language and the look.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// Neither \a store nor \a languages is owned; both must outlive the window. Opens nothing.
    MainWindow(QSettings &store, Languages &languages, QWidget *parent = nullptr);
    ~MainWindow() override;

    /// What is open stays until the new source is there, and stays for good when it does not come.
    void open(const SourceLocation &location, const ShowRequest &request = {});
    void openSample(const ShowRequest &request = {});
    /// Opens a file or an address, as \a text says.
    void openText(const QString &text, const ShowRequest &request = {});
    /// Shows the table \a name of the source, loading it if it is not loaded yet; refuses with a message to
    /// load while another source is being opened.
    void showTable(const QString &name, const ShowRequest &request = {});

    /// The page that is shown; null when there is none.
    TablePage *page() const;
    FilterPanel *panel() const { return m_panel; }
    MessageBar *messageBar() const { return m_messages; }
    /// Whether nothing is being opened, loaded, filtered, written or copied.
    bool isSettled() const;
    /// See Workspace::areRowsCounted().
    bool areRowsCounted() const;

    /// Begins to write the rows that are shown now, in the shown order, to \a fileName; whatever becomes of
    /// the page meanwhile, they are written. Refused with a message while a source is being opened and while
    /// another file is being written.
    void exportTo(const QString &fileName, bool withHeaders);
    /// Begins to copy the selected cells; the clipboard has them when all are read. Refused with a message
    /// while a source is being opened.
    void copySelection(bool withHeaders);
    /// Brings the table that is shown up to date.
    void refresh();
    /// Opens the window of the browser's own settings, or that of \a fileName.
    SettingsWindow *showSettings(const QString &fileName = QString());

Q_SIGNALS:
    /// isSettled() has become true.
    void settled();

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void makeCentre();
    void connectActions();
    void connectCommands();
    void connectWorkspace();
    void retranslate();

    void onOpened(const ShowRequest &request);
    void onTableLoaded(const QString &name, const ShowRequest &request);
    void tellNotes(const QString &table);
    void onShown(TablePage *page);
    void interrupt();

    void report(const QString &message);
    void tell(const QString &message, int milliseconds = 5000);
    void guarded(const std::function<void()> &work);

    QString tableName() const;
    /// Brings everything that shows a state up to date.
    void updateState();
    void updateRest();
    void updateAsOf();
    void updateActivity();
    void updateActions();
    void updateEmptyText();
    void updateTitle();
    void checkSettled();

    QSettings &m_store;
    Workspace *m_workspace;
    KeptViews *m_views;
    PageActions *m_pageActions;
    RecentMenu *m_recentMenu;
    SourceCommands *m_sources;
    SettingsCommands *m_settings;
    ExportCommands *m_exports;
    WindowStatus *m_status;
    MessageBar *m_messages;
    TablePages *m_pages;
    TableList *m_tableList;
    RefreshCommands *m_refresh;
    FilterPanel *m_panel;
    FilterCommands *m_filterCommands;
    SideDocks *m_docks;
    WindowActions *m_actions;
    /// How much of the table is loaded, in thousandths; -1 when that is not known.
    int m_loaded = -1;
    bool m_wasSettled = true;
};

} // namespace sito
