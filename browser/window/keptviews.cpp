// SPDX-License-Identifier: MIT
#include <browser/window/keptviews.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/text/exceptiontext.h>

#include <database/memorytable.h>

#include <QScopedValueRollback>
#include <QSettings>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maxRecent = 10;
constexpr int saveDelayMilliseconds = 300;
const QString recentEntry = u"recent/sources"_s;
/// The filters that read the table "sessions", in the storage of filters.
const QString sessionKind = u"session"_s;

/// \a text as the name of one group of settings.
QString groupName(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

} // namespace

KeptViews::KeptViews(QSettings &store, QObject *parent) : QObject(parent), m_store(store), m_storage(store)
{
    m_storage.registerHostKinds();
    m_timer.setSingleShot(true);
    m_timer.setInterval(saveDelayMilliseconds);
    connect(&m_timer, &QTimer::timeout, this, &KeptViews::flush);
}

KeptViews::~KeptViews() = default;

void KeptViews::setSource(const QString &key)
{
    flush();
    m_source = key;
}

QString KeptViews::viewKey(const QString &table) const
{
    return u"%1#%2"_s.arg(m_source, table);
}

QString KeptViews::entry(const QString &table, const QString &name) const
{
    return u"views/%1/%2/%3"_s.arg(groupName(m_source), groupName(table), name);
}

QString KeptViews::lastTableEntry() const
{
    return u"views/%1/table"_s.arg(groupName(m_source));
}

QString KeptViews::lastTable() const
{
    return m_store.value(lastTableEntry()).toString();
}

void KeptViews::setLastTable(const QString &table)
{
    m_store.setValue(lastTableEntry(), table);
}

QString KeptViews::layout(const QString &table) const
{
    return m_store.value(entry(table, u"layout"_s)).toString();
}

void KeptViews::setLayout(const QString &table, const QString &layout)
{
    m_store.setValue(entry(table, u"layout"_s), layout);
}

QString KeptViews::growingColumn(const QString &table) const
{
    return m_store.value(entry(table, u"growing"_s)).toString();
}

void KeptViews::setGrowingColumn(const QString &table, const QString &column)
{
    m_store.setValue(entry(table, u"growing"_s), column);
}

bool KeptViews::needsSessions(const QString &table) const
{
    return m_store.value(entry(table, u"sessions"_s)).toBool();
}

void KeptViews::noteNeedOfSessions(const QString &table)
{
    m_store.setValue(entry(table, u"sessions"_s), m_storage.containsKind(viewKey(table), sessionKind));
}

bool KeptViews::fitFilters(MemoryTable &table)
{
    FilterList filters(table);
    return m_storage.restore(viewKey(table.name()), filters).isEmpty();
}

QStringList KeptViews::restoreFilters(const QString &table, FilterList &filters)
{
    QStringList messages;
    changeUnkept([&] { messages = m_storage.restore(viewKey(table), filters); });
    return messages;
}

void KeptViews::follow(const QString &table, FilterList &filters)
{
    connect(&filters, &FilterList::changed, this, [this, table, &filters] { onChanged(table, filters); });
}

void KeptViews::onChanged(const QString &table, FilterList &filters)
{
    if (m_isUnkept)
        return;
    if (m_unsaved != &filters)
        flush();
    m_unsaved = &filters;
    m_unsavedTable = table;
    m_timer.start();
}

void KeptViews::changeUnkept(const std::function<void()> &change)
{
    // What was changed before is kept.
    flush();
    const QScopedValueRollback unkept(m_isUnkept, true);
    change();
}

void KeptViews::flush()
{
    m_timer.stop();
    const FilterList *filters = std::exchange(m_unsaved, nullptr);
    if (!filters)
        return;
    try {
        m_storage.save(viewKey(m_unsavedTable), *filters);
        noteNeedOfSessions(m_unsavedTable);
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
    }
}

QStringList KeptViews::setNames(const QString &table) const
{
    return m_storage.setNames(viewKey(table));
}

void KeptViews::saveSet(const QString &table, const QString &name, const FilterList &filters)
{
    m_storage.saveSet(viewKey(table), name, filters);
    noteNeedOfSessions(table);
}

QStringList KeptViews::restoreSet(const QString &table, const QString &name, FilterList &filters)
{
    return m_storage.restoreSet(viewKey(table), name, filters);
}

void KeptViews::removeSet(const QString &table, const QString &name)
{
    m_storage.removeSet(viewKey(table), name);
    noteNeedOfSessions(table);
}

QStringList KeptViews::recentSources() const
{
    return m_store.value(recentEntry).toStringList();
}

void KeptViews::addRecentSource(const QString &key)
{
    QStringList recent = recentSources();
    recent.removeAll(key);
    recent.prepend(key);
    m_store.setValue(recentEntry, recent.first(std::min(recent.size(), maxRecent)));
}

void KeptViews::forgetRecentSources()
{
    m_store.remove(recentEntry);
}

} // namespace sito
