// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>

#include <database/cellvalue.h>

#include <QString>

#include <span>
#include <vector>

namespace sito {

class SourceRows;

/// Reads rows of a source as the cells of a table.
class RowReader
{
    Q_DISABLE_COPY_MOVE(RowReader)
public:
    /// What becomes of a column whose values it does not hold.
    enum class Misfits {
        Refused,
        GetRoom, ///< see SourceColumn::widen()
        Shown,   ///< see SourceColumn::admit()
    };

    /// Reads \a rows of the table \a table.
    RowReader(const QString &table, SourceRows &rows, std::vector<SourceColumn> &columns, Misfits misfits);

    /// Reads the next row; false after the last one and on an error of the rows. Throws Exception with the
    /// table, the row, the column and the value when a value does not fit its column and is refused.
    bool next();
    qint64 rowsRead() const { return m_rowsRead; }
    /// Whether a column was changed; then the cells of no row count any more.
    bool isChanged() const { return m_isChanged; }
    /// Of the row that was read last.
    std::span<const CellValue> cells() const { return m_cells; }

private:
    void readCell(size_t index);
    CellProblem checkText(size_t index, const QVariant &value);
    bool change(SourceColumn &column, CellProblem problem, const QVariant &value) const;

    const QString m_table;
    SourceRows &m_rows;
    std::vector<SourceColumn> &m_columns;
    const Misfits m_misfits;
    std::vector<CellValue> m_cells;
    qint64 m_rowsRead = 0;
    bool m_isChanged = false;
};

} // namespace sito
