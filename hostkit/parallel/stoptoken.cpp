// SPDX-License-Identifier: MIT
#include <hostkit/parallel/stoptoken.h>

namespace sito {

void parallel::StopToken::throwIfStopped() const
{
    if (isStopRequested())
        throw Stopped();
}

bool parallel::StopToken::wait(const std::function<bool()> &isDone) const
{
    std::unique_lock lock(m_state->mutex);
    bool answer = false;
    m_state->changed.wait(lock, [&] { return (answer = isDone()) || isStopRequested(); });
    return answer;
}

void parallel::StopToken::wake() const
{
    if (!m_state)
        return;
    // A thread that has just found nothing changed waits by the time this lock is taken.
    const std::lock_guard lock(m_state->mutex);
    m_state->changed.notify_all();
}

} // namespace sito
