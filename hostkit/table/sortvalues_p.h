// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/rowlists_p.h>
#include <hostkit/table/sortorder_p.h>

#include <data/decimal.h>
#include <data/fieldtype.h>
#include <data/xdecimal.h>

#include <QString>

#include <vector>

class Field;
class Table;

namespace sito {

/// The values by which rows sort, as they stood when each row was read: a copy, so that the order of rows can
/// be worked out, and kept, while the rows themselves are written. Rows are named by their ids.
///
/// **Threads.** read() may be called from several threads for different rows, all else from one.
class SortValues
{
public:
    /// By \a keys, of which there must be at least one.
    SortValues(const Table &table, const std::vector<sortorder::Key> &keys);

    /// Makes room for the ids below \a count. It never shrinks.
    void resize(quint32 count);
    /// Moves the values of each row to its new id in \a newIds, which are as RowSet::compacted() gives them,
    /// and forgets the others.
    void compact(const std::vector<quint32> &newIds, quint32 count);
    /// Reads the row at \a row, under the lock of the table.
    void read(quint32 id, unsigned char *row);

    /// Whether the row \a a sorts before \a b. Rows that are equal in all keys sort by their ids.
    bool isBefore(quint32 a, quint32 b) const;
    /// The ids below \a count in their order, as sortorder::sorted() has it.
    RowIds sorted(const parallel::Context &context, quint32 count) const;
    /// What \a order becomes when only the rows with a flag in \a stays stay, and those of \a coming, in any
    /// order, are put in their places.
    RowIds merged(const RowIds &order, const RowFlags &stays, const RowIds &coming) const;

private:
    /// A row with what it sorts by in the first place.
    struct Item
    {
        quint64 word = 0;
        quint32 id = 0;
    };
    struct Column
    {
        int compare(quint32 a, quint32 b) const;
        int compareTied(quint32 a, quint32 b) const;

        sortorder::Key key;
        FieldType::Type type = FieldType::Raw;
        /// Decides where it differs; 0 for absent values.
        std::vector<quint64> words;
        std::vector<quint8> present;
        // What equal words may hide. One of them is used.
        std::vector<QString> texts;
        std::vector<decimal> decimals;
        std::vector<xdecimal> numbers;
    };

    static void read(Column &column, quint32 id, const Field &field);
    Item item(quint32 id) const;
    bool isBefore(const Item &a, const Item &b) const;

    const Table &m_table;
    std::vector<Column> m_columns;
};

} // namespace sito
