// SPDX-License-Identifier: MIT
#include <database/masterindex_p.h>

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
        // Also when there is a spare page: a reserve() that threw may have left it without a slot in the
        // table.
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

    const auto added = qint64(rows.size());
    const qint64 slot = slotOf(position);
    Page *holder = page(slot);
    unsigned char **place = holder->first + (position - holder->start);
    if (holder->capacity - holder->count() >= added) {
        std::copy_backward(place, holder->last, holder->last + added);
        std::copy(rows.begin(), rows.end(), place);
        holder->last += added;
    } else {
        std::vector<unsigned char *> content;
        content.reserve(size_t(holder->count() + added));
        content.insert(content.end(), holder->first, place);
        content.insert(content.end(), rows.begin(), rows.end());
        content.insert(content.end(), place, holder->last);
        replacePage(slot, content);
    }
    renumber(slot);
}

void MasterIndex::replacePage(qint64 slot, std::span<unsigned char *const> content)
{
    // Equal shares leave every page at least half full, and room in each for the next insertions.
    const auto count = qint64(content.size());
    const qint64 pages = (count + pageEntries - 1) / pageEntries;
    const qint64 capacity =
        pages == 1 ? std::min(pageEntries, std::max(2 * count, firstPageEntries)) : pageEntries;
    std::vector<std::unique_ptr<Page>> fresh;
    fresh.reserve(size_t(pages));
    for (qint64 i = 0; i < pages; ++i) {
        const qint64 from = count * i / pages;
        auto &next = fresh.emplace_back(std::make_unique<Page>(capacity));
        next->last =
            std::copy(content.begin() + from, content.begin() + count * (i + 1) / pages, next->first);
    }
    m_table.reserve(m_table.size() + fresh.size());

    // From here on nothing fails.
    delete page(slot);
    m_table.insert(m_table.begin() + slot, size_t(pages - 1), nullptr);
    for (auto &next : fresh)
        m_table[size_t(slot++)] = next.release();
    publish();
}

void MasterIndex::renumber(qint64 slot)
{
    qint64 start = slot == 1 ? 0 : page(slot - 1)->start + page(slot - 1)->count();
    for (; slot < qint64(m_table.size()); ++slot) {
        page(slot)->start = start;
        start += page(slot)->count();
    }
    m_size = start;
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
