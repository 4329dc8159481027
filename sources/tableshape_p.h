// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>
#include <sources/tablesource_p.h>

#include <database/columnspec.h>

#include <QList>
#include <QStringList>

#include <vector>

namespace sito {

/// How a table is read: its columns as they are declared, and what becomes of them.
struct TableShape
{
    QList<ColumnSpec> specs() const
    {
        QList<ColumnSpec> result;
        for (const SourceColumn &column : columns)
            result.append(column.spec());
        return result;
    }
    /// See TableLoader::columnNotes(); \a source is where the table is.
    QStringList notes(const TableSource &source) const
    {
        QStringList result;
        for (const SourceColumn &column : columns)
            result += column.notes();
        return result + source.notes(table);
    }

    /// The indices of columns in which bytes are shown by their number and the first of them.
    QList<int> bytesColumns() const
    {
        QList<int> result;
        for (size_t i = 0; i < columns.size(); ++i) {
            if (columns[i].hasBytes())
                result.append(int(i));
        }
        return result;
    }

    SourceTable table;
    QList<TableSource::Column> declared = {};
    std::vector<SourceColumn> columns = {};
    /// Whether the last reading came to the end of the table.
    bool isComplete = false;
};

} // namespace sito
