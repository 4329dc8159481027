// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

class QThreadPool;

namespace sito {

namespace parallel {

/// The pool from which all threads of this library come: the one that was set, or a pool of the library's own
/// with a thread for each core. The library does not use Qt's global pool, where work of the host may block
/// it.
HOSTKIT_EXPORT QThreadPool *threadPool();

/// Makes \a pool the one from which threads come; null for the library's own. It is not owned, and must live
/// until the library's objects are deleted and its threads have returned, see QThreadPool::waitForDone(). To
/// be called from the GUI thread before the first of these objects is made.
HOSTKIT_EXPORT void setThreadPool(QThreadPool *pool);

} // namespace parallel

} // namespace sito
