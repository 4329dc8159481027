// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <database/columnspec.h>

#include <QList>
#include <QString>
#include <QStringList>

class MemoryTable;

/// The type of \a column as people read it: "Decimal(2), NULL".
HOSTKIT_EXPORT QString columnTypeText(const ColumnSpec &column);

/// One line for every column of \a table that became another one than was \a declared, because its values
/// needed it (see TableLoader::Digits::AsNeeded): what was declared and what they need.
HOSTKIT_EXPORT QStringList widerColumnNotes(const QList<ColumnSpec> &declared, const MemoryTable &table);
