// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsoutcome.h>

#include <QFileSystemWatcher>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <memory>

namespace sito {

class SettingsDocumentFile;
class SettingsDocumentModel;

/// One INI file being edited: a model of what it holds, the changes that wait, and the writing.
///
/// Changes are made in model(). They are written at once or wait for submit(), see setManual(). Nothing else
/// may write to the store. Do not call the model's own submitAll(), revertAll() and refresh().
///
/// **Writing**
/// - A write changes the lines of changed entries and leaves every other byte of the file as it is. It
///   applies all changes to what the file holds then, or none. QSettings stores over the file read it again.
///   Values keep the types that the store knew, as far as that changes no byte.
/// - What is in the file for the first time or from another program is copied to "FILE.bak-YYYYMMDD-hhmmss"
///   beside it before it is overwritten.
/// - A write that would replace what another program wrote meanwhile is refused once. After reload() or
///   acceptConflict(), the next write replaces it.
/// - An edit whose entry another program removed stays pending: a write creates the entry again, unless a
///   group or a key has taken its place.
/// - Nothing is written, and the changes stay pending, when no copy can be made, and when the file is no
///   longer an INI file, is marked as read-only or is locked by another program.
///
/// **When the file is gone or unreadable**, the model keeps what it held, and all changes stay pending. A
/// file that is gone is created again by submit(), with everything that the model knows of it.
///
/// Texts for people have no full stop.
///
/// **Threads.** Used from one thread.
///
/// **Cost.** Every write, and every reload(), reads and splits the whole file; a write also writes all of it.
class HOSTKIT_EXPORT SettingsDocument : public QObject
{
    Q_OBJECT

public:
    using Outcome = SettingsOutcome;

    explicit SettingsDocument(QObject *parent = nullptr);
    ~SettingsDocument() override;

    /// Replaces what was open, and drops its pending changes. \a store is an INI store without a current
    /// group. Its file may not exist yet. Fallbacks are switched off in it. The caller checks with
    /// IniFile::problem() that the file can be read.
    void open(std::unique_ptr<QSettings> store);

    /// The model of the store; null before open(). It may be replaced, see modelReplaced().
    SettingsModel *model() const;
    /// The store; null before open(). It lives until the next open().
    const QSettings *store() const;
    /// The changes that wait; of model(), as long as this object.
    SettingsChanges &changes() { return m_changes; }
    /// As above.
    const SettingsChanges &changes() const { return m_changes; }
    /// The name of the file; empty before open().
    QString fileName() const;

    /// Whether changes wait for submit(). True after open().
    bool isManual() const;
    /// Sets whether changes wait. Write or drop those that wait before. While the store is ambiguous, changes
    /// are written at once whatever was set; what was set holds again afterwards.
    void setManual(bool manual);
    /// Whether the file must not be written, see IniFile::isReadOnly().
    bool isReadOnly() const;
    /// Whether groups or keys have no name, or names are both group and key. A merge or a submit would
    /// confuse them.
    bool isAmbiguous() const;
    /// IniFile::unreadableText() of the file as it was last read.
    QString unreadableText() const;

    // The file as it is now.

    /// Whether the file existed and was deleted.
    bool isGone() const;
    /// Why the file cannot be read; empty when it can, and for a file that never existed.
    QString problem() const;
    /// Whether the file can be read and differs from what was last read or written.
    bool isOutdated() const;
    /// Whether the file has become ambiguous since it was read.
    bool becameAmbiguous() const;
    /// Whether reload() would keep the row of the key \a path.
    bool keepsRow(const QString &path) const;

    /// The outcome to show when the file was found changed without a write.
    static Outcome foundChanged();
    /// Writes what waits. Creates a file that is gone again.
    Outcome submit();
    /// Drops what waits. Returns false, with nothing changed, when the file cannot be read.
    bool revert();
    /// Reads the file again. Pending changes stay pending, see SettingsChanges::refresh() and pendingText().
    /// Returns false when the file cannot be read. Where names are ambiguous or were, model() is replaced,
    /// and all pending changes are dropped.
    bool reload(SettingsChanges::Grown groups = SettingsChanges::Grown::Drop);
    /// Call this when the user was told that the file holds \a found for \a path, but reload() has to wait.
    void acceptConflict(const QString &path, const QVariant &found);
    /// Names, for people, the pending changes whose entries the last reload() or SettingsChanges::dismiss()
    /// found gone, and those that it dropped. Empty when there are none.
    QString pendingText() const;

    /// Checks the file soon. For file systems that do not report changes.
    void lookSoon() { m_watchTimer.start(); }

Q_SIGNALS:
    /// Emitted when model() was replaced. The old model is deleted after the slots have returned.
    void modelReplaced();
    /// Emitted after a change was written at once, or refused. The model applies a change after this signal,
    /// and only if it was written.
    void wrote(const sito::SettingsDocument::Outcome &outcome);
    /// Emitted when another program has written or removed the file.
    void fileChanged();

private:
    void takeModel();
    void watch();
    void look();

    std::unique_ptr<SettingsDocumentFile> m_file;
    std::unique_ptr<SettingsDocumentModel> m_model;
    SettingsChanges m_changes;
    bool m_manual = true; ///< what was set; an ambiguous store overrides it
    QFileSystemWatcher m_watcher;
    QTimer m_watchTimer;
};

} // namespace sito
