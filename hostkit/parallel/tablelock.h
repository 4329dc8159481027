// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/parallel/stoptoken.h>

#include <functional>

class Table;

namespace sito {

namespace parallel {

/// Calls \a work while the lock of \a table is held, and throws what it throws; waits for both, but for the
/// lock no longer than until \a stop is requested: then it throws Stopped, and \a work is not called.
///
/// \a work runs in another thread, which owns the lock and so may lock again. The calling thread must not own
/// the lock. Throws std::bad_alloc when there is no thread to be had.
///
/// **Lifetime.** Nobody can call a thread back from Table::lock(): one whose work was stopped meanwhile stays
/// there until whoever has the lock lets go of it, then lets go of it at once and returns to the pool. There
/// is at most one for each table, which then serves those who asked in the meantime. It refers to nothing but
/// the table. A stopped call gives it a tenth of a second to leave, which it does at once unless the lock is
/// in other hands for longer. So who deletes a table that was locked for long while work over it was stopped,
/// calls waitForWaiters() before.
HOSTKIT_EXPORT void underLock(const Table &table, const StopToken &stop, const std::function<void()> &work);

/// Blocks until no thread of this library waits for the lock of \a table or holds it. The calling thread must
/// not own the lock, and the objects that work with the table must be deleted or idle.
HOSTKIT_EXPORT void waitForWaiters(const Table &table);

} // namespace parallel

} // namespace sito
