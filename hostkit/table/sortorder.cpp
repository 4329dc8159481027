// SPDX-License-Identifier: MIT
#include <hostkit/table/sortorder_p.h>

#include <hostkit/table/rowset_p.h>
#include <hostkit/table/sortwords_p.h>

#include <data/record.h>
#include <data/table.h>
#include <sito_platform_p.h>

#include <QMutex>
#include <QString>
#include <QStringView>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace sito {

namespace {

using sortwords::highest;
using sortwords::nearestDouble;
using sortwords::ordered;

constexpr size_t chunkSize = 1 << 14;
/// The text by which a String field sorts, in the row.
struct StringText
{
    QStringView operator()(const Field &field, std::vector<QString> &) const
    {
        return *reinterpret_cast<const QString *>(field.data);
    }
};

/// The text by which a VarChar field sorts: in the row if the database library leaves it there, otherwise in
/// \a made, which it is added to.
struct VarCharText
{
    QStringView operator()(const Field &field, std::vector<QString> &made) const
    {
        QString text = field.asStaticString();
        const QStringView view = text;
        const auto value = quintptr(field.data);
        const auto begin = quintptr(view.utf16());
        if (begin < value || begin >= value + field.def->size)
            made.push_back(std::move(text));
        return view;
    }
};

/// Makes words of texts that sort as the texts do, as far as a word goes. What all texts begin with, as it
/// seems from some of them, is left out, so that the word tells apart what differs.
class TextWords
{
public:
    /// Learns from \a sample; the texts themselves must live as long as this object.
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
            narrow += std::count_if(rest.begin(), rest.end(), sortwords::isNarrow);
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
        return m_isNarrow ? sortwords::narrow(text) : wideWord(text);
    }

private:
    static quint64 wideWord(QStringView text)
    {
        quint64 word = 0;
        const qsizetype units = std::min<qsizetype>(text.size(), 4);
        for (qsizetype i = 0; i < units; ++i)
            word |= quint64(text[i].unicode()) << (48 - 16 * i);
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
                readDecimals(context);
            break;
        case FieldType::XDecimal:
            guessXDecimals(context);
            break;
        case FieldType::VarChar:
            readTexts(context, VarCharText());
            break;
        case FieldType::String:
            readTexts(context, StringText());
            break;
        default:
            // Values that are never ordered: all that is to be told is whether there is one.
            read(context, [](const Field &) { return quint64(1); });
            break;
        }
    }

    quint64 word(quint32 id) const { return m_words[id]; }
    bool isExact() const { return m_ties == Exact; }
    /// Whether the words of present values are a guess: the doubles of XDecimals, which no database library
    /// promises to sort as the numbers.
    bool isGuess() const { return m_isGuess; }
    /// Fetches what compareNumbers() is about to read.
    void prefetchNumber(quint32 id) const { platform::prefetch(&m_numbers[id]); }

    /// If the words are a guess, makes them tell absent values from present ones and nothing else.
    void dropGuess()
    {
        if (!m_isGuess)
            return;
        m_isGuess = false;
        for (quint64 &word : m_words)
            word = word == m_flip ? m_flip : m_flip ^ 1;
    }

    /// Negative, zero or positive as the row \a a sorts before, with or after \a b.
    int compare(quint32 a, quint32 b) const
    {
        if (m_words[a] != m_words[b])
            return m_words[a] < m_words[b] ? -1 : 1;
        return m_ties == Exact ? 0 : compareTied(a, b);
    }

    /// As compare(), but by the values where the words are a guess.
    int compareValues(quint32 a, quint32 b) const
    {
        return isTold(m_words[a], m_words[b]) ? compare(a, b) : compareTied(a, b);
    }
    /// Whether different words of two rows tell their order, not just a guess.
    bool isTold(quint64 a, quint64 b) const { return !m_isGuess || a == m_flip || b == m_flip; }

    /// As compareTied(), where the words are a guess.
    int compareNumbers(quint32 a, quint32 b) const
    {
        const xdecimal &x = m_numbers[m_key.descending ? b : a];
        const xdecimal &y = m_numbers[m_key.descending ? a : b];
        // Saves a call: the same bytes are the same number.
        return std::memcmp(&x, &y, sizeof(xdecimal)) == 0 ? 0 : x.compare(y);
    }

    /// The order of the values of rows with the same word, or of rows whose words are a guess.
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
        } else if (m_ties == Numbers) {
            return compareNumbers(a, b);
        } else if (m_ties == Fields) {
            result = field(a).compare(field(b));
        }
        return m_key.descending ? -result : result;
    }

