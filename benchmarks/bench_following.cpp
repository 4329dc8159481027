// SPDX-License-Identifier: MIT
// A FilteredTableView of 1200 x 800, sorted by a column, under two filters, while the table changes 100,000
// times a second for five seconds (SITO_BENCHMARK_SECONDS), or less when it has fewer rows: 70 % of the
// changes write a value of a row, 25 % append a row, 5 % remove one (those of a tenth of a second at once).
//   follow             the model follows the table, which another thread changes
//   follow_refiltered  the same, while a filter changes every second
//   follow_ten         ten such views
//   reload             the GUI thread changes the table and calls reload() after each portion
//   standard_items     the same changes, as fast as they are taken over, of a QStandardItemModel behind a
//                      QSortFilterProxyModel: changes_per_s is how many that were
// Counters, in milliseconds: stall_ms, the longest time that the GUI thread was busy at a stretch, and
// stall95_ms, below which 95 of 100 stretches of more than a tenth of a millisecond were; write_ms, the
// longest time that a writer needed for a single change, waiting included, and remove_ms for a removal of
// several; behind_ms, the longest time from a change to its announcement. busy is the part of the time that
// the GUI thread was busy. At the end the rows shown are compared with those of a new model.
#include "quotes.h"

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/views/filteredtableview.h>

#include <data/tablechanges.h>

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTableView>
#include <QThread>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace sito;

namespace {

constexpr auto portionTime = std::chrono::milliseconds(1);
constexpr int portion = 100;

/// Changes the table of quotes, and knows when it appended which row.
class Writer
{
public:
    Writer() : m_rows(quotes::data().records)
    {
        // Made ahead: to make them takes longer than to write them.
        m_values.reserve(valueCount);
        for (int i = 0; i < valueCount; ++i)
            m_values.append(quotes::row(qint64(m_random.bounded(10'000'000))));
        m_clock.start();
    }

    /// Makes a hundred changes, and tells of one when it was made.
    void write()
    {
        MemoryTable &table = quotes::data().table;
        for (int i = 0; i < portion; ++i) {
            const int action = int(m_random.bounded(100));
            QElapsedTimer timer;
            if (action < 70) {
                const QList<CellValue> &values = m_values.at(int(m_random.bounded(valueCount)));
                const int column = int(m_random.bounded(int(quotes::Name), int(quotes::Time) + 1));
                const Record &row = m_rows.at(qint64(m_random.bounded(quint64(m_rows.size()))));
                timer.start();
                table.update(row, column, values.at(column));
            } else if (action < 95) {
                const QList<CellValue> values = quotes::row(m_next++);
                timer.start();
                m_rows.append(table.append(std::span(values)));
            } else {
                // An equal chance for each row, and no move of the others.
                Record &row = m_rows[qint64(m_random.bounded(quint64(m_rows.size())))];
                m_leaving.append(row);
                std::swap(row, m_rows.last());
                m_rows.removeLast();
                continue;
            }
            longestWrite = std::max(longestWrite, timer.nsecsElapsed());
        }
        {
            const std::lock_guard lock(m_mutex);
            m_appended.push_back({m_rows.last(), m_clock.nsecsElapsed()});
        }
        if (++m_portions % 100 == 0) {
            QElapsedTimer timer;
            timer.start();
            table.remove(m_leaving);
            longestRemoval = std::max(longestRemoval, timer.nsecsElapsed());
            m_leaving.clear();
        }
    }
    /// Writes portion by portion, as the clock says.
    void run(const std::atomic<bool> &isEnding)
    {
        auto next = std::chrono::steady_clock::now();
        while (!isEnding) {
            write();
            next += portionTime;
            std::this_thread::sleep_until(next);
        }
        const std::lock_guard lock(m_mutex);
        m_end = m_clock.nsecsElapsed();
    }
    /// Notes how far \a model is behind, or was when the last change was made.
    void look(const TableModel &model)
    {
        const std::lock_guard lock(m_mutex);
        // Some of the rows are filtered or have left: what counts is the latest that is shown.
        size_t known = m_appended.size();
        while (known > 0 && model.rowOf(m_appended[known - 1].first) < 0)
            --known;
        for (size_t i = 0; i < known; ++i) {
            if (model.rowOf(m_appended[i].first) >= 0) {
                const qint64 now = std::min(m_clock.nsecsElapsed(), m_end);
                longestBehind = std::max(longestBehind, now - m_appended[i].second);
                break;
            }
        }
        m_appended.erase(m_appended.begin(), m_appended.begin() + qptrdiff(known));
    }
    qint64 changes() const { return m_portions * portion; }

    qint64 longestWrite = 0;
    qint64 longestRemoval = 0;
    qint64 longestBehind = 0;

private:
    static constexpr int valueCount = 100'000;

