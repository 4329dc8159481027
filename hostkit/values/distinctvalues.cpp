// SPDX-License-Identifier: MIT
#include <hostkit/values/distinctvalues_p.h>

#include <hostkit/text/valuetext_p.h>

#include <database/memorytable.h>

#include <data/exception.h>
#include <data/indexlist.h>
#include <data/record.h>
#include <data/table.h>
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/keyfilterfunc.h>

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <system_error>
#include <thread>
#include <utility>

namespace sito {

/// The values of one column in ascending order; the places in it are the ranks.
class DistinctValues::Column
{
public:
    Q_DISABLE_COPY_MOVE(Column)
    explicit Column(Table *table, int column) : m_table(table), m_column(column) {}
    virtual ~Column() = default;

    /// The value of \a rank, a copy.
    virtual FieldValue value(quint32 rank) const = 0;
    virtual QString text(quint32 rank) const = 0;
    virtual bool isNaN(quint32 rank) const = 0;

protected:
    FieldValue absent() const { return FieldValue(m_table, m_column); }
    const ColumnDef *definition() const { return m_table->columnDef(m_column); }

private:
    Table *m_table;
    int m_column;
};

namespace {

constexpr size_t batchSize = 1024;
constexpr size_t batchesAtOnce = 16;

/// Thrown where the work is to end because its token says so.
struct Stopped
{
};

void throwIfStopped(const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw Stopped();
}

/// The lock of a table, which is one of the in-memory database library, as all tables of hosts are here. Throws
/// Stopped instead of waiting on when it is told to stop, so that who waits for the thread never waits for the lock.
class StoppableLock
{
public:
    Q_DISABLE_COPY_MOVE(StoppableLock)
    StoppableLock(const Table &table, const std::stop_token &stop)
        : m_table(static_cast<const MemoryTable &>(table))
    {
        constexpr std::chrono::milliseconds pause(1);
        throwIfStopped(stop);
        while (!m_table.tryLock()) {
            std::this_thread::sleep_for(pause);
            throwIfStopped(stop);
        }
    }
    ~StoppableLock() { m_table.unlock(); }

private:
    const MemoryTable &m_table;
};

/// A number by which values are sorted, and the id of the value.
struct SortItem
{
    quint64 key;
    quint32 id;
};

/// Sorts by key, equal ones in the order in which they come. \a spare has room for as many items.
void radixSort(SortItem *items, size_t count, SortItem *spare)
{
    const auto less = [](const SortItem &a, const SortItem &b) { return a.key < b.key; };
    if (count < 256) {
        std::stable_sort(items, items + count, less);
        return;
    }
    quint64 ones = 0;
    quint64 zeros = 0;
    for (size_t i = 0; i < count; ++i) {
        ones |= items[i].key;
        zeros |= ~items[i].key;
    }
    SortItem *from = items;
    SortItem *to = spare;
    for (int shift = 0; shift < 64; shift += 8) {
        // A byte that all keys share orders nothing.
        if (((ones & zeros) >> shift & 0xFF) == 0)
            continue;
        std::array<size_t, 256> starts = {};
        for (size_t i = 0; i < count; ++i)
            ++starts[from[i].key >> shift & 0xFF];
        size_t next = 0;
        for (size_t &start : starts)
            next += std::exchange(start, next);
        for (size_t i = 0; i < count; ++i)
            to[starts[from[i].key >> shift & 0xFF]++] = from[i];
        std::swap(from, to);
    }
    if (from != items)
        std::copy(from, from + count, items);
}

using Words128 = std::array<quint64, 2>;

constexpr quint64 mixed(quint64 word)
{
    word *= 0x9E3779B97F4A7C15u;
    return word ^ word >> 32;
}
constexpr quint64 mixed(const Words128 &words)
{
    return mixed(mixed(words[0]) ^ words[1]);
}

/// Gives words numbers from 0 on, in the order in which they appear.
template <typename Word>
class WordNumbers
{
public:
    WordNumbers() : m_slots(initialSlots) {}

    quint32 numberOf(const Word &word)
    {
        const size_t mask = m_slots.size() - 1;
        for (size_t at = mixed(word) & mask;; at = (at + 1) & mask) {
            Slot &slot = m_slots[at];
            if (slot.number == 0) {
                m_words.push_back(word);
                const auto number = quint32(m_words.size());
                slot = {word, number};
                if (m_words.size() * 2 > m_slots.size())
                    grow();
                return number - 1;
            }
            if (slot.word == word)
                return slot.number - 1;
        }
    }
    const std::vector<Word> &words() const { return m_words; }

private:
    static constexpr size_t initialSlots = 1024;
    struct Slot
    {
        Word word = {};
        /// The number plus 1; 0 in a free slot.
        quint32 number = 0;
    };

