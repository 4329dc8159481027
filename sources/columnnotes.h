// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sources_export.h>

#include <database/columnspec.h>

#include <QList>
#include <QString>
#include <QStringList>

class MemoryTable;

namespace sito {

/// The type of \a column as people read it: "Decimal(2), NULL".
SOURCES_EXPORT QString columnTypeText(const ColumnSpec &column);

/// One line for every column of \a table that became another one than was \a declared, because its values
/// needed it (see TableLoader::Digits::AsNeeded): what was declared and what they need.
[[deprecated("TableLoader::columnNotes()")]] SOURCES_EXPORT QStringList
widerColumnNotes(const QList<ColumnSpec> &declared, const MemoryTable &table);

} // namespace sito
