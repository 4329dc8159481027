// SPDX-License-Identifier: MIT
#include <hostkit/settings/storecontent.h>

#include <hostkit/settings/inifile.h>
#include <hostkit/settings/settingsdiff.h>

#include <QFileInfo>
#include <QSettings>

namespace sito {

StoreContent::StoreContent(QSettings *store) : m_store(store) {}

bool StoreContent::hasCurrentGroup() const
{
    return m_store && !m_store->group().isEmpty();
}

QVariant StoreContent::value(const QString &path, const QVariant &absent) const
{
    return m_store ? m_store->value(path, absent) : absent;
}

QHash<QString, QVariant> StoreContent::values() const
{
    QHash<QString, QVariant> values;
    const QStringList keys = m_store ? m_store->allKeys() : QStringList();
    for (const QString &key : keys)
        values.insert(key, key.isEmpty() ? QVariant() : m_store->value(key));
    return values;
}

StoreContent::Paths StoreContent::paths() const
{
    const QStringList keys = m_store ? m_store->allKeys() : QStringList();
    return {QSet<QString>(keys.begin(), keys.end()), SettingsDiff::groupsOf(keys)};
}

StoreContent::State StoreContent::state() const
{
    if (!m_store)
        return State::Readable;
    if (!QFileInfo::exists(m_store->fileName()))
        return m_hadFile ? State::Missing : State::Readable;
    return IniFile::problem(m_store->fileName()).isEmpty() ? State::Readable : State::Unreadable;
}

void StoreContent::noteFile()
{
    m_hadFile = m_hadFile || (m_store && QFileInfo::exists(m_store->fileName()));
}

void StoreContent::readAgain()
{
    if (m_store)
        m_store->sync();
}

} // namespace sito
