// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

class FilterFunc;
class Table;

namespace sito {

/// The distinct values of one or several columns in the rows of a table, in ascending order of their keys, with
/// the number of rows of each: a picture of the table as it was when they were counted.
///
/// Values are distinct as Field::compare() says: 0.0 is -0.0, 1.5 is 1.50, and of such forms the commonest
/// stands for all (the one with the lesser bits among equally common ones). A NaN, which equals every
/// double there, is nevertheless a value of its own, behind all other doubles of its column; its key is no
/// key to give to a filter, see isKey().
///
/// Never changes; may be read from any thread. Keeps no row alive and reads none; the definitions of the
/// columns, and so the table, must outlive it.
class DistinctValues
{
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
    };
    /// Is told how much is done, now and then, in the thread that called count().
    using ProgressFunction = std::function<void(int percent)>;

    /// Counts, with \a threads threads in all (0: as many as the machine has), holding the lock of the table
    /// until the last row is read. Null when it was stopped, which takes no longer than the predicates take for
    /// a row: neither the lock nor the rest of the work is waited for. What a predicate throws is thrown on.
    static std::shared_ptr<const DistinctValues> count(const Source &source, const std::stop_token &stop = {},
                                                       const ProgressFunction &progress = {},
                                                       int threads = 0);
    ~DistinctValues();

    qsizetype size() const { return qsizetype(m_counts.size()); }
    /// The number of rows of the value at \a index.
    qint64 count(qsizetype index) const { return m_counts[size_t(index)]; }
    /// The value at \a index as a key of the types of the columns.
    KeyValue key(qsizetype index) const;
    /// The value at \a index as it is shown, see valuetext::shown().
    QString text(qsizetype index) const;
    /// Whether key() at \a index tells its rows from others: it holds no NaN.
    bool isKey(qsizetype index) const;
    /// Whether the text at \a index stands for something that has none: one column, absent or without text.
    bool isUnwritten(qsizetype index) const;

    /// For each of Source::keys its index here, or -1 for a key that cannot be a key of these columns (too
    /// few values, one that does not become a value of its column) or holds a NaN.
    const std::vector<qsizetype> &keyIndexes() const { return m_keyIndexes; }

    /// What the counting of one column yields.
    class Column;

private:
    DistinctValues();
    /// As count(), but throws when it is stopped.
    static std::shared_ptr<const DistinctValues> countUnlessStopped(const Source &source,
                                                                    const std::stop_token &stop,
                                                                    const ProgressFunction &progress,
                                                                    int threads);

    FieldValue field(qsizetype index, size_t column) const;

    /// The values of each column in ascending order.
    std::vector<std::unique_ptr<const Column>> m_columns;
    /// For each value the ranks of its fields in their columns, side by side.
    std::vector<quint32> m_ranks;
    std::vector<qint64> m_counts;
    std::vector<qsizetype> m_keyIndexes;
};

} // namespace sito
