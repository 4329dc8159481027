// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/commandline.h>

#include <hostkit/views/filterstorage.h>
#include <sources/sourceconnection.h>
#include <sources/sourcelocation.h>

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

class Filter;
class QActionGroup;
class QLabel;
class QMenu;
class QProgressBar;
class QSettings;
class QStackedWidget;
class QToolButton;

namespace sito {

class FilterPanel;
class Languages;
class MessageBar;
class SampleDatabase;
class SettingsWindow;
class TableList;
class TablePage;

/// What to show once a source is open.
struct ShowRequest
{
    /// Empty: the table that was shown last, or else the first one.
    QString table = {};
    /// Filters in the place of those that were kept for the table, unless one of them is wrong. They are for this
    /// time: what was kept stays so until the user changes the filters.
    QList<KeyOption> keyOptions = {};
    QStringList sessionColumns = {};

    bool hasFilters() const { return !keyOptions.isEmpty() || !sessionColumns.isEmpty(); }
};

/// The browser's window: the tables of a source at the left, the rows of one in the middle, the filters over
/// them at the right.
///
/// Sources are opened and loaded in the background; what was open stays until the new source is there, and
/// stays for good when it does not come. What goes wrong is told in the message bar.
///
/// The filters, the columns and the sorting of every table are kept in the store, as are the window's own
/// shape, the recent sources, the language and the look.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// Neither \a store nor \a languages is owned; both must outlive the window. Opens nothing.
    MainWindow(QSettings &store, Languages &languages, QWidget *parent = nullptr);
    ~MainWindow() override;

    void open(const SourceLocation &location, const ShowRequest &request = {});
    void openSample(const ShowRequest &request = {});
    /// Opens a file or an address, as \a text says.
    void openText(const QString &text, const ShowRequest &request = {});
    /// Shows the table \a name of the source, loading it if it is not loaded yet; refuses with a message to load
    /// while another source is being opened.
    void showTable(const QString &name, const ShowRequest &request = {});

    /// The page that is shown; null when there is none.
    TablePage *page() const;
    FilterPanel *panel() const { return m_panel; }
    MessageBar *messageBar() const { return m_messages; }
    /// Whether nothing is being opened, loaded or filtered.
    bool isSettled() const;

    /// Writes the shown rows in the shown order to \a fileName. Runs events; a source that is opened meanwhile
    /// is shown when all is written. Refused with a message while a source is being opened.
    void exportTo(const QString &fileName, bool withHeaders);
    /// Puts the selected cells on the clipboard, likewise.
    void copySelection(bool withHeaders);
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
    /// An open() or load() that is under way.
    struct Operation
    {
        bool isOpen = false;
        bool isSample = false;
        /// A load whose end shows a table.
        bool showsTable = false;
        /// Which one it is; empty once the load is cancelled.
        QString table;
        std::unique_ptr<SampleDatabase> sample;
        ShowRequest request;
        /// A load of the table "sessions" for what waits for it.
        bool isForWaiting = false;
        /// After a load.
        std::function<void()> then;
        /// After a load that failed, with the reason; it reports it or tries something else.
        std::function<void(const QString &error)> otherwise;
    };
    /// What is done with a page once the table "sessions" is loaded.
    struct Waiting
    {
        QPointer<TablePage> page;
        /// Whether it is to switch the filter of the sessions on.
        bool isSwitch = false;
        std::function<void()> work;
    };

    void makeActions();
    void makeMenus();
    void makeToolBar();
    void makeDocks();
    void makeStatusBar();
    void retranslate();

    void begin(Operation operation, const std::function<void()> &start, const QString &activity);
    Operation takeOperation();
    /// Cancels the operation that began last.
    void cancelOperation();
    void onOpened(const QList<SourceConnection::TableInfo> &tables);
    void onLoaded(const QStringList &tables);
    void onFailed(const QString &message);
    void onCancelled();
    bool isOpeningSource() const;
    /// Loads the table \a name, with \a wanted, and shows it.
    void loadTable(const QString &name, const QStringList &wanted, const ShowRequest &request,
                   const QString &earlierError = QString());
    /// Calls \a work, which answers an operation, once no rows are on their way out.
    void whenPagesMayGo(const std::function<void()> &work);
    void exportRows(const std::function<void()> &work);
    void closePages();
    void makePage(const QString &name, const ShowRequest &request);
    void setPage(TablePage *page);
    /// Whether the filters of \a request have taken the place of those of \a page; all or none.
    bool applyRequest(TablePage &page, const ShowRequest &request);
    void restoreFilters(TablePage &page);

