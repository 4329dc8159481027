// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stoptoken.h>
#include <hostkit/values/distinctcolumn_p.h>
#include <hostkit/values/radixsort_p.h>

#include <QtGlobal>

#include <memory>
#include <span>
#include <vector>

class Table;

namespace sito {

/// Gives the values of a column ids in the order in which they appear: 0 for an absent value, from 1 on for
/// the others. Values that differ in bits have different ids, even if they are equal.
class ColumnIds
{
    Q_DISABLE_COPY_MOVE(ColumnIds)
public:
    /// The most rows that read() takes; also how many values are handled between two looks at a stop token.
    static constexpr size_t batchSize = 1024;

    virtual ~ColumnIds() = default;

    /// Writes the ids of the values of \a rows, at most batchSize, to \a ids.
    virtual void read(std::span<unsigned char *const> rows, quint32 *ids) = 0;
    /// The id of \a field, a value of the column's type.
    virtual quint32 idOf(const Field &field) = 0;
    virtual size_t size() const = 0;
    /// For each id of \a other, one for the same column, the id here. Throws parallel::Stopped.
    virtual std::vector<quint32> absorb(const ColumnIds &other, const parallel::StopToken &stop) = 0;
    /// Returns the values in ascending order, and writes the rank of each id to \a ranks, which has size()
    /// elements. \a counts holds the number of rows of each id.
    /// Throws parallel::Stopped.
    virtual std::unique_ptr<const DistinctColumn> sort(const std::vector<qint64> &counts,
                                                       std::vector<quint32> &ranks,
                                                       const parallel::StopToken &stop) const = 0;

protected:
    ColumnIds(Table *table, int column) : m_table(table), m_column(column) {}

    /// An item for each id but 0, in their order.
    std::vector<radixsort::Item> presentItems() const;

    /// Goes through \a items, in ascending order with equal values side by side: gives each id its rank,
    /// behind that of the absent value, and calls take(id) with the commonest of each run of equal values.
    template <typename Equal, typename Lesser, typename Take>
    static void rankRuns(const std::vector<radixsort::Item> &items, const std::vector<qint64> &counts,
                         std::vector<quint32> &ranks, const Equal &equal, const Lesser &hasLesserBits,
                         const Take &take, const parallel::StopToken &stop)
    {
        quint32 rank = 0;
        for (auto run = items.begin(); run != items.end();) {
            if (rank % batchSize == 0)
                stop.throwIfStopped();
            quint32 best = run->id;
            auto end = run;
            ++rank;
            for (; end != items.end() && (end == run || equal(run->id, end->id)); ++end) {
                ranks[end->id] = rank;
                const qint64 more = counts[end->id] - counts[best];
                if (more > 0 || (more == 0 && hasLesserBits(end->id, best)))
                    best = end->id;
            }
            take(best);
            run = end;
        }
    }

    Table *m_table;
    int m_column;
};

} // namespace sito
