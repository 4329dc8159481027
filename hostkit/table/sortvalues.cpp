// SPDX-License-Identifier: MIT
#include <hostkit/table/sortvalues_p.h>

#include <hostkit/table/sortwords_p.h>

#include <data/field.h>
#include <data/table.h>

#include <algorithm>

namespace sito {

SortValues::SortValues(const Table &table, const std::vector<sortorder::Key> &keys) : m_table(table)
{
    for (const sortorder::Key &key : keys) {
        Column &column = m_columns.emplace_back();
        column.key = key;
        column.type = table.columnDef(key.column)->type;
    }
}

void SortValues::resize(quint32 count)
{
    for (Column &column : m_columns) {
        if (column.words.size() >= count)
            continue;
        column.words.resize(count);
        column.present.resize(count);
        if (column.type == FieldType::VarChar || column.type == FieldType::String)
            column.texts.resize(count);
        else if (column.type == FieldType::Decimal)
            column.decimals.resize(count);
        else if (column.type == FieldType::XDecimal)
            column.numbers.resize(count);
    }
}

void SortValues::read(quint32 id, unsigned char *row)
{
    for (Column &column : m_columns)
        read(column, id, m_table.dataPtr(row, column.key.column));
}

void SortValues::read(Column &column, quint32 id, const Field &field)
{
    column.present[id] = field.isPresent() ? 1 : 0;
    quint64 word = 0;
    switch (column.type) {
    case FieldType::Int:
        word = field.isPresent() ? sortwords::ordered(qint64(field.value<qint32>())) : 0;
        break;
    case FieldType::Int64:
    case FieldType::DateTime:
        word = field.isPresent() ? sortwords::ordered(field.value<qint64>()) : 0;
        break;
    case FieldType::Double:
        word = field.isPresent() ? sortwords::ordered(field.value<double>()) : 0;
        break;
    case FieldType::Decimal:
        column.decimals[id] = field.isPresent() ? field.value<decimal>() : decimal();
        word = field.isPresent() ? sortwords::ordered(sortwords::nearestDouble(column.decimals[id])) : 0;
        break;
    case FieldType::XDecimal:
        column.numbers[id] = field.isPresent() ? field.value<xdecimal>() : xdecimal();
        break;
    case FieldType::VarChar:
    case FieldType::String: {
        QString text;
        if (field.isPresent() && column.type == FieldType::String)
            text = *reinterpret_cast<const QString *>(field.data);
        else if (field.isPresent()) {
            // It may refer to the row.
            const QString view = field.asStaticString();
            text = QString(view.constData(), view.size());
        }
        word = sortwords::narrow(text);
        column.texts[id] = std::move(text);
        break;
    }
    default:
        // Values that are never ordered.
        break;
    }
    column.words[id] = word;
}

int SortValues::Column::compareTied(quint32 a, quint32 b) const
{
    if (!present[a] || !present[b])
        return int(present[a]) - int(present[b]);
    switch (type) {
    case FieldType::Decimal:
        return decimals[a].compare(decimals[b]);
    case FieldType::XDecimal:
        return numbers[a].compare(numbers[b]);
    case FieldType::VarChar:
    case FieldType::String:
        return texts[a].compare(texts[b], Qt::CaseSensitive);
    default:
        return 0;
    }
}

int SortValues::Column::compare(quint32 a, quint32 b) const
{
    int order = 0;
    if (words[a] != words[b])
        order = words[a] < words[b] ? -1 : 1;
    else
        order = compareTied(a, b);
    return key.descending ? -order : order;
}

bool SortValues::isBefore(quint32 a, quint32 b) const
{
    for (const Column &column : m_columns) {
        const int order = column.compare(a, b);
        if (order != 0)
            return order < 0;
    }
    return a < b;
}

std::vector<quint32> SortValues::sorted(const parallel::Context &context, quint32 count) const
{
    struct Item
    {
        quint64 word = 0;
        quint32 id = 0;
    };
    const Column &first = m_columns.front();
    const quint64 flip = first.key.descending ? sortwords::highest : 0;
    std::vector<Item> items(count);
    for (quint32 id = 0; id < count; ++id)
        items[id] = {first.words[id] ^ flip, id};
    parallel::sort(context, items, [this](const Item &a, const Item &b) {
        return a.word != b.word ? a.word < b.word : isBefore(a.id, b.id);
    });
    std::vector<quint32> ids(count);
    std::transform(items.begin(), items.end(), ids.begin(), [](const Item &item) { return item.id; });
    return ids;
}

std::vector<quint32> SortValues::merged(const std::vector<quint32> &order, const std::vector<quint8> &leaves,
                                        std::vector<quint32> coming) const
{
    std::vector<quint32> stay;
    stay.reserve(order.size());
    std::copy_if(order.begin(), order.end(), std::back_inserter(stay),
                 [&leaves](quint32 id) { return !leaves[id]; });
    const auto isBefore = [this](quint32 a, quint32 b) { return this->isBefore(a, b); };
    std::sort(coming.begin(), coming.end(), isBefore);

    std::vector<quint32> result;
    result.reserve(stay.size() + coming.size());
    auto from = stay.cbegin();
    for (const quint32 id : coming) {
        const auto to = std::lower_bound(from, stay.cend(), id, isBefore);
        result.insert(result.end(), from, to);
        result.push_back(id);
        from = to;
    }
    result.insert(result.end(), from, stay.cend());
    return result;
}

} // namespace sito
