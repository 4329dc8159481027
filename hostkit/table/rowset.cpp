// SPDX-License-Identifier: MIT
#include <hostkit/table/rowset_p.h>

#include <data/indexlist.h>
#include <data/table.h>

#include <algorithm>
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

RowSet RowSet::of(const std::vector<unsigned char *> &blocks)
{
    RowSet result;
    result.m_rows.reserve(blocks.size());
    for (unsigned char *row : blocks)
        result.m_rows.emplace_back(row);
    result.m_listed = quint32(result.m_rows.size());
    return result;
}

void RowSet::prepareSearch() const
{
    const quint32 count = listedCount();
    HashSlots<Slot> index(count + count / 2);
    for (quint32 id = 0; id < count; ++id) {
        index.slot(hashOf((*this)[id].row()), [](const Slot &) { return false; }).id = id;
        index.added([this](const Slot &slot) { return hashOf((*this)[slot.id].row()); });
    }
    m_index = std::move(index);
}

quint32 RowSet::find(const unsigned char *row) const
{
    if (!m_index)
        prepareSearch();
    return m_index->slot(hashOf(row), [&](const Slot &slot) { return (*this)[slot.id].row() == row; }).id;
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

quint32 RowSet::append(const Record &row)
{
    if (!m_index)
        prepareSearch();
    const size_t array = arrayOf(m_appendedCount);
    if (!m_appended[array])
        m_appended[array] = std::make_unique<Record[]>(size_t(firstArray) << array);
    const quint32 id = listedCount();
    m_appended[array][m_appendedCount - arrayBegin(array)] = row;
    ++m_appendedCount;
    Slot &slot = m_index->slot(hashOf(row.row()),
                               [&](const Slot &other) { return (*this)[other.id].row() == row.row(); });
    const bool isNew = slot.isFree();
    // A row that had gone and is back has a new place.
    slot.id = id;
    if (isNew)
        m_index->added([this](const Slot &other) { return hashOf((*this)[other.id].row()); });
    return id;
}

void RowSet::markGone(quint32 id)
{
    if (isGone(id))
        return;
    if (id >= m_gone.size())
        m_gone.resize(size_t(id) + 1, quint8(0));
    m_gone[id] = 1;
    ++m_goneCount;
}

RowFlags RowSet::present(const SpareAllocator<quint8> &allocator) const
{
    RowFlags result(listedCount(), quint8(1), allocator);
    std::transform(m_gone.begin(), m_gone.end(), result.begin(), [](quint8 gone) { return quint8(!gone); });
    return result;
}

bool RowSet::isWorn() const
{
    constexpr quint32 few = 1 << 10;
    return m_goneCount > few + listedCount() / 4 || m_appendedCount > 4 * few + m_listed / 2;
}

RowSet RowSet::compacted(std::vector<quint32> &newIds) const
{
    RowSet result;
    result.m_rows.reserve(liveCount());
    newIds.assign(listedCount(), none);
    for (quint32 id = 0; id < newIds.size(); ++id) {
        if (isGone(id))
            continue;
        newIds[id] = quint32(result.m_rows.size());
        result.m_rows.push_back((*this)[id]);
    }
    result.m_listed = quint32(result.m_rows.size());
    return result;
}

} // namespace sito
