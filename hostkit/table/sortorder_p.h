// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/parallel_p.h>
#include <hostkit/table/rowlists_p.h>

#include <QtGlobal>

#include <vector>

class Table;

namespace sito {

class RowSet;

/// The order of rows by the values of columns.
namespace sortorder {

struct Key
{
    int column = 0;
    bool descending = false;

    bool operator==(const Key &) const = default;
};

/// The ids of the listed rows of \a rows, sorted by \a keys, of which there must be at least one; rows that
/// are equal in all of them keep the order of their ids.
///
/// Each key sorts by Field::compare(), with one addition: a NaN, which equals every double there, comes after
/// all numbers and equals every other NaN. The caller holds the table's lock. Throws parallel::Stopped, and
/// what comparing throws.
RowIds sorted(const parallel::Context &context, const Table &table, const RowSet &rows,
              const std::vector<Key> &keys);

/// What sorted() adds to the progress of the context.
qint64 units(qint64 rowCount, qint64 keyCount);

} // namespace sortorder

} // namespace sito
