// SPDX-License-Identifier: MIT
#include <hostkit/table/rowset_p.h>

#include <data/indexlist.h>
#include <data/table.h>

#include <mutex>
#include <utility>

namespace sito {

namespace {

size_t hashOf(const unsigned char *row)
{
    // The multiplication carries the bits in which neighbouring rows differ to the top of the word.
    return size_t(quint64(quintptr(row)) * 0x9E3779B97F4A7C15u >> 32);
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

void RowSet::makeIndex() const
{
    HashSlots<Slot> index(m_listed);
    for (quint32 id = 0; id < m_listed; ++id) {
        index.slot(hashOf(m_rows[id].row()), [](const Slot &) { return false; }).id = id;
        index.added([this](const Slot &slot) { return hashOf(m_rows[slot.id].row()); });
    }
    m_index = std::move(index);
}

quint32 RowSet::find(const unsigned char *row) const
{
    if (!m_index)
        makeIndex();
    return m_index->slot(hashOf(row), [&](const Slot &slot) { return m_rows[slot.id].row() == row; }).id;
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
