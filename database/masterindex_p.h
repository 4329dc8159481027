// SPDX-License-Identifier: MIT
#pragma once

#include <data/indexlist.h>

#include <memory>
#include <span>
#include <vector>

/// The master index of a MemoryTable. It neither counts references nor frees rows: the table does. Positions
/// are row numbers from 0.
class MasterIndex final : public IndexList
{
public:
    MasterIndex();
    ~MasterIndex() override;

    qint64 size() const { return m_size; }
    unsigned char *at(qint64 position) const;
    /// The position of \a row, or -1; takes time proportional to the number of rows.
    qint64 positionOf(const unsigned char *row) const;

    /// Makes room for \a count more rows at the end, so that append() cannot fail for them.
    void reserve(qint64 count);
    void append(unsigned char *row);
    /// Inserts all \a rows before \a position, or none when memory runs out.
    void insert(qint64 position, std::span<unsigned char *const> rows);
    /// Removes the rows for which \a leaves returns true, in one pass.
    template <typename Predicate>
    void removeIf(Predicate leaves);
    void clear();
    /// Calls \a look with the rows of each page that has some.
    template <typename Look>
    void forEachPage(Look look) const;

    qint64 memoryUsage() const;

private:
    struct Page : IndexPage
    {
        explicit Page(qint64 entries) : room(new unsigned char *[size_t(entries)]), capacity(entries)
        {
            first = last = room.get();
        }
        qint64 count() const { return last - first; }

        std::unique_ptr<unsigned char *[]> room;
        qint64 capacity;
        /// The position of the first row.
        qint64 start = 0;
    };

    Page *page(qint64 slot) const { return static_cast<Page *>(m_table[size_t(slot)]); }
    qint64 slotOf(qint64 position) const;
    void publish();
    /// Replaces the page at \a slot by new pages with \a content; has no effect when memory runs out.
    void replacePage(qint64 slot, std::span<unsigned char *const> content);
    /// Counts the rows again from the page at \a slot on; there must be one.
    void renumber(qint64 slot);
    void dropEmptyPages();

    /// The slots of m_slots: slot 0 is never used, the others hold pages without gaps.
    std::vector<IndexPage *> m_table;
    qint64 m_size = 0;
    /// Empty pages that reserve() made, last first.
    std::vector<std::unique_ptr<Page>> m_spare;
};

template <typename Look>
void MasterIndex::forEachPage(Look look) const
{
    for (const IndexPage *page : m_table) {
        if (page && page->first != page->last)
            look(std::span<unsigned char *const>(page->first, page->last));
    }
}

template <typename Predicate>
void MasterIndex::removeIf(Predicate leaves)
{
    for (size_t slot = 1; slot < m_table.size(); ++slot) {
        IndexPage *current = m_table[slot];
        if (!current)
            continue;
        unsigned char **kept = current->first;
        for (unsigned char **entry = current->first; entry != current->last; ++entry) {
            if (!leaves(*entry))
                *kept++ = *entry;
        }
        current->last = kept;
    }
    dropEmptyPages();
}