private:
    enum Ties { Exact, Texts, Numbers, Fields };

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
        visit(context, [&](quint32 id, const Field &field) {
            m_words[id] = (field.isPresent() ? wordOf(field) : 0) ^ m_flip;
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

    /// For decimals of several scales, which their doubles do not all tell apart.
    void readDecimals(const parallel::Context &context)
    {
        read(context, [](const Field &field) { return ordered(nearestDouble(field.value<decimal>())); });
        m_ties = Fields;
    }

    void guessXDecimals(const parallel::Context &context)
    {
        m_numbers.resize(m_words.size());
        visit(context, [this](quint32 id, const Field &field) {
            quint64 word = 0;
            if (field.isPresent()) {
                m_numbers[id] = field.value<xdecimal>();
                word = ordered(m_numbers[id].toDouble());
            }
            m_words[id] = word ^ m_flip;
        });
        m_ties = Numbers;
        m_isGuess = true;
    }

    template <typename TextOf>
    void readTexts(const parallel::Context &context, const TextOf &textOf)
    {
        static constexpr char16_t empty = 0;
        m_texts.resize(m_words.size());
        std::vector<QString> madeForSample;
        const TextWords words(sample(textOf, madeForSample));
        QMutex mutex;
        parallel::forRanges(context, m_words.size(), chunkSize, [&](size_t first, size_t last) {
            std::vector<QString> made;
            for (size_t id = first; id < last; ++id) {
                const Field value = field(quint32(id));
                QStringView text;
                if (value.isPresent()) {
                    text = textOf(value, made);
                    if (text.isEmpty())
                        text = QStringView(&empty, qsizetype(0));
                }
                m_texts[id] = text;
                m_words[id] = (text.isNull() ? 0 : words.word(text)) ^ m_flip;
            }
            if (!made.empty()) {
                const QMutexLocker lock(&mutex);
                m_madeTexts.push_back(std::move(made));
            }
            context.advance(qint64(last - first));
        });
        m_ties = Texts;
    }

    /// Some of the present texts, from all over the rows.
    template <typename TextOf>
    std::vector<QStringView> sample(const TextOf &textOf, std::vector<QString> &made) const
    {
        constexpr size_t size = 256;
        std::vector<QStringView> texts;
        for (size_t i = 0; i < size && !m_words.empty(); ++i) {
            const Field value = field(quint32(i * m_words.size() / size));
            if (value.isPresent())
                texts.push_back(textOf(value, made));
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
    /// Turns the order of words round if that is wanted; also the word of an absent value.
    const quint64 m_flip = m_key.descending ? highest : 0;
    std::vector<quint64> m_words;
    /// Equal for absent values.
    std::vector<xdecimal> m_numbers;
    std::vector<QStringView> m_texts;
    /// What m_texts refers to, as far as it is not in the rows.
    std::vector<std::vector<QString>> m_madeTexts;
    Ties m_ties = Exact;
    bool m_isGuess = false;
};

/// A row while it is being sorted: the word of the first key beside it.
struct Item
{
    quint64 word = 0;
    quint32 id = 0;
};

/// Whether the row \a a, which has the same word in the first column as \a b, sorts before that. Not inline:
/// the loops of a sort are quicker without it.
Q_NEVER_INLINE bool sortsBeforeTied(const std::vector<KeyColumn> &columns, quint32 a, quint32 b)
{
    int order = columns.front().compareTied(a, b);
    for (size_t i = 1; order == 0 && i < columns.size(); ++i)
        order = columns[i].compare(a, b);
    return order != 0 ? order < 0 : a < b;
}

std::vector<Item> sortedItems(const parallel::Context &context, const std::vector<KeyColumn> &columns,
                              size_t size)
{
    std::vector<Item> items(size);
    for (size_t id = 0; id < size; ++id)
        items[id] = {columns.front().word(quint32(id)), quint32(id)};

    if (columns.size() == 1 && columns.front().isExact()) {
        parallel::sort(context, items, [](const Item &a, const Item &b) {
            return a.word != b.word ? a.word < b.word : a.id < b.id;
        });
    } else {
        parallel::sort(context, items, [&columns](const Item &a, const Item &b) {
            return a.word != b.word ? a.word < b.word : sortsBeforeTied(columns, a.id, b.id);
        });
    }
    return items;
}

/// Whether each row of \a items, which are sorted by their words, sorts before the next by the values.
bool areInOrder(const parallel::Context &context, const std::vector<KeyColumn> &columns,
                const std::vector<Item> &items)
{
    constexpr size_t ahead = 16;
    const KeyColumn &front = columns.front();
    const bool isGuess = front.isGuess();
    std::atomic<bool> result = true;
    const size_t last = items.empty() ? 0 : items.size() - 1;
    parallel::forRanges(context, last, chunkSize, [&](size_t from, size_t to) {
        for (size_t i = from; i < to && result.load(std::memory_order_relaxed); ++i) {
            if (isGuess)
                front.prefetchNumber(items[std::min(i + ahead, last)].id);
            const Item &a = items[i];
            const Item &b = items[i + 1];
            if (a.word != b.word && (!isGuess || front.isTold(a.word, b.word)))
                continue;
            int order = isGuess ? front.compareNumbers(a.id, b.id) : front.compareTied(a.id, b.id);
            for (size_t column = 1; order == 0 && column < columns.size(); ++column)
                order = columns[column].compareValues(a.id, b.id);
            if (order > 0 || (order == 0 && a.id > b.id))
                result.store(false, std::memory_order_relaxed);
        }
    });
    return result.load(std::memory_order_relaxed);
}

} // namespace

RowIds sortorder::sorted(const parallel::Context &context, const Table &table, const RowSet &rows,
                         const std::vector<Key> &keys)
{
    std::vector<KeyColumn> columns;
    columns.reserve(keys.size());
    for (const Key &key : keys)
        columns.emplace_back(context, table, rows, key);

    std::vector<Item> items = sortedItems(context, columns, rows.listedCount());
    const bool isGuess =
        std::any_of(columns.begin(), columns.end(), [](const KeyColumn &column) { return column.isGuess(); });
    if (isGuess && !areInOrder(context, columns, items)) {
        for (KeyColumn &column : columns)
            column.dropGuess();
        // The first attempt is all of the progress that was announced.
        items = sortedItems({context.threads, context.stop}, columns, rows.listedCount());
    }

    RowIds ids;
    ids.reserve(items.size());
    for (const Item &item : items)
        ids.push_back(item.id);
    return ids;
}

qint64 sortorder::units(qint64 rowCount, qint64 keyCount)
{
    return keyCount == 0 ? 0 : rowCount * keyCount + parallel::sortUnits(size_t(rowCount));
}

} // namespace sito
