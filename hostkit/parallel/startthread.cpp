// SPDX-License-Identifier: MIT
#include <hostkit/parallel/startthread_p.h>

#include <hostkit/parallel/poolwork_p.h>
#include <hostkit/parallel/threadpool.h>

#include <QThreadPool>

#include <limits>
#include <memory>
#include <utility>

namespace sito {

namespace {

/// A runnable with a thread to itself: the pool has room for one more while it is there.
class Guest final : public parallel::PoolWork
{
    Q_DISABLE_COPY_MOVE(Guest)
public:
    Guest(QThreadPool *pool, std::function<void()> work) : m_pool(pool), m_work(std::move(work))
    {
        m_pool->releaseThread();
        setReady();
    }
    ~Guest() override { m_pool->reserveThread(); }

private:
    void work() override { m_work(); }

    QThreadPool *const m_pool;
    const std::function<void()> m_work;
};

} // namespace

void parallel::startThread(std::function<void()> work)
{
    QThreadPool *pool = threadPool();
    checkMemoryForThread();
    auto guest = std::make_unique<Guest>(pool, std::move(work));
    // Before whatever else waits for room, which others may have taken meanwhile.
    pool->start(guest.get(), std::numeric_limits<int>::max());
    static_cast<void>(guest.release());
}

} // namespace sito
