// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QItemSelection>
#include <QModelIndexList>

class Filter;

namespace sito {

class FilterList;
class TableModel;

/// Hiding and showing rows by the values in the selected cells of a view.
///
/// The key consists of all columns with a selected cell: several columns give one filter over all of them.
/// Columns of type Raw and Block are left out, because their values cannot be compared; so whole rows may be
/// selected. From each row with a selected cell, the values in all columns of the key are taken.
///
/// \a cells is a selection or a list of indexes of \a model; the order does not matter. The table of \a model
/// must be that of \a filters.
///
/// All functions throw Exception, and change nothing then, when no cell is selected, when none of the columns
/// can be compared, and for a cell that holds a NaN, which equals every number.

/// Hides the rows that hold one of the selected combinations of values. Adds the combinations to the keys
/// of the list's ValueListFilter over these columns, in any order, or of a new one with the list as its
/// siblings. Switches the filter on and returns it; the list reports the change.
HOSTKIT_EXPORT Filter *hideValues(FilterList &filters, const TableModel &model, const QItemSelection &cells);
/// The same for a list of indexes.
HOSTKIT_EXPORT Filter *hideValues(FilterList &filters, const TableModel &model, const QModelIndexList &cells);

/// Shows only the rows that hold one of the selected combinations. They become the keys of the list's
/// ShowOnlyFilter over these columns, in any order, or of a new one. Switches the filter on and returns it;
/// the list reports the change.
HOSTKIT_EXPORT Filter *showOnlyValues(FilterList &filters, const TableModel &model,
                                      const QItemSelection &cells);
/// The same for a list of indexes.
HOSTKIT_EXPORT Filter *showOnlyValues(FilterList &filters, const TableModel &model,
                                      const QModelIndexList &cells);

} // namespace sito