    QRandomGenerator m_random{1};
    QList<QList<CellValue>> m_values;
    /// The rows in the table, in any order.
    QList<Record> &m_rows;
    QList<Record> m_leaving;
    qint64 m_next = quotes::rowCount();
    qint64 m_portions = 0;
    QElapsedTimer m_clock;
    qint64 m_end = std::numeric_limits<qint64>::max();
    std::mutex m_mutex;
    std::deque<std::pair<Record, qint64>> m_appended;
};

std::vector<unsigned char *> shownRows(const TableModel &model)
{
    std::vector<unsigned char *> rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.push_back(model.record(row).row());
    return rows;
}

/// The quotes in a view.
struct Shown
{
    Shown()
    {
        for (ColumnsFilter *filter : {stock, price}) {
            filter->setEnabled(true);
            filters.add(filter);
        }
        stock->setAllExcludedKeys(quotes::keys(10, {quotes::StockId}));
        price->setAllExcludedKeys(quotes::keys(10, {quotes::Price}));
        model.setSortKeys({{quotes::Price, Qt::DescendingOrder}});
        model.waitForPass();
        view.resize(1200, 800);
        view.show();
        QCoreApplication::processEvents();
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
    }

    FilteredTableView view{quotes::data().table, {0, 1, 2, 3, 4, 5, 6}};
    FilterList &filters = *view.filters();
    TableModel &model = *view.tableModel();
    ColumnsFilter *stock = new ColumnsFilter(quotes::data().table, {quotes::StockId});
    ColumnsFilter *price = new ColumnsFilter(quotes::data().table, {quotes::Price});
};

/// Calls \a each in a loop with the events, for the duration.
template <typename Each>
void handleEvents(benchmark::State &state, const Each &each)
{
    const int wanted = qEnvironmentVariableIntValue("SITO_BENCHMARK_SECONDS");
    const qint64 most = wanted > 0 ? wanted * 1000 : 5000;
    const qint64 milliseconds = std::clamp<qint64>(quotes::rowCount() / 200 * most / 5000, 300, most);
    std::vector<qint64> stretches;
    qint64 busy = 0;
    QElapsedTimer all;
    all.start();
    while (all.elapsed() < milliseconds) {
        QElapsedTimer timer;
        timer.start();
        each(all.elapsed());
        QCoreApplication::processEvents();
        const qint64 stretch = timer.nsecsElapsed();
        busy += stretch;
        if (stretch > 100'000)
            stretches.push_back(stretch);
        QThread::usleep(50);
    }
    std::sort(stretches.begin(), stretches.end());
    const auto share = [&](size_t percent) {
        return stretches.empty() ? 0 : double(stretches[(stretches.size() - 1) * percent / 100]) / 1e6;
    };
    state.counters["stall_ms"] = share(100);
    state.counters["stall95_ms"] = share(95);
    state.counters["busy"] = double(busy) / double(all.nsecsElapsed());
}

/// The longest times of \a writer; fails unless \a shown is what a new model shows.
void finish(benchmark::State &state, Shown &shown, const Writer &writer)
{
    shown.model.waitForPass();
    TableModel fresh(quotes::data().table, {0});
    fresh.setFilters(&shown.filters);
    fresh.setSortKeys(shown.model.sortKeys());
    fresh.waitForPass();
    if (shownRows(shown.model) != shownRows(fresh))
        state.SkipWithError("other rows are shown");
    state.counters["write_ms"] = double(writer.longestWrite) / 1e6;
    state.counters["remove_ms"] = double(writer.longestRemoval) / 1e6;
    state.counters["behind_ms"] = double(writer.longestBehind) / 1e6;
    state.SetItemsProcessed(writer.changes());
}

void follow(benchmark::State &state, bool isRefiltered)
{
    for (auto _ : state) {
        Shown shown;
        shown.model.follow(&quotes::data().table.changes());
        shown.model.waitForPass();
        Writer writer;
        const auto look = [&] { writer.look(shown.model); };
        QObject::connect(&shown.model, &TableModel::changesShown, &shown.model, look);
        QObject::connect(&shown.model, &TableModel::passFinished, &shown.model, look);

        std::atomic<bool> isEnding = false;
        std::thread thread([&] { writer.run(isEnding); });
        qint64 changed = 0;
        handleEvents(state, [&](qint64 elapsed) {
            if (!isRefiltered || elapsed / 1000 <= changed)
                return;
            ++changed;
            const std::lock_guard lock(quotes::data().table);
            shown.stock->setAllExcludedKeys(
                changed % 2 ? QList<KeyValue>{shown.stock->keyFromRecord(shown.model.record(0))}
                            : quotes::keys(10, {quotes::StockId}));
            shown.filters.notifyChanged(shown.stock);
        });
        isEnding = true;
        thread.join();
        finish(state, shown, writer);
    }
}

void followTen(benchmark::State &state)
{
    for (auto _ : state) {
        std::vector<std::unique_ptr<Shown>> shown;
        while (shown.size() < 10) {
            shown.push_back(std::make_unique<Shown>());
            shown.back()->model.follow(&quotes::data().table.changes());
        }
        for (const auto &one : shown)
            one->model.waitForPass();
        Writer writer;
        const TableModel &last = shown.back()->model;
        const auto look = [&] { writer.look(last); };
        QObject::connect(&last, &TableModel::changesShown, &last, look);
        QObject::connect(&last, &TableModel::passFinished, &last, look);

        std::atomic<bool> isEnding = false;
        std::thread thread([&] { writer.run(isEnding); });
        handleEvents(state, [](qint64) {});
        isEnding = true;
        thread.join();
        for (const auto &one : shown)
            finish(state, *one, writer);
    }
}

QVariant itemValue(qint64 number, int column)
{
    switch (column) {
    case quotes::StockId:
        return int(number % quotes::stocks);
    case quotes::SessId:
        return int(number / quotes::stocks);
    case quotes::Code:
        return quotes::code(number);
    case quotes::Name:
        return quotes::name(number);
    case quotes::Price:
        return 1000 + number;
    case quotes::Volume:
        return number % 10 ? QVariant(int(number % 5000)) : QVariant();
    default:
        return QDateTime::fromMSecsSinceEpoch(1'483'401'600'000 + number * 60'000, Qt::UTC);
    }
}

QList<QStandardItem *> itemRow(qint64 number)
{
    QList<QStandardItem *> items;
    for (int column = quotes::StockId; column <= quotes::Time; ++column) {
        items.append(new QStandardItem);
        items.last()->setData(itemValue(number, column), Qt::DisplayRole);
    }
    return items;
}

class ItemProxy final : public QSortFilterProxyModel
{
public:
    ItemProxy()
    {
        for (qint64 i = 0; i < 10; ++i) {
            m_stocks.insert(itemValue(100'000'000 + i * 7, quotes::StockId).toInt() + quotes::stocks);
            m_prices.insert(itemValue(100'000'000 + i * 7, quotes::Price).toLongLong());
        }
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &) const override
    {
        const auto value = [&](int column) { return sourceModel()->index(row, column).data(); };
        return !m_stocks.contains(value(quotes::StockId).toInt()) &&
               !m_prices.contains(value(quotes::Price).toLongLong());
    }

private:
    QSet<int> m_stocks;
    QSet<qint64> m_prices;
};

void standardItems(benchmark::State &state)
{
    for (auto _ : state) {
        QStandardItemModel items(0, quotes::Time + 1);
        for (qint64 number = 0; number < quotes::rowCount(); ++number)
            items.appendRow(itemRow(number));
        ItemProxy proxy;
        proxy.setSourceModel(&items);
        proxy.sort(quotes::Price, Qt::DescendingOrder);
        QTableView view;
        view.setModel(&proxy);
        view.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        view.resize(1200, 800);
        view.show();
        QCoreApplication::processEvents();
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);

        QRandomGenerator random(1);
        qint64 next = quotes::rowCount();
        qint64 changes = 0;
        const auto change = [&] {
            const int action = int(random.bounded(100));
            const int row = int(random.bounded(items.rowCount()));
            if (action < 70) {
                const int column = int(random.bounded(int(quotes::Name), int(quotes::Time) + 1));
                items.item(row, column)
                    ->setData(itemValue(qint64(random.bounded(10'000'000)), column), Qt::DisplayRole);
            } else if (action < 95) {
                items.appendRow(itemRow(next++));
            } else {
                items.removeRow(row);
            }
        };
        qint64 last = 1;
        handleEvents(state, [&](qint64 elapsed) {
            last = std::max<qint64>(1, elapsed);
            // As long as a frame lasts; what is left of what is due comes after the events.
            QElapsedTimer timer;
            timer.start();
            for (; changes < elapsed * portion && timer.elapsed() < 16; ++changes)
                change();
        });
        state.counters["changes_per_s"] = double(changes) * 1000 / double(last);
    }
}

void reload(benchmark::State &state)
{
    for (auto _ : state) {
        Shown shown;
        Writer writer;
        const auto look = [&] { writer.look(shown.model); };
        QObject::connect(&shown.model, &TableModel::passFinished, &shown.model, look);
        handleEvents(state, [&](qint64 elapsed) {
            if (writer.changes() >= elapsed * portion)
                return;
            while (writer.changes() < elapsed * portion)
                writer.write();
            shown.model.reload();
        });
        finish(state, shown, writer);
    }
}

} // namespace

BENCHMARK_CAPTURE(follow, , false)
    ->Name("follow")
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(follow, refiltered, true)
    ->Name("follow_refiltered")
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(followTen)->Name("follow_ten")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(standardItems)->Name("standard_items")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(reload)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