    bool hasSessionsTable() const;
    /// Calls \a work, which is about \a page, as soon as the table "sessions" is loaded, which happens after what
    /// is under way. If it cannot be loaded, only for what is no switch; not at all if its load is interrupted or
    /// another source is opened.
    void withSessions(TablePage &page, bool isSwitch, const std::function<void()> &work);
    /// Goes on with what waits for the table "sessions", unless something is under way.
    void serveWaiting();
    void stopWaiting();
    /// Does all that waits for the table "sessions".
    void finishWaiting();
    /// Whether the filter of \a page will be switched on.
    bool isSessionFilterAwaited(const TablePage *page) const;
    void interrupt();
    void switchSessions(bool on);
    void editFilter(Filter *filter, QWidget *button);
    void askSetName();
    void saveSet(TablePage &page, const QString &name);
    void restoreSet(const QString &name);
    void deleteSet(const QString &name);

    static QString keyOf(const SourceLocation &location);
    QString viewKey(const QString &table) const;
    QString viewGroup(const QString &table) const;
    void saveView(TablePage &page);
    void saveFilters();
    /// Notes in the store whether filters that are kept for \a table read the table "sessions".
    void saveNeedOfSessions(const QString &table);
    void addRecent(const SourceLocation &location);
    void fillRecentMenu();
    void fillColumnsMenu();

    void askFile();
    /// Asks for a server, beginning with \a location if it has a driver.
    void askServer(const SourceLocation &location = {});
    void askExportFile();
    void askOldRows(const std::function<void()> &write);
    void askSettingsFile();
    void showAbout();
    void report(const QString &message);
    void guarded(const std::function<void()> &work);

    void showActivity(const QString &text);
    void updateEmptyText();
    void updateActions();
    void updateStatus();
    void updateTitle();
    void checkSettled();

    QSettings &m_store;
    Languages &m_languages;
    FilterStorage m_storage;
    SourceConnection *m_connection;
    QList<std::shared_ptr<Operation>> m_operations;
    /// While there are any, something is under way.
    QList<Waiting> m_waiting;
    /// Whether rows of the page are on their way out; its table must stay.
    int m_exports = 0;
    /// Answers to operations that came meanwhile, in order.
    QList<std::function<void()>> m_answers;
    /// When it is what is open.
    std::unique_ptr<SampleDatabase> m_sample;
    /// Tells sources apart in the store; that of the source whose pages are shown.
    QString m_sourceKey;
    QHash<QString, TablePage *> m_pages;
    QPointer<TablePage> m_page;
    QPointer<SettingsWindow> m_settingsWindow;
    QTimer m_saveTimer;
    QPointer<TablePage> m_unsaved;
    bool m_restoring = false;
    bool m_wasSettled = true;
    bool m_isNewSource = false;

    MessageBar *m_messages;
    QStackedWidget *m_stack;
    QWidget *m_empty = nullptr;
    QLabel *m_emptyText = nullptr;
    TableList *m_tableList = nullptr;
    FilterPanel *m_panel = nullptr;
    QDockWidget *m_tablesDock = nullptr;
    QDockWidget *m_filtersDock = nullptr;
    QToolBar *m_toolBar = nullptr;
    QLabel *m_activity = nullptr;
    QProgressBar *m_progress = nullptr;
    QToolButton *m_cancel = nullptr;
    QLabel *m_rowsLabel = nullptr;
    QLabel *m_timeLabel = nullptr;

    QMenu *m_fileMenu = nullptr;
    QMenu *m_recentMenu = nullptr;
    QMenu *m_editMenu = nullptr;
    QMenu *m_viewMenu = nullptr;
    QMenu *m_columnsMenu = nullptr;
    QMenu *m_sortMenu = nullptr;
    QMenu *m_lookMenu = nullptr;
    QMenu *m_languageMenu = nullptr;
    QMenu *m_goMenu = nullptr;
    QMenu *m_filtersMenu = nullptr;
    QMenu *m_settingsMenu = nullptr;
    QMenu *m_helpMenu = nullptr;
    QActionGroup *m_lookGroup = nullptr;
    QActionGroup *m_languageGroup = nullptr;

    struct Actions
    {
        QAction *openFile, *openServer, *openSample, *exportCsv, *quit;
        QAction *copy, *copyWithHeaders, *selectAll;
        QAction *sortAscending, *sortDescending, *unsort, *resizeColumns, *moveLeft, *moveRight;
        QAction *goTables, *goRows, *goFilters;
        QAction *columnFilter, *hideValues, *showOnly, *sessions, *clearFilters;
        QAction *settings, *settingsFile, *about, *aboutQt;
    } m_actions{};
};

} // namespace sito
