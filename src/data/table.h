// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>
#include <data/field.h>

#include <QString>

#include <memory>

class IndexList;
class Record;
class TablePrivate;

/// A table of the database library: columns, rows, a master index over the rows, and a lock. Owned by the
/// database library; definitions, index and table outlive every filter and predicate made for them.
///
/// **Threads.** Reading definitions and rows is safe from several threads as long as none writes.
///
/// **Cost.** The database library's choice. Predicates and models call dataPtr() for every cell that they
/// read. In the in-memory library it and the look-up of a column by name take constant time.
class DATABASE_EXPORT Table
{
    Q_DISABLE_COPY_MOVE(Table)
public:
    /// The name by which Database::tableByName() finds the table.
    QString name() const;
    /// The name of \a column, which must exist.
    QString columnName(int column) const;
    /// The index of the column of that name, exactly written; -1 when there is none.
    int columnIndex(const QString &name) const;
    /// The definition of \a column, which must exist; valid as long as the table.
    const ColumnDef *columnDef(int column) const;

    /// The view of \a column in \a row, a row block of this table; both must exist. Valid as long as the row.
    Field dataPtr(unsigned char *row, int column) const;

    /// The index over all rows; valid as long as the table.
    IndexList *masterIndex() const;

    /// Locks the table's content against other threads; the same thread may lock it again and must unlock it
    /// as often. Hold the lock while looking up columns and walking the index, if others may write.
    void lock() const;
    /// Takes back one lock() of the calling thread.
    void unlock() const;

    /// Takes back \a row, whose last handle is gone; called by Record, from any thread.
    void freeRow(unsigned char *row);

protected:
    explicit Table(std::unique_ptr<TablePrivate> data);
    ~Table();

    const std::unique_ptr<TablePrivate> d;

private:
    friend class Record; // makes new rows
};
