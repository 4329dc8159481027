// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace sito {

namespace parallel {

/// Tells work in a thread whether to stop, as requested from its StopSource. Copies share the source. A
/// default-constructed token never stops anything.
///
/// **Threads.** May be used from any thread.
///
/// **Cost.** isStopRequested() reads one atomic flag, without a barrier.
class HOSTKIT_EXPORT StopToken
{
public:
    StopToken() = default;

    /// Whether it has a source.
    bool canStop() const { return m_state != nullptr; }
    /// Whether its source has requested the stop; false without a source.
    bool isStopRequested() const { return m_state && m_state->isRequested.load(std::memory_order_relaxed); }
    /// Throws Stopped when the stop is requested.
    void throwIfStopped() const;

    /// Blocks until \a isDone answers true or the stop is requested; returns the last answer of \a isDone. It
    /// is asked again after each wake(). Only if canStop().
    bool wait(const std::function<bool()> &isDone) const;
    /// Wakes the threads that wait on this token. Call it after what they wait for has changed.
    void wake() const;

private:
    friend class StopSource;

    struct State
    {
        std::atomic<bool> isRequested = false;
        std::mutex mutex;
        std::condition_variable changed;
    };
    explicit StopToken(std::shared_ptr<State> state) : m_state(std::move(state)) {}

    std::shared_ptr<State> m_state;
};

/// Thrown out of work whose stop was requested.
struct HOSTKIT_EXPORT Stopped
{
};

} // namespace parallel

} // namespace sito
