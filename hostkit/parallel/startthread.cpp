// SPDX-License-Identifier: MIT
#include <hostkit/parallel/startthread_p.h>

#include <hostkit/parallel/threadpool.h>

#include <QRunnable>
#include <QThreadPool>

#include <atomic>
#include <limits>
#include <memory>
#include <utility>

namespace sito {

namespace {

/// A runnable with a thread to itself: the pool has room for one more while it is there.
class Guest final : public QRunnable
{
    Q_DISABLE_COPY_MOVE(Guest)
public:
    Guest(QThreadPool *pool, std::function<void()> work) : m_pool(pool), m_work(std::move(work))
    {
        m_pool->releaseThread();
        m_isReady.store(true, std::memory_order_release);
    }
    ~Guest() override { m_pool->reserveThread(); }
    void run() override
    {
        if (m_isReady.load(std::memory_order_acquire))
            m_work();
    }

private:
    QThreadPool *const m_pool;
    const std::function<void()> m_work;
    /// Qt hands this over under its own locks, which a thread sanitizer does not see.
    std::atomic<bool> m_isReady = false;
};

} // namespace

void parallel::startThread(std::function<void()> work)
{
    QThreadPool *pool = threadPool();
    auto guest = std::make_unique<Guest>(pool, std::move(work));
    // Before whatever else waits for room, which others may have taken meanwhile.
    pool->start(guest.get(), std::numeric_limits<int>::max());
    static_cast<void>(guest.release());
}

} // namespace sito
