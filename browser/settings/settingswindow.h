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
/// The file is edited by a SettingsDocument: what another program wrote is never overwritten before the user
/// has seen it. A change that cannot be written stays pending; one that was to be written at once stays in
/// its editor. A message tells why. Changes by other programs are shown, with a message. Lines that cannot
/// be read are named.
///
/// Writing, closing and refreshing finish an open editor first, as if Enter had been pressed. A value that
/// was refused is tried again only on Enter or by the command to write; until then, nothing else is written.
class SettingsWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(QWidget *parent = nullptr);
    ~SettingsWindow() override;

    /// Shows the INI file \a fileName. If it cannot be opened, or the user decides to keep pending changes,
    /// returns false, tells why in the window and keeps what was open.
    bool openFile(const QString &fileName);
    /// Shows \a store, an INI store whose file may not exist yet. Fallbacks are switched off in it. As
    /// openFile() does, keeps what was open when the file cannot be read, and tells why.
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
    std::optional<Outcome> m_postponed; ///< is shown after the editor is closed
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
