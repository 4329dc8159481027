// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/hashslots_p.h>
#include <hostkit/table/rowlists_p.h>

#include <data/record.h>

#include <QtGlobal>

#include <array>
#include <bit>
#include <memory>
#include <optional>
#include <vector>

class Table;

namespace sito {

/// The rows of a table as they stood when they were listed, with a handle on each, so that none dies under
/// whoever reads it. A row is named by its id, its place in the list.
///
/// Rows that were appended to the table later may be added, and those that left it be marked as gone; then
/// the ids of the others stay. So the order of the ids is that of the master index as long as no row is
/// inserted before others.
///
/// **Threads.** Several threads may read the rows of ids that they know while one adds rows and marks them;
/// all else is for that one.
class RowSet
{
public:
    static constexpr quint32 none = ~quint32(0);

    /// No rows.
    RowSet() = default;
    /// The rows of \a table in the order of its master index, listed under the table's lock.
    static RowSet list(const Table &table);
    /// The rows at \a blocks, which are kept alive by somebody else during the call.
    static RowSet of(const std::vector<unsigned char *> &blocks);

    const Record &operator[](quint32 id) const
    {
        const auto listed = quint32(m_rows.size());
        return id < listed ? m_rows[id] : appended(id - listed);
    }
    quint32 size() const { return quint32(m_rows.size()) + m_appendedCount; }
    /// How many of the rows, the first ones, stand in the table's index or stood there; those behind have
    /// left it before the rows were listed.
    quint32 listedCount() const { return m_listed + m_appendedCount; }
    /// How many of the listed rows are not marked as gone.
    quint32 liveCount() const { return listedCount() - m_goneCount; }
    /// The id of the row at \a row; none when it is not in the set. The first call prepares the search.
    quint32 find(const unsigned char *row) const;
    /// Prepares find(), which takes time in proportion to the rows, and leaves room for half as many more.
    void prepareSearch() const;

    /// Appends a row that has left the table and returns its id.
    quint32 addDeparted(const Record &row);
    /// Takes the rows behind the listed ones out; null when there are none.
    std::shared_ptr<const std::vector<Record>> takeDeparted();

    /// Whether rows may be appended: there are no departed ones.
    bool mayGrow() const { return m_rows.size() == m_listed; }
    /// Adds a row that was appended to the table and returns its id.
    quint32 append(const Record &row);
    /// Marks a row as gone from the table; it is kept alive nevertheless.
    void markGone(quint32 id);
    bool isGone(quint32 id) const { return id < m_gone.size() && m_gone[id]; }
    /// For each listed row whether it has not gone.
    RowFlags present(const SpareAllocator<quint8> &allocator) const;
    /// Whether so many rows were added or have gone that compacted() is worth its time.
    bool isWorn() const;
    /// The listed rows that have not gone, in their order. \a newIds becomes, for each id, that in the
    /// result, or none. Nobody may change this set meanwhile.
    RowSet compacted(std::vector<quint32> &newIds) const;

private:
    struct Slot
    {
        quint32 id = none;

        bool isFree() const { return id == none; }
    };
    /// Appended rows lie in arrays, each twice as long as the one before, and never move.
    static constexpr quint32 firstArray = 1024;
    static size_t arrayOf(quint32 number) { return size_t(std::bit_width(number / firstArray + 1)) - 1; }
    static quint32 arrayBegin(size_t array) { return ((quint32(1) << array) - 1) * firstArray; }

    const Record &appended(quint32 number) const
    {
        const size_t array = arrayOf(number);
        return m_appended[array][number - arrayBegin(array)];
    }

    std::vector<Record> m_rows;
    quint32 m_listed = 0;
    std::array<std::unique_ptr<Record[]>, 22> m_appended;
    quint32 m_appendedCount = 0;
    /// By id; ends with the last row that has gone.
    std::vector<quint8> m_gone;
    quint32 m_goneCount = 0;
    /// The listed rows by address; made when it is needed.
    mutable std::optional<HashSlots<Slot>> m_index;
};

} // namespace sito
