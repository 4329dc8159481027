// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <functional>

class QThreadPool;

namespace sito {

namespace parallel {

/// The pool from which all threads of this library come: the one that was set, or a pool of the library's own
/// with a thread for each core. It is not Qt's global one, in which work of the host may stand in the way.
HOSTKIT_EXPORT QThreadPool *threadPool();

/// Makes \a pool the one from which threads come; null for the library's own. It is not owned, and must live
/// until the library's objects are deleted and its threads have returned, see QThreadPool::waitForDone(). To
/// be called from the GUI thread before the first of these objects is made.
HOSTKIT_EXPORT void setThreadPool(QThreadPool *pool);

/// Calls \a work in a thread of the pool, at once even if the pool is full: such a thread counts for nothing
/// in QThreadPool::maxThreadCount(), which so limits only those among whom one task is split. \a work must
/// not throw, and is deleted in the thread. Throws std::bad_alloc; then \a work is not called.
HOSTKIT_EXPORT void startThread(std::function<void()> work);

} // namespace parallel

} // namespace sito
