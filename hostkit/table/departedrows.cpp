// SPDX-License-Identifier: MIT
#include <hostkit/table/departedrows_p.h>

namespace sito {

void DepartedRows::begin()
{
    const std::lock_guard lock(m_mutex);
    ++m_readers;
}

void DepartedRows::end()
{
    std::deque<Record> departed;
    const std::lock_guard lock(m_mutex);
    if (--m_readers == 0)
        departed.swap(m_rows);
}

void DepartedRows::keep(const TableChange &change) noexcept
{
    if (change.kind != TableChange::Removed)
        return;
    const std::lock_guard lock(m_mutex);
    if (m_readers == 0)
        return;
    for (unsigned char *row : change.rows) {
        try {
            m_rows.emplace_back(row);
        } catch (...) {
            // It is about to be read: better it is never freed.
            reinterpret_cast<RowHeader *>(row)->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
}

} // namespace sito
