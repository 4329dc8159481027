// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldvalue.h>
#include <data/table.h>

#include <QString>

namespace sito {

/// The distinct values of one column in ascending order; a rank is a place
/// in this order. Rank 0 is the absent value, whether it occurs or not.
///
/// Immutable once it is filled; may be read from any thread. The table must outlive it.
class DistinctColumn
{
    Q_DISABLE_COPY_MOVE(DistinctColumn)
public:
    DistinctColumn(Table *table, int column) : m_table(table), m_column(column) {}
    virtual ~DistinctColumn() = default;

    /// How many ranks there are.
    virtual quint32 size() const = 0;
    /// The value of \a rank, a copy.
    virtual FieldValue value(quint32 rank) const = 0;
    /// The value of \a rank as it is shown, see valuetext::shown().
    virtual QString text(quint32 rank) const = 0;
    virtual bool isNaN(quint32 rank) const = 0;
    /// Below 0, 0 or above 0 as the value of \a rank stands before, with or behind that of \a otherRank in
    /// \a other, which is made of the same column.
    int compare(quint32 rank, const DistinctColumn &other, quint32 otherRank) const
    {
        if (isNaN(rank) || other.isNaN(otherRank))
            return int(isNaN(rank)) - int(other.isNaN(otherRank));
        return value(rank).compare(other.value(otherRank));
    }

protected:
    FieldValue absent() const { return FieldValue(m_table, m_column); }
    const ColumnDef *definition() const { return m_table->columnDef(m_column); }

private:
    Table *m_table;
    int m_column;
};

} // namespace sito