    void grow()
    {
        std::vector<Slot> slots(m_slots.size() * 4);
        const size_t mask = slots.size() - 1;
        for (const Slot &slot : m_slots) {
            if (slot.number == 0)
                continue;
            size_t at = mixed(slot.word) & mask;
            while (slots[at].number != 0)
                at = (at + 1) & mask;
            slots[at] = slot;
        }
        m_slots = std::move(slots);
    }

    std::vector<Slot> m_slots;
    std::vector<Word> m_words;
};

/// The ids of a column's values in the order in which they appear: 0 for an absent value, from 1 on for the
/// others. Values that differ in bits have different ids, also where they are equal.
class ColumnIds
{
public:
    Q_DISABLE_COPY_MOVE(ColumnIds)
    ColumnIds(Table *table, int column) : m_table(table), m_column(column) {}
    virtual ~ColumnIds() = default;

    /// The ids of the values of \a rows, at most batchSize, into \a ids.
    virtual void read(std::span<unsigned char *const> rows, quint32 *ids) = 0;
    /// The id of \a field, a value of the column's type.
    virtual quint32 idOf(const Field &field) = 0;
    virtual size_t size() const = 0;
    /// For each id of \a other, one for the same column, the id here. Throws Stopped.
    virtual std::vector<quint32> absorb(const ColumnIds &other, const std::stop_token &stop) = 0;
    /// The values in ascending order, and for each id its rank among them. \a counts has the rows of each id.
    /// Throws Stopped.
    virtual std::unique_ptr<const DistinctValues::Column> sort(const std::vector<qint64> &counts,
                                                               std::vector<quint32> &ranks,
                                                               const std::stop_token &stop) const = 0;

protected:
    Table *m_table;
    int m_column;
};

/// Goes through \a items, in ascending order with equal values side by side: gives each id its rank, behind
/// that of the absent value, and calls take(id) with the commonest of each run of equal values.
template <typename Items, typename Equal, typename Lesser, typename Take>
void rankRuns(const Items &items, const std::vector<qint64> &counts, std::vector<quint32> &ranks, Equal equal,
              Lesser hasLesserBits, Take take, const std::stop_token &stop)
{
    quint32 rank = 0;
    for (auto run = items.begin(); run != items.end();) {
        if (rank % batchSize == 0)
            throwIfStopped(stop);
        quint32 best = run->id;
        auto end = run;
        ++rank;
        for (; end != items.end() && (end == run || equal(run->id, end->id)); ++end) {
            ranks[end->id] = rank;
            const qint64 more = counts[end->id] - counts[best];
            if (more > 0 || (more == 0 && hasLesserBits(end->id, best)))
                best = end->id;
        }
        take(best);
        run = end;
    }
}

/// Numbers and dates; Word is as wide as a value.
template <typename Word>
class NumberColumn final : public DistinctValues::Column
{
public:
    NumberColumn(Table *table, int column) : Column(table, column), m_type(definition()->type) {}

    FieldValue value(quint32 rank) const override { return rank == 0 ? absent() : FieldValue(view(rank)); }
    QString text(quint32 rank) const override
    {
        return rank == 0 ? valuetext::shown(absent()) : valuetext::shown(view(rank));
    }
    bool isNaN(quint32 rank) const override
    {
        return rank != 0 && m_type == FieldType::Double && std::isnan(view(rank).template value<double>());
    }
    void append(const Word &word) { m_words.push_back(word); }

private:
    Field view(quint32 rank) const
    {
        // Nothing writes through the field.
        auto *bytes =
            const_cast<unsigned char *>(reinterpret_cast<const unsigned char *>(&m_words[rank - 1]));
        return Field(definition(), bytes, bytes, 0);
    }

    FieldType::Type m_type;
    std::vector<Word> m_words;
};

template <typename Word>
class NumberIds final : public ColumnIds
{
public:
    NumberIds(Table *table, int column) : ColumnIds(table, column), m_type(table->columnDef(column)->type) {}

