// SPDX-License-Identifier: MIT
#include <filterfuncs/keyhash_p.h>

#include <bit>

KeyColumnHash::Kind KeyColumnHash::kindOf(FieldType::Type type)
{
    switch (type) {
    case FieldType::Int:
        return Kind::Int;
    case FieldType::Int64:
    case FieldType::DateTime:
        return Kind::Int64;
    case FieldType::Double:
        return Kind::Double;
    case FieldType::Decimal:
        return Kind::Decimal;
    case FieldType::XDecimal:
        return Kind::XDecimal;
    case FieldType::VarChar:
    case FieldType::String:
        return Kind::Text;
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    return Kind::Unordered;
}

KeyColumnHash::KeyColumnHash(const Table *table, int column, const QList<Record> &keys)
    : m_def(table->columnDef(column)), m_column(column), m_kind(kindOf(m_def->type))
{
    if (m_kind == Kind::XDecimal)
        m_xdecimals = XDecimalOrder(table, m_def, column, keys);
    if (m_kind != Kind::Decimal)
        return;
    bool hasModel = false;
    for (const Record &key : keys) {
        const Field field = keycompare::fieldAt(table, m_def, column, key.row());
        if (!field.isPresent())
            continue;
        const auto value = field.value<qint64>();
        if (!hasModel)
            m_model = value;
        hasModel = true;
        if (!keycompare::sameScale(value, m_model)) {
            m_kind = Kind::MixedDecimal;
            return;
        }
    }
}

KeyColumnHash::Found KeyColumnHash::mixDecimal(qint64 value, quint64 &hash) const
{
    const std::optional<qint64> atScale = keycompare::decimalAtScaleOf(m_model, value);
    if (!atScale)
        return Found::Nothing;
    hash = combine(hash, quint64(*atScale));
    return Found::Hash;
}

KeyHash::KeyHash(const Table *table, const QList<Record> &keys, const QList<int> &columns)
    : m_table(table), m_keys(keys), m_columns(columns)
{
    m_columnHashes.reserve(size_t(columns.size()));
    bool doubles = false;
    for (const int column : columns) {
        m_columnHashes.emplace_back(table, column, keys);
        doubles = doubles || m_columnHashes.back().isDouble();
    }

    const auto count = size_t(keys.size());
    // At least 32 bits of the filter and one chain for each key.
    m_filter.resize(std::bit_ceil(count / 2 + 1));
    m_filterMask = m_filter.size() - 1;
    m_heads.resize(std::bit_ceil(count));
    m_headMask = m_heads.size() - 1;
    m_links.resize(count);
    for (qsizetype key = 0; key < keys.size(); ++key) {
        quint64 hash = 0;
        if (hashOf(keys[key].row(), hash) == KeyColumnHash::Found::Hash)
            insert(key, hash);
        else
            m_apartKeys.append(keys[key]);
    }
    if (!m_apartKeys.isEmpty())
        m_apart = std::make_unique<const KeyMatcher>(table, m_apartKeys, m_columns);
    if (doubles)
        m_all = std::make_unique<const KeyMatcher>(table, m_keys, m_columns);
}

void KeyHash::insert(qsizetype key, quint64 hash)
{
    // A duplicate is left out when a short search finds it. The search is short so that the construction
    // stays linear, also for many different keys with one hash value.
    int patience = 8;
    quint32 &head = m_heads[headIndex(hash)];
    const auto upper = quint32(hash >> 32);
    for (quint32 next = head; next != 0 && patience > 0; next = m_links[next - 1].next, --patience) {
        if (m_links[next - 1].hash == upper &&
            keycompare::sameKey(m_keys[key], m_keys[qsizetype(next) - 1], m_columns))
            return;
    }
    m_links[size_t(key)] = {upper, head};
    head = quint32(key) + 1;
    m_filter[filterIndex(hash)] |= bitsOf(hash);
}

bool KeyHash::find(const Record &record, quint64 hash) const
{
    const auto upper = quint32(hash >> 32);
    for (quint32 next = m_heads[headIndex(hash)]; next != 0; next = m_links[next - 1].next) {
        if (m_links[next - 1].hash == upper &&
            keycompare::sameKey(record, m_keys[qsizetype(next) - 1], m_columns))
            return true;
    }
    return false;
}
