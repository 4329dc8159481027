// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace sito {

namespace parallel {

/// Calls \a work in a thread of the pool, at once even if the pool is full: QThreadPool::maxThreadCount()
/// does not limit these threads, only those over which one task is split. \a work must not throw, and is
/// deleted in the thread. Throws std::bad_alloc; then \a work is not called.
void startThread(std::function<void()> work);

} // namespace parallel

} // namespace sito
