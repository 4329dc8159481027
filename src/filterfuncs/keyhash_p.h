// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/keycompare_p.h>
#include <filterfuncs/keymatcher_p.h>
#include <filterfuncs/keywords_p.h>
#include <filterfuncs/xdecimalorder_p.h>

#include <data/record.h>
#include <data/table.h>

#include <QList>

#include <memory>
#include <vector>

/// The hash value of a row of the keys' table in one of its key columns. Equal values have equal hash values.
/// It is made for a set of keys: where all decimals of the keys share a scale, the row's decimal is converted
/// to that scale; the hash value of an xdecimal is its rank among those of the keys.
class KeyColumnHash
{
public:
    enum class Found {
        Hash,    ///< it has a hash value
        Nothing, ///< no key can match
        Any,     ///< any key can match: the value is a NaN
    };

    KeyColumnHash(const Table *table, int column, const QList<Record> &keys);

    int column() const { return m_column; }
    const ColumnDef *definition() const { return m_def; }
    bool isDouble() const { return m_kind == Kind::Double; }

    /// Mixes the value of \a field, that of the column in a row of the table, into \a hash.
    Found mix(const Field &field, quint64 &hash) const
    {
        if (!field.isPresent()) {
            hash = combine(hash, absentCode);
            return Found::Hash;
        }
        switch (m_kind) {
        case Kind::Int:
            hash = combine(hash, field.value<quint32>());
            return Found::Hash;
        case Kind::Int64:
            hash = combine(hash, field.value<quint64>());
            return Found::Hash;
        case Kind::Double: {
            const auto value = field.value<double>();
            hash = combine(hash, keycompare::doubleBits(value));
            return value == value ? Found::Hash : Found::Any;
        }
        case Kind::Decimal: {
            const auto value = field.value<qint64>();
            if (!keycompare::sameScale(value, m_model))
                return mixDecimal(value, hash);
            hash = combine(hash, quint64(value));
            return Found::Hash;
        }
        case Kind::MixedDecimal:
            hash = combine(hash, keycompare::shortestDecimal(field.value<qint64>()));
            return Found::Hash;
        case Kind::XDecimal: {
            const qsizetype rank = m_xdecimals.rankOf(xdecimal::fromData(field.data));
            hash = combine(hash, quint64(rank));
            return rank < 0 ? Found::Nothing : Found::Hash;
        }
        case Kind::Text:
            hash =
                keycompare::withText(field, [hash](const QString &text) { return combineText(hash, text); });
            return Found::Hash;
        case Kind::Unordered:
            break;
        }
        hash = combine(hash, presentCode);
        return Found::Hash;
    }

    static quint64 combine(quint64 hash, quint64 code)
    {
        hash = (hash ^ code) * 0x9E3779B97F4A7C15u;
        return hash ^ (hash >> 32);
    }

private:
    enum class Kind : quint8 { Int, Int64, Double, Decimal, MixedDecimal, XDecimal, Text, Unordered };

    static constexpr quint64 absentCode = 0xA5B3579D1E4C6F20u;
    static constexpr quint64 presentCode = 1;

    static quint64 combineText(quint64 hash, const QString &text)
    {
        const QChar *units = text.constData();
        const qsizetype size = text.size();
        if (size < 4) {
            auto all = quint64(size);
            for (qsizetype i = 0; i < size; ++i)
                all = all << 16 | units[i].unicode();
            return combine(hash, all);
        }
        hash += quint64(size);
        for (qsizetype i = 0; i + 4 < size; i += 4)
            hash = combine(hash, keywords::load64(units + i));
        return combine(hash, keywords::load64(units + size - 4));
    }

    static Kind kindOf(FieldType::Type type);
    Found mixDecimal(qint64 value, quint64 &hash) const;

    const ColumnDef *m_def;
    int m_column;
    Kind m_kind;
    /// Decimal: one of the keys, which all have its scale.
    qint64 m_model = 0;
    XDecimalOrder m_xdecimals;
};

/// Whether a row equals one of a set of keys in some columns, in a time that does not depend on their number.
///
/// A bit filter rejects nearly all rows that equal no key, by their hash values. Other rows are looked up
/// in chains of keys, and in the end keys are compared by their values. Equality with a NaN cannot be
/// hashed: keys that hold one are kept apart and compared one by one, and a row that holds one is compared
/// with all keys. So is a row of another table, which may lack columns and have other types. Never changes
/// after its construction.
class KeyHash
{
public:
    /// Refers to \a keys and \a columns, which must stay as they are and must not be empty.
    KeyHash(const Table *table, const QList<Record> &keys, const QList<int> &columns);

    bool contains(const Record &record) const
    {
        if (record.table() != m_table)
            return keycompare::equalsAny(record, m_keys, m_columns);
        quint64 hash = 0;
        switch (hashOf(record.row(), hash)) {
        case KeyColumnHash::Found::Nothing:
            return false;
        case KeyColumnHash::Found::Any:
            return m_all->contains(record);
        case KeyColumnHash::Found::Hash:
            break;
        }
        const quint64 bits = bitsOf(hash);
        return ((m_filter[filterIndex(hash)] & bits) == bits && find(record, hash)) ||
               (m_apart && m_apart->contains(record));
    }

private:
    /// A key in a chain: the upper half of its hash value, and the number of the next key plus 1, or 0.
    struct Link
    {
        quint32 hash;
        quint32 next;
    };

    KeyColumnHash::Found hashOf(unsigned char *row, quint64 &hash) const
    {
        for (const KeyColumnHash &column : m_columnHashes) {
            const KeyColumnHash::Found found =
                column.mix(keycompare::fieldAt(m_table, column.definition(), column.column(), row), hash);
            if (found != KeyColumnHash::Found::Hash)
                return found;
        }
        return KeyColumnHash::Found::Hash;
    }
    /// Three of the 64 bits of a word of the filter, by other bits of the hash value than the place of the
    /// word.
    static quint64 bitsOf(quint64 hash)
    {
        return quint64(1) << (hash & 63) | quint64(1) << (hash >> 6 & 63) | quint64(1) << (hash >> 12 & 63);
    }
    size_t filterIndex(quint64 hash) const { return size_t(hash >> 18) & m_filterMask; }
    size_t headIndex(quint64 hash) const { return size_t(hash) & m_headMask; }
    bool find(const Record &record, quint64 hash) const;
    void insert(qsizetype key, quint64 hash);

    const Table *m_table;
    const QList<Record> &m_keys;
    const QList<int> &m_columns;
    std::vector<KeyColumnHash> m_columnHashes;
    size_t m_filterMask = 0;
    size_t m_headMask = 0;
    std::vector<quint64> m_filter;
    /// The number of the first key of each chain plus 1, or 0.
    std::vector<quint32> m_heads;
    std::vector<Link> m_links;
    /// The keys that hold a NaN, and all keys for the rows that do; null where there are none.
    QList<Record> m_apartKeys;
    std::unique_ptr<const KeyMatcher> m_apart;
    std::unique_ptr<const KeyMatcher> m_all;
};
