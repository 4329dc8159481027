// SPDX-License-Identifier: MIT
#include <hostkit/table/sortorder_p.h>

#include <hostkit/table/rowset_p.h>

#include <data/record.h>
#include <data/table.h>

#include <QStringView>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace sito {

namespace {

constexpr size_t chunkSize = 1 << 14;
constexpr quint64 signBit = quint64(1) << 63;
constexpr quint64 highest = ~quint64(0);

quint64 ordered(qint64 value)
{
    return quint64(value) ^ signBit;
}

/// A word that sorts as \a value does; NaN is the highest one, and 0 is left free.
quint64 ordered(double value)
{
    if (std::isnan(value))
        return highest;
    const auto bits = std::bit_cast<quint64>(value == 0 ? 0.0 : value);
    return bits & signBit ? ~bits : bits | signBit;
}

QStringView textOf(const Field &field)
{
    if (field.def->type == FieldType::String)
        return *reinterpret_cast<const QString *>(field.data);
    // The view outlives this text, which only refers to the row.
    return field.asStaticString();
}

/// Makes words of texts that sort as the texts do, as far as a word goes. What all texts begin with, as it
/// seems from some of them, is left out, so that the word tells apart what differs.
class TextWords
{
public:
    /// Learns from \a sample.
    explicit TextWords(const std::vector<QStringView> &sample)
    {
        if (sample.empty())
            return;
        m_prefix = sample.front();
        for (const QStringView text : sample) {
            const qsizetype size = std::min(m_prefix.size(), text.size());
            const auto *const end = m_prefix.utf16() + size;
            m_prefix.truncate(std::mismatch(m_prefix.utf16(), end, text.utf16()).first - m_prefix.utf16());
        }
        qsizetype units = 0;
        qsizetype narrow = 0;
        for (const QStringView text : sample) {
            const QStringView rest = text.mid(m_prefix.size(), 8);
            units += rest.size();
            narrow += std::count_if(rest.begin(), rest.end(), isNarrow);
        }
        m_isNarrow = narrow * 8 > units * 7;
    }

    quint64 word(QStringView text) const
    {
        // A text with another beginning sorts before or after all that have this one.
        const qsizetype common = std::min(text.size(), m_prefix.size());
        const int order = text.first(common).compare(m_prefix.first(common), Qt::CaseSensitive);
        if (order != 0 || common < m_prefix.size())
            return order > 0 ? highest : 0;
        text = text.sliced(common);
        return m_isNarrow ? narrowWord(text) : wideWord(text);
    }

private:
    static bool isNarrow(QChar unit) { return unit.unicode() < 0xFF; }

    static quint64 wideWord(QStringView text)
    {
        quint64 word = 0;
        const qsizetype units = std::min<qsizetype>(text.size(), 4);
        for (qsizetype i = 0; i < units; ++i)
            word |= quint64(text[i].unicode()) << (48 - 16 * i);
        return word;
    }

    /// Eight units of a byte each; the first one that is no byte, and all behind it, count as the highest.
    static quint64 narrowWord(QStringView text)
    {
        quint64 word = 0;
        const qsizetype units = std::min<qsizetype>(text.size(), 8);
        for (qsizetype i = 0; i < units; ++i) {
            if (!isNarrow(text[i]))
                return word | highest >> (8 * i);
            word |= quint64(text[i].unicode()) << (56 - 8 * i);
        }
        return word;
    }

    QStringView m_prefix;
    bool m_isNarrow = false;
};

/// What one key sorts the rows by: a word each, which decides where it differs, and where equal words may
/// stand for different values a comparison of these.
class KeyColumn
{
public:
    KeyColumn(const parallel::Context &context, const Table &table, const RowSet &rows, sortorder::Key key)
        : m_table(table), m_rows(rows), m_key(key), m_words(rows.listedCount())
    {
        switch (table.columnDef(key.column)->type) {
        case FieldType::Int:
            read(context, [](const Field &field) { return quint64(ordered(qint64(field.value<qint32>()))); });
            break;
        case FieldType::Int64:
        case FieldType::DateTime:
            readWords(context);
            break;
        case FieldType::Double:
            read(context, [](const Field &field) { return ordered(field.value<double>()); });
            break;
        case FieldType::Decimal:
            if (hasOneScale(context))
                readWords(context);
            else
                readNumbers(context, [](const Field &field) { return field.value<decimal>().toDouble(); });
            break;
        case FieldType::XDecimal:
            readNumbers(context,
                        [](const Field &field) { return xdecimal::fromData(field.data).toDouble(); });
            break;
        case FieldType::VarChar:
        case FieldType::String:
            readTexts(context);
            break;
        default:
            // Values that are never ordered: all that is to be told is whether there is one.
            read(context, [](const Field &) { return quint64(1); });
            break;
        }
    }

    quint64 word(quint32 id) const { return m_words[id]; }
    bool isExact() const { return m_ties == Exact; }

    /// Negative, zero or positive as the row \a a sorts before, with or after \a b.
    int compare(quint32 a, quint32 b) const
    {
        if (m_words[a] != m_words[b])
            return m_words[a] < m_words[b] ? -1 : 1;
        return m_ties == Exact ? 0 : compareTied(a, b);
    }

    /// As compare(), for rows with the same word.
    int compareTied(quint32 a, quint32 b) const
    {
        int result = 0;
        if (m_ties == Texts) {
            // An absent text has no data, an empty one has.
            const QStringView &x = m_texts[a];
            const QStringView &y = m_texts[b];
            if (x.isNull() || y.isNull())
                result = int(y.isNull()) - int(x.isNull());
            else
                result = x.compare(y, Qt::CaseSensitive);
        } else if (m_ties == Fields) {
            result = field(a).compare(field(b));
        }
        return m_key.descending ? -result : result;
    }

private:
    enum Ties { Exact, Texts, Fields };

