// SPDX-License-Identifier: MIT
#include <hostkit/values/distinctvalues_p.h>

#include <hostkit/text/valuetext_p.h>

#include <QStringList>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

/// The ranks of two columns as places in one order; equal values have the same place.
struct CommonPlaces
{
    CommonPlaces(const DistinctColumn &left, const DistinctColumn &right, const parallel::StopToken &stop)
        : ofLeft(left.size()), ofRight(right.size())
    {
        quint32 leftRank = 0;
        quint32 rightRank = 0;
        for (quint32 place = 0; leftRank < left.size() || rightRank < right.size(); ++place) {
            if (place % 256 == 0)
                stop.throwIfStopped();
            int order = leftRank == left.size() ? 1 : -1;
            if (leftRank < left.size() && rightRank < right.size())
                order = left.compare(leftRank, right, rightRank);
            if (order <= 0)
                ofLeft[leftRank++] = place;
            if (order >= 0)
                ofRight[rightRank++] = place;
        }
    }

    std::vector<quint32> ofLeft;
    std::vector<quint32> ofRight;
};

} // namespace

DistinctValues::DistinctValues(Content content) : m_content(std::move(content)) {}

DistinctValues::~DistinctValues() = default;

KeyValue DistinctValues::key(qsizetype index) const
{
    KeyValue key;
    key.reserve(qsizetype(m_content.columns.size()));
    for (size_t column = 0; column < m_content.columns.size(); ++column)
        key.append(field(index, column));
    return key;
}

QString DistinctValues::text(qsizetype index) const
{
    const quint32 *rank = ranks(index);
    if (m_content.columns.size() == 1)
        return m_content.columns.front()->text(*rank);
    QStringList fields;
    for (const auto &column : m_content.columns)
        fields.append(column->text(*rank++));
    return valuetext::joined(fields);
}

bool DistinctValues::isKey(qsizetype index) const
{
    const quint32 *rank = ranks(index);
    return std::none_of(m_content.columns.begin(), m_content.columns.end(),
                        [&rank](const auto &column) { return column->isNaN(*rank++); });
}

bool DistinctValues::isUnwritten(qsizetype index) const
{
    return m_content.columns.size() == 1 && valuetext::isUnwritten(field(index, 0));
}

std::vector<quint32> DistinctValues::indexesIn(const DistinctValues &other,
                                               const parallel::StopToken &stop) const
{
    std::vector<CommonPlaces> places;
    for (size_t column = 0; column < m_content.columns.size(); ++column)
        places.emplace_back(*m_content.columns[column], *other.m_content.columns[column], stop);
    const auto compare = [&](qsizetype index, qsizetype otherIndex) {
        for (size_t column = 0; column < places.size(); ++column) {
            const quint32 left = places[column].ofLeft[ranks(index)[column]];
            const quint32 right = places[column].ofRight[other.ranks(otherIndex)[column]];
            if (left != right)
                return left < right ? -1 : 1;
        }
        return 0;
    };

    std::vector<quint32> indexes(size_t(size()), nowhere);
    qsizetype next = 0;
    for (qsizetype index = 0; index < size(); ++index) {
        if (index % 256 == 0)
            stop.throwIfStopped();
        int order = 1;
        while (next < other.size() && (order = compare(index, next)) > 0)
            ++next;
        if (next < other.size() && order == 0)
            indexes[size_t(index)] = quint32(next++);
    }
    return indexes;
}

FieldValue DistinctValues::field(qsizetype index, size_t column) const
{
    return m_content.columns[column]->value(ranks(index)[column]);
}

} // namespace sito
