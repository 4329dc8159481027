// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>
#include <sources/tablesource_p.h>

#include <QList>

#include <vector>

namespace sito {

/// How a table was read: its columns as they are declared, and what became of them.
struct TableShape
{
    QList<TableSource::Column> declared;
    std::vector<SourceColumn> columns;
    /// See TableSource::Table.
    bool isView = false;
};

} // namespace sito
