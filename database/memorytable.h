// SPDX-License-Identifier: MIT
#pragma once

#include <database/cellvalue.h>
#include <database/columnspec.h>

#include <data/record.h>
#include <data/table.h>

#include <QList>

#include <span>
#include <utility>

class TableChanges;

/// A table of rows in memory.
///
/// **Rows.** Each row is one block: a 32-bit atomic count of its handles, the pointer to the table, and 16
/// bytes in the data area. The columns lie there in index order, each at the next multiple of 8; the presence
/// bits of the nullable columns follow. Every byte that no value uses is zero from creation on and stays zero
/// with every write through the table, the tail of a VarChar behind its text and the value of an absent field
/// included. So rows that the table has filled with equal values have equal bytes, except for String columns,
/// for decimals of different scales, and for doubles that compare equal and differ in bits (0.0 and -0.0,
/// NaN). Writing through a Field changes only what the Field says: Field::setAbsent() clears the bit and
/// leaves the old value. Rows lie in slabs and never move.
///
/// **Errors.** Every operation that can fail throws Exception, and changes nothing then. The message names
/// the table, the column and the row, as far as the error has them. A row is named by its number: a row of
/// another table by its number there (unless a thread is changing that table), a row to remove that is not
/// in the table by its place in the list, counted from 0.
///
/// **Threads.** Operations that change the table lock it while they work (see Table::lock()). Rows may be
/// read from several threads as long as none changes the table.
///
/// Rows that left the table stay alive while Record handles refer to them; the table must outlive those
/// handles.
///
/// **Cost.** Appending values and changing them takes time in proportion to the values alone. Rows inserted
/// before others also move those of their page of the index, and all pages behind it are counted again.
/// Removing any number of rows, and appending a Record, looks at all rows. row() takes the logarithm of the
/// number of pages.
class DATABASE_EXPORT MemoryTable final : public Table
{
public:
    /// An empty table. Throws Exception for an empty name, no columns, an empty or repeated column name, an
    /// unknown type, and a length or size that the type does not admit.
    MemoryTable(const QString &name, const QList<ColumnSpec> &columns);
    ~MemoryTable();

    /// How many columns the table has, at least one.
    int columnCount() const;
    /// The definition of \a column as it was given; \a column must exist.
    const ColumnSpec &columnSpec(int column) const;
    /// The index of the column of that name. Throws Exception when there is none.
    int requireColumn(const QString &name) const;

    /// How many rows the master index holds.
    qint64 rowCount() const;
    /// The row at \a index of the master index. Throws Exception when there is none.
    Record row(qint64 index) const;

    /// Appends a row of \a values, one per column, and returns it.
    Record append(std::span<const CellValue> values);
    /// The same for values in braces.
    Record append(std::initializer_list<CellValue> values);
    /// Appends all of \a rows, or none when one of them does not fit.
    void append(const QList<QList<CellValue>> &rows);
    /// Inserts all of \a rows before the row at \a index (at the end for index rowCount()), or none.
    void insert(qint64 index, const QList<QList<CellValue>> &rows);
    /// Appends \a row, which was made for this table and is not in it: a row made by Record(const Table *)
    /// and filled through its fields, or one that was removed. Takes time proportional to the number of
    /// rows.
    void append(const Record &row);

    /// Changes one value of \a row, which must be a row of this table.
    void update(const Record &row, int column, const CellValue &value);
    /// Changes several values of \a row, or none when one of them does not fit.
    void update(const Record &row, const QList<std::pair<int, CellValue>> &values);

    /// Removes \a row. Finding it takes time proportional to the number of rows.
    void remove(const Record &row);
    /// Removes all of \a rows in one pass, or none when one of them is not in the table.
    void remove(const QList<Record> &rows);
    /// Removes all rows.
    void clear();

    /// Tells of every change that an operation of this class makes. Values that are written through a Field
    /// are told by whoever writes them; see TableChanges.
    TableChanges &changes() const;

    /// As lock(), but does not wait: returns false when the lock is taken.
    bool tryLock() const;

    /// How many rows are alive: in the table or held by a handle.
    qint64 liveRowCount() const;
    /// The width of a row block in bytes, header and presence bits included.
    qint64 rowBlockSize() const;
    /// The memory of the rows and the index, in bytes, without the texts of String columns.
    qint64 memoryUsage() const;

private:
    /// Throws Exception for a handle on no row and for a row of another table; the message names \a column
    /// when there is one of that number.
    void requireOwn(const Record &row, int column = -1) const;
    /// Throws Exception for the first of \a rows that is not in the table; there must be one.
    [[noreturn]] void refuseMissing(const QList<Record> &rows) const;
};
