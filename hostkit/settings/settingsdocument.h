// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/settings/settingschanges.h>

#include <QFileSystemWatcher>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <memory>

namespace sito {

class IniFile;
class SettingsDocumentModel;

/// One INI file being edited: a model of what it holds, the changes that wait, and the only one who writes
/// it.
///
/// Changes are made in model(). They are written at once or wait for submit(), see setManual(). No one else
/// may write to the store, and the model's own submitAll(), revertAll() and refresh() are not called.
///
/// **Writing**
/// - A write changes the lines of changed entries and leaves every other byte of the file as it is; it brings
///   all changes into what the file holds then, or none. QSettings stores over the file read it anew, and
///   values keep the types which the store knew as far as that changes no byte.
/// - What is in the file for the first time or from another program is copied to "FILE.bak-YYYYMMDD-hhmmss"
///   beside it before it is overwritten.
/// - A write that would replace what another program wrote meanwhile is refused once; when reload() has shown
///   that, or acceptConflict() was called, the next one replaces it.
/// - An edit whose entry another program removed goes on waiting as well: a write creates the entry again,
///   unless a group or a key has taken its place.
/// - Without a copy, and where the file is no INI file any more, marked as read-only or held by another
///   program, nothing is written, and the changes go on waiting.
///
/// **When the file is gone or spoilt**, the model keeps what it held and all changes go on waiting. A file
/// that is gone is written anew, with all that the model knows of it, by submit().
///
/// Texts for people have no full stop. Everything happens in one thread.
class HOSTKIT_EXPORT SettingsDocument : public QObject
{
    Q_OBJECT

public:
    /// What came of a write.
    struct Outcome
    {
        bool written = false;
        bool refused = false;
        /// The file was not what the model holds: reload() has to follow.
        bool outdated = false;
        /// Refused only since another program wrote the same entries.
        bool conflict = false;
        QString message = {}; ///< for people; empty when there is nothing to be said
        QVariant found = {};  ///< with a conflict over a single edit: what the file holds
    };

    explicit SettingsDocument(QObject *parent = nullptr);
    ~SettingsDocument() override;

    /// Takes the place of what was open, pending changes included. \a store is an INI store without a current
    /// group, whose file may not exist yet; fallbacks are switched off in it. Whether the file is one that
    /// can be read is for the caller to see, by IniFile::problem().
    void open(std::unique_ptr<QSettings> store);

    /// The model of the store; null before open(). Others take its place, see modelReplaced().
    SettingsModel *model() const;
    /// The store; null before open(). It lives until the next open().
    const QSettings *store() const { return m_store.get(); }
    SettingsChanges &changes() { return m_changes; }
    const SettingsChanges &changes() const { return m_changes; }
    /// Of the file, or an empty text.
    QString fileName() const;

    /// Whether changes wait for submit(); they do at first.
    bool isManual() const;
    /// Whether changes are to wait. Those that wait are for the caller to write or drop before. An ambiguous
    /// store goes on writing at once; the wish holds from when it is none any more.
    void setManual(bool manual);
    bool isReadOnly() const;
    /// Whether groups or keys have no name, or names are group and key at once: a merge or a submit would mix
    /// them up.
    bool isAmbiguous() const { return m_ambiguous; }
    /// IniFile::unreadableText() of the file as it was last read.
    const QString &unreadableText() const { return m_unreadable; }

    // The file as it is now.

    /// Whether the file was there, and is not any more.
    bool isGone() const;
    /// Why the file cannot be read; empty when it can, and for a file that is still to come.
    QString problem() const;
    /// Whether the file is one that can be read and not what was last read or written.
    bool isOutdated() const;
    /// Whether the file has become ambiguous since it was read.
    bool becameAmbiguous() const;
    /// Whether reload() would leave the row of the key \a path where it is.
    bool keepsRow(const QString &path) const;

    /// What to tell when the file was found changed, though nothing was to be written.
    static Outcome foundChanged();
    /// Writes what waits, and a file that is gone.
    Outcome submit();
    /// Drops what waits. False, with nothing changed, when the file cannot be read.
    bool revert();
    /// Reads the file again. Pending changes stay pending, see SettingsChanges::refresh() and pendingText().
    /// Returns false when the file cannot be read. Where names are ambiguous or were, model() is replaced,
    /// and all pending changes are dropped.
    bool reload(SettingsChanges::Grown groups = SettingsChanges::Grown::Drop);
    /// The user was told that the file holds \a found for \a path, though reload() has to wait.
    void acceptConflict(const QString &path, const QVariant &found);
    /// What has become of pending changes by the last reload() or SettingsChanges::dismiss(): those whose
    /// entries are gone, and those that were dropped. Empty when there are none.
    QString pendingText() const;

    /// Looks at the file soon, where no notice of its changes may have come.
    void lookSoon() { m_watchTimer.start(); }

Q_SIGNALS:
    /// model() is another one. The one before it is there until the slots have ended.
    void modelReplaced();
    /// A change was to be written at once. The model makes a change that was written after this, and no
    /// other.
    void wrote(const sito::SettingsDocument::Outcome &outcome);
    /// Another program has written the file, or it is gone.
    void fileChanged();

private:
    void takeModel();
    void takeFile();
    void watch();
    void look();
    bool writeAtOnce(const QList<SettingsChange> &wanted);
    Outcome write(const QList<SettingsChange> &wanted);
    QStringList conflicts(const IniFile &file, const QList<SettingsChange> &wanted) const;
    Outcome conflictOutcome(const IniFile &file, const QList<SettingsChange> &wanted,
                            const QStringList &paths) const;
    QList<SettingsChange> allKnown() const;
    void readAgain(const QList<SettingsChange> &written, const QByteArray &content);

    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<SettingsDocumentModel> m_model;
    SettingsChanges m_changes;
    bool m_manual = true; ///< the choice, where no other one is forced
    bool m_ambiguous = false;
    bool m_stale = false; ///< something in the model is older than what was seen
    QByteArray m_seen;    ///< the fingerprint of what was last read or written
    QByteArray m_content; ///< the same itself, also after the file has gone
    QByteArray m_safe;    ///< the fingerprint that needs no copy: of what was copied or written here
    QString m_unreadable;
    QHash<QString, QVariant> m_accepted;
    QFileSystemWatcher m_watcher;
    QTimer m_watchTimer;
};

} // namespace sito
