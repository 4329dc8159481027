// SPDX-License-Identifier: MIT
#include <sources/tablerefresh.h>

#include <sources/rowbits_p.h>

#include <hostkit/parallel/tablelock.h>

#include <database/memorytable.h>

#include <data/indexlist.h>

#include <QElapsedTimer>

#include <algorithm>
#include <cassert>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace sito {

namespace {

/// How long the lock of the table is held at a time, in milliseconds; and after how many rows that is asked.
constexpr qint64 longestHold = 2;
constexpr qsizetype rowsBetweenLooks = 16;
/// How many rows are looked at between two questions whether to stop, or wait to be freed.
constexpr size_t fewRows = 1024;
/// How many rows wait to be appended as they come.
constexpr size_t appendedRows = 4096;

QList<ColumnSpec> specsOf(const MemoryTable &table)
{
    QList<ColumnSpec> specs;
    for (int column = 0; column < table.columnCount(); ++column)
        specs.append(table.columnSpec(column));
    return specs;
}

/// Those of \a table, of which none but \a keys needs a value.
QList<ColumnSpec> keySpecsOf(const MemoryTable &table, const QList<int> &keys)
{
    QList<ColumnSpec> specs = specsOf(table);
    for (int column = 0; column < table.columnCount(); ++column)
        specs[column].nullable = specs.at(column).nullable || !keys.contains(column);
    return specs;
}

QList<int> allColumns(const MemoryTable &table)
{
    QList<int> columns(table.columnCount());
    std::iota(columns.begin(), columns.end(), 0);
    return columns;
}

} // namespace

struct TableRefresh::Private
{
    Private(MemoryTable &target, const QList<int> &keyColumns, const parallel::StopToken &token,
            Additions when)
        : table(target),
          stop(token),
          additions(when),
          incoming(target.name(), specsOf(target)),
          bits(target, incoming),
          all(allColumns(target)),
          keys(keyColumns.isEmpty() ? all : keyColumns),
          hasKeys(!keyColumns.isEmpty()),
          incomingKeys(target.name(), keySpecsOf(target, keyColumns)),
          keyBits(target, incomingKeys)
    {
    }

    void listRows();
    void makeIndex();
    size_t firstUnseen(size_t entry);
    std::optional<size_t> find(unsigned char *row);
    std::optional<size_t> findKey(unsigned char *row);
    void throwIfStopped(size_t row) const
    {
        if (row % fewRows == 0)
            stop.throwIfStopped();
    }
    void inSlices(qsizetype count, const std::function<void(qsizetype, qsizetype)> &work) const;
    qint64 removeUnseen();
    void appendAdded();
    void write(unsigned char *old, const Record &row);

    MemoryTable &table;
    const parallel::StopToken stop;
    const Additions additions;
    /// Holds the rows that were added last; those that differ are kept alive by their handles.
    MemoryTable incoming;
    const RowBits bits;
    const QList<int> all;
    const QList<int> keys;
    const bool hasKeys;
    /// Holds the keys that were given last.
    MemoryTable incomingKeys;
    const RowBits keyBits;

    /// The rows of the table, and which of them have been found among those that are added.
    std::vector<unsigned char *> rows;
    std::vector<bool> seen;
    size_t seenRows = 0;
    /// Rows mostly come in the order of the table: where the next one is expected.
    size_t expected = 0;

    /// Made when a row first comes out of order: hash value and place of each row, ascending; and for each
    /// entry a later one before which all are seen, once it is seen itself.
    std::vector<quint64> index;
    std::vector<quint32> skip;

    struct Changed
    {
        unsigned char *old;
        Record row;
    };
    std::vector<Changed> changed;
    std::vector<Record> added;
    qint64 appended = 0;
};

void TableRefresh::Private::listRows()
{
    rows.reserve(size_t(table.rowCount()));
    for (unsigned char *row : *table.masterIndex()) {
        throwIfStopped(rows.size());
        rows.push_back(row);
    }
    assert(rows.size() < std::numeric_limits<quint32>::max());
    seen.resize(rows.size());
}

void TableRefresh::Private::makeIndex()
{
    index.reserve(rows.size());
    for (size_t place = 0; place < rows.size(); ++place) {
        throwIfStopped(place);
        index.push_back(quint64(bits.hash(table, rows[place], keys)) << 32 | place);
    }
    std::sort(index.begin(), index.end(), [this, count = size_t(0)](quint64 a, quint64 b) mutable {
        throwIfStopped(++count);
        return a < b;
    });
    skip.resize(index.size());
    std::iota(skip.begin(), skip.end(), 1);
}

/// The first entry from \a entry on whose row is not seen yet. Shortens the way for the next one who asks.
size_t TableRefresh::Private::firstUnseen(size_t entry)
{
    const auto isSeen = [this](size_t one) { return one < index.size() && seen[quint32(index[one])]; };
    size_t found = entry;
    while (isSeen(found))
        found = skip[found];
    while (isSeen(entry))
        entry = std::exchange(skip[entry], quint32(found));
    return found;
}

