// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QItemSelection>
#include <QModelIndexList>

class Filter;

namespace sito {

class FilterList;
class TableModel;

/// Hiding and showing rows by what the selected cells of a view hold. The columns of the selection make the key,
/// so that several columns give one filter over all of them; columns of type Raw and Block, whose values
/// are never compared, are left out, so that whole rows may be selected.
///
/// \a cells are a selection or indexes of \a model, whose table is that of \a filters; the order does not count. In each row
/// that has a selected cell, the values of all the columns count.
///
/// Throws Exception when no cell is selected, when none of the columns can be compared, and for a cell that
/// holds a NaN, which equals every number; nothing is changed then.

/// Hides the rows that hold one of the selected combinations of values: adds them to the keys of the list's
/// ValueListFilter over these columns, in any order, or of a new one with the list as its siblings, and switches
/// it on; the list tells of the change. Returns the filter.
HOSTKIT_EXPORT Filter *hideValues(FilterList &filters, const TableModel &model, const QItemSelection &cells);
HOSTKIT_EXPORT Filter *hideValues(FilterList &filters, const TableModel &model, const QModelIndexList &cells);

/// Shows only the rows that hold one of the selected combinations: makes them the keys of the list's
/// ShowOnlyFilter over these columns, in any order, or of a new one, and switches it on; the list tells of the
/// change. Returns the filter.
HOSTKIT_EXPORT Filter *showOnlyValues(FilterList &filters, const TableModel &model,
                                      const QItemSelection &cells);
HOSTKIT_EXPORT Filter *showOnlyValues(FilterList &filters, const TableModel &model,
                                      const QModelIndexList &cells);

} // namespace sito
