// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/columnids_p.h>
#include <hostkit/values/wordnumbers_p.h>

#include <data/keyvalue.h>

#include <QList>

#include <memory>
#include <span>
#include <vector>

class Table;

namespace sito {

/// Numbers of rows by the ids of their values. The ids of several columns are folded from the left: the first
/// two become the id of the pair, that and the third the id of the three, and so on. Used by one thread at a
/// time.
class Tally
{
public:
    Tally(Table *table, const QList<int> &columns);

    /// Counts \a rows, at most ColumnIds::batchSize.
    void add(std::span<unsigned char *const> rows);
    /// The id of \a key, whose fields are of the types of the columns.
    quint32 idOf(const KeyValue &key);
    /// Adds what \a other, a tally of the same columns, has counted. Throws parallel::Stopped.
    void absorb(const Tally &other, const parallel::StopToken &stop);

    /// How many ids there are, including those without a row.
    size_t size() const
    {
        return m_pairs.empty() ? m_columns.front()->size() : m_pairs.back().words().size();
    }
    qint64 count(quint32 id) const { return id < m_counts.size() ? m_counts[id] : 0; }
    size_t columnCount() const { return m_columns.size(); }
    const ColumnIds &column(size_t column) const { return *m_columns[column]; }
    /// Writes the ids of the fields of the key \a id to \a ids, which has columnCount() elements.
    void unfold(quint32 id, std::vector<quint32> &ids) const
    {
        for (size_t column = m_columns.size() - 1; column > 0; --column) {
            const quint64 both = m_pairs[column - 1].words()[id];
            ids[column] = quint32(both);
            id = quint32(both >> 32);
        }
        ids.front() = id;
    }

private:
    static quint64 pair(quint32 left, quint32 right) { return quint64(left) << 32 | right; }
    quint32 fold(const std::vector<quint32> &ids);

    std::vector<std::unique_ptr<ColumnIds>> m_columns;
    std::vector<WordNumbers<quint64>> m_pairs;
    std::vector<qint64> m_counts;
};

} // namespace sito
