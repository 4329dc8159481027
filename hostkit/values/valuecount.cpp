// SPDX-License-Identifier: MIT
#include <hostkit/values/valuecount_p.h>

#include <hostkit/parallel/parallel_p.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/slices_p.h>

#include <data/exception.h>
#include <data/indexlist.h>
#include <data/record.h>
#include <data/table.h>
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/keytorecord.h>

#include <QScopeGuard>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <mutex>
#include <optional>
#include <utility>

namespace sito {

namespace {

/// Fewer are not worth a thread more.
constexpr size_t rowsForAThread = 20'000;
/// What a thread takes at a time.
constexpr size_t pieceSize = ColumnIds::batchSize * 16;

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
            const Record record = keyconversion::keyToRecord(table, columns, key);
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

class ValueCount::Tallies
{
public:
    explicit Tallies(ValueCount &count) : m_count(count), m_unused{&count.m_tally} {}

    /// Adds \a rows to one that no other thread uses.
    void add(const parallel::Context &context, Rows rows)
    {
        Tally *const tally = take();
        m_count.tallyPiece(*tally, rows);
        giveBack(tally);
        context.advance(qint64(rows.size()));
    }
    /// Those beside the first.
    const std::vector<std::unique_ptr<Tally>> &others() const { return m_others; }

private:
    Tally *take()
    {
        const std::lock_guard guard(m_mutex);
        if (m_unused.empty()) {
            const Source &source = m_count.m_source;
            return m_others.emplace_back(std::make_unique<Tally>(source.table, source.columns)).get();
        }
        Tally *const tally = m_unused.back();
        m_unused.pop_back();
        return tally;
    }
    void giveBack(Tally *tally)
    {
        const std::lock_guard guard(m_mutex);
        m_unused.push_back(tally);
    }

