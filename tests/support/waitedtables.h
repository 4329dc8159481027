// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/tablelock.h>

#include <database/memorytable.h>

#include <QString>
#include <QStringList>

#include <mutex>

/// The names of the tables that were waited for, sorted. Where this header is included, in one source of a
/// program, its function takes the place of that of the library: whether a thread still waits for the lock of
/// a table that is about to be deleted is a matter of luck, and what comes of it, too.
class WaitedTables
{
public:
    /// Until it is deleted, whoever waits for a table does not come back.
    WaitedTables() : m_isHeld(s_mutex) {}

    static void append(const QString &name)
    {
        const std::lock_guard lock(s_mutex);
        s_names.append(name);
        s_names.sort();
    }
    static QStringList names()
    {
        const std::lock_guard lock(s_mutex);
        return s_names;
    }

private:
    const std::lock_guard<std::mutex> m_isHeld;
    static inline std::mutex s_mutex;
    static inline QStringList s_names;
};

void sito::parallel::waitForWaiters(const Table &table)
{
    WaitedTables::append(static_cast<const MemoryTable &>(table).name());
}
