// SPDX-License-Identifier: MIT
#include <hostkit/table/tablewatch_p.h>

#include <utility>

namespace sito {

TableWatch::TableWatch(TableChanges &changes, std::function<void()> wake)
    : m_source(changes), m_wake(std::move(wake))
{
    m_source.add(this);
}

TableWatch::~TableWatch()
{
    stop();
}

void TableWatch::stop() noexcept
{
    if (std::exchange(m_isListening, false))
        m_source.remove(this);
}

void TableWatch::tableChanged(const TableChange &change) noexcept
{
    m_departed.keep(change);
    if (m_isWoken.exchange(true))
        return;
    try {
        m_wake();
    } catch (...) {
        m_isWoken.store(false);
    }
}

} // namespace sito