    void read(std::span<unsigned char *const> rows, quint32 *ids) override
    {
        for (unsigned char *row : rows)
            *ids++ = NumberIds::idOf(m_table->dataPtr(row, m_column));
    }
    quint32 idOf(const Field &field) override
    {
        return field.isPresent() ? m_numbers.numberOf(field.value<Word>()) + 1 : 0;
    }
    size_t size() const override { return m_numbers.words().size() + 1; }
    std::vector<quint32> absorb(const ColumnIds &other, const std::stop_token &stop) override
    {
        const auto &words = static_cast<const NumberIds &>(other).m_numbers.words();
        std::vector<quint32> ids(words.size() + 1);
        for (size_t i = 0; i < words.size(); ++i) {
            if (i % batchSize == 0)
                throwIfStopped(stop);
            ids[i + 1] = m_numbers.numberOf(words[i]) + 1;
        }
        return ids;
    }
    std::unique_ptr<const DistinctValues::Column> sort(const std::vector<qint64> &counts,
                                                       std::vector<quint32> &ranks,
                                                       const std::stop_token &stop) const override
    {
        const auto &words = m_numbers.words();
        std::vector<SortItem> items(words.size());
        for (size_t i = 0; i < words.size(); ++i)
            items[i] = {0, quint32(i) + 1};
        const auto word = [&words](quint32 id) -> const Word & { return words[id - 1]; };
        sortItems(items, stop);

        auto column = std::make_unique<NumberColumn<Word>>(m_table, m_column);
        rankRuns(
            items, counts, ranks, [&](quint32 a, quint32 b) { return isEqual(word(a), word(b)); },
            [&](quint32 a, quint32 b) { return word(a) < word(b); },
            [&](quint32 id) { column->append(word(id)); }, stop);
        return column;
    }

private:
    static decimal asDecimal(quint64 word) { return decimal::fromWord(qint64(word)); }
    static double asDouble(quint64 word) { return std::bit_cast<double>(word); }

    bool isEqual(const Word &a, const Word &b) const
    {
        if (a == b)
            return true;
        if constexpr (sizeof(Word) == 4) {
            return false;
        } else if constexpr (sizeof(Word) == 16) {
            return xdecimal::fromData(a.data()).compare(xdecimal::fromData(b.data())) == 0;
        } else {
            if (m_type == FieldType::Double) {
                const double x = asDouble(a);
                const double y = asDouble(b);
                return x == y || (std::isnan(x) && std::isnan(y));
            }
            return m_type == FieldType::Decimal && asDecimal(a).compare(asDecimal(b)) == 0;
        }
    }

    /// Sorts \a items, which have their ids, by the values.
    void sortItems(std::vector<SortItem> &items, const std::stop_token &stop) const
    {
        const auto &words = m_numbers.words();
        if constexpr (sizeof(Word) == 16) {
            std::sort(items.begin(), items.end(), [&words, &stop](const SortItem &a, const SortItem &b) {
                throwIfStopped(stop);
                return xdecimal::fromData(words[a.id - 1].data())
                           .compare(xdecimal::fromData(words[b.id - 1].data())) < 0;
            });
        } else {
            if (m_type == FieldType::Decimal && !haveOneScale()) {
                std::sort(items.begin(), items.end(), [&words, &stop](const SortItem &a, const SortItem &b) {
                    throwIfStopped(stop);
                    return asDecimal(words[a.id - 1]).compare(asDecimal(words[b.id - 1])) < 0;
                });
                return;
            }
            for (SortItem &item : items)
                item.key = sortKey(words[item.id - 1]);
            std::vector<SortItem> spare(items.size());
            radixSort(items.data(), items.size(), spare.data());
        }
    }
    bool haveOneScale() const
    {
        const auto &words = m_numbers.words();
        return std::all_of(words.begin(), words.end(), [&words](Word word) {
            return (quint64(word ^ words.front()) & decimal::scaleMask) == 0;
        });
    }
    quint64 sortKey(quint64 word) const
    {
        constexpr quint64 sign = quint64(1) << 63;
        switch (m_type) {
        case FieldType::Int:
            return quint64(qint64(qint32(word))) ^ sign;
        case FieldType::Double: {
            if (std::isnan(asDouble(word)))
                return ~quint64(0);
            if (word == sign) // -0.0
                word = 0;
            return word & sign ? ~word : word | sign;
        }
        default:
            return word ^ sign;
        }
    }

    FieldType::Type m_type;
    WordNumbers<Word> m_numbers;
};

class TextColumn final : public DistinctValues::Column
{
public:
    using Column::Column;

