// SPDX-License-Identifier: MIT
#include <filterfuncs/keymatcher_p.h>

#include <algorithm>
#include <array>
#include <limits>

namespace {

using Place = KeyColumnWords::Place;

/// The cost of comparing one key whose word agrees, and of taking a word from a row, in nanoseconds, very
/// roughly.
constexpr double hitCost = 5;

double costOf(FieldType::Type type)
{
    switch (type) {
    case FieldType::Decimal:
    case FieldType::Double:
        return 0.5;
    case FieldType::String:
        return 4;
    case FieldType::VarChar:
        return 8;
    case FieldType::XDecimal:
        return 60;
    default:
        return 0;
    }
}

std::optional<Place::Kind> kindOf(FieldType::Type type)
{
    switch (type) {
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::DateTime:
        return Place::Bits;
    case FieldType::Double:
        return Place::Double;
    case FieldType::Decimal:
        return Place::Decimal;
    case FieldType::XDecimal:
        return Place::XDecimal;
    case FieldType::VarChar:
    case FieldType::String:
        return Place::Text;
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    return std::nullopt;
}

bool isText(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String;
}

} // namespace

std::optional<KeyColumnWords::Judged>
KeyColumnWords::judge(const Table *table, int column, const QList<Record> &keys, const KeySample &sample)
{
    const ColumnDef *def = table->columnDef(column);
    const FieldType::Type type = def->type;
    const std::optional<Place::Kind> kind = kindOf(type);
    if (!kind)
        return std::nullopt;

    std::array<Field, KeySample::largest> fields;
    for (qsizetype i = 0; i < sample.size(); ++i)
        fields[size_t(i)] = keycompare::fieldAt(table, def, column, keys[sample.key(i)].row());

    Judged best{{*kind, 0}, std::numeric_limits<double>::infinity(), 0};
    const auto tryPlace = [&](quint8 shift, auto wordOf) {
        const double hits = sample.expectedHits([&](qsizetype i) {
            const Field &field = fields[size_t(i)];
            return field.isPresent() ? wordOf(field) : absentWord;
        });
        if (hits < best.expectedHits) {
            best.place.shift = shift;
            best.expectedHits = hits;
        }
        return best.expectedHits > 0;
    };
    if (*kind == Place::Text) {
        // The end of a text, then places that get rarer.
        for (const quint8 position : {quint8(255), quint8(0), quint8(4), quint8(8), quint8(12), quint8(20)}) {
            const auto wordOf = [&](const Field &field) {
                return keycompare::withText(field,
                                            [&](const QString &text) { return textWord(text, position); });
            };
            if (!tryPlace(position, wordOf))
                break;
        }
    } else if (*kind == Place::XDecimal) {
        QList<Record> sampled;
        for (qsizetype i = 0; i < sample.size(); ++i)
            sampled.append(keys[sample.key(i)]);
        const XDecimalOrder order(table, def, column, sampled);
        tryPlace(0,
                 [&](const Field &field) { return quint16(order.rankOf(xdecimal::fromData(field.data))); });
    } else {
        const auto bitsOf = [&](const Field &field) {
            if (*kind == Place::Double)
                return keycompare::doubleBits(field.value<double>());
            return type == FieldType::Int ? quint64(field.value<quint32>()) : field.value<quint64>();
        };
        std::array<quint64, KeySample::largest> bits = {};
        for (qsizetype i = 0; i < sample.size(); ++i) {
            if (fields[size_t(i)].isPresent())
                bits[size_t(i)] = bitsOf(fields[size_t(i)]);
        }
        const int highest = type == FieldType::Int ? 16 : 48;
        for (int shift = 0; shift <= highest; shift += 8) {
            const auto wordOf = [&](const Field &field) {
                return quint16(bits[size_t(&field - fields.data())] >> shift);
            };
            if (!tryPlace(quint8(shift), wordOf))
                break;
        }
    }
    best.cost = costOf(type) + hitCost * best.expectedHits;
    return best;
}

KeyColumnWords::KeyColumnWords(const Table *table, int column, const QList<Record> &keys, Place place)
    : m_def(table->columnDef(column)),
      m_column(column),
      m_place(place),
      m_isInt(m_def->type == FieldType::Int)
{
    if (learnAll(table, keys))
        return;
    if (m_place.kind == Place::Decimal) {
        // Keys of several scales are compared without trailing zeros, which costs more.
        m_place.kind = Place::AnyDecimal;
        if (learnAll(table, keys))
            return;
    }
    m_words = KeyWords();
}

bool KeyColumnWords::learnAll(const Table *table, const QList<Record> &keys)
{
    if (m_place.kind == Place::XDecimal)
        m_xdecimals = XDecimalOrder(table, m_def, m_column, keys);
    m_words = KeyWords(keys.size());
    for (qsizetype key = 0; key < keys.size(); ++key) {
        quint16 word = absentWord;
        if (!learn(keycompare::fieldAt(table, m_def, m_column, keys[key].row()), word))
            return false;
        m_words.set(key, word);
    }
    m_words.finish();
    return true;
}

bool KeyColumnWords::learn(const Field &field, quint16 &word)
{
    if (!field.isPresent()) {
        m_hasAbsent = true;
        return true;
    }
    if (m_place.kind == Place::Decimal && !m_hasModel) {
        m_hasModel = true;
        m_model = field.value<qint64>();
    }
    if (m_place.kind == Place::Decimal && !keycompare::sameScale(field.value<qint64>(), m_model))
        return false;
    if (m_place.kind == Place::Text) {
        keycompare::withText(field, [this, &word](const QString &text) {
            m_shortest = m_longest < 0 ? text.size() : std::min(m_shortest, text.size());
            m_longest = std::max(m_longest, text.size());
            word = textWord(text, m_place.shift);
        });
        return true;
    }
    return find(field, word) == Found::Word;
}

KeyColumnWords::Found KeyColumnWords::findDecimal(qint64 value, quint16 &word) const
{
    const std::optional<qint64> atScale = keycompare::decimalAtScaleOf(m_model, value);
    if (!m_hasModel || !atScale)
        return Found::Nothing;
    word = quint16(quint64(*atScale) >> m_place.shift);
    return Found::Word;
}

KeyMatcher::KeyMatcher(const Table *table, const QList<Record> &keys, const QList<int> &columns)
    : m_table(table), m_keys(keys), m_columns(columns)
{
    if (keys.size() == 1) {
        m_onlyKey.reserve(size_t(columns.size()));
        for (const int column : columns) {
            const Field field = keys.first().field(column);
            const bool hasText = field.isPresent() && isText(field.def->type);
            m_onlyKey.push_back({column, hasText, field, {}});
            if (hasText)
                m_onlyKey.back().text = keycompare::withText(field, [](const QString &text) { return text; });
        }
        return;
    }

    struct Candidate
    {
        int column;
        KeyColumnWords::Judged judged;
    };
    std::vector<Candidate> candidates;
    const KeySample sample(keys.size());
    for (const int column : columns) {
        if (const auto judged = KeyColumnWords::judge(table, column, keys, sample))
            candidates.push_back({column, *judged});
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate &a, const Candidate &b) { return a.judged.cost < b.judged.cost; });
    for (const Candidate &candidate : candidates) {
        KeyColumnWords &words = m_first.isEmpty() ? m_first : m_second;
        words = KeyColumnWords(table, candidate.column, keys, candidate.judged.place);
        // A second column pays where many keys share the word of the first.
        if (!m_second.isEmpty() || (!m_first.isEmpty() && candidate.judged.expectedHits < 0.5))
            break;
    }
}

bool KeyMatcher::confirm(const Record &record, quint16 word, qsizetype block) const
{
    const auto equal = [&](qsizetype key) { return keycompare::sameKey(record, m_keys[key], m_columns); };
    const KeyWords &first = m_first.words();
    if (!m_second.isEmpty()) {
        quint16 secondWord;
        switch (m_second.find(m_table, record.row(), secondWord)) {
        case KeyColumnWords::Found::Nothing:
            return false;
        case KeyColumnWords::Found::Word:
            return first.anyOf(word, m_second.words(), secondWord, block, equal);
        case KeyColumnWords::Found::Any:
            break;
        }
    }
    return first.anyOf(word, block, equal);
}
