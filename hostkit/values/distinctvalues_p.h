// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stoptoken.h>
#include <hostkit/values/distinctcolumn_p.h>

#include <data/keyvalue.h>

#include <QString>

#include <memory>
#include <vector>

namespace sito {

/// The distinct values of one or several columns in the rows of a table, in ascending order of their keys,
/// with the number of rows of each: a picture of the table as it was when they were counted, by ValueCount.
///
/// Values are distinct as Field::compare() says: 0.0 is -0.0, 1.5 is 1.50, and of such forms the commonest
/// stands for all (of equally common ones, the one with the smaller bits). A NaN, which equals every double
/// there, is still a value of its own, after all other doubles of its column; its key must not be given to a
/// filter, see isKey().
///
/// Immutable; may be read from any thread. It holds copies of the values and reads no rows. The table must
/// outlive it, because the keys refer to the definitions of its columns.
class DistinctValues
{
    Q_DISABLE_COPY_MOVE(DistinctValues)
public:
    /// What is listed, in the order of the keys.
    struct Content
    {
        /// The values of each column, at least one.
        std::vector<std::unique_ptr<const DistinctColumn>> columns;
        /// For each value the ranks of its fields in their columns, side by side.
        std::vector<quint32> ranks;
        std::vector<qint64> counts;
        std::vector<qsizetype> keyIndexes;
    };
    explicit DistinctValues(Content content);
    ~DistinctValues();

    qsizetype size() const { return qsizetype(m_content.counts.size()); }
    /// The number of rows of the value at \a index.
    qint64 count(qsizetype index) const { return m_content.counts[size_t(index)]; }
    /// The value at \a index as a key of the types of the columns.
    KeyValue key(qsizetype index) const;
    /// The value at \a index as it is shown, see valuetext::shown().
    QString text(qsizetype index) const;
    /// Whether a filter with key() at \a index matches exactly the rows of this value: false if it holds a
    /// NaN.
    bool isKey(qsizetype index) const;
    /// Whether text() at \a index is a word in brackets because the value has no text of its own. Always
    /// false for more than one column.
    bool isUnwritten(qsizetype index) const;

    static constexpr quint32 nowhere = ~quint32(0);
    /// For each value its index in \a other, values of the same columns; nowhere for one that is not there.
    /// Throws parallel::Stopped.
    std::vector<quint32> indexesIn(const DistinctValues &other, const parallel::StopToken &stop) const;

    /// For each of ValueCount::Source::keys its index here, or -1 for a key that cannot be a key of these
    /// columns (too few values, one that does not become a value of its column) or holds a NaN.
    const std::vector<qsizetype> &keyIndexes() const { return m_content.keyIndexes; }

private:
    const quint32 *ranks(qsizetype index) const
    {
        return &m_content.ranks[size_t(index) * m_content.columns.size()];
    }
    FieldValue field(qsizetype index, size_t column) const;

    const Content m_content;
};

} // namespace sito