    FieldValue value(quint32 rank) const override
    {
        FieldValue result = absent();
        if (rank == 0)
            return result;
        const QString &text = m_texts[rank - 1];
        if (result.def->type == FieldType::String)
            result.storeString(text);
        else
            FieldType::stringToVarChar(result.data, result.def->length, text);
        result.setPresent();
        return result;
    }
    QString text(quint32 rank) const override
    {
        if (rank == 0)
            return valuetext::shown(absent());
        const QString &text = m_texts[rank - 1];
        return valuetext::shownText(text);
    }
    bool isNaN(quint32) const override { return false; }
    void append(const QString &text) { m_texts.push_back(text); }

private:
    std::vector<QString> m_texts;
};

class TextIds final : public ColumnIds
{
public:
    TextIds(Table *table, int column)
        : ColumnIds(table, column),
          m_isString(table->columnDef(column)->type == FieldType::String),
          m_slots(initialSlots)
    {
    }

    void read(std::span<unsigned char *const> rows, quint32 *ids) override
    {
        // Texts lie anywhere in memory: all of a batch are asked for before the first is needed.
        std::array<QStringView, batchSize> texts;
        std::array<quint64, batchSize> hashes;
        for (size_t i = 0; i < rows.size(); ++i) {
            const Field field = m_table->dataPtr(rows[i], m_column);
            texts[i] = field.isPresent() ? view(field) : QStringView();
            ids[i] = field.isPresent();
            __builtin_prefetch(texts[i].utf16());
        }
        for (size_t i = 0; i < rows.size(); ++i) {
            hashes[i] = hashOf(texts[i]);
            __builtin_prefetch(&m_slots[hashes[i] & (m_slots.size() - 1)]);
        }
        for (size_t i = 0; i < rows.size(); ++i) {
            if (ids[i] != 0)
                ids[i] = idOf(texts[i], hashes[i], [&] { return m_table->dataPtr(rows[i], m_column); });
        }
    }
    quint32 idOf(const Field &field) override
    {
        if (!field.isPresent())
            return 0;
        const bool isString = field.def->type == FieldType::String;
        const QString text = isString ? stringAt(field) : field.toString();
        return idOf(text, hashOf(text), text);
    }
    size_t size() const override { return m_texts.size() + 1; }
    std::vector<quint32> absorb(const ColumnIds &other, const std::stop_token &stop) override
    {
        const auto &texts = static_cast<const TextIds &>(other).m_texts;
        const auto &hashes = static_cast<const TextIds &>(other).m_hashes;
        std::vector<quint32> ids(texts.size() + 1);
        for (size_t i = 0; i < texts.size(); ++i) {
            if (i % batchSize == 0)
                throwIfStopped(stop);
            ids[i + 1] = idOf(texts[i], hashes[i], texts[i]);
        }
        return ids;
    }
    std::unique_ptr<const DistinctValues::Column> sort(const std::vector<qint64> &counts,
                                                       std::vector<quint32> &ranks,
                                                       const std::stop_token &stop) const override
    {
        std::vector<SortItem> items(m_texts.size());
        for (size_t i = 0; i < items.size(); ++i)
            items[i] = {0, quint32(i) + 1};
        std::vector<SortItem> spare(items.size());
        sortRun(items.data(), items.size(), 0, spare.data(), stop);

        auto column = std::make_unique<TextColumn>(m_table, m_column);
        rankRuns(
            items, counts, ranks, [](quint32, quint32) { return false; },
            [](quint32, quint32) { return false; }, [&](quint32 id) { column->append(m_texts[id - 1]); },
            stop);
        return column;
    }

private:
    static constexpr size_t initialSlots = 1024;
    struct Slot
    {
        quint32 hash = 0;
        /// The id; 0 in a free slot.
        quint32 id = 0;
    };

    static const QString &stringAt(const Field &field)
    {
        return *reinterpret_cast<const QString *>(field.data);
    }
    static quint64 hashOf(QStringView text)
    {
        return qHashBits(text.utf16(), size_t(text.size()) * sizeof(char16_t), 0x5170);
    }
    QStringView view(const Field &field) const
    {
        if (m_isString)
            return stringAt(field);
        const auto *text = reinterpret_cast<const char16_t *>(field.data);
        qsizetype units = field.def->length;
        while (units > 0 && text[units - 1] == 0)
            --units;
        return QStringView(text, units);
    }

    static const QString &own(const QString &text) { return text; }
    template <typename FieldOf>
    QString own(const FieldOf &fieldOf) const
    {
        const Field field = fieldOf();
        return m_isString ? stringAt(field) : field.toString();
    }