    Field field(quint32 id) const { return m_table.dataPtr(m_rows[id].row(), m_key.column); }

    /// Calls \a take with the id and the field of every row.
    template <typename Take>
    void visit(const parallel::Context &context, const Take &take)
    {
        parallel::forRanges(context, m_words.size(), chunkSize, [&](size_t first, size_t last) {
            for (size_t id = first; id < last; ++id)
                take(quint32(id), field(quint32(id)));
            context.advance(qint64(last - first));
        });
    }

    /// Fills the words with what \a wordOf gives for present values; 0 stands for absent ones.
    template <typename WordOf>
    void read(const parallel::Context &context, const WordOf &wordOf)
    {
        const quint64 flip = m_key.descending ? highest : 0;
        visit(context, [&](quint32 id, const Field &field) {
            m_words[id] = (field.isPresent() ? wordOf(field) : 0) ^ flip;
        });
    }

    /// For values that are one signed word, all of which may occur: the lowest one is not told from an absent
    /// value by the word.
    void readWords(const parallel::Context &context)
    {
        std::atomic<bool> hasLowest = false;
        read(context, [&hasLowest](const Field &field) {
            const quint64 word = ordered(field.value<qint64>());
            if (word == 0)
                hasLowest.store(true, std::memory_order_relaxed);
            return word;
        });
        m_ties = hasLowest.load(std::memory_order_relaxed) ? Fields : Exact;
    }

    /// For numbers whose nearest doubles do not tell all of them apart.
    template <typename NumberOf>
    void readNumbers(const parallel::Context &context, const NumberOf &numberOf)
    {
        read(context, [&numberOf](const Field &field) { return ordered(double(numberOf(field))); });
        m_ties = Fields;
    }

    void readTexts(const parallel::Context &context)
    {
        static constexpr char16_t empty = 0;
        const quint64 flip = m_key.descending ? highest : 0;
        m_texts.resize(m_words.size());
        const TextWords words(sample());
        visit(context, [this, &words, flip](quint32 id, const Field &field) {
            QStringView text;
            if (field.isPresent()) {
                text = textOf(field);
                if (text.isEmpty())
                    text = QStringView(&empty, qsizetype(0));
            }
            m_texts[id] = text;
            m_words[id] = (text.isNull() ? 0 : words.word(text)) ^ flip;
        });
        m_ties = Texts;
    }

    /// Some of the present texts, from all over the rows.
    std::vector<QStringView> sample() const
    {
        constexpr size_t size = 256;
        std::vector<QStringView> texts;
        for (size_t i = 0; i < size && !m_words.empty(); ++i) {
            const Field value = field(quint32(i * m_words.size() / size));
            if (value.isPresent())
                texts.push_back(textOf(value));
        }
        return texts;
    }

    /// Whether all decimals of the column have the same scale, so that they sort as their words do.
    bool hasOneScale(const parallel::Context &context)
    {
        constexpr quint64 unknown = highest;
        std::atomic<quint64> scale = unknown;
        std::atomic<bool> differs = false;
        parallel::forRanges(context, m_words.size(), chunkSize, [&](size_t first, size_t last) {
            quint64 mine = scale.load(std::memory_order_relaxed);
            for (size_t id = first; id < last && !differs.load(std::memory_order_relaxed); ++id) {
                const Field value = field(quint32(id));
                if (!value.isPresent())
                    continue;
                const quint64 bits = quint64(value.value<qint64>()) & decimal::scaleMask;
                if (mine == unknown && scale.compare_exchange_strong(mine, bits, std::memory_order_relaxed))
                    mine = bits;
                if (mine != bits)
                    differs.store(true, std::memory_order_relaxed);
            }
        });
        return !differs.load(std::memory_order_relaxed);
    }

    const Table &m_table;
    const RowSet &m_rows;
    const sortorder::Key m_key;
    std::vector<quint64> m_words;
    std::vector<QStringView> m_texts;
    Ties m_ties = Exact;
};

/// A row while it is being sorted: the word of the first key beside it.
struct Item
{
    quint64 word = 0;
    quint32 id = 0;
};

} // namespace

std::vector<quint32> sortorder::sorted(const parallel::Context &context, const Table &table,
                                       const RowSet &rows, const std::vector<Key> &keys)
{
    std::vector<KeyColumn> columns;
    columns.reserve(keys.size());
    for (const Key &key : keys)
        columns.emplace_back(context, table, rows, key);

    const size_t size = rows.listedCount();
    std::vector<Item> items(size);
    for (size_t id = 0; id < size; ++id)
        items[id] = {columns.front().word(quint32(id)), quint32(id)};

    if (columns.size() == 1 && columns.front().isExact()) {
        parallel::sort(context, items, [](const Item &a, const Item &b) {
            return a.word != b.word ? a.word < b.word : a.id < b.id;
        });
    } else {
        parallel::sort(context, items, [&columns](const Item &a, const Item &b) {
            if (a.word != b.word)
                return a.word < b.word;
            int order = columns.front().compareTied(a.id, b.id);
            for (size_t i = 1; order == 0 && i < columns.size(); ++i)
                order = columns[i].compare(a.id, b.id);
            return order != 0 ? order < 0 : a.id < b.id;
        });
    }

    std::vector<quint32> ids(size);
    for (size_t i = 0; i < size; ++i)
        ids[i] = items[i].id;
    return ids;
}

qint64 sortorder::units(qint64 rowCount, qint64 keyCount)
{
    return keyCount == 0 ? 0 : rowCount * keyCount + parallel::sortUnits(size_t(rowCount));
}

} // namespace sito
