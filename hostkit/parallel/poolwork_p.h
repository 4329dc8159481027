// SPDX-License-Identifier: MIT
#pragma once

#include <QRunnable>

#include <atomic>
#include <new>

namespace sito {

namespace parallel {

/// What a thread of the pool does. QThreadPool hands it over under locks of its own, which a thread sanitizer
/// does not see: to it, every use in the thread would be a race with the constructor.
class PoolWork : public QRunnable
{
    Q_DISABLE_COPY_MOVE(PoolWork)
public:
    void run() final
    {
        if (m_isReady.load(std::memory_order_acquire))
            work();
    }

protected:
    PoolWork() = default;
    /// Ends the constructor of a subclass.
    void setReady() { m_isReady.store(true, std::memory_order_release); }
    /// Runs in the thread.
    virtual void work() = 0;

private:
    std::atomic<bool> m_isReady = false;
};

/// Throws std::bad_alloc when there is not enough memory for one more thread. Comes before each call by which
/// QThreadPool may start one: if it runs out of memory on the way, it crashes, or counts threads it lacks.
inline void checkMemoryForThread()
{
    // Several times what Qt allocates for a thread. A compiler may leave out a new expression, but no call.
    ::operator delete(::operator new(16 * 1024));
}

} // namespace parallel

} // namespace sito