    ValueCount &m_count;
    std::mutex m_mutex;
    std::vector<Tally *> m_unused;
    std::vector<std::unique_ptr<Tally>> m_others;
};

ValueCount::ValueCount(const Source &source, const parallel::Context &context)
    : m_source(source), m_context(context), m_tally(source.table, source.columns)
{
}

std::shared_ptr<const DistinctValues> ValueCount::run(const Source &source, const parallel::Context &context)
{
    ValueCount count(source, context);
    count.tallyRows();
    count.addKeys();
    count.rankColumns();
    count.sortKeys();
    return count.result();
}

std::vector<unsigned char *> ValueCount::listRows() const
{
    const IndexList *const index = m_source.table->masterIndex();
    std::vector<unsigned char *> rows;
    rows.reserve(size_t(index->rowCount()));
    for (unsigned char *row : *index)
        rows.push_back(row);
    return rows;
}

void ValueCount::tallyRows()
{
    Tallies tallies(*this);
    if (m_source.watch)
        tallyInSlices(tallies);
    else
        parallel::underLock(*m_source.table, m_context.stop, [&] { tallyAtOnce(tallies); });
    for (const auto &other : tallies.others())
        m_tally.absorb(*other, m_context.stop);
}

parallel::Context ValueCount::contextFor(size_t rowCount) const
{
    if (m_context.progress)
        m_context.progress->total.store(std::max<qint64>(1, qint64(rowCount)), std::memory_order_relaxed);
    parallel::Context context = m_context;
    context.threads = int(std::min(size_t(std::max(1, m_context.threads)), rowCount / rowsForAThread + 1));
    return context;
}

void ValueCount::tallyAtOnce(Tallies &tallies)
{
    const std::vector<unsigned char *> rows = listRows();
    const parallel::Context context = contextFor(rows.size());
    parallel::forRanges(context, rows.size(), pieceSize, [&](size_t first, size_t last) {
        tallies.add(context, Rows(rows).subspan(first, last - first));
    });
}

void ValueCount::tallyInSlices(Tallies &tallies)
{
    std::vector<unsigned char *> rows;
    DepartedRows &departed = m_source.watch->departedRows();
    bool isReading = false;
    const auto end = qScopeGuard([&] {
        if (isReading)
            departed.end();
    });
    parallel::underLock(*m_source.table, m_context.stop, [&] {
        departed.begin();
        isReading = true;
        rows = listRows();
    });
    const parallel::Context context = contextFor(rows.size());
    // The readers of cells wait for slices of other work.
    const std::atomic<int> readers = 0;
    inSlices(*m_source.table, context, rows.size(), readers, [&](size_t first, size_t last) {
        tallies.add(context, Rows(rows).subspan(first, last - first));
    });
}

void ValueCount::tallyPiece(Tally &tally, Rows rows) const
{
    std::vector<unsigned char *> shown;
    for (size_t at = 0; at < rows.size(); at += ColumnIds::batchSize) {
        m_context.stop.throwIfStopped();
        const Rows batch = rows.subspan(at, std::min(ColumnIds::batchSize, rows.size() - at));
        tally.add(m_source.hiddenBy.empty() ? batch : shownOf(batch, shown));
    }
}

ValueCount::Rows ValueCount::shownOf(Rows rows, std::vector<unsigned char *> &shown) const
{
    shown.clear();
    for (unsigned char *row : rows) {
        // Nobody knows how long a predicate takes.
        m_context.stop.throwIfStopped();
        const Record record(row);
        const bool isHidden = std::any_of(m_source.hiddenBy.begin(), m_source.hiddenBy.end(),
                                          [&record](const auto &func) { return func->filter(record); });
        if (!isHidden)
            shown.push_back(row);
    }
    return shown;
}

void ValueCount::addKeys()
{
    m_keyIds.reserve(size_t(m_source.keys.size()));
    for (const KeyValue &key : m_source.keys) {
        m_context.stop.throwIfStopped();
        const std::optional<KeyValue> own = ownKey(m_source.table, m_source.columns, key);
        m_keyIds.push_back(own ? qint64(m_tally.idOf(*own)) : -1);
    }
}

void ValueCount::rankColumns()
{
    const size_t columnCount = m_tally.columnCount();
    std::vector<std::vector<qint64>> counts(columnCount);
    for (size_t column = 0; column < columnCount; ++column)
        counts[column].resize(m_tally.column(column).size());
    std::vector<quint32> ids(columnCount);
    for (size_t id = 0; id < m_tally.size(); ++id) {
        m_context.stop.throwIfStopped();
        m_tally.unfold(quint32(id), ids);
        for (size_t column = 0; column < columnCount; ++column)
            counts[column][ids[column]] += m_tally.count(quint32(id));
    }
    for (size_t column = 0; column < columnCount; ++column) {
        std::vector<quint32> &ranks = m_ranks.emplace_back(counts[column].size());
        m_columns.push_back(m_tally.column(column).sort(counts[column], ranks, m_context.stop));
    }
}

void ValueCount::readRanks(quint32 id, std::vector<quint32> &key) const
{
    m_tally.unfold(id, key);
    for (size_t column = 0; column < key.size(); ++column)
        key[column] = m_ranks[column][key[column]];
}

void ValueCount::sortKeys()
{
    std::vector<bool> isListed(m_tally.size());
    for (const qint64 id : m_keyIds) {
        if (id >= 0)
            isListed[size_t(id)] = true;
    }
    int bits = 0;
    for (const auto &ranks : m_ranks)
        bits += int(std::bit_width(ranks.size()));
    const bool fitsWord = bits <= 64;

    std::vector<quint32> left(m_ranks.size());
    m_items.reserve(m_tally.size());
    for (size_t id = 0; id < m_tally.size(); ++id) {
        m_context.stop.throwIfStopped();
        if (m_tally.count(quint32(id)) == 0 && !isListed[id])
            continue;
        quint64 packed = 0;
        if (fitsWord) {
            readRanks(quint32(id), left);
            for (size_t column = 0; column < left.size(); ++column)
                packed = packed << std::bit_width(m_ranks[column].size()) | left[column];
        }
        m_items.push_back({packed, quint32(id)});
    }
    if (fitsWord) {
        radixsort::sort(m_items);
        return;
    }
    std::vector<quint32> right(m_ranks.size());
    std::sort(m_items.begin(), m_items.end(), [&](const radixsort::Item &a, const radixsort::Item &b) {
        m_context.stop.throwIfStopped();
        readRanks(a.id, left);
        readRanks(b.id, right);
        return left < right;
    });
}

std::shared_ptr<const DistinctValues> ValueCount::result()
{
    DistinctValues::Content content;
    content.columns = std::move(m_columns);
    content.ranks.reserve(m_items.size() * m_ranks.size());
    content.counts.reserve(m_items.size());
    std::vector<quint32> indexes(m_tally.size());
    std::vector<quint32> key(m_ranks.size());
    std::vector<quint32> last;
    for (const radixsort::Item &item : m_items) {
        m_context.stop.throwIfStopped();
        readRanks(item.id, key);
        if (key != last) {
            content.ranks.insert(content.ranks.end(), key.begin(), key.end());
            content.counts.push_back(0);
            last = key;
        }
        content.counts.back() += m_tally.count(item.id);
        indexes[item.id] = quint32(content.counts.size()) - 1;
    }
    content.keyIndexes.reserve(m_keyIds.size());
    for (const qint64 id : m_keyIds)
        content.keyIndexes.push_back(id < 0 ? -1 : qsizetype(indexes[size_t(id)]));
    return std::make_shared<const DistinctValues>(std::move(content));
}

} // namespace sito
