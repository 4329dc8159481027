// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <iterator>

/// One page of a master index: the row blocks between \a first and \a last, the latter excluded.
struct IndexPage
{
    unsigned char **first = nullptr;
    unsigned char **last = nullptr;
};

/// A position in a master index. Dereferencing gives the row block. Valid until the index changes.
class IndexIterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = unsigned char *;
    using difference_type = std::ptrdiff_t;
    using pointer = unsigned char *const *;
    using reference = unsigned char *;

    IndexIterator() = default;
    IndexIterator(const IndexPage *const *slot, const IndexPage *const *lastSlot, unsigned char **entry)
        : m_slot(slot), m_lastSlot(lastSlot), m_entry(entry)
    {
    }

    unsigned char *operator*() const { return *m_entry; }
    IndexIterator &operator++()
    {
        ++m_entry;
        while (m_entry == (*m_slot)->last && m_slot != m_lastSlot) {
            ++m_slot;
            m_entry = (*m_slot)->first;
        }
        return *this;
    }
    IndexIterator operator++(int)
    {
        const IndexIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const IndexIterator &other) const
    {
        return m_entry == other.m_entry && m_slot == other.m_slot;
    }

private:
    const IndexPage *const *m_slot = nullptr;
    const IndexPage *const *m_lastSlot = nullptr;
    unsigned char **m_entry = nullptr;
};

/// What an index is to its owner: an object that can be deleted and counted.
class TableIndex
{
public:
    virtual ~TableIndex() = default;
    virtual qint64 rowCount() const = 0;
};

/// What an index is to its readers: a range of rows.
class RowRange
{
public:
    virtual ~RowRange() = default;
    virtual IndexIterator begin() const = 0;
    virtual IndexIterator end() const = 0;
};

/// The master index of a table: every row once, in index order.
///
/// The rows stand in pages. The first page slot is never visited; the database library sees to it that there
/// are at least two slots and that, when there are rows at all, neither the second slot nor the last is empty
/// and no slot behind the second is null. Reading it while another thread changes the table needs the table's
/// lock.
class IndexList : public TableIndex, public RowRange
{
public:
    qint64 rowCount() const override
    {
        qint64 count = 0;
        for (qint64 slot = 1; slot < m_slotCount; ++slot) {
            if (m_slots[slot])
                count += m_slots[slot]->last - m_slots[slot]->first;
        }
        return count;
    }
    /// The first entry of the second slot, or no entry when that slot is empty.
    IndexIterator begin() const override
    {
        const IndexPage *page = m_slots[1];
        return {m_slots + 1, m_slots + m_slotCount - 1, page ? page->first : nullptr};
    }
    /// The place behind the last entry of the last slot, or no entry when that slot is empty.
    IndexIterator end() const override
    {
        const IndexPage *const *last = m_slots + m_slotCount - 1;
        return {last, last, *last ? (*last)->last : nullptr};
    }

protected:
    IndexList() = default;

    qint64 m_slotCount = 0;
    IndexPage **m_slots = nullptr;
};