    /// \a source is the text itself, or gives the field from which to take it when it is a new one.
    template <typename Source>
    quint32 idOf(QStringView text, quint64 hash, const Source &source)
    {
        const size_t mask = m_slots.size() - 1;
        const auto upper = quint32(hash >> 32);
        for (size_t at = hash & mask;; at = (at + 1) & mask) {
            Slot &slot = m_slots[at];
            if (slot.id == 0) {
                m_texts.push_back(own(source));
                m_hashes.push_back(hash);
                const auto id = quint32(m_texts.size());
                slot = {upper, id};
                if (m_texts.size() * 2 > m_slots.size())
                    grow();
                return id;
            }
            if (slot.hash == upper && isSame(m_texts[slot.id - 1], text))
                return slot.id;
        }
    }
    static bool isSame(const QString &a, QStringView b)
    {
        return a.size() == b.size() &&
               (a.utf16() == reinterpret_cast<const ushort *>(b.utf16()) || QStringView(a) == b);
    }
    void grow()
    {
        std::vector<Slot> slots(m_slots.size() * 4);
        const size_t mask = slots.size() - 1;
        for (size_t i = 0; i < m_hashes.size(); ++i) {
            size_t at = m_hashes[i] & mask;
            while (slots[at].id != 0)
                at = (at + 1) & mask;
            slots[at] = {quint32(m_hashes[i] >> 32), quint32(i) + 1};
        }
        m_slots = std::move(slots);
    }

    /// Four units of the text from \a depth on, zeros behind its end.
    static quint64 excerpt(const QString &text, qsizetype depth)
    {
        const qsizetype size = text.size();
        const ushort *units = text.utf16();
        quint64 result = 0;
        for (qsizetype i = depth; i < depth + 4; ++i)
            result = result << 16 | (i < size ? units[i] : 0u);
        return result;
    }
    /// Sorts items whose texts agree in the first \a depth units, and are not shorter than that.
    void sortRun(SortItem *items, size_t count, qsizetype depth, SortItem *spare,
                 const std::stop_token &stop) const
    {
        constexpr size_t fewTexts = 8;
        constexpr qsizetype deepEnough = 200;
        const auto text = [this](const SortItem &item) -> const QString & { return m_texts[item.id - 1]; };
        throwIfStopped(stop);
        if (count <= fewTexts || depth > deepEnough) {
            std::sort(items, items + count, [&](const SortItem &a, const SortItem &b) {
                return QString::compare(text(a), text(b), Qt::CaseSensitive) < 0;
            });
            return;
        }
        for (size_t i = 0; i < count; ++i)
            items[i].key = excerpt(text(items[i]), depth);
        radixSort(items, count, spare);
        for (size_t begin = 0; begin < count;) {
            size_t end = begin + 1;
            while (end < count && items[end].key == items[begin].key)
                ++end;
            if (end - begin > 1) {
                // Texts that end here differ in the number of U+0000 at their end, and sort before longer ones.
                SortItem *const longer =
                    std::partition(items + begin, items + end,
                                   [&](const SortItem &item) { return text(item).size() <= depth + 4; });
                std::sort(items + begin, longer, [&](const SortItem &a, const SortItem &b) {
                    return text(a).size() < text(b).size();
                });
                sortRun(longer, size_t(items + end - longer), depth + 4, spare, stop);
            }
            begin = end;
        }
    }

    bool m_isString;
    std::vector<Slot> m_slots;
    std::vector<QString> m_texts;
    std::vector<quint64> m_hashes;
};

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

/// The rows of one thread by the ids of their values. The ids of several columns are folded from the left:
/// the first two become the id of the pair, that and the third the id of the three, and so on.
class Tally
{
public:
    Tally(Table *table, const QList<int> &columns)
    {
        for (const int column : columns)
            m_columns.push_back(makeColumnIds(table, column));
        m_pairs.resize(m_columns.size() - 1);
    }

    /// Counts \a rows, at most batchSize.
    void add(std::span<unsigned char *const> rows)
    {
        std::array<quint32, batchSize> ids;
        m_columns.front()->read(rows, ids.data());
        for (size_t column = 1; column < m_columns.size(); ++column) {
            std::array<quint32, batchSize> right;
            m_columns[column]->read(rows, right.data());
            for (size_t i = 0; i < rows.size(); ++i)
                ids[i] = m_pairs[column - 1].numberOf(pair(ids[i], right[i]));
        }
        m_counts.resize(size());
        for (size_t i = 0; i < rows.size(); ++i)
            ++m_counts[ids[i]];
    }

