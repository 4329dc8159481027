// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/table/rowlists_p.h>
#include <hostkit/table/sortorder_p.h>

#include <QtGlobal>

#include <memory>
#include <optional>
#include <vector>

class FilterFunc;
class Record;
class Table;

namespace sito {

class ChangeQueue;
class RowSet;
class SortValues;
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
        RowIds ids;
        /// What the rows are sorted by, when the table is followed.
        std::shared_ptr<SortValues> values;
    };

    /// What has changed in a table that is followed since the rows that are shown were read.
    struct Changes
    {
        struct Row
        {
            quint32 id = 0;
            /// See ChangeQueue::Change; 0 for a row that was added.
            quint64 columns = 0;
        };
        /// The rows to read; those that have gone meanwhile are left out.
        std::vector<Row> rows;
    };

    /// Places from first to last.
    struct Run
    {
        quint32 first = 0;
        quint32 last = 0;
        quint64 columns = 0;
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

        // Of changes alone.
        /// Whether the rows that stay keep their order, and few runs of rows come and go.
        bool isStepwise = false;
        /// If it is so: the rows that go, by the places before, and those that come, by the places now.
        std::vector<Run> going;
        std::vector<Run> coming;
        /// The rows that were shown before and are shown now, and were written.
        std::vector<Run> written;
    };

    /// \a spares, which may be null, gives the memory for its lists.
    RowPass(const Table &table, std::shared_ptr<const ShownRows> before, std::shared_ptr<SpareBlocks> spares);

    // To be set before the pass runs.
    bool reload = false;
    /// 0 for as many as the context says.
    int threads = 0;
    std::vector<sortorder::Key> keys;
    /// Used, and replaced when it does not fit any more.
    std::shared_ptr<const Order> order;
    std::vector<std::shared_ptr<const FilterFunc>> predicates;
    /// Null unless the table is followed.
    std::shared_ptr<ChangeQueue> queue;
    /// For a pass over what has changed alone. The rest must be that of the pass before.
    std::optional<Changes> changes;
    /// Of a pass over changes: whether it also makes a new set without the rows that have gone.
    bool isCompacting = false;
    /// Of a table that is followed: the ChangeQueue::toldCount() up to which the pass shows what was told.
    /// One that lists the rows sets it.
    quint64 toldCount = 0;

    /// Does the work, and holds the table's lock while it reads rows: from the first to the last, or, when
    /// the table is followed, for some of them at a time. Throws parallel::Stopped,
    /// std::bad_alloc and what the predicates throw.
    void run(const parallel::Context &given);

    // To be read when it has ended.
    const Result &result() const { return m_result; }
    /// The rows shown before, as ids of the result's rows, and behind them the added ones, if there are any.
    const quint32 *before() const;
    qint64 nanoseconds() const { return m_nanoseconds; }
    /// What is not needed any more once the result is shown. Delete it in another thread: it is large, and
    /// rows may be deleted with it.
    std::shared_ptr<const void> takeFormer();

private:
    RowFlags readRows(const parallel::Context &context);
    RowFlags readInSlices(const parallel::Context &context);
    RowFlags readChanges(const parallel::Context &context);
    bool isExcluded(const Record &row) const;
    RowFlags filtered(const parallel::Context &context) const;
    void list(const parallel::Context &context);
    void compact(RowFlags &visible);
    void use(std::shared_ptr<RowSet> rows);
    void announceUnits(const parallel::Context &context, bool isSorted) const;
    void translateBefore();
    void compareWithBefore(RowFlags visible);
    RowFlags shownBefore(size_t size) const;
    void findSteps(const RowFlags &wasShown);
    void findWritten(const RowFlags &wasShown);

    const Table &m_table;
    std::shared_ptr<const ShownRows> m_before;
    const std::shared_ptr<SpareBlocks> m_spares;
    std::shared_ptr<RowSet> m_rows;
    /// How many rows are listed: the set may grow while a pass that was given up still reads.
    quint32 m_count = 0;
    /// For each listed row whether it has not gone.
    RowFlags m_present;
    bool m_isRenumbered = false;
    /// After compact(), by the ids from before.
    std::vector<quint32> m_newIds;
    /// Empty while the ids from before are still right.
    RowIds m_beforeIds;
    Result m_result;
    qint64 m_nanoseconds = 0;
};

} // namespace sito
