// SPDX-License-Identifier: MIT
#include <sources/portion_p.h>

#include <algorithm>

namespace sito {

void Portion::begin()
{
    m_timer.start();
}

void Portion::end()
{
    if (m_timer.elapsed() < 30)
        m_size = std::min<qint64>(m_size * 2, 1 << 22);
    else if (m_timer.elapsed() > 120)
        m_size = std::max<qint64>(m_size / 2, 256);
}

} // namespace sito
