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
///
/// It steps over slots without a row: null slots and pages that hold none.
///
/// **Threads.** As the index.
///
/// **Cost.** A step takes constant time, but slots without rows are passed one by one.
class IndexIterator
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = unsigned char *;
    using difference_type = std::ptrdiff_t;
    using pointer = unsigned char *const *;
    using reference = unsigned char *;

    IndexIterator() = default;
    /// The position \a entry in \a slot or, when no row stands there, the next one up to \a lastSlot, the
    /// last slot of the index. \a entry is null when the slot is.
    IndexIterator(const IndexPage *const *slot, const IndexPage *const *lastSlot, unsigned char **entry)
        : m_slot(slot), m_lastSlot(lastSlot), m_entry(entry)
    {
        if (isAtEndOfSlot())
            goToNextSlot();
    }

    unsigned char *operator*() const { return *m_entry; }
    IndexIterator &operator++()
    {
        ++m_entry;
        if (m_entry == (*m_slot)->last)
            goToNextSlot();
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
    bool isAtEndOfSlot() const { return !*m_slot || m_entry == (*m_slot)->last; }
    void goToNextSlot()
    {
        while (m_slot != m_lastSlot && isAtEndOfSlot()) {
            ++m_slot;
            m_entry = *m_slot ? (*m_slot)->first : nullptr;
        }
    }

    const IndexPage *const *m_slot = nullptr;
    const IndexPage *const *m_lastSlot = nullptr;
    unsigned char **m_entry = nullptr;
};

/// An index for its owner, who deletes it and counts its rows.
class TableIndex
{
public:
    virtual ~TableIndex() = default;
    /// How many rows the index holds.
    virtual qint64 rowCount() const = 0;
};

/// An index for its readers: a range of rows.
class RowRange
{
public:
    virtual ~RowRange() = default;
    /// The first row; equal to end() when there is none.
    virtual IndexIterator begin() const = 0;
    /// The position behind the last row.
    virtual IndexIterator end() const = 0;
};

/// The master index of a table: every row once, in index order.
///
/// The rows stand in pages, one per slot. The first slot is never visited; any other slot may be null or hold
/// a page without rows, and there may be no slots at all.
///
/// **Threads.** Reading the index while another thread changes the table needs the table's lock.
///
/// **Cost.** rowCount() looks at every page, not at the rows. A walk over the rows calls nothing virtual but
/// begin() and end().
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
    /// The first row behind the first slot; equal to end() when there is none.
    IndexIterator begin() const override
    {
        if (m_slotCount < 2)
            return {};
        const IndexPage *page = m_slots[1];
        return {m_slots + 1, m_slots + m_slotCount - 1, page ? page->first : nullptr};
    }
    /// The position behind the last entry of the last slot, or no entry when that slot is null.
    IndexIterator end() const override
    {
        if (m_slotCount < 2)
            return {};
        const IndexPage *const *last = m_slots + m_slotCount - 1;
        return {last, last, *last ? (*last)->last : nullptr};
    }

protected:
    IndexList() = default;

    qint64 m_slotCount = 0;
    IndexPage **m_slots = nullptr;
};