/// The place of an unseen row with the key of \a row, a row of the incoming ones; one that is equal to it
/// before others.
std::optional<size_t> TableRefresh::Private::find(unsigned char *row)
{
    if (expected < rows.size() && !seen[expected] && bits.areEqual(rows[expected], row, all))
        return expected;
    if (seenRows == rows.size())
        return std::nullopt;
    if (index.empty())
        makeIndex();
    const quint64 hash = bits.hash(incoming, row, keys);
    const auto first = std::lower_bound(index.begin(), index.end(), hash << 32);
    std::optional<size_t> found;
    for (size_t entry = firstUnseen(size_t(first - index.begin()));
         entry < index.size() && index[entry] >> 32 == hash; entry = firstUnseen(entry + 1)) {
        const size_t place = quint32(index[entry]);
        if (bits.areEqual(rows[place], row, all))
            return place;
        if (hasKeys && !found && bits.areEqual(rows[place], row, keys))
            found = place;
    }
    return found;
}

/// The place of a row, seen or not, with the key of \a row, a row of the incoming keys.
std::optional<size_t> TableRefresh::Private::findKey(unsigned char *row)
{
    if (expected < rows.size() && keyBits.areEqual(rows[expected], row, keys))
        return expected;
    if (index.empty())
        makeIndex();
    const quint64 hash = keyBits.hash(incomingKeys, row, keys);
    for (auto entry = std::lower_bound(index.begin(), index.end(), hash << 32);
         entry != index.end() && *entry >> 32 == hash; ++entry) {
        if (keyBits.areEqual(rows[quint32(*entry)], row, keys))
            return quint32(*entry);
    }
    return std::nullopt;
}

/// Calls \a work with ranges of 0 to \a count, under the lock of the table, which it releases in between.
void TableRefresh::Private::inSlices(qsizetype count,
                                     const std::function<void(qsizetype, qsizetype)> &work) const
{
    qsizetype done = 0;
    while (done < count) {
        stop.throwIfStopped();
        parallel::underLock(table, stop, [&] {
            QElapsedTimer timer;
            timer.start();
            while (done < count && timer.elapsed() < longestHold) {
                const qsizetype next = std::min(count, done + rowsBetweenLooks);
                work(done, next);
                done = next;
            }
        });
    }
}

qint64 TableRefresh::Private::removeUnseen()
{
    QList<Record> gone;
    for (size_t place = 0; place < rows.size(); ++place) {
        throwIfStopped(place);
        if (!seen[place])
            gone.append(Record(rows[place]));
    }
    // To find rows takes a look at all, however few they are.
    if (!gone.isEmpty())
        parallel::underLock(table, stop, [&] { table.remove(gone); });
    return gone.size();
}

void TableRefresh::Private::appendAdded()
{
    inSlices(qsizetype(added.size()), [this](qsizetype first, qsizetype last) {
        QList<QList<CellValue>> cells;
        for (qsizetype i = first; i < last; ++i) {
            QList<CellValue> &row = cells.emplace_back();
            for (const int column : all)
                row.append(RowBits::cell(added[size_t(i)].field(column)));
        }
        table.append(cells);
    });
    appended += qint64(added.size());
    added.clear();
}

void TableRefresh::Private::write(unsigned char *old, const Record &row)
{
    QList<std::pair<int, CellValue>> values;
    for (const int column : all) {
        if (!bits.areEqual(old, row.row(), {column}))
            values.append({column, RowBits::cell(row.field(column))});
    }
    table.update(Record(old), values);
}

TableRefresh::TableRefresh(MemoryTable &table, const QList<int> &keyColumns, const parallel::StopToken &stop,
                           Additions additions)
    : d(std::make_unique<Private>(table, keyColumns, stop, additions))
{
    d->listRows();
}

TableRefresh::~TableRefresh() = default;

void TableRefresh::add(std::span<const CellValue> row)
{
    d->stop.throwIfStopped();
    const Record record = d->incoming.append(row);
    if (const std::optional<size_t> place = d->find(record.row())) {
        d->seen[*place] = true;
        ++d->seenRows;
        d->expected = *place + 1;
        if (d->hasKeys && !d->bits.areEqual(d->rows[*place], record.row(), d->all))
            d->changed.push_back({d->rows[*place], record});
    } else {
        d->added.push_back(record);
    }
    if (d->incoming.rowCount() == qint64(fewRows))
        d->incoming.clear();
    if (d->additions == Additions::AsTheyCome && d->added.size() == appendedRows)
        d->appendAdded();
}

bool TableRefresh::keep(std::span<const CellValue> key)
{
    d->stop.throwIfStopped();
    QList<CellValue> cells(d->all.size());
    for (qsizetype i = 0; i < d->keys.size(); ++i)
        cells[d->keys.at(i)] = key[size_t(i)];
    const std::optional<size_t> place = d->findKey(d->incomingKeys.append(cells).row());
    if (place) {
        d->seenRows += d->seen[*place] ? 0 : 1;
        d->seen[*place] = true;
        d->expected = *place + 1;
    }
    if (d->incomingKeys.rowCount() == qint64(fewRows))
        d->incomingKeys.clear();
    return place.has_value();
}

qint64 TableRefresh::newRows() const
{
    return d->appended + qint64(d->added.size());
}

TableRefresh::Counts TableRefresh::apply(Others others)
{
    d->incoming.clear();
    Counts counts;
    if (others == Others::Removed)
        counts.removed = d->removeUnseen();
    d->inSlices(qsizetype(d->changed.size()), [this](qsizetype first, qsizetype last) {
        for (qsizetype i = first; i < last; ++i)
            d->write(d->changed[size_t(i)].old, d->changed[size_t(i)].row);
    });
    counts.changed = qint64(d->changed.size());
    d->appendAdded();
    counts.added = d->appended;
    return counts;
}

} // namespace sito
