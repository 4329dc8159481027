// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <memory>

class QSettings;

namespace sito {

class SettingsWindowPrivate;

/// Shows a settings store as a tree and edits it: a window of its own, over any INI file or the store of the
/// application.
///
/// Changes are written at once or wait until they are submitted, as the user chooses; those that wait are marked
/// in the tree, listed below it, and each can be dismissed alone.
///
/// **The file**
/// - What is in it for the first time or from another program is copied to "FILE.bak-YYYYMMDD-hhmmss" beside
///   it before it is overwritten.
/// - A write brings the changes into what the file holds then, all of them or none. Where it cannot or must not
///   be (no copy, no INI file any more, marked as read-only, held by another program), nothing is
///   written, a message tells why, and the changes go on waiting; one that was to be written at once stays in
///   its editor.
/// - What another program writes meanwhile is told of, never overwritten unseen: a write that would replace
///   such a value is refused once, and the value shown.
/// - Values that QSettings cannot read, such as those of another program's types, stay in the file as they are.
/// - The types of values are those of the INI form when the file is opened: numbers and choices are texts, and
///   so is a list of one item; an empty list is no value. A write of such a list tells so.
/// - When it is gone or spoilt, what it held stays in the tree and all changes go on waiting. A file that is
///   gone is written anew, with all that the tree knows of it, by a write on command.
///
/// An editor that is open takes part in writing, closing and refreshing as if Enter had been pressed; a value
/// that was refused before is only written on Enter or by the command to write, and holds up the others.
class SettingsWindow : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWindow(QWidget *parent = nullptr);
    ~SettingsWindow() override;

    /// Shows the INI file \a fileName. False, with a message in the window and what was open still there, when
    /// it cannot be opened or the user keeps pending changes.
    bool openFile(const QString &fileName);
    /// Shows \a store, an INI store whose file may not exist yet. Fallbacks are switched off in it. As openFile()
    /// does, tells of a file that cannot be read and keeps what was open.
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

} // namespace sito
