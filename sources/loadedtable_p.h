// SPDX-License-Identifier: MIT
#pragma once

#include <database/memorytable.h>

#include <QDateTime>
#include <QList>
#include <QStringList>

#include <memory>

namespace sito {

/// What is to be said of how a loaded table is shown.
struct TableNotes
{
    /// See SourceConnection::columnNotes().
    QStringList lines = {};
    /// See SourceConnection::bytesColumns().
    QList<int> bytesColumns = {};
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
