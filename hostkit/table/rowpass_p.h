// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/sortorder_p.h>

#include <QtGlobal>

#include <memory>
#include <utility>
#include <vector>

class FilterFunc;
class Table;

namespace sito {

class RowSet;
struct ShownRows;

/// One pass over the rows: which of them are shown, and in what order, beside what was shown before.
///
/// Made in the GUI thread, run in another one, read in the GUI thread when it has ended.
class RowPass
{
public:
    /// The ids of all rows of a set in the order of some keys.
    struct Order
    {
        std::shared_ptr<const RowSet> rows;
        std::vector<sortorder::Key> keys;
        std::vector<quint32> ids;
    };

    /// What leads from the rows that were shown before to those that are shown now.
    struct Result
    {
        std::shared_ptr<const ShownRows> shown;
        /// How many of the rows shown now were not shown before.
        quint32 addedCount = 0;
        /// Whether the rows shown before and those that were added differ in order from shown->ids.
        bool isMoved = false;
        /// The first and the last place of the rows that were shown before and are shown now; there are none
        /// when the first is behind the last.
        quint32 firstKept = 1;
        quint32 lastKept = 0;
    };

    RowPass(const Table &table, std::shared_ptr<const ShownRows> before)
        : m_table(table), m_before(std::move(before))
    {
    }

    // To be set before the pass runs.
    bool reload = false;
    /// 0 for as many as the context says.
    int threads = 0;
    std::vector<sortorder::Key> keys;
    /// Used, and replaced when it does not fit any more.
    std::shared_ptr<const Order> order;
    std::vector<std::shared_ptr<const FilterFunc>> predicates;

    /// Does the work, and holds the table's lock while it reads rows. Throws parallel::Stopped,
    /// std::bad_alloc and what the predicates throw.
    void run(const parallel::Context &given);

    // To be read when it has ended.
    const Result &result() const { return m_result; }
    /// The rows shown before, as ids of the result's rows, and behind them the added ones, if there are any.
    const quint32 *before() const;
    qint64 nanoseconds() const { return m_nanoseconds; }
    /// Lets go of the rows that were shown before.
    void forgetBefore() { m_before.reset(); }

private:
    std::vector<quint8> readRows(const parallel::Context &context);
    std::vector<quint8> filtered(const parallel::Context &context) const;
    void translateBefore();
    void compareWithBefore(const std::vector<quint8> &visible);

    const Table &m_table;
    std::shared_ptr<const ShownRows> m_before;
    std::shared_ptr<RowSet> m_rows;
    /// Empty while the ids from before are still right.
    std::vector<quint32> m_beforeIds;
    Result m_result;
    qint64 m_nanoseconds = 0;
};

} // namespace sito
