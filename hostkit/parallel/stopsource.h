// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stoptoken.h>

namespace sito {

namespace parallel {

/// Requests the stop of work that has its token(). A copy is the same source. The destructor does not request
/// the stop.
///
/// **Threads.** May be used from any thread.
///
/// **Cost.** Copies share one state.
class HOSTKIT_EXPORT StopSource
{
public:
    StopSource() : m_token(std::make_shared<StopToken::State>()) {}

    /// Also wakes the threads that wait on the token.
    void requestStop() const;
    /// Whether requestStop() was called on this source or a copy.
    bool isStopRequested() const { return m_token.isStopRequested(); }
    /// The token to give to the work; valid as long as this object.
    const StopToken &token() const { return m_token; }

private:
    StopToken m_token;
};

} // namespace parallel

} // namespace sito
