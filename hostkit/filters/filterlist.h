// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QList>
#include <QObject>

#include <memory>
#include <vector>

class Filter;
class FilterFunc;
class Table;

namespace sito {

/// The filters of one table view, in the order in which they were added; owns them.
///
/// A row is shown when the predicate of every filter that takes part answers false for it. A filter takes
/// part while it is switched on and has a value. Used from the GUI thread; the table is not owned and must
/// outlive the list.
class HOSTKIT_EXPORT FilterList : public QObject
{
    Q_OBJECT
public:
    explicit FilterList(Table &table, QObject *parent = nullptr);
    /// Deletes the filters; nothing is emitted.
    ~FilterList() override;

    /// Never null.
    Table *table() const { return m_table; }
    const QList<Filter *> &filters() const { return m_filters; }
    /// Whether \a filter restricts the rows now: it is switched on and has a value.
    static bool takesPart(const Filter &filter);

    /// Appends \a filter, which must not be null, and takes it over; emits added() and changed(). A filter of
    /// another list leaves that one first, as by remove(), but is not deleted. Does nothing with a filter that
    /// is in the list already. A filter that is deleted by somebody else leaves the list by itself, with
    /// removed() and changed().
    void add(Filter *filter);
    /// Takes \a filter out of the list: emits aboutToBeRemoved(), removed() and changed(), and deletes it
    /// when control returns to the event loop. Does nothing with a filter that is not in the list.
    void remove(Filter *filter);
    /// Takes all filters out, the last one first, as remove() does, but with one changed() for all of them;
    /// emits nothing when there are none.
    void clear();
    /// To be called after the value of \a filter was changed, since filters signal nothing of it by
    /// themselves; emits filterChanged() and changed(). Does nothing with a filter that is not in the list.
    void notifyChanged(Filter *filter);

    /// The predicates of the filters that take part, but not that of \a except, made now: later changes do
    /// not reach them. A predicate that is let go in another thread than this one is deleted in its own.
    ///
    /// Throws what Filter::createFilterFunc() throws.
    std::vector<std::shared_ptr<const FilterFunc>> createFilterFuncs(const Filter *except = nullptr) const;

Q_SIGNALS:
    void added(Filter *filter);
    /// \a filter is still in the list.
    void aboutToBeRemoved(Filter *filter);
    void removed();
    /// The value or the switch of \a filter has changed: after notifyChanged(), and whenever the filter
    /// itself emits enabledChanged() or asincChanged().
    void filterChanged(Filter *filter);
    /// Anything has happened that may change which rows are shown; comes after the signal that says what.
    void changed();

private:
    bool take(Filter *filter);
    void forget(QObject *filter);

    Table *m_table;
    QList<Filter *> m_filters;
};

} // namespace sito
