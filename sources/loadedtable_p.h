// SPDX-License-Identifier: MIT
#pragma once

#include <database/memorytable.h>

#include <QDateTime>
#include <QStringList>

#include <memory>

namespace sito {

/// A table that was read and waits to be added to the database.
struct LoadedTable
{
    std::unique_ptr<MemoryTable> table;
    QStringList notes;
    QDateTime asOf;
};

} // namespace sito
