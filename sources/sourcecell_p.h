// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stoptoken.h>

#include <database/cellvalue.h>

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace sito {

struct TableShape;
class TableSource;

/// A cell of a loaded table whose bytes are wanted.
struct SourceCell
{
    /// The bytes of the cell as they are in \a origin now, not more than the limit; nothing when it is empty.
    /// \a shape is how its table was loaded. Throws Exception when they cannot be had, and parallel::Stopped
    /// when \a stop is requested.
    std::optional<QByteArray> read(const TableSource &origin, const TableShape &shape,
                                   const parallel::StopToken &stop) const;

    QString table;
    int column = -1;
    /// What the loaded row holds, a value per column; those of the primary key find the row.
    std::vector<CellValue> row = {};
    /// How many bytes may be read.
    qint64 limit = 0;
};

} // namespace sito
