// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/hashslots_p.h>

#include <data/record.h>

#include <QtGlobal>

#include <memory>
#include <optional>
#include <vector>

class Table;

namespace sito {

/// The rows of a table as they stood when they were listed, with a handle on each, so that none dies under
/// whoever reads it. A row is named by its id, its place in the list.
class RowSet
{
public:
    static constexpr quint32 none = ~quint32(0);

    /// No rows.
    RowSet() = default;
    /// The rows of \a table in the order of its master index, listed under the table's lock.
    static RowSet list(const Table &table);

    const Record &operator[](quint32 id) const { return m_rows[id]; }
    quint32 size() const { return quint32(m_rows.size()); }
    /// How many of the rows, the first ones, stand in the table's index; those behind have left it.
    quint32 listedCount() const { return m_listed; }
    /// The id of the row at \a row; none when it is not in the set. The first call prepares the search, which
    /// takes time in proportion to the rows; not safe from several threads.
    quint32 find(const unsigned char *row) const;

    /// Appends a row that has left the table and returns its id.
    quint32 addDeparted(const Record &row);
    /// Takes the rows behind the listed ones out; null when there are none.
    std::shared_ptr<const std::vector<Record>> takeDeparted();

private:
    struct Slot
    {
        quint32 id = none;

        bool isFree() const { return id == none; }
    };

    void makeIndex() const;

    std::vector<Record> m_rows;
    quint32 m_listed = 0;
    /// The listed rows by address; made when it is needed.
    mutable std::optional<HashSlots<Slot>> m_index;
};

} // namespace sito
