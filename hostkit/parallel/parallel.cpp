// SPDX-License-Identifier: MIT
#include <hostkit/parallel/parallel_p.h>

#include <hostkit/parallel/poolwork_p.h>
#include <hostkit/parallel/threadpool.h>

#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>

namespace sito {

namespace {

/// What the threads of one forEach() share. Helpers come when the pool has time for them: one that comes when
/// the caller has finished finds nothing to do, and touches nothing else.
class Share
{
    Q_DISABLE_COPY_MOVE(Share)
public:
    Share(const parallel::Context &context, size_t count, const std::function<void(size_t)> &work)
        : m_stop(context.stop), m_count(count), m_work(work)
    {
    }

    /// Takes parts of the work, together with the other threads, until none is left.
    void work() noexcept
    {
        try {
            for (size_t i = take(); i < m_count; i = take()) {
                if (m_hasFailed.load(std::memory_order_relaxed) || m_stop.isStopRequested())
                    return;
                m_work(i);
            }
        } catch (...) {
            const std::lock_guard lock(m_mutex);
            if (!m_error)
                m_error = std::current_exception();
            m_hasFailed.store(true, std::memory_order_relaxed);
        }
    }
    void help() noexcept
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosed)
                return;
            ++m_helpers;
        }
        work();
        const std::lock_guard lock(m_mutex);
        if (--m_helpers == 0)
            m_left.notify_all();
    }
    /// Waits for the helpers that have begun, and throws what was thrown.
    void finish()
    {
        std::unique_lock lock(m_mutex);
        m_isClosed = true;
        m_left.wait(lock, [this] { return m_helpers == 0; });
        if (m_error)
            std::rethrow_exception(std::exchange(m_error, nullptr));
    }

private:
    size_t take() { return m_next.fetch_add(1, std::memory_order_relaxed); }

    const parallel::StopToken m_stop;
    const size_t m_count;
    /// Belongs to the caller; valid until finish() has returned.
    const std::function<void(size_t)> &m_work;
    std::atomic<size_t> m_next = 0;
    std::atomic<bool> m_hasFailed = false;
    std::mutex m_mutex;
    std::condition_variable m_left;
    std::exception_ptr m_error;
    int m_helpers = 0;
    bool m_isClosed = false;
};

/// A thread of the pool that helps.
class Helper final : public parallel::PoolWork
{
    Q_DISABLE_COPY_MOVE(Helper)
public:
    explicit Helper(std::shared_ptr<Share> share) : m_share(std::move(share)) { setReady(); }

private:
    void work() override { m_share->help(); }

    const std::shared_ptr<Share> m_share;
};

/// Whether \a pool has a thread that helps now.
bool tryHelp(QThreadPool &pool, const std::shared_ptr<Share> &share)
{
    parallel::checkMemoryForThread();
    auto helper = std::make_unique<Helper>(share);
    if (!pool.tryStart(helper.get()))
        return false;
    static_cast<void>(helper.release());
    return true;
}

} // namespace

void parallel::forEach(const Context &context, size_t count, const std::function<void(size_t)> &work)
{
    const size_t threads = std::min(count, size_t(std::max(1, context.threads)));
    if (threads <= 1) {
        for (size_t i = 0; i < count; ++i) {
            context.stop.throwIfStopped();
            work(i);
        }
    } else {
        const auto share = std::make_shared<Share>(context, count, work);
        QThreadPool *pool = threadPool();
        try {
            for (size_t i = 1; i < threads && tryHelp(*pool, share); ++i) {
            }
        } catch (const std::bad_alloc &) {
            // The threads that exist do the work.
        }
        share->work();
        share->finish();
    }
    context.stop.throwIfStopped();
}

} // namespace sito
