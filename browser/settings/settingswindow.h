// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsdocument.h>

#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>

class QLabel;
class QLineEdit;
class QSettings;

namespace sito {

class NoticeBar;
class PendingPanel;
class SettingsActions;
class SettingsTree;

/// Shows a settings store as a tree and edits it: a window of its own, over any INI file or the store of the
/// application.
///
/// Changes are written at once or wait until they are submitted, as the user chooses; those that wait are
/// marked in the tree, listed below it, and each can be dismissed alone.
///
/// The file is a SettingsDocument: nothing in it is overwritten unseen, and what cannot be written goes on
/// waiting; one that was to be written at once stays in its editor. A message tells why, and what another
/// program wrote is told of and shown. Lines that cannot be read are named.
///
/// An editor that is open takes part in writing, closing and refreshing as if Enter had been pressed; a value
/// that was refused before is only written on Enter or by the command to write, and holds up the others.
class SettingsWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(QWidget *parent = nullptr);
    ~SettingsWindow() override;

    /// Shows the INI file \a fileName. False, with a message in the window and what was open still there,
    /// when it cannot be opened or the user keeps pending changes.
    bool openFile(const QString &fileName);
    /// Shows \a store, an INI store whose file may not exist yet. Fallbacks are switched off in it. As
    /// openFile() does, tells of a file that cannot be read and keeps what was open.
    void openStore(std::unique_ptr<QSettings> store);

    /// The file shown, or an empty text.
    QString fileName() const;

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    using Outcome = SettingsDocument::Outcome;

    void build();
    void buildActions();
    void buildSearch();
    void buildViews();
    void retranslate();
    void updateState();
    QString stateText() const;

    void open(std::unique_ptr<QSettings> store);
    bool mayClose();
    bool finishEditing(SettingsDelegate::Refused refused = SettingsDelegate::Refused::Keep);

    void chooseFile();
    void submit();
    void revert();
    void refresh();
    void removeSelected();
    QString removalDetails(const QList<QPersistentModelIndex> &rows) const;
    void applySearch();
    void chooseImmediate();
    void showEntry(const QString &path);
    void dismiss(int row);

    bool trySubmit();
    void wrote(const Outcome &outcome);
    void showOutcome(const Outcome &outcome);
    void showOutcomeAfterEditing(Outcome outcome);
    void tell(const Outcome &outcome, const QString &pendingText = {});
    void tellOfProblem(const QString &problem);
    void tellOfChange();
    void editingEnded();
    void setManual(bool manual);
    void reload();
    bool mayDropChanges();
    QString readAgain(SettingsChanges::Grown groups);

    SettingsDocument m_document;
    std::optional<Outcome> m_postponed; ///< to be shown when no editor is open any more
    QTimer m_searchTimer;

    SettingsActions *m_actions = nullptr;
    NoticeBar *m_stateBar = nullptr;
    NoticeBar *m_noticeBar = nullptr;
    QLineEdit *m_searchLine = nullptr;
    SettingsTree *m_tree = nullptr;
    PendingPanel *m_panel = nullptr;
    QLabel *m_status = nullptr;
};

} // namespace sito
