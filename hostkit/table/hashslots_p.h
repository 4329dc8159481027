// SPDX-License-Identifier: MIT
#pragma once

#include <sito_platform_p.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>
#include <vector>

namespace sito {

/// A hash table in open addressing, at least half of whose slots are free. What a slot holds, and how it is
/// told from others, is up to the user: a Slot is small, free when it is made without arguments, and isFree()
/// tells. Entries are never taken out.
template <typename Slot>
class HashSlots
{
public:
    /// Has room for \a count entries before it grows.
    explicit HashSlots(size_t count = 512) : m_slots(std::bit_ceil(std::max<size_t>(count, 1) * 2)) {}

    /// The slot of the entry with this \a hash for which isSame() answers true; if there is none, the free
    /// slot for it, and added() is to be called when it has been filled. Valid until then.
    template <typename IsSame>
    Slot &slot(size_t hash, const IsSame &isSame)
    {
        const size_t mask = m_slots.size() - 1;
        for (size_t at = hash & mask;; at = (at + 1) & mask) {
            if (m_slots[at].isFree() || isSame(m_slots[at]))
                return m_slots[at];
        }
    }
    /// As above, to look at.
    template <typename IsSame>
    const Slot &slot(size_t hash, const IsSame &isSame) const
    {
        return const_cast<HashSlots *>(this)->slot(hash, isSame);
    }

    /// Counts one more entry. Grows when there is need, for which \a hashOf gives the hash of any entry
    /// again.
    template <typename HashOf>
    void added(const HashOf &hashOf)
    {
        ++m_count;
        if (m_count * 2 <= m_slots.size())
            return;
        std::vector<Slot> slots(m_slots.size() * 4);
        slots.swap(m_slots);
        for (const Slot &entry : slots) {
            if (!entry.isFree())
                slot(hashOf(entry), [](const Slot &) { return false; }) = entry;
        }
    }

    /// Fetches the memory where the search for \a hash begins.
    void prefetch(size_t hash) const { platform::prefetch(&m_slots[hash & (m_slots.size() - 1)]); }

private:
    std::vector<Slot> m_slots;
    size_t m_count = 0;
};

} // namespace sito
