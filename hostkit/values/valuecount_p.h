// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/context.h>
#include <hostkit/values/distinctvalues_p.h>
#include <hostkit/values/radixsort_p.h>
#include <hostkit/values/tally_p.h>

#include <hostkit/table/tablewatch_p.h>

#include <data/keyvalue.h>

#include <QList>

#include <memory>
#include <span>
#include <vector>

class FilterFunc;
class Table;

namespace sito {

/// Counts the distinct values of columns, in five steps, each of which needs those before it.
class ValueCount
{
    Q_DISABLE_COPY_MOVE(ValueCount)
public:
    /// What is to be counted.
    struct Source
    {
        Table *table = nullptr;
        /// At least one; none of type Raw or Block.
        QList<int> columns;
        /// The rows for which one of these answers true do not count.
        std::vector<std::shared_ptr<const FilterFunc>> hiddenBy;
        /// Keys that are listed in any case, with a count of 0 where there are no rows.
        QList<KeyValue> keys;
        /// Of the changes of the table; null when it is not followed.
        std::shared_ptr<TableWatch> watch = nullptr;
    };

    /// Counts as \a context says, holding the lock of the table until the last row is read, or in short
    /// slices when the table is followed; the caller must not own it. The progress is in rows.
    ///
    /// Throws parallel::Stopped when it was stopped, which takes no longer than the predicates take for a
    /// row: neither the lock nor the rest of the work is waited for, see parallel::underLock(). What a
    /// predicate throws is thrown on.
    static std::shared_ptr<const DistinctValues> run(const Source &source, const parallel::Context &context);

private:
    using Rows = std::span<unsigned char *const>;

    ValueCount(const Source &source, const parallel::Context &context);

    /// Counts the rows, each thread in a tally of its own, and adds these up.
    void tallyRows();
    /// Gives the wanted keys ids, also where there are no rows.
    void addKeys();
    /// Sorts the values of each column.
    void rankColumns();
    /// Sorts what has rows or is wanted by the ranks of its fields.
    void sortKeys();
    /// Joins what is equal.
    std::shared_ptr<const DistinctValues> result();

    /// The tallies of the threads.
    class Tallies;

    std::vector<unsigned char *> listRows() const;
    /// Counts the rows as they stand at one moment.
    void tallyAtOnce(Tallies &tallies);
    /// Counts while the table is written: each row as it stands when it is read.
    void tallyInSlices(Tallies &tallies);
    parallel::Context contextFor(size_t rowCount) const;
    void tallyPiece(Tally &tally, Rows rows) const;
    Rows shownOf(Rows rows, std::vector<unsigned char *> &shown) const;
    /// The ranks of the fields of the key \a id into \a key.
    void readRanks(quint32 id, std::vector<quint32> &key) const;

    const Source &m_source;
    const parallel::Context &m_context;
    Tally m_tally;
    /// For each wanted key its id, or -1.
    std::vector<qint64> m_keyIds;
    std::vector<std::unique_ptr<const DistinctColumn>> m_columns;
    /// For each column the ranks by id.
    std::vector<std::vector<quint32>> m_ranks;
    /// The ids that are listed.
    std::vector<radixsort::Item> m_items;
};

} // namespace sito
