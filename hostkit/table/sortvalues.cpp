// SPDX-License-Identifier: MIT
#include <hostkit/table/sortvalues_p.h>

#include <hostkit/table/rowset_p.h>
#include <hostkit/table/sortwords_p.h>

#include <data/field.h>
#include <data/table.h>

#include <algorithm>
#include <utility>

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

template <typename Value>
static void compact(std::vector<Value> &values, const std::vector<quint32> &newIds, quint32 count)
{
    if (values.empty())
        return;
    for (size_t id = 0; id < newIds.size(); ++id) {
        // No new id is larger than the old one: only what has been moved is overwritten.
        if (newIds[id] != RowSet::none && newIds[id] != id)
            values[newIds[id]] = std::move(values[id]);
    }
    values.resize(count);
    if (values.capacity() / 2 > values.size())
        values.shrink_to_fit();
}

void SortValues::compact(const std::vector<quint32> &newIds, quint32 count)
{
    for (Column &column : m_columns) {
        sito::compact(column.words, newIds, count);
        sito::compact(column.present, newIds, count);
        sito::compact(column.texts, newIds, count);
        sito::compact(column.decimals, newIds, count);
        sito::compact(column.numbers, newIds, count);
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

SortValues::Item SortValues::item(quint32 id) const
{
    const Column &first = m_columns.front();
    return {first.key.descending ? ~first.words[id] : first.words[id], id};
}

bool SortValues::isBefore(const Item &a, const Item &b) const
{
    return a.word != b.word ? a.word < b.word : isBefore(a.id, b.id);
}

RowIds SortValues::sorted(const parallel::Context &context, quint32 count) const
{
    std::vector<Item> items(count);
    for (quint32 id = 0; id < count; ++id)
        items[id] = item(id);
    parallel::sort(context, items, [this](const Item &a, const Item &b) { return isBefore(a, b); });
    RowIds ids(count);
    std::transform(items.begin(), items.end(), ids.begin(), [](const Item &item) { return item.id; });
    return ids;
}

RowIds SortValues::merged(const RowIds &order, const RowFlags &stays, const RowIds &coming) const
{
    std::vector<Item> items(coming.size());
    std::transform(coming.begin(), coming.end(), items.begin(), [this](quint32 id) { return item(id); });
    std::sort(items.begin(), items.end(), [this](const Item &a, const Item &b) { return isBefore(a, b); });

    RowIds stay(stays.get_allocator());
    rowlists::append(stay, rowlists::count(stays), order, stays);
    // Where a row belongs is found among every 64th, which lie together, and then between two of these.
    constexpr size_t step = 64;
    std::vector<Item> marks;
    marks.reserve(stay.size() / step + 1);
    for (size_t place = 0; place < stay.size(); place += step)
        marks.push_back(item(stay[place]));

    RowIds result(stays.get_allocator());
    result.reserve(stay.size() + items.size());
    auto from = stay.cbegin();
    auto mark = marks.cbegin();
    for (const Item &next : items) {
        while (mark != marks.cend() && isBefore(*mark, next))
            ++mark;
        const auto end =
            stay.cbegin() + qptrdiff(std::min(size_t(mark - marks.cbegin()) * step, stay.size()));
        const auto begin = mark == marks.cbegin()
                               ? from
                               : std::max(from, stay.cbegin() + (mark - marks.cbegin() - 1) * qptrdiff(step));
        const auto to = std::lower_bound(begin, end, next,
                                         [this](quint32 a, const Item &b) { return isBefore(item(a), b); });
        result.insert(result.end(), from, to);
        result.push_back(next.id);
        from = to;
    }
    result.insert(result.end(), from, stay.cend());
    return result;
}

} // namespace sito
