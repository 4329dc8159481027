// SPDX-License-Identifier: MIT
#include <hostkit/filters/filterlist.h>

#include <filterfuncs/filterfunc.h>
#include <filters/valuefilter.h>

#include <QPointer>
#include <QThread>

#include <algorithm>
#include <cassert>

namespace sito {

namespace {

void release(const FilterFunc *predicate)
{
    // A QObject is to be deleted in its own thread; whoever filters in another one may be the last to let go.
    if (predicate->thread() == QThread::currentThread())
        delete predicate;
    else
        const_cast<FilterFunc *>(predicate)->deleteLater();
}

} // namespace

FilterList::FilterList(Table &table, QObject *parent) : QObject(parent), m_table(&table) {}

FilterList::~FilterList()
{
    for (Filter *filter : std::as_const(m_filters)) {
        disconnect(filter, nullptr, this, nullptr);
        delete filter;
    }
}

bool FilterList::takesPart(const Filter &filter)
{
    return filter.isEnabled() && filter.hasValue();
}

bool FilterList::isFiltered(int column) const
{
    return std::any_of(m_filters.begin(), m_filters.end(), [column](const Filter *filter) {
        const auto *values = qobject_cast<const ValueFilter *>(filter);
        return values && takesPart(*values) && values->columns().contains(column);
    });
}

void FilterList::add(Filter *filter)
{
    assert(filter);
    if (m_filters.contains(filter))
        return;

    auto *owner = qobject_cast<FilterList *>(filter->parent());
    if (owner && owner->m_filters.contains(filter)) {
        const QPointer<Filter> guarded = filter;
        owner->take(filter);
        Q_EMIT owner->changed();
        // A slot may have deleted it, or added it here.
        if (!guarded || m_filters.contains(filter))
            return;
    }
    filter->setParent(this);
    m_filters.append(filter);
    connect(filter, &Filter::enabledChanged, this, [this, filter] { notifyChanged(filter); });
    connect(filter, &Filter::asincChanged, this, [this, filter] { notifyChanged(filter); });
    connect(filter, &QObject::destroyed, this, &FilterList::forget);
    Q_EMIT added(filter);
    Q_EMIT changed();
}

void FilterList::remove(Filter *filter)
{
    if (!m_filters.contains(filter))
        return;

    if (take(filter))
        filter->deleteLater();
    Q_EMIT changed();
}

void FilterList::clear()
{
    if (m_filters.isEmpty())
        return;

    while (!m_filters.isEmpty()) {
        Filter *filter = m_filters.constLast();
        if (take(filter))
            filter->deleteLater();
    }
    Q_EMIT changed();
}

void FilterList::notifyChanged(Filter *filter)
{
    if (!m_filters.contains(filter))
        return;

    Q_EMIT filterChanged(filter);
    Q_EMIT changed();
}

std::vector<std::shared_ptr<const FilterFunc>> FilterList::createFilterFuncs(const Filter *except) const
{
    std::vector<std::shared_ptr<const FilterFunc>> predicates;
    for (const Filter *filter : m_filters) {
        if (filter == except || !takesPart(*filter))
            continue;
        // Owned at once, even if the vector has no room for it.
        std::shared_ptr<const FilterFunc> predicate(filter->createFilterFunc(nullptr), release);
        predicates.push_back(std::move(predicate));
    }
    return predicates;
}

/// Takes \a filter out, without deleting it; whether it is still there, and was until now.
bool FilterList::take(Filter *filter)
{
    const QPointer<Filter> guarded = filter;
    Q_EMIT aboutToBeRemoved(filter);
    // A slot may have removed or deleted it meanwhile.
    if (!m_filters.removeOne(filter))
        return false;
    disconnect(filter, nullptr, this, nullptr);
    Q_EMIT removed();
    return !guarded.isNull();
}

/// The slot for a filter that was deleted by somebody else; only its address is left of it.
void FilterList::forget(QObject *filter)
{
    const auto isIt = [filter](const Filter *other) { return static_cast<const QObject *>(other) == filter; };
    if (m_filters.removeIf(isIt) == 0)
        return;
    Q_EMIT removed();
    Q_EMIT changed();
}

} // namespace sito
