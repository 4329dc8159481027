// SPDX-License-Identifier: MIT
#pragma once

#include <database/memorytable.h>

#include <data/tablechanges.h>

#include <mutex>
#include <vector>

/// A table of a database library that tells nothing of its changes: whoever changes it tells.
class ToldTable
{
public:
    ToldTable(const QString &name, const QList<ColumnSpec> &columns) : table(name, columns) {}

    Record append(const QList<CellValue> &values)
    {
        const std::lock_guard lock(table);
        const Record row = table.append(std::span(values));
        tell(TableChange::Appended, {row});
        return row;
    }
    void append(const Record &row)
    {
        const std::lock_guard lock(table);
        table.append(row);
        tell(TableChange::Appended, {row});
    }
    void insert(qint64 index, const QList<QList<CellValue>> &rows)
    {
        const std::lock_guard lock(table);
        table.insert(index, rows);
        QList<Record> inserted;
        for (qint64 i = 0; i < rows.size(); ++i)
            inserted.append(table.row(index + i));
        tell(TableChange::Inserted, inserted);
    }
    void update(const Record &row, int column, const CellValue &value)
    {
        const std::lock_guard lock(table);
        table.update(row, column, value);
        tell(TableChange::Updated, {row}, {column});
    }
    /// The handles in \a rows keep them alive until they are told.
    void remove(const QList<Record> &rows)
    {
        const std::lock_guard lock(table);
        table.remove(rows);
        tell(TableChange::Removed, rows);
    }
    void tell(TableChange::Kind kind, const QList<Record> &rows, const std::vector<int> &columns = {})
    {
        std::vector<unsigned char *> blocks;
        for (const Record &row : rows)
            blocks.push_back(row.row());
        changes.tell({kind, blocks, columns});
    }

    MemoryTable table;
    TableChanges changes;
};
