// SPDX-License-Identifier: MIT
// The key predicates over a table of quotes. No row holds any of the keys, so every key is looked at.
//   virtual_read/COLUMNS      one virtual call a row that reads the row's key bytes: the minimum
//   fast/COLUMNS/K            KeyFilterFunc_Fast
//   general/COLUMNS/K         KeyFilterFunc
//   hash/COLUMNS/K            KeyFilterFunc_Hash
//   sse2_scan/K               a bare loop looking for a 64-bit key among K side by side
//   key_rows/K                one memcmp a key over the key rows
//   flat_set/COLUMNS/K        boost::unordered_flat_set, inlined
//   proxy/K, sqlite/K         QSortFilterProxyModel with a QSet; SQLite in memory with an indexed key table
//   make_*/K                  making each predicate; make_rows: copying the values into K rows
// K is limited to fewer rows where a pass would take long; a case and its peer always run over the same rows.
#include "quotes.h"

#include <data/indexlist.h>
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <QAbstractTableModel>
#include <QCoreApplication>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <benchmark/benchmark.h>
#include <boost/unordered/unordered_flat_set.hpp>

#include <cstring>
#include <emmintrin.h>
#include <memory>
#include <string>
#include <string_view>

namespace {
using quotes::data;

const QList<int> ints{quotes::StockId, quotes::SessId};
const QList<int> mixed{quotes::Volume, quotes::Price, quotes::Time};
const QList<int> string{quotes::Name};
const QList<int> varchar{quotes::Code};

const char *nameOf(const QList<int> &columns)
{
    return columns == ints ? "ints" : columns == mixed ? "mixed" : columns == string ? "string" : "varchar";
}

/// How many rows a pass visits, so that a linear search among \a keys ends in reasonable time.
qint64 rowsFor(qint64 keys)
{
    return std::min<qint64>(quotes::rowCount(),
                            std::max<qint64>(200, 400'000'000 / std::max<qint64>(1, keys)));
}

quint64 packed(const unsigned char *row)
{
    qint32 stock = 0;
    qint32 session = 0;
    std::memcpy(&stock, row + 16, sizeof stock);
    std::memcpy(&session, row + 24, sizeof session);
    return quint64(quint32(stock)) << 32 | quint32(session);
}

/// Calls \a filter for each of the first \a rows rows; the case fails when a row is accepted.
template <typename Filter>
void pass(benchmark::State &state, qint64 rows, Filter &&filter)
{
    const Record *const begin = data().records.constData();
    const Record *const end = begin + rows;
    qint64 accepted = 0;
    for (auto _ : state) {
        for (const Record *record = begin; record != end; ++record)
            accepted += filter(*record) ? 1 : 0;
        benchmark::DoNotOptimize(accepted);
    }
    if (accepted != 0)
        state.SkipWithError("a row was accepted");
    state.SetItemsProcessed(qint64(state.iterations()) * rows);
}

/// Checks that \a predicate accepts a row with the values of the last of \a keys.
bool acceptsLastKey(const FilterFunc &predicate, const QList<KeyValue> &keys, const QList<int> &columns)
{
    const Record record(&data().table);
    for (int i = 0; i < columns.size(); ++i) {
        Field field = record.field(columns[i]);
        const FieldValue &value = keys.last()[i];
        if (field.def->type == FieldType::String)
            field.storeString(value.toString());
        else
            std::memcpy(field.data, value.data, field.def->size);
        field.setPresent();
    }
    return predicate.filter(record);
}

/// Reads the key bytes and finds nothing.
class VirtualRead : public FilterFunc
{
public:
    explicit VirtualRead(const QList<int> &columns) : FilterFunc(nullptr)
    {
        for (const int column : columns) {
            const ColumnDef *def = data().table.columnDef(column);
            m_offsets[m_count] = 16 + def->offset;
            m_text = def->type == FieldType::String;
            ++m_count;
        }
    }
    bool filter(const Record &record) const override
    {
        quint64 sum = 0;
        if (m_text) {
            const auto *text = reinterpret_cast<const QString *>(record.row() + m_offsets[0]);
            std::memcpy(&sum, text->constData(), sizeof sum);
            return sum == 1;
        }
        for (int i = 0; i < m_count; ++i) {
            quint64 word = 0;
            std::memcpy(&word, record.row() + m_offsets[i], sizeof word);
            sum |= word;
        }
        return sum == ~quint64(0);
    }

private:
    quint64 m_offsets[4] = {};
    int m_count = 0;
    bool m_text = false;
};

void virtualRead(benchmark::State &state, const QList<int> &columns)
{
    std::unique_ptr<FilterFunc> predicate = std::make_unique<VirtualRead>(columns);
    benchmark::DoNotOptimize(predicate);
    pass(state, quotes::rowCount(), [&](const Record &record) { return predicate->filter(record); });
}

template <typename Predicate>
void predicate(benchmark::State &state, const QList<int> &columns)
{
    const QList<KeyValue> keys = quotes::keys(state.range(0), columns);
    std::unique_ptr<FilterFunc> predicate =
        std::make_unique<Predicate>(&data().table, keys, columns, nullptr);
    benchmark::DoNotOptimize(predicate);
    if (!acceptsLastKey(*predicate, keys, columns)) {
        state.SkipWithError("the last key was not accepted");
        return;
    }
    pass(state, rowsFor(std::is_same_v<Predicate, KeyFilterFunc_Hash> ? 1 : state.range(0)),
         [&](const Record &record) { return predicate->filter(record); });
}

/// A 64-bit key of two integers for each of the keys.
std::vector<quint64> packedKeys(qint64 count)
{
    std::vector<quint64> result;
    for (const KeyValue &key : quotes::keys(count, ints)) {
        result.push_back(quint64(quint32(key[0].Field::value<qint32>())) << 32 |
                         quint32(key[1].Field::value<qint32>()));
    }
    return result;
}

void sse2Scan(benchmark::State &state)
{
    std::vector<quint64> keys = packedKeys(state.range(0));
    while (keys.size() % 2)
        keys.push_back(keys.back());
    pass(state, rowsFor(state.range(0)), [&](const Record &record) {
        const __m128i wanted = _mm_set1_epi64x(qint64(packed(record.row())));
        for (size_t i = 0; i < keys.size(); i += 2) {
            const __m128i two = _mm_loadu_si128(reinterpret_cast<const __m128i *>(keys.data() + i));
            const int equal = _mm_movemask_epi8(_mm_cmpeq_epi32(two, wanted));
            if ((equal & 0xff) == 0xff || (equal & 0xff00) == 0xff00)
                return true;
        }
        return false;
    });
}

void keyRows(benchmark::State &state)
{
    const QList<KeyValue> keys = quotes::keys(state.range(0), ints);
    QList<Record> rows;
    for (const KeyValue &key : keys) {
        Record row(&data().table);
        for (int i = 0; i < 2; ++i)
            std::memcpy(row.field(i).data, key[i].data, sizeof(qint32));
        rows.append(row);
    }
    size_t length = 16;
    benchmark::DoNotOptimize(length);
    pass(state, rowsFor(state.range(0)), [&](const Record &record) {
        for (const Record &row : std::as_const(rows)) {
            if (std::memcmp(record.row() + 16, row.row() + 16, length) == 0)
                return true;
        }
        return false;
    });
}

void flatSetOfInts(benchmark::State &state)
{
    const std::vector<quint64> keys = packedKeys(state.range(0));
    const boost::unordered_flat_set<quint64> set(keys.begin(), keys.end());
    pass(state, quotes::rowCount(), [&](const Record &record) { return set.contains(packed(record.row())); });
}

void flatSetOfTexts(benchmark::State &state)
{
    std::vector<std::u16string> texts;
    for (const KeyValue &key : quotes::keys(state.range(0), string))
        texts.push_back(key[0].toString().toStdU16String());
    const boost::unordered_flat_set<std::u16string_view> set(texts.begin(), texts.end());
    const quint64 offset = 16 + data().table.columnDef(quotes::Name)->offset;
    pass(state, quotes::rowCount(), [&](const Record &record) {
        const auto *text = reinterpret_cast<const QString *>(record.row() + offset);
        return set.contains(
            std::u16string_view(reinterpret_cast<const char16_t *>(text->utf16()), size_t(text->size())));
    });
}

/// The rows as an item model, as a host would write it without the library.
class QuotesModel : public QAbstractTableModel
{
public:
    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(data().records.size());
    }
    int columnCount(const QModelIndex & = {}) const override { return 2; }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        return quotes::data().records[index.row()].field(index.column()).value<qint32>();
    }
    using QAbstractTableModel::data;
    static quotes::Data &data() { return quotes::data(); }
};