    /// The id of \a key, whose fields are of the types of the columns.
    quint32 idOf(const KeyValue &key)
    {
        std::vector<quint32> ids;
        for (size_t column = 0; column < m_columns.size(); ++column)
            ids.push_back(m_columns[column]->idOf(key.at(qsizetype(column))));
        const quint32 result = fold(ids);
        m_counts.resize(size());
        return result;
    }

    /// Throws Stopped.
    void absorb(const Tally &other, const std::stop_token &stop)
    {
        std::vector<std::vector<quint32>> maps;
        for (size_t column = 0; column < m_columns.size(); ++column)
            maps.push_back(m_columns[column]->absorb(*other.m_columns[column], stop));
        std::vector<quint32> ids(m_columns.size());
        for (size_t id = 0; id < other.m_counts.size(); ++id) {
            if (id % batchSize == 0)
                throwIfStopped(stop);
            other.unfold(quint32(id), ids);
            for (size_t column = 0; column < ids.size(); ++column)
                ids[column] = maps[column][ids[column]];
            const quint32 here = fold(ids);
            m_counts.resize(std::max(m_counts.size(), size_t(here) + 1));
            m_counts[here] += other.m_counts[id];
        }
    }

    /// How many ids there are, those included of which there is neither a row nor a key.
    size_t size() const
    {
        return m_pairs.empty() ? m_columns.front()->size() : m_pairs.back().words().size();
    }
    qint64 count(quint32 id) const { return id < m_counts.size() ? m_counts[id] : 0; }
    size_t columnCount() const { return m_columns.size(); }
    const ColumnIds &column(size_t column) const { return *m_columns[column]; }
    /// The ids of the fields of the key \a id.
    void unfold(quint32 id, std::vector<quint32> &ids) const
    {
        for (size_t column = m_columns.size() - 1; column > 0; --column) {
            const quint64 both = m_pairs[column - 1].words()[id];
            ids[column] = quint32(both);
            id = quint32(both >> 32);
        }
        ids.front() = id;
    }

private:
    static quint64 pair(quint32 left, quint32 right) { return quint64(left) << 32 | right; }
    quint32 fold(const std::vector<quint32> &ids)
    {
        quint32 result = ids.front();
        for (size_t column = 1; column < ids.size(); ++column)
            result = m_pairs[column - 1].numberOf(pair(result, ids[column]));
        return result;
    }

    std::vector<std::unique_ptr<ColumnIds>> m_columns;
    std::vector<WordNumbers<quint64>> m_pairs;
    std::vector<qint64> m_counts;
};

/// Shares the rows out to threads, a piece at a time.
class Pass
{
public:
    Pass(const DistinctValues::Source &source, const std::stop_token &stop,
         const DistinctValues::ProgressFunction &progress)
        : m_source(source), m_stop(stop), m_progress(progress)
    {
        const IndexList *const index = source.table->masterIndex();
        m_rows.reserve(size_t(index->rowCount()));
        for (auto row = index->begin(), end = index->end(); row != end; ++row)
            m_rows.push_back(*row);
    }

    size_t rowCount() const { return m_rows.size(); }

    /// Counts what others leave into \a tally; the progress is told from the one thread that is to. Throws
    /// Stopped.
    void run(Tally &tally, bool tellsProgress)
    {
        constexpr size_t pieceSize = batchSize * batchesAtOnce;
        int told = 0;
        std::vector<unsigned char *> shown;
        for (;;) {
            const size_t begin = m_next.fetch_add(pieceSize, std::memory_order_relaxed);
            if (begin >= m_rows.size())
                return;
            const size_t end = std::min(begin + pieceSize, m_rows.size());
            for (size_t at = begin; at < end; at += batchSize) {
                throwIfStopped(m_stop);
                if (m_failed.load(std::memory_order_relaxed))
                    return;
                const std::span batch(m_rows.data() + at, std::min(batchSize, end - at));
                tally.add(m_source.hiddenBy.empty() ? batch : shownOf(batch, shown));
            }
            if (tellsProgress) {
                const auto percent = int(end * 100 / m_rows.size());
                if (percent != told)
                    m_progress(percent);
                told = percent;
            }
        }
    }
    /// As run(), but keeps what is thrown for rethrow().
    void runAside(Tally &tally)
    {
        try {
            run(tally, false);
        } catch (...) {
            const std::lock_guard guard(m_mutex);
            m_failure = std::current_exception();
            m_failed.store(true, std::memory_order_relaxed);
        }
    }
    /// To be called by others to make the threads end early.
    void giveUp() { m_failed.store(true, std::memory_order_relaxed); }
    void rethrow()
    {
        if (m_failure)
            std::rethrow_exception(m_failure);
    }

private:
    std::span<unsigned char *const> shownOf(std::span<unsigned char *const> rows,
                                            std::vector<unsigned char *> &shown) const
    {
        shown.clear();
        for (unsigned char *row : rows) {
            // Nobody knows how long a predicate takes.
            throwIfStopped(m_stop);
            const Record record(row);
            const bool isHidden = std::any_of(m_source.hiddenBy.begin(), m_source.hiddenBy.end(),
                                              [&record](const auto &func) { return func->filter(record); });
            if (!isHidden)
                shown.push_back(row);
        }
        return shown;
    }

