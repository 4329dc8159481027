// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>

#include <database/cellvalue.h>

#include <QString>

#include <span>
#include <vector>

namespace sito {

class SqlRows;

/// Reads rows of a database as the cells of a table.
class RowReader
{
    Q_DISABLE_COPY_MOVE(RowReader)
public:
    /// Reads \a rows of the table \a table. With \a canWiden, columns get the room that their values need.
    RowReader(const QString &table, SqlRows &rows, std::vector<SourceColumn> &columns, bool canWiden);

    /// Reads the next row; false after the last one and on an error of the rows. Throws Exception with the
    /// table, the row, the column and the value when a value does not fit its column.
    bool next();
    qint64 rowsRead() const { return m_rowsRead; }
    /// Whether a column was widened; then the cells of no row count any more.
    bool isWidened() const { return m_isWidened; }
    /// Of the row that was read last.
    std::span<const CellValue> cells() const { return m_cells; }

private:
    void readCell(size_t index);

    const QString m_table;
    SqlRows &m_rows;
    std::vector<SourceColumn> &m_columns;
    const bool m_canWiden;
    std::vector<CellValue> m_cells;
    qint64 m_rowsRead = 0;
    bool m_isWidened = false;
};

} // namespace sito
