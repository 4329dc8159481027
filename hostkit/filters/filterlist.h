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
/// part while it is switched on and has a value. The table is not owned and must outlive the list.
///
/// **Threads.** Used from the GUI thread; the predicates are for any thread.
///
/// **Cost.** Most functions look through the list of filters. createFilterFuncs() grows with the keys of all
/// filters that take part.
class HOSTKIT_EXPORT FilterList : public QObject
{
    Q_OBJECT
public:
    explicit FilterList(Table &table, QObject *parent = nullptr);
    /// Deletes the filters; nothing is emitted.
    ~FilterList() override;

    /// Never null.
    Table *table() const { return m_table; }
    /// The filters in their order; the reference follows the list as long as it lives.
    const QList<Filter *> &filters() const { return m_filters; }
    /// Whether \a filter restricts the rows now: it is switched on and has a value.
    static bool takesPart(const Filter &filter);
    /// Whether a value filter over the table's column \a column takes part.
    bool isFiltered(int column) const;

    /// Appends \a filter, which must not be null, and takes ownership; emits added() and changed(). A filter
    /// of another list is first removed from that one, but not deleted. Does nothing if the filter is in the
    /// list already. A filter that somebody else deletes is removed from the list, with removed() and
    /// changed().
    void add(Filter *filter);
    /// Removes \a filter: emits aboutToBeRemoved(), removed() and changed(), and deletes the filter when
    /// control returns to the event loop. Does nothing if the filter is not in the list.
    void remove(Filter *filter);
    /// Removes all filters, the last one first, as remove() does, but emits changed() once. Emits nothing if
    /// the list is empty.
    void clear();
    /// Emits filterChanged() and changed(). Call it after changing the value of \a filter, because filters
    /// emit nothing then. Does nothing if the filter is not in the list.
    void notifyChanged(Filter *filter);

    /// New predicates of the filters that take part, except that of \a except. Later changes of the filters
    /// do not affect them. A predicate whose last reference is dropped in another thread is deleted in this
    /// one.
    ///
    /// Throws what Filter::createFilterFunc() throws.
    std::vector<std::shared_ptr<const FilterFunc>> createFilterFuncs(const Filter *except = nullptr) const;

Q_SIGNALS:
    /// \a filter is the last one of the list now.
    void added(Filter *filter);
    /// \a filter is still in the list.
    void aboutToBeRemoved(Filter *filter);
    /// A filter has left the list.
    void removed();
    /// The value or the switch of \a filter has changed: after notifyChanged(), and whenever the filter
    /// itself emits enabledChanged() or asincChanged().
    void filterChanged(Filter *filter);
    /// Emitted after each change that may affect which rows are shown, after the signal that says what
    /// changed.
    void changed();

private:
    bool take(Filter *filter);
    void forget(QObject *filter);

    Table *m_table;
    QList<Filter *> m_filters;
};

} // namespace sito
