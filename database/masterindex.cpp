// SPDX-License-Identifier: MIT
#include "masterindex_p.h"

#include <algorithm>

namespace {
constexpr qint64 pageEntries = 8192;
constexpr qint64 firstPageEntries = 64;
} // namespace

MasterIndex::MasterIndex() : m_table(2, nullptr)
{
    publish();
}

MasterIndex::~MasterIndex()
{
    clear();
}

void MasterIndex::publish()
{
    m_slots = m_table.data();
    m_slotCount = qint64(m_table.size());
}

qint64 MasterIndex::slotOf(qint64 position) const
{
    qint64 low = 1;
    qint64 high = qint64(m_table.size()) - 1;
    while (low < high) {
        const qint64 middle = (low + high + 1) / 2;
        if (page(middle)->start <= position)
            low = middle;
        else
            high = middle - 1;
    }
    return low;
}

unsigned char *MasterIndex::at(qint64 position) const
{
    const Page *holder = page(slotOf(position));
    return holder->first[position - holder->start];
}

qint64 MasterIndex::positionOf(const unsigned char *row) const
{
    if (m_size == 0)
        return -1;
    for (size_t slot = 1; slot < m_table.size(); ++slot) {
        const Page *holder = page(qint64(slot));
        const auto found = std::find(holder->first, holder->last, row);
        if (found != holder->last)
            return holder->start + (found - holder->first);
    }
    return -1;
}

void MasterIndex::reserve(qint64 count)
{
    const Page *last = page(qint64(m_table.size()) - 1);
    qint64 room = last ? last->capacity - last->count() : 0;
    for (const auto &spare : m_spare)
        room += spare->capacity;
    while (room < count) {
        const bool small = m_size == 0 && m_spare.empty() && count <= firstPageEntries;
        auto fresh = std::make_unique<Page>(small ? firstPageEntries : pageEntries);
        room += fresh->capacity;
        m_spare.push_back(std::move(fresh));
    }
    m_table.reserve(m_table.size() + m_spare.size());
    publish();
}

void MasterIndex::append(unsigned char *row)
{
    Page *last = page(qint64(m_table.size()) - 1);
    if (!last || last->count() == last->capacity) {
        if (m_spare.empty())
            reserve(1);
        last = m_spare.back().release();
        m_spare.pop_back();
        last->start = m_size;
        if (m_table.back())
            m_table.push_back(last);
        else
            m_table.back() = last;
        publish();
    }
    *last->last++ = row;
    ++m_size;
}

void MasterIndex::insert(qint64 position, std::span<unsigned char *const> rows)
{
    if (rows.empty())
        return;
    if (position == m_size) {
        reserve(qint64(rows.size()));
        for (unsigned char *row : rows)
            append(row);
        return;
    }

    // The page is cut at the position; the new rows and its second half get pages of their own.
    const qint64 slot = slotOf(position);
    Page *cut = page(slot);
    unsigned char **middle = cut->first + (position - cut->start);
    std::vector<unsigned char *> tail(rows.begin(), rows.end());
    tail.insert(tail.end(), middle, cut->last);
    std::vector<std::unique_ptr<Page>> fresh;
    for (size_t done = 0; done < tail.size();) {
        const size_t count = std::min(size_t(pageEntries), tail.size() - done);
        auto &next = fresh.emplace_back(std::make_unique<Page>(qint64(count)));
        next->last = std::copy_n(tail.data() + done, count, next->first);
        done += count;
    }
    m_table.reserve(m_table.size() + fresh.size());

    cut->last = middle;
    qint64 at = slot + 1;
    for (auto &next : fresh)
        m_table.insert(m_table.begin() + at++, next.release());
    dropEmptyPages();
}

void MasterIndex::dropEmptyPages()
{
    size_t kept = 1;
    m_size = 0;
    for (size_t slot = 1; slot < m_table.size(); ++slot) {
        Page *current = page(qint64(slot));
        if (!current)
            continue;
        if (current->count() == 0) {
            delete current;
            continue;
        }
        current->start = m_size;
        m_size += current->count();
        m_table[kept++] = current;
    }
    m_table.resize(kept);
    if (m_table.size() < 2)
        m_table.push_back(nullptr);
    publish();
}

void MasterIndex::clear()
{
    removeIf([](unsigned char *) { return true; });
    m_spare.clear();
}

qint64 MasterIndex::memoryUsage() const
{
    constexpr qint64 pointerSize = sizeof(void *);
    qint64 bytes = qint64(m_table.capacity()) * pointerSize;
    const auto pageBytes = [](const Page &page) {
        return qint64(sizeof(Page)) + page.capacity * pointerSize;
    };
    for (const IndexPage *current : m_table) {
        if (current)
            bytes += pageBytes(*static_cast<const Page *>(current));
    }
    for (const auto &spare : m_spare)
        bytes += pageBytes(*spare);
    return bytes;
}
