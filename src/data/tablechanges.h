// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <span>
#include <vector>

/// What happened to rows of a table.
///
/// **Threads.** A plain value; what it refers to lives as long as the call that it is handed to.
///
/// **Cost.** None: it owns nothing.
struct TableChange
{
    /// What happened to the rows.
    enum Kind {
        Appended, ///< The rows stand at the end of the master index, in the order given.
        Inserted, ///< The rows stand in the master index, anywhere, and those before keep their order.
        Removed,  ///< The rows have left the master index. They are freed after the call at the earliest.
        Updated,  ///< Values of the rows were written; some rows may stand in no index.
    };
    Kind kind = Updated;
    /// The row blocks, each once.
    std::span<unsigned char *const> rows = {};
    /// The columns that were written, of Updated alone; none stands for all columns.
    std::span<const int> columns = {};
};

/// Whoever wants to know what changes in a table; see TableChanges.
///
/// **Threads.** Called in the thread of whoever changes the table, by one thread at a time.
///
/// **Cost.** Whoever changes the table waits for the call.
class TableListener
{
public:
    virtual ~TableListener() = default;
    /// Called after \a change, in the thread that made it, while that holds the lock of the table. Must
    /// return soon, and neither changes the table nor adds or removes listeners.
    virtual void tableChanged(const TableChange &change) noexcept = 0;
};

/// Tells listeners what changes in one table.
///
/// A MemoryTable has one and tells by itself. A host over another database library makes one for each table,
/// beside it, and calls tell() wherever it changes the table. Three rules make what listeners know exact:
/// - The thread that changes the table holds Table::lock() from before the change until tell() has returned.
/// - Every change is told, and in the order in which they were made.
/// - A row that leaves the table is told as Removed before it is freed.
///
/// **Threads.** tell() is called from any thread that holds the lock of the table; the other functions from
/// any thread. A listener whose add() has returned is told of every change that somebody makes who takes the
/// lock of the table afterwards. When remove() has returned, it is called no more.
///
/// **Cost.** While nobody listens, tell() reads one atomic number, without a barrier. Otherwise it locks a
/// mutex and calls each listener.
class TableChanges
{
    Q_DISABLE_COPY_MOVE(TableChanges)
public:
    TableChanges() = default;
    ~TableChanges() = default;

    /// Whether there is a listener: who has to gather the rows to tell of may save that.
    bool isHeard() const noexcept { return m_count.load(std::memory_order_relaxed) > 0; }
    /// Tells all listeners of \a change.
    void tell(const TableChange &change) const noexcept
    {
        if (!isHeard())
            return;
        const std::lock_guard lock(m_mutex);
        for (TableListener *listener : m_listeners)
            listener->tableChanged(change);
    }

    /// Tells \a listener, which is not owned, from now on. It is added once, and removed before it or this
    /// object is deleted. Throws std::bad_alloc.
    void add(TableListener *listener)
    {
        const std::lock_guard lock(m_mutex);
        m_listeners.push_back(listener);
        m_count.store(m_listeners.size(), std::memory_order_relaxed);
    }
    /// Tells \a listener no longer. Waits for a call of it in another thread.
    void remove(TableListener *listener) noexcept
    {
        const std::lock_guard lock(m_mutex);
        std::erase(m_listeners, listener);
        m_count.store(m_listeners.size(), std::memory_order_relaxed);
    }

private:
    mutable std::mutex m_mutex;
    std::vector<TableListener *> m_listeners;
    /// How many there are.
    std::atomic<size_t> m_count = 0;
};
