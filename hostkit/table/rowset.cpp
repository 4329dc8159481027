// SPDX-License-Identifier: MIT
#include <hostkit/table/rowset_p.h>

#include <data/indexlist.h>
#include <data/table.h>

#include <bit>
#include <mutex>

namespace sito {

namespace {

size_t slotOf(const unsigned char *row, size_t mask)
{
    // The multiplication carries the bits in which neighbouring rows differ to the top of the word.
    const quint64 mixed = quint64(quintptr(row)) * 0x9E3779B97F4A7C15u;
    return size_t(mixed >> 32) & mask;
}

} // namespace

RowSet RowSet::list(const Table &table)
{
    RowSet result;
    const std::lock_guard lock(table);
    const IndexList &index = *table.masterIndex();
    result.m_rows.reserve(size_t(index.rowCount()));
    for (unsigned char *row : index)
        result.m_rows.emplace_back(row);
    result.m_listed = quint32(result.m_rows.size());
    return result;
}

quint32 RowSet::find(const unsigned char *row) const
{
    if (m_slots.empty()) {
        m_slots.assign(std::bit_ceil(size_t(m_listed) * 2 + 1), none);
        const size_t mask = m_slots.size() - 1;
        for (quint32 id = 0; id < m_listed; ++id) {
            size_t slot = slotOf(m_rows[id].row(), mask);
            while (m_slots[slot] != none)
                slot = (slot + 1) & mask;
            m_slots[slot] = id;
        }
    }
    const size_t mask = m_slots.size() - 1;
    for (size_t slot = slotOf(row, mask); m_slots[slot] != none; slot = (slot + 1) & mask) {
        if (m_rows[m_slots[slot]].row() == row)
            return m_slots[slot];
    }
    return none;
}

quint32 RowSet::addDeparted(const Record &row)
{
    m_rows.push_back(row);
    return quint32(m_rows.size() - 1);
}

std::shared_ptr<const std::vector<Record>> RowSet::takeDeparted()
{
    if (m_rows.size() == m_listed)
        return nullptr;
    const auto first = m_rows.begin() + qptrdiff(m_listed);
    auto departed = std::make_shared<std::vector<Record>>(std::make_move_iterator(first),
                                                          std::make_move_iterator(m_rows.end()));
    m_rows.resize(m_listed);
    return departed;
}

} // namespace sito
