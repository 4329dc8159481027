// SPDX-License-Identifier: MIT
#pragma once

#include <database/memorytable.h>

#include <QDateTime>
#include <QStringList>

#include <memory>

namespace sito {

struct TableShape;

/// What is to be said of how a loaded table is shown.
struct TableNotes
{
    /// See SourceConnection::columnNotes().
    QStringList lines = {};
    /// How it was read; null when that is not known.
    std::shared_ptr<const TableShape> shape = {};
};

/// A table that was read and waits to be added to the database.
struct LoadedTable
{
    std::unique_ptr<MemoryTable> table;
    TableNotes notes;
    QDateTime asOf;
    /// Whether all rows are in it.
    bool isComplete;
};

} // namespace sito
