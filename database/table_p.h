// SPDX-License-Identifier: MIT
#pragma once

#include <database/columnspec.h>

#include <data/table.h>
#include <data/tablechanges.h>

#include <QHash>
#include <QList>

#include <mutex>
#include <vector>

#include <database/masterindex_p.h>
#include <database/rowslabs_p.h>

/// Where the columns of a table lie in its row blocks.
struct RowLayout
{
    struct Column : ColumnDef
    {
        /// Where the value lies, from the start of the block.
        quint64 blockOffset = 0;
        /// Where the byte with the presence bit lies, from the start of the block. A column without absent
        /// values has the mask 0 and points at its own value, so that writing through the view touches no
        /// other byte.
        quint64 flagsOffset = 0;
        alignas(16) quint32 mask = 0;
    };
    static_assert(sizeof(Column) == 64, "found by a shift");

    /// Throws Exception for an invalid definition.
    RowLayout(const QString &table, const QList<ColumnSpec> &specs);

    std::vector<Column> columns;
    /// Offsets of the String columns from the start of the block.
    std::vector<quint64> strings;
    QHash<QString, int> indexByName;
    qsizetype blockSize = 0;
};

class TablePrivate
{
public:
    TablePrivate(const QString &tableName, const QList<ColumnSpec> &columnSpecs);
    ~TablePrivate();

    /// A new row with one reference.
    unsigned char *newRow(const Table *table);
    void freeRow(unsigned char *row);

    const QString name;
    const QList<ColumnSpec> specs;
    const RowLayout layout;
    /// The columns of the layout, one step closer: Table::dataPtr() is called for every cell that is read.
    const RowLayout::Column *const columns = layout.columns.data();
    RowSlabs slabs;
    MasterIndex index;
    std::recursive_mutex mutex;
    TableChanges changes;
};