    const DistinctValues::Source &m_source;
    const std::stop_token &m_stop;
    const DistinctValues::ProgressFunction &m_progress;
    std::vector<unsigned char *> m_rows;
    std::atomic<size_t> m_next = 0;
    std::atomic<bool> m_failed = false;
    std::mutex m_mutex;
    std::exception_ptr m_failure;
};

/// \a key with its fields in the types of \a columns, or nothing when it cannot be a key of them.
std::optional<KeyValue> ownKey(Table *table, const QList<int> &columns, const KeyValue &key)
{
    if (key.size() < columns.size())
        return std::nullopt;
    bool isOwn = key.size() == columns.size();
    for (qsizetype i = 0; i < columns.size(); ++i) {
        const ColumnDef &own = *table->columnDef(columns.at(i));
        const FieldValue &field = key.at(i);
        isOwn = isOwn && field.def->type == own.type && field.def->length == own.length &&
                field.def->size == own.size && (field.isPresent() || own.nullable);
    }
    KeyValue result = key;
    if (!isOwn) {
        // The way of the predicates.
        try {
            const KeyFilterFunc converter(table, {}, columns);
            const Record record = converter.keyToRecord(key);
            result.clear();
            for (const int column : columns)
                result.append(FieldValue(record.field(column)));
        } catch (const Exception &) {
            return std::nullopt;
        }
    }
    const bool hasNaN = std::any_of(result.cbegin(), result.cend(), [](const FieldValue &field) {
        return field.def->type == FieldType::Double && field.isPresent() && std::isnan(field.value<double>());
    });
    return hasNaN ? std::nullopt : std::optional(result);
}

} // namespace

DistinctValues::DistinctValues() = default;

DistinctValues::~DistinctValues() = default;

std::shared_ptr<const DistinctValues> DistinctValues::count(const Source &source, const std::stop_token &stop,
                                                            const ProgressFunction &progress, int threads)
{
    try {
        return countUnlessStopped(source, stop, progress, threads);
    } catch (const Stopped &) {
        return nullptr;
    }
}

std::shared_ptr<const DistinctValues> DistinctValues::countUnlessStopped(const Source &source,
                                                                         const std::stop_token &stop,
                                                                         const ProgressFunction &progress,
                                                                         int threads)
{
    constexpr size_t rowsForAThread = 20'000;
    Tally tally(source.table, source.columns);
    {
        const StoppableLock lock(*source.table, stop);
        Pass pass(source, stop, progress);
        const size_t wanted =
            threads > 0 ? size_t(threads) : std::max(1u, std::thread::hardware_concurrency());
        const size_t helpers = std::min(wanted, pass.rowCount() / rowsForAThread + 1) - 1;
        std::vector<std::unique_ptr<Tally>> tallies;
        std::vector<std::jthread> workers;
        for (size_t i = 0; i < helpers; ++i) {
            Tally &own = *tallies.emplace_back(std::make_unique<Tally>(source.table, source.columns));
            try {
                workers.emplace_back([&pass, &own] { pass.runAside(own); });
            } catch (const std::system_error &) {
                break; // No more threads to be had: those that there are do the work.
            }
        }
        try {
            pass.run(tally, bool(progress));
        } catch (...) {
            pass.giveUp();
            throw;
        }
        for (std::jthread &worker : workers)
            worker.join();
        pass.rethrow();
        for (const auto &other : tallies)
            tally.absorb(*other, stop);
    }

    std::vector<qint64> keyIds;
    std::vector<bool> isListed;
    for (const KeyValue &key : source.keys) {
        throwIfStopped(stop);
        const std::optional<KeyValue> own = ownKey(source.table, source.columns, key);
        keyIds.push_back(own ? qint64(tally.idOf(*own)) : -1);
    }
    isListed.resize(tally.size());
    for (const qint64 id : keyIds) {
        if (id >= 0)
            isListed[size_t(id)] = true;
    }

    // The rows of each value of each column; the ranks of the values.
    const size_t columnCount = tally.columnCount();
    std::vector<std::vector<qint64>> counts(columnCount);
    for (size_t column = 0; column < columnCount; ++column)
        counts[column].resize(tally.column(column).size());
    std::vector<quint32> ids(columnCount);
    for (size_t id = 0; id < tally.size(); ++id) {
        throwIfStopped(stop);
        tally.unfold(quint32(id), ids);
        for (size_t column = 0; column < columnCount; ++column)
            counts[column][ids[column]] += tally.count(quint32(id));
    }
    const std::shared_ptr<DistinctValues> result(new DistinctValues);
    std::vector<std::vector<quint32>> ranks(columnCount);
    int bits = 0;
    for (size_t column = 0; column < columnCount; ++column) {
        ranks[column].resize(tally.column(column).size());
        result->m_columns.push_back(tally.column(column).sort(counts[column], ranks[column], stop));
        bits += int(std::bit_width(ranks[column].size()));
    }

    // The keys in the order of the ranks of their fields.
    std::vector<SortItem> items;
    items.reserve(tally.size());
    for (size_t id = 0; id < tally.size(); ++id) {
        throwIfStopped(stop);
        if (tally.count(quint32(id)) == 0 && !isListed[id])
            continue;
        quint64 packed = 0;
        if (bits <= 64) {
            tally.unfold(quint32(id), ids);
            for (size_t column = 0; column < columnCount; ++column)
                packed = packed << std::bit_width(ranks[column].size()) | ranks[column][ids[column]];
        }
        items.push_back({packed, quint32(id)});
    }
    const auto readRanks = [&](quint32 id, std::vector<quint32> &key) {
        tally.unfold(id, key);
        for (size_t column = 0; column < columnCount; ++column)
            key[column] = ranks[column][key[column]];
    };
    if (bits <= 64) {
        std::vector<SortItem> spare(items.size());
        radixSort(items.data(), items.size(), spare.data());
    } else {
        std::vector<quint32> left(columnCount);
        std::vector<quint32> right(columnCount);
        std::sort(items.begin(), items.end(), [&](const SortItem &a, const SortItem &b) {
            throwIfStopped(stop);
            readRanks(a.id, left);
            readRanks(b.id, right);
            return left < right;
        });
    }

    std::vector<quint32> indexes(tally.size());
    std::vector<quint32> key(columnCount);
    std::vector<quint32> last;
    result->m_ranks.reserve(items.size() * columnCount);
    result->m_counts.reserve(items.size());
    for (const SortItem &item : items) {
        throwIfStopped(stop);
        readRanks(item.id, key);
        if (key != last) {
            result->m_ranks.insert(result->m_ranks.end(), key.begin(), key.end());
            result->m_counts.push_back(0);
            last = key;
        }
        result->m_counts.back() += tally.count(item.id);
        indexes[item.id] = quint32(result->m_counts.size()) - 1;
    }
    for (const qint64 id : keyIds)
        result->m_keyIndexes.push_back(id < 0 ? -1 : qsizetype(indexes[size_t(id)]));
    return result;
}

KeyValue DistinctValues::key(qsizetype index) const
{
    KeyValue key;
    key.reserve(qsizetype(m_columns.size()));
    for (size_t column = 0; column < m_columns.size(); ++column)
        key.append(field(index, column));
    return key;
}

QString DistinctValues::text(qsizetype index) const
{
    const quint32 *ranks = &m_ranks[size_t(index) * m_columns.size()];
    if (m_columns.size() == 1)
        return m_columns.front()->text(*ranks);
    QStringList fields;
    for (const auto &column : m_columns)
        fields.append(column->text(*ranks++));
    return valuetext::joined(fields);
}

bool DistinctValues::isKey(qsizetype index) const
{
    const quint32 *ranks = &m_ranks[size_t(index) * m_columns.size()];
    return std::none_of(m_columns.begin(), m_columns.end(),
                        [&ranks](const auto &column) { return column->isNaN(*ranks++); });
}

bool DistinctValues::isUnwritten(qsizetype index) const
{
    return m_columns.size() == 1 && valuetext::isUnwritten(field(index, 0));
}

FieldValue DistinctValues::field(qsizetype index, size_t column) const
{
    return m_columns[column]->value(m_ranks[size_t(index) * m_columns.size() + column]);
}

} // namespace sito
