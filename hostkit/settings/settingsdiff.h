// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/settings/settingschange.h>

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace sito {

/// Finds the changes that were made in a copy of a store, and tells them from changes that other programs
/// made in the store meanwhile.
///
/// It compares three things: what the copy holds, what the store holds, and what the store was last known to
/// hold. An edit is a value that was put into the copy and differs from the store's in type or value. A
/// removal is an entry that was removed from the copy while the store has it. An edit back to the old value
/// is no change, and neither is what another program wrote. Independent of models and files.
///
/// **Threads.** Used from one thread at a time.
///
/// **Cost.** changes() grows with the entries, and with the square of the removals that wait; isEdit() takes
/// constant time.
class HOSTKIT_EXPORT SettingsDiff
{
public:
    /// By path.
    using Values = QHash<QString, QVariant>;

    /// An entry of the copy.
    struct Entry
    {
        QString path;
        bool group = false;
        QVariant value; ///< none for groups
    };

    /// What the store was last known to hold. Groups have invalid values.
    const Values &known() const { return m_known; }
    /// The store holds \a value for \a path.
    void know(const QString &path, const QVariant &value) { m_known.insert(path, value); }
    /// Nothing is known of the store any more.
    void forgetKnown() { m_known.clear(); }

    /// An entry was removed from the copy with everything below it.
    void noteRemoval(const QString &path, bool isGroup);
    /// Takes back one noteRemoval().
    void forgetRemoval(const QString &path, bool isGroup);
    /// Takes back every noteRemoval().
    void forgetRemovals() { m_removals.clear(); }

    /// The entry of \a edit has gone from the copy because it has gone from the store. The edit stays a
    /// change, marked SettingsChange::gone, until the copy has the entry again or a group around it is
    /// removed.
    void noteGone(const SettingsChange &edit);
    /// Takes back one noteGone().
    void forgetGone(const QString &path);
    /// Takes back every noteGone().
    void forgetAllGone() { m_gone.clear(); }

    /// Whether the value \a now was put into the copy while the store holds \a stored. If both are the same,
    /// it is known from now on.
    bool isEdit(const QString &path, const QVariant &now, const QVariant &stored);
    /// Returns edits in the order of \a entries, which are all of the copy, then edits of entries that are
    /// gone, then removals in the order in which they were made. Forgets removals whose entries are back in
    /// the copy or gone from the store. Nothing is gone from a store that could not be read; \a isReadable is
    /// asked for that when it matters.
    QList<SettingsChange> changes(const QList<Entry> &entries, const Values &stored,
                                  const std::function<bool()> &isReadable);
    /// The paths of the groups whose removal among \a changes would remove what was not known when they were
    /// made.
    QStringList grownGroups(const QList<SettingsChange> &changes, const Values &stored) const;

    /// The group around the entry \a path; empty at the top.
    static QString groupOf(const QString &path);
    /// All groups around the entries \a paths.
    static QSet<QString> groupsOf(const QStringList &paths);

private:
    void forgetVanished(const Values &stored, const std::function<bool()> &isReadable);

    Values m_known;
    QList<SettingsChange> m_gone;
    QList<SettingsChange> m_removals;
};

} // namespace sito
