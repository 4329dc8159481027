// SPDX-License-Identifier: MIT
#include <hostkit/values/tally_p.h>

#include <hostkit/values/numberids_p.h>
#include <hostkit/values/textids_p.h>

#include <algorithm>
#include <array>

namespace sito {

namespace {

/// An object of the class that fits the type of the column.
std::unique_ptr<ColumnIds> makeColumnIds(Table *table, int column)
{
    switch (table->columnDef(column)->type) {
    case FieldType::VarChar:
    case FieldType::String:
        return std::make_unique<TextIds>(table, column);
    case FieldType::Int:
        return std::make_unique<NumberIds<quint32>>(table, column);
    case FieldType::XDecimal:
        return std::make_unique<NumberIds<Words128>>(table, column);
    default:
        return std::make_unique<NumberIds<quint64>>(table, column);
    }
}

} // namespace

Tally::Tally(Table *table, const QList<int> &columns)
{
    for (const int column : columns)
        m_columns.push_back(makeColumnIds(table, column));
    m_pairs.resize(m_columns.size() - 1);
}

void Tally::add(std::span<unsigned char *const> rows)
{
    std::array<quint32, ColumnIds::batchSize> ids;
    m_columns.front()->read(rows, ids.data());
    for (size_t column = 1; column < m_columns.size(); ++column) {
        std::array<quint32, ColumnIds::batchSize> right;
        m_columns[column]->read(rows, right.data());
        for (size_t i = 0; i < rows.size(); ++i)
            ids[i] = m_pairs[column - 1].numberOf(pair(ids[i], right[i]));
    }
    m_counts.resize(size());
    for (size_t i = 0; i < rows.size(); ++i)
        ++m_counts[ids[i]];
}

quint32 Tally::idOf(const KeyValue &key)
{
    std::vector<quint32> ids;
    for (size_t column = 0; column < m_columns.size(); ++column)
        ids.push_back(m_columns[column]->idOf(key.at(qsizetype(column))));
    const quint32 result = fold(ids);
    m_counts.resize(size());
    return result;
}

void Tally::absorb(const Tally &other, const parallel::StopToken &stop)
{
    std::vector<std::vector<quint32>> maps;
    for (size_t column = 0; column < m_columns.size(); ++column)
        maps.push_back(m_columns[column]->absorb(*other.m_columns[column], stop));
    std::vector<quint32> ids(m_columns.size());
    for (size_t id = 0; id < other.m_counts.size(); ++id) {
        if (id % ColumnIds::batchSize == 0)
            stop.throwIfStopped();
        other.unfold(quint32(id), ids);
        for (size_t column = 0; column < ids.size(); ++column)
            ids[column] = maps[column][ids[column]];
        const quint32 here = fold(ids);
        m_counts.resize(std::max(m_counts.size(), size_t(here) + 1));
        m_counts[here] += other.m_counts[id];
    }
}

quint32 Tally::fold(const std::vector<quint32> &ids)
{
    quint32 result = ids.front();
    for (size_t column = 1; column < ids.size(); ++column)
        result = m_pairs[column - 1].numberOf(pair(result, ids[column]));
    return result;
}

} // namespace sito
