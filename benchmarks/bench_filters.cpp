// SPDX-License-Identifier: MIT
// The excluded-key set of a value filter over two Int columns, and its text form.
//   has_key/N        hasExcludedKey             has_qmap/N       QMap::contains
//   add_key/N        addExcludedKey at random   add_qmap/N       QMap::insert
//                                               add_vector/N     sorted vector of packed keys
//   set_all/N        setAllExcludedKeys         set_qmap/N       QMap from the same list
//   value/N          value()                    format/N         hand-written formatter
//   set_value/N      setValue of a saved text   parse/N          hand-written parser
//   set_random/N     the same, keys at random   parse_sort/N     the parser, then a sort
//   memory/N         bytes an excluded key takes, as the counter "bytes"
#include <data/keyvalue.h>
#include <database/memorytable.h>
#include <filters/valuefilter.h>

#include <QMap>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <malloc.h>
#include <utility>
#include <vector>

namespace {
using Pair = std::pair<qint32, qint32>;

class PlainFilter : public ValueFilter
{
public:
    explicit PlainFilter(Table &table) : ValueFilter(table, 0, {0, 1}, -1, nullptr) {}
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString name() const override { return {}; }
};

MemoryTable &table()
{
    static MemoryTable result(QStringLiteral("quotes"), {{QStringLiteral("stock_id"), FieldType::Int},
                                                         {QStringLiteral("sess_id"), FieldType::Int}});
    return result;
}

Pair pairAt(qint64 number)
{
    return {qint32(number / 60), qint32(number % 60)};
}

std::vector<Pair> pairs(qint64 count, bool shuffled)
{
    std::vector<Pair> result;
    for (qint64 i = 0; i < count; ++i)
        result.push_back(pairAt(i));
    if (shuffled)
        std::shuffle(result.begin(), result.end(), QRandomGenerator(7));
    return result;
}

KeyValue key(const Record &row)
{
    KeyValue result;
    result.reserve(2);
    result.append(FieldValue(row.field(0)));
    result.append(FieldValue(row.field(1)));
    return result;
}

QList<KeyValue> keys(const std::vector<Pair> &pairs)
{
    QList<KeyValue> result;
    result.reserve(qsizetype(pairs.size()));
    const Record row(&table());
    for (const auto &[stock, session] : pairs) {
        table().update(row, {{0, stock}, {1, session}});
        result.append(key(row));
    }
    return result;
}

QString text(const std::vector<Pair> &pairs)
{
    QString result;
    for (const auto &[stock, session] : pairs) {
        if (!result.isEmpty())
            result += QChar(u'|');
        result += QString::number(stock) + QChar(u',') + QString::number(session);
    }
    return result;
}

void count(benchmark::State &state)
{
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0));
}

void hasKey(benchmark::State &state)
{
    PlainFilter filter(table());
    filter.setAllExcludedKeys(keys(pairs(state.range(0), false)));
    const QList<KeyValue> probes = keys(pairs(state.range(0), true));
    for (auto _ : state) {
        for (const KeyValue &probe : probes) {
            if (!filter.hasExcludedKey(probe))
                state.SkipWithError("a key is missing");
        }
    }
    count(state);
}

void hasQMap(benchmark::State &state)
{
    QMap<Pair, bool> map;
    for (const Pair &pair : pairs(state.range(0), false))
        map.insert(pair, true);
    const std::vector<Pair> probes = pairs(state.range(0), true);
    for (auto _ : state) {
        for (const Pair &probe : probes) {
            if (!map.contains(probe))
                state.SkipWithError("a key is missing");
        }
    }
    count(state);
}

void addKey(benchmark::State &state)
{
    const QList<KeyValue> added = keys(pairs(state.range(0), true));
    for (auto _ : state) {
        PlainFilter filter(table());
        for (const KeyValue &key : added)
            filter.addExcludedKey(key);
        if (filter.getAllExcludedKeys().size() != added.size())
            state.SkipWithError("a key is missing");
    }
    count(state);
}

void addQMap(benchmark::State &state)
{
    const std::vector<Pair> added = pairs(state.range(0), true);
    for (auto _ : state) {
        QMap<Pair, bool> map;
        for (const Pair &pair : added)
            map.insert(pair, true);
        benchmark::DoNotOptimize(map.size());
    }
    count(state);
}

void addVector(benchmark::State &state)
{
    std::vector<quint64> added;
    for (const auto &[stock, session] : pairs(state.range(0), true))
        added.push_back(quint64(quint32(stock)) << 32 | quint32(session));
    for (auto _ : state) {
        std::vector<quint64> sorted;
        for (const quint64 key : added) {
            const auto place = std::lower_bound(sorted.begin(), sorted.end(), key);
            if (place == sorted.end() || *place != key)
                sorted.insert(place, key);
        }
        benchmark::DoNotOptimize(sorted.data());
    }
    count(state);
}

