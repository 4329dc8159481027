// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <memory>

class QSettings;
class SettingsWindowPrivate;

/// Shows a settings store as a tree and edits it: a window of its own, over any INI file or the store of the
/// application.
///
/// Changes are written at once or wait until they are submitted, as the user chooses; those that wait are marked
/// in the tree, listed below it, and each can be dismissed alone. Before the first write the file is copied to
/// "FILE.bak-YYYYMMDD-hhmmss" beside it; when that fails, nothing is written and a message tells why. What
/// another program writes meanwhile is told of, never overwritten unseen.
class SettingsWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(QWidget *parent = nullptr);
    ~SettingsWindow() override;

    /// Shows the INI file \a fileName. False, with a message in the window and what was open still there, when
    /// it cannot be opened or the user keeps pending changes.
    bool openFile(const QString &fileName);
    /// Shows \a store, an INI store whose file may not exist yet. Fallbacks are switched off in it.
    void openStore(std::unique_ptr<QSettings> store);

    /// The file shown, or an empty text.
    QString fileName() const;

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    friend class SettingsWindowPrivate;
    const std::unique_ptr<SettingsWindowPrivate> d;
};
