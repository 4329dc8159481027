// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/parallel/stoptoken.h>

#include <functional>
#include <memory>
#include <new>
#include <utility>

class Table;

namespace sito {

namespace parallel {

/// Calls \a work while the lock of \a table is held, waits for it, and throws what it throws. If \a stop is
/// requested before the lock is obtained, throws Stopped without calling \a work.
///
/// \a work runs in another thread, which owns the lock and so may lock again. The calling thread must not own
/// the lock. Throws std::bad_alloc when no thread can be started.
///
/// **Lifetime.** Table::lock() cannot be interrupted. A thread whose work was stopped meanwhile stays in it
/// until the lock is released, then releases the lock at once and returns to the pool. There is at most one
/// such thread for each table; it serves those who asked in the meantime. It refers to nothing but the table.
/// A stopped call waits up to a tenth of a second for the thread to leave, which is enough unless another
/// thread holds the lock for longer. Therefore, before you delete a table that was locked for long while work
/// over it was stopped, call waitForWaiters().
HOSTKIT_EXPORT void underLock(const Table &table, const StopToken &stop, const std::function<void()> &work);

/// Blocks until no thread of this library waits for the lock of \a table or holds it. The calling thread must
/// not own the lock, and the objects that work with the table must be deleted or idle.
HOSTKIT_EXPORT void waitForWaiters(const Table &table);

/// Deletes \a table, if this is the last handle, in a thread of the pool, after waitForWaiters(): millions of
/// rows take their time. Their memory goes back to the system. Nobody waits for the thread, so that the
/// program may end meanwhile. Deletes it in the calling thread when there is not enough memory for a thread.
HOSTKIT_EXPORT void deleteAside(std::shared_ptr<const Table> table) noexcept;
/// The same.
template <typename Owned>
void deleteAside(std::unique_ptr<Owned> table) noexcept
{
    std::shared_ptr<const Table> shared;
    try {
        shared = std::move(table);
    } catch (const std::bad_alloc &) {
        waitForWaiters(*table);
        return;
    }
    deleteAside(std::move(shared));
}

} // namespace parallel

} // namespace sito