void setAll(benchmark::State &state)
{
    const QList<KeyValue> all = keys(pairs(state.range(0), true));
    for (auto _ : state) {
        PlainFilter filter(table());
        filter.setAllExcludedKeys(all);
        benchmark::DoNotOptimize(filter.getAllExcludedKeys().constData());
    }
    count(state);
}

void setQMap(benchmark::State &state)
{
    addQMap(state);
}

void value(benchmark::State &state)
{
    PlainFilter filter(table());
    filter.setAllExcludedKeys(keys(pairs(state.range(0), false)));
    if (filter.value() != text(pairs(state.range(0), false)))
        state.SkipWithError("another text");
    for (auto _ : state)
        benchmark::DoNotOptimize(filter.value().size());
    count(state);
}

void format(benchmark::State &state)
{
    const std::vector<Pair> all = pairs(state.range(0), false);
    for (auto _ : state) {
        QString result;
        result.reserve(qsizetype(all.size()) * 8);
        char buffer[32];
        for (const auto &[stock, session] : all) {
            char *end = std::to_chars(buffer, buffer + 12, stock).ptr;
            *end++ = ',';
            end = std::to_chars(end, end + 12, session).ptr;
            *end++ = '|';
            result += QLatin1StringView(buffer, end - buffer);
        }
        result.chop(1);
        benchmark::DoNotOptimize(result.constData());
    }
    count(state);
}

std::vector<quint64> parsed(const QString &text)
{
    std::vector<quint64> result;
    const QChar *at = text.constData();
    const QChar *const end = at + text.size();
    while (at < end) {
        quint64 parts[2] = {};
        for (quint64 &part : parts) {
            const bool negative = at->unicode() == u'-';
            at += negative ? 1 : 0;
            quint32 number = 0;
            for (; at < end && at->unicode() != u',' && at->unicode() != u'|'; ++at)
                number = number * 10 + (at->unicode() - u'0');
            const quint32 bits = negative ? 0 - number : number;
            part = bits;
            ++at;
        }
        result.push_back(parts[0] << 32 | parts[1]);
    }
    return result;
}

void setValueOf(benchmark::State &state, bool shuffled)
{
    const QString saved = text(pairs(state.range(0), shuffled));
    PlainFilter filter(table());
    for (auto _ : state) {
        filter.setValue(saved);
        if (filter.getAllExcludedKeys().size() != state.range(0))
            state.SkipWithError("a key is missing");
    }
    count(state);
}

void setValue(benchmark::State &state)
{
    setValueOf(state, false);
}

void setRandom(benchmark::State &state)
{
    setValueOf(state, true);
}

void parse(benchmark::State &state)
{
    const QString saved = text(pairs(state.range(0), false));
    for (auto _ : state)
        benchmark::DoNotOptimize(parsed(saved).data());
    count(state);
}

void parseSort(benchmark::State &state)
{
    const QString saved = text(pairs(state.range(0), true));
    for (auto _ : state) {
        std::vector<quint64> all = parsed(saved);
        std::sort(all.begin(), all.end());
        benchmark::DoNotOptimize(all.data());
    }
    count(state);
}

void memory(benchmark::State &state)
{
    const QString saved = text(pairs(state.range(0), false));
    table(); // not part of what is measured
    for (auto _ : state) {
        PlainFilter filter(table());
        const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        filter.setValue(saved);
        const size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
        state.counters["bytes"] = double(after - before) / double(state.range(0));
    }
}
} // namespace

BENCHMARK(hasKey)->Name("has_key")->Arg(10'000);
BENCHMARK(hasQMap)->Name("has_qmap")->Arg(10'000);
BENCHMARK(addKey)->Name("add_key")->Arg(1000)->Arg(10'000);
BENCHMARK(addQMap)->Name("add_qmap")->Arg(1000)->Arg(10'000);
BENCHMARK(addVector)->Name("add_vector")->Arg(1000)->Arg(10'000);
BENCHMARK(setAll)->Name("set_all")->Arg(10'000)->Arg(100'000);
BENCHMARK(setQMap)->Name("set_qmap")->Arg(10'000)->Arg(100'000);
BENCHMARK(value)->Name("value")->Arg(10'000);
BENCHMARK(format)->Name("format")->Arg(10'000);
BENCHMARK(setValue)->Name("set_value")->Arg(10'000);
BENCHMARK(parse)->Name("parse")->Arg(10'000);
BENCHMARK(setRandom)->Name("set_random")->Arg(1000)->Arg(10'000);
BENCHMARK(parseSort)->Name("parse_sort")->Arg(1000)->Arg(10'000);
BENCHMARK(memory)->Name("memory")->Arg(10'000);
BENCHMARK_MAIN();