class SetProxy : public QSortFilterProxyModel
{
public:
    explicit SetProxy(const std::vector<quint64> &keys) : m_keys(keys.begin(), keys.end()) {}

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        const QAbstractItemModel *model = sourceModel();
        const quint64 stock = model->index(row, 0, parent).data().toUInt();
        return !m_keys.contains(stock << 32 | model->index(row, 1, parent).data().toUInt());
    }

private:
    QSet<quint64> m_keys;
};

void proxy(benchmark::State &state)
{
    QuotesModel model;
    SetProxy proxy(packedKeys(state.range(0)));
    proxy.setSourceModel(&model);
    if (proxy.rowCount() != model.rowCount())
        state.SkipWithError("a row was filtered out");
    for (auto _ : state) {
        proxy.invalidate();
        benchmark::DoNotOptimize(proxy.rowCount());
    }
    state.SetItemsProcessed(qint64(state.iterations()) * quotes::rowCount());
}

void sqlite(benchmark::State &state)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bench"));
    database.setDatabaseName(QStringLiteral(":memory:"));
    if (!database.open()) {
        state.SkipWithError("no SQLite");
        return;
    }
    {
        QSqlQuery query(database);
        query.exec(QStringLiteral("CREATE TABLE quotes (stock_id INTEGER, sess_id INTEGER)"));
        query.exec(QStringLiteral("CREATE TEMPORARY TABLE keys (stock_id INTEGER, sess_id INTEGER, "
                                  "PRIMARY KEY (stock_id, sess_id)) WITHOUT ROWID"));
        database.transaction();
        query.prepare(QStringLiteral("INSERT INTO quotes VALUES (?, ?)"));
        for (const Record &record : std::as_const(data().records)) {
            query.bindValue(0, record.field(0).value<qint32>());
            query.bindValue(1, record.field(1).value<qint32>());
            query.exec();
        }
        query.prepare(QStringLiteral("INSERT INTO keys VALUES (?, ?)"));
        for (const quint64 key : packedKeys(state.range(0))) {
            query.bindValue(0, qint32(key >> 32));
            query.bindValue(1, qint32(key));
            query.exec();
        }
        database.commit();
        query.prepare(QStringLiteral(
            "SELECT count(*) FROM quotes WHERE (stock_id, sess_id) IN (SELECT stock_id, sess_id FROM keys)"));
        for (auto _ : state) {
            query.exec();
            query.next();
            if (query.value(0).toLongLong() != 0)
                state.SkipWithError("a row was found");
        }
    }
    state.SetItemsProcessed(qint64(state.iterations()) * quotes::rowCount());
    database.close();
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("bench"));
}

