// SPDX-License-Identifier: MIT
#include <hostkit/parallel/threadpool.h>

#include <QThreadPool>

#include <atomic>

namespace sito {

namespace {

std::atomic<QThreadPool *> hostsPool = nullptr;

} // namespace

QThreadPool *parallel::threadPool()
{
    QThreadPool *pool = hostsPool.load(std::memory_order_acquire);
    if (pool)
        return pool;
    // Never deleted: the end of the program must not wait for a thread that waits for a table's lock.
    static auto *const own = new QThreadPool;
    return own;
}

void parallel::setThreadPool(QThreadPool *pool)
{
    hostsPool.store(pool, std::memory_order_release);
}

} // namespace sito
