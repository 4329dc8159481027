// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdiff.h>

#include <hostkit/settings/settingsvalue.h>

#include <algorithm>

namespace sito {

namespace {

/// Whether \a read is \a known, or what is read from a file that holds \a known as a text.
bool isKnown(const QVariant &read, const QVariant &known)
{
    const bool isList = known.typeId() == QMetaType::QStringList || known.typeId() == QMetaType::QVariantList;
    const QVariantList items = isList ? known.toList() : QVariantList{known};
    if (isSameSettingsValue(read, known) || (!read.isValid() && items.isEmpty()))
        return true;
    return read.typeId() == QMetaType::QString && items.size() == 1 &&
           read.toString() == items.first().toString();
}

} // namespace

QString SettingsDiff::groupOf(const QString &path)
{
    return path.left(std::max<qsizetype>(path.lastIndexOf(u'/'), 0));
}

QSet<QString> SettingsDiff::groupsOf(const QStringList &paths)
{
    QSet<QString> groups;
    for (const QString &path : paths) {
        QString group = groupOf(path);
        for (; !group.isEmpty() && !groups.contains(group); group = groupOf(group))
            groups.insert(group);
    }
    return groups;
}

void SettingsDiff::noteRemoval(const QString &path, bool isGroup)
{
    SettingsChange change;
    change.path = path;
    change.removal = true;
    change.group = isGroup;
    m_removals.append(change);
    m_gone.removeIf([&](const SettingsChange &edit) { return change.concerns(edit.path); });
}

void SettingsDiff::noteGone(const SettingsChange &edit)
{
    forgetGone(edit.path);
    m_gone.append(edit);
    m_gone.last().gone = true;
}

void SettingsDiff::forgetGone(const QString &path)
{
    m_gone.removeIf([&](const SettingsChange &edit) { return edit.path == path; });
}

void SettingsDiff::forgetRemoval(const QString &path, bool isGroup)
{
    m_removals.removeIf(
        [&](const SettingsChange &change) { return change.path == path && change.group == isGroup; });
}

bool SettingsDiff::isEdit(const QString &path, const QVariant &now, const QVariant &stored)
{
    if (isSameSettingsValue(now, stored)) {
        know(path, now);
        return false;
    }
    // A value that differs only because another program changed the store's was not edited.
    return !isSameSettingsValue(now, m_known.value(path));
}

QList<SettingsChange> SettingsDiff::changes(const QList<Entry> &entries, const Values &stored,
                                            const std::function<bool()> &isReadable)
{
    QList<SettingsChange> result;
    QSet<QString> keys;
    QSet<QString> groups;
    for (const Entry &entry : entries) {
        if (entry.group) {
            groups.insert(entry.path);
            continue;
        }
        // Of a name that was group and key, the second row is stale.
        if (keys.contains(entry.path))
            continue;
        keys.insert(entry.path);
        SettingsChange change;
        change.path = entry.path;
        change.newValue = entry.value;
        change.oldValue = stored.value(entry.path);
        if (isEdit(entry.path, change.newValue, change.oldValue))
            result.append(change);
    }
    m_gone.removeIf([&](const SettingsChange &edit) { return keys.contains(edit.path); });
    for (SettingsChange &edit : m_gone)
        edit.oldValue = stored.value(edit.path);
    m_removals.removeIf(
        [&](const SettingsChange &change) { return (change.group ? groups : keys).contains(change.path); });
    forgetVanished(stored, isReadable);
    // What was removed with the group around it is no longer a removal of its own.
    const QList<SettingsChange> all = m_removals;
    m_removals.removeIf([&](const SettingsChange &change) {
        return std::any_of(all.begin(), all.end(), [&](const SettingsChange &other) {
            return other.group && change.path != other.path && other.concerns(change.path);
        });
    });
    for (SettingsChange &change : m_removals)
        change.oldValue = change.group ? QVariant() : stored.value(change.path, m_known.value(change.path));
    return result + m_gone + m_removals;
}

/// Forgets the removals of entries that the store no longer has.
void SettingsDiff::forgetVanished(const Values &stored, const std::function<bool()> &isReadable)
{
    const QSet<QString> groups = groupsOf(stored.keys());
    const auto isGone = [&](const SettingsChange &change) {
        return change.group ? !groups.contains(change.path) : !stored.contains(change.path);
    };
    // A store that could not be read does not tell what it holds.
    if (std::none_of(m_removals.begin(), m_removals.end(), isGone) || !isReadable())
        return;
    m_known.removeIf([&](Values::iterator entry) {
        return !stored.contains(entry.key()) && !groups.contains(entry.key()) &&
               std::any_of(m_removals.begin(), m_removals.end(), [&](const SettingsChange &change) {
                   return isGone(change) && change.concerns(entry.key());
               });
    });
    m_removals.removeIf(isGone);
}

QStringList SettingsDiff::grownGroups(const QList<SettingsChange> &changes, const Values &stored) const
{
    QStringList unknown;
    for (auto entry = stored.cbegin(); entry != stored.cend(); ++entry) {
        if (!m_known.contains(entry.key()) || !isKnown(entry.value(), m_known.value(entry.key())))
            unknown += entry.key();
    }
    QStringList grown;
    for (const SettingsChange &change : changes) {
        const auto isConcerned = [&](const QString &path) { return change.concerns(path); };
        if (change.removal && change.group && std::any_of(unknown.begin(), unknown.end(), isConcerned))
            grown += change.path;
    }
    return grown;
}

} // namespace sito