template <typename Predicate>
void make(benchmark::State &state)
{
    const QList<KeyValue> keys = quotes::keys(state.range(0), ints);
    for (auto _ : state) {
        Predicate predicate(&data().table, keys, ints, nullptr);
        benchmark::DoNotOptimize(&predicate);
    }
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0));
}

void makeRows(benchmark::State &state)
{
    const QList<KeyValue> keys = quotes::keys(state.range(0), ints);
    Table *table = &data().table;
    for (auto _ : state) {
        QList<Record> rows;
        rows.reserve(keys.size());
        for (const KeyValue &key : keys) {
            const Record &row = rows.emplace_back(table);
            for (int i = 0; i < 2; ++i) {
                Field field = table->dataPtr(row.row(), i);
                std::memcpy(field.data, key[i].data, field.def->size);
                field.setPresent();
            }
        }
        benchmark::DoNotOptimize(rows.constData());
    }
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0));
}

template <typename Predicate>
void addPredicate(const char *name, const QList<int> &columns, const std::vector<qint64> &counts)
{
    auto *entry = benchmark::RegisterBenchmark((std::string(name) + '/' + nameOf(columns)).c_str(),
                                               predicate<Predicate>, columns);
    for (const qint64 count : counts)
        entry->Arg(count);
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    for (const QList<int> &columns : {ints, mixed, string, varchar}) {
        benchmark::RegisterBenchmark((std::string("virtual_read/") + nameOf(columns)).c_str(), virtualRead,
                                     columns);
        addPredicate<KeyFilterFunc>("general", columns, {1, 10, 100, 1000});
        addPredicate<KeyFilterFunc_Hash>("hash", columns, {10, 100, 1000, 10'000});
    }
    addPredicate<KeyFilterFunc_Hash>("hash", ints, {100'000, 1'000'000});
    addPredicate<KeyFilterFunc_Fast>("fast", ints, {1, 10, 100, 1000, 10'000, 100'000});
    addPredicate<KeyFilterFunc_Fast>("fast", varchar, {1, 100});
    benchmark::RegisterBenchmark("sse2_scan", sse2Scan)->Arg(1000)->Arg(10'000);
    benchmark::RegisterBenchmark("key_rows", keyRows)->Arg(100'000);
    benchmark::RegisterBenchmark("flat_set/ints", flatSetOfInts)->Arg(1000);
    benchmark::RegisterBenchmark("flat_set/string", flatSetOfTexts)->Arg(1000);
    benchmark::RegisterBenchmark("proxy", proxy)->Arg(100);
    benchmark::RegisterBenchmark("sqlite", sqlite)->Arg(100);
    benchmark::RegisterBenchmark("make_general", make<KeyFilterFunc>)->Arg(1000);
    benchmark::RegisterBenchmark("make_fast", make<KeyFilterFunc_Fast>)->Arg(1000);
    benchmark::RegisterBenchmark("make_hash", make<KeyFilterFunc_Hash>)->Arg(1000);
    benchmark::RegisterBenchmark("make_rows", makeRows)->Arg(1000);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
