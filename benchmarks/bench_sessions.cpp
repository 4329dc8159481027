// SPDX-License-Identifier: MIT
// Seeding a SecuritiesSessionFilter from 5,000,000 sessions of 5,000 securities.
//   filter/ORDER     the constructor
//   fields/ORDER     reading the two fields of every row through the table
//   qmap/ORDER       the same with a QMap of the latest sessions
// ORDER: by_day (all securities of a day, day after day), by_security, random.
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <filters/securitiessessionfilter.h>

#include <QMap>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {
enum Order { ByDay, BySecurity, Random };
constexpr int securities = 5000;

MemoryTable *sessions(Order order)
{
    static int current = -1;
    static MemoryTable *table = nullptr;
    if (current == order)
        return table;
    if (table)
        MemoryDatabase::instance().dropTable(QStringLiteral("sessions"));
    table = MemoryDatabase::instance().createTable(
        QStringLiteral("sessions"),
        {{QStringLiteral("stock_id"), FieldType::Int}, {QStringLiteral("sess_id"), FieldType::Int}});
    const int wanted = qEnvironmentVariableIntValue("SITO_BENCHMARK_ROWS");
    const int days = (wanted > 0 ? wanted : 5'000'000) / securities;
    std::vector<std::pair<qint32, qint32>> rows;
    for (int i = 0; i < days * securities; ++i) {
        if (order == BySecurity)
            rows.emplace_back(i / days + 1, i % days + 1);
        else
            rows.emplace_back(i % securities + 1, i / securities + 1);
    }
    if (order == Random)
        std::shuffle(rows.begin(), rows.end(), QRandomGenerator(7));
    for (const auto &[stock, session] : rows)
        table->append({stock, session});
    current = order;
    return table;
}

void filter(benchmark::State &state, Order order)
{
    MemoryTable *table = sessions(order);
    for (auto _ : state) {
        const SecuritiesSessionFilter filter(*table, 0, {0, 1}, -1, nullptr);
        if (filter.getAllExcludedKeys().size() != securities)
            state.SkipWithError("a security is missing");
    }
    state.SetItemsProcessed(qint64(state.iterations()) * table->rowCount());
}

void fields(benchmark::State &state, Order order)
{
    MemoryTable *table = sessions(order);
    for (auto _ : state) {
        qint64 sum = 0;
        for (unsigned char *row : *table->masterIndex())
            sum += table->dataPtr(row, 0).value<qint32>() + table->dataPtr(row, 1).value<qint32>();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(qint64(state.iterations()) * table->rowCount());
}

void qmap(benchmark::State &state, Order order)
{
    MemoryTable *table = sessions(order);
    for (auto _ : state) {
        QMap<int, int> latest;
        for (unsigned char *row : *table->masterIndex()) {
            int &session = latest[table->dataPtr(row, 0).value<qint32>()];
            session = std::max(session, table->dataPtr(row, 1).value<qint32>());
        }
        benchmark::DoNotOptimize(latest.size());
    }
    state.SetItemsProcessed(qint64(state.iterations()) * table->rowCount());
}
} // namespace

// One order after the other, so that each table is made once.
BENCHMARK_CAPTURE(filter, by_day, ByDay);
BENCHMARK_CAPTURE(fields, by_day, ByDay);
BENCHMARK_CAPTURE(qmap, by_day, ByDay);
BENCHMARK_CAPTURE(filter, by_security, BySecurity);
BENCHMARK_CAPTURE(fields, by_security, BySecurity);
BENCHMARK_CAPTURE(qmap, by_security, BySecurity);
BENCHMARK_CAPTURE(filter, random, Random);
BENCHMARK_CAPTURE(fields, random, Random);
BENCHMARK_CAPTURE(qmap, random, Random);
BENCHMARK_MAIN();
