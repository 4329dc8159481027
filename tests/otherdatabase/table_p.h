// SPDX-License-Identifier: MIT
#pragma once

#include <database/columnspec.h>

#include <data/table.h>

#include <QList>
#include <QRecursiveMutex>

#include <atomic>
#include <vector>

#include "pagedindex_p.h"

/// A row's data area begins with eight bytes that mean nothing, then come the presence bits of the nullable
/// columns, two bits for each, then the columns. Whatever no value uses holds `filler`.
class TablePrivate
{
public:
    struct Column : ColumnDef
    {
        /// From the start of the row block.
        quint64 flagsOffset = 0;
        quint32 mask = 0;
    };

    static constexpr unsigned char filler = 0xDB;

    TablePrivate(const QString &tableName, const QList<ColumnSpec> &columnSpecs);

    /// A new row with one reference.
    unsigned char *newRow(const Table *table);
    void freeRow(unsigned char *row);
    Field field(unsigned char *row, int column) const;

    const QString name;
    const QList<ColumnSpec> specs;
    std::vector<Column> columns;
    size_t blockSize = 0;
    std::atomic<qint64> liveRows = 0;
    PagedIndex index;
    QRecursiveMutex mutex;
};
