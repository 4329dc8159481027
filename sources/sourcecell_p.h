// SPDX-License-Identifier: MIT
#pragma once

#include <database/cellvalue.h>

#include <QString>

#include <vector>

class MemoryTable;
class Record;

namespace sito {

struct TableShape;
class TableSource;

/// A cell of a loaded table whose bytes are wanted.
struct SourceCell
{
    /// That of \a row, a row of \a loaded, whose lock the caller holds.
    static SourceCell of(const MemoryTable &loaded, const Record &row, int column, qint64 limit);

    /// \a shape, by which the table was loaded, with the table as it is in \a origin now. Throws Exception
    /// when the bytes of the cell cannot be had: the column shows none, no key tells rows apart, or the table
    /// is another one.
    TableShape presentShape(const TableSource &origin, const TableShape &shape) const;
    /// Throws Exception unless the column of the cell shows bytes.
    void requireBytes(const TableShape &shape) const;

    QString table;
    int column = -1;
    /// What the loaded row holds, a value per column; those of the primary key find the row.
    std::vector<CellValue> row = {};
    /// How many bytes may be read.
    qint64 limit = 0;
};

} // namespace sito
