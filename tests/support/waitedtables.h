// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/tablelock.h>

#include <database/memorytable.h>

#include <QString>
#include <QStringList>

/// The names of the tables that were waited for. Where this header is included, in one source of a program,
/// its function takes the place of that of the library: whether a thread still waits for the lock of a table
/// that is about to be deleted is a matter of luck, and what comes of it, too.
inline QStringList waitedTables;

void sito::parallel::waitForWaiters(const Table &table)
{
    waitedTables.append(static_cast<const MemoryTable &>(table).name());
}
