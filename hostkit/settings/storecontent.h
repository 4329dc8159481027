// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QHash>
#include <QSet>
#include <QString>
#include <QVariant>

class QSettings;

namespace sito {

/// What a settings store holds, and the state of its file: all that SettingsChanges asks of a store. Does not
/// own the store and does not write to it.
///
/// QSettings keeps what it read in memory: values and paths are those, until readAgain() reads the file. Keys
/// are those below the store's current group.
///
/// **Threads.** Used from one thread, that of the store.
///
/// **Cost.** values() and paths() look at all keys, state() reads a file that exists.
class HOSTKIT_EXPORT StoreContent
{
public:
    /// What can be said of the file, see state().
    enum class State {
        Readable,  ///< also a store whose file never existed
        Missing,   ///< the file existed and was deleted
        Unreadable ///< the file cannot be opened or is not of the store's format
    };

    /// Paths of keys and of the groups around them.
    struct Paths
    {
        QSet<QString> keys;
        QSet<QString> groups;

        /// Whether there is such a key, or such a group.
        bool contains(const QString &path, bool isGroup) const
        {
            return (isGroup ? groups : keys).contains(path);
        }
    };

    /// Of nothing when \a store is null: empty and `Readable`.
    explicit StoreContent(QSettings *store = nullptr);

    /// The store; null for none.
    QSettings *store() const { return m_store; }
    /// Whether the store has a current group, as it has while a SettingsModel merges it.
    bool hasCurrentGroup() const;
    /// The value of the key \a path, or \a absent when there is no such key.
    QVariant value(const QString &path, const QVariant &absent = QVariant()) const;
    /// The values of all keys, by path.
    QHash<QString, QVariant> values() const;
    /// The paths of all keys and groups.
    Paths paths() const;

    /// The state of the file now. Does not change what the store holds. A file is `Missing` if noteFile() has
    /// seen it.
    State state() const;
    /// Remembers that the file exists, if it does.
    void noteFile();
    /// Lets the store read its file again, see QSettings::sync().
    void readAgain();

private:
    QSettings *m_store;
    bool m_hadFile = false;
};

} // namespace sito
