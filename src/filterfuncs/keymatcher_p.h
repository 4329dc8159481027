// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/keycompare_p.h>
#include <filterfuncs/keywords_p.h>
#include <filterfuncs/xdecimalorder_p.h>

#include <data/record.h>
#include <data/table.h>

#include <QList>

#include <optional>
#include <vector>

/// How a word is taken from the values of one key column, and the words of all keys. Two values that are
/// equal have the same word, so that a row need only be compared with the keys that have its word.
class KeyColumnWords
{
public:
    /// Where the word lies in a value.
    struct Place
    {
        enum Kind : quint8 {
            Bits,       ///< an integer, from bit `shift` on
            Double,     ///< the same of a double, -0 read as 0
            Decimal,    ///< the same of a decimal, at the scale of the keys
            AnyDecimal, ///< taken from all of a decimal, without its trailing zeros
            XDecimal,   ///< the rank of an xdecimal among those of the keys
            Text, ///< four characters of a text, from character `shift` on or, in a shorter one, the last
        };
        Kind kind = Bits;
        quint8 shift = 0;
    };

    /// What the value of a row in the column says about the row.
    enum class Found {
        Word,    ///< it has a word, and only keys that have it can match
        Nothing, ///< no key can match
        Any,     ///< any key can match: the value is a NaN
    };

    /// The best place in a column, and its cost per row in nanoseconds or so.
    struct Judged
    {
        Place place;
        double expectedHits;
        double cost;
    };
    /// What \a sample says of \a column; nothing for a type without a place.
    static std::optional<Judged> judge(const Table *table, int column, const QList<Record> &keys,
                                       const KeySample &sample);

    KeyColumnWords() = default;
    /// The words of \a keys; isEmpty() afterwards when a key is a NaN.
    KeyColumnWords(const Table *table, int column, const QList<Record> &keys, Place place);

    bool isEmpty() const { return m_words.isEmpty(); }
    const KeyWords &words() const { return m_words; }

    /// What \a row, a row of the table, says, with the word in \a word.
    Found find(const Table *table, unsigned char *row, quint16 &word) const
    {
        return find(keycompare::fieldAt(table, m_def, m_column, row), word);
    }

private:
    static constexpr quint16 absentWord = 0;

    Found find(const Field &field, quint16 &word) const
    {
        if (!field.isPresent()) {
            word = absentWord;
            return m_hasAbsent ? Found::Word : Found::Nothing;
        }
        switch (m_place.kind) {
        case Place::Bits:
            word = m_isInt ? quint16(field.value<quint32>() >> m_place.shift)
                           : quint16(field.value<quint64>() >> m_place.shift);
            return Found::Word;
        case Place::Double: {
            const auto value = field.value<double>();
            word = quint16(keycompare::doubleBits(value) >> m_place.shift);
            return value == value ? Found::Word : Found::Any;
        }
        case Place::Decimal: {
            const auto value = field.value<qint64>();
            if (!keycompare::sameScale(value, m_model))
                return findDecimal(value, word);
            word = quint16(quint64(value) >> m_place.shift);
            return Found::Word;
        }
        case Place::AnyDecimal:
            word = mixedWord(keycompare::shortestDecimal(field.value<qint64>()));
            return Found::Word;
        case Place::XDecimal: {
            const qsizetype rank = m_xdecimals.rankOf(xdecimal::fromData(field.data));
            word = quint16(rank);
            return rank < 0 ? Found::Nothing : Found::Word;
        }
        case Place::Text:
            break;
        }
        return keycompare::withText(field, [this, &word](const QString &text) {
            if (text.size() < m_shortest || text.size() > m_longest)
                return Found::Nothing;
            word = textWord(text, m_place.shift);
            return Found::Word;
        });
    }

    static quint16 mixedWord(quint64 bits) { return quint16((bits * 0x9E3779B97F4A7C15u) >> 48); }
    static quint16 textWord(const QString &text, qsizetype position)
    {
        const qsizetype size = text.size();
        const QChar *units = text.constData();
        if (size >= position + 4)
            return keywords::loadUnits(units + position);
        if (size >= 4)
            return keywords::loadUnits(units + size - 4);
        quint16 word = 0;
        for (qsizetype i = 0; i < size; ++i)
            word = quint16(word << 4 | (units[i].unicode() & 0xF));
        return word;
    }

    Found findDecimal(qint64 value, quint16 &word) const;
    /// Adds the field of a key to what find() needs, and takes its word; returns false for a NaN, and for a
    /// decimal with another scale than those before.
    bool learn(const Field &field, quint16 &word);
    bool learnAll(const Table *table, const QList<Record> &keys);

    const ColumnDef *m_def = nullptr;
    int m_column = -1;
    Place m_place;
    bool m_isInt = false;
    bool m_hasAbsent = false;
    /// Decimal: one of the keys, which all have its scale.
    qint64 m_model = 0;
    bool m_hasModel = false;
    XDecimalOrder m_xdecimals;
    /// Text: the lengths of the keys.
    qsizetype m_shortest = 0;
    qsizetype m_longest = -1;
    KeyWords m_words;
};

/// Decides whether a row equals one of a set of keys in some columns. The constructor chooses the column
/// whose words tell the keys apart best. For a row of the keys' own table that column is looked at first,
/// and whole keys are compared only where the words agree. A row of another table may lack columns and have
/// other types; it is compared key by key. Never changes after its construction.
class KeyMatcher
{
public:
    /// Refers to \a keys and \a columns, which must stay as they are and must not be empty.
    KeyMatcher(const Table *table, const QList<Record> &keys, const QList<int> &columns);

    bool contains(const Record &record) const
    {
        if (record.table() != m_table)
            return searchAll(record);
        unsigned char *row = record.row();
        if (m_first.isEmpty())
            return m_onlyKey.empty() ? searchAll(record) : equalsOnlyKey(row);
        quint16 word;
        switch (m_first.find(m_table, row, word)) {
        case KeyColumnWords::Found::Nothing:
            return false;
        case KeyColumnWords::Found::Any:
            return searchAll(record);
        case KeyColumnWords::Found::Word:
            break;
        }
        const qsizetype block = m_first.words().find(word, 0);
        return block != m_first.words().end() && confirm(record, word, block);
    }

private:
    /// A field of the only key, with its text if it has one.
    struct OnlyField
    {
        int column;
        bool isText;
        Field field;
        QString text;
    };

    bool equalsOnlyKey(unsigned char *row) const
    {
        for (const OnlyField &key : m_onlyKey) {
            const Field field = keycompare::fieldAt(m_table, key.field.def, key.column, row);
            if (!(key.isText ? sameText(field, key.text) : keycompare::sameField(field, key.field)))
                return false;
        }
        return true;
    }
    static bool sameText(const Field &field, const QString &key)
    {
        if (!field.isPresent())
            return false;
        // Nearly all texts differ in their length or at their end.
        return keycompare::withText(field, [&key](const QString &text) {
            const qsizetype size = key.size();
            return text.size() == size &&
                   (size == 0 || (text.constData()[size - 1] == key.constData()[size - 1] && text == key));
        });
    }
    bool confirm(const Record &record, quint16 word, qsizetype block) const;
    bool searchAll(const Record &record) const { return keycompare::equalsAny(record, m_keys, m_columns); }

    const Table *m_table;
    const QList<Record> &m_keys;
    const QList<int> &m_columns;
    /// The fields of a single key: comparing them is quickest.
    std::vector<OnlyField> m_onlyKey;
    KeyColumnWords m_first;
    /// Another column, where the first leaves many keys.
    KeyColumnWords m_second;
};
