// SPDX-License-Identifier: MIT
#include <hostkit/parallel/stopsource.h>

namespace sito {

void parallel::StopSource::requestStop() const
{
    m_token.m_state->isRequested.store(true, std::memory_order_relaxed);
    m_token.wake();
}

} // namespace sito
