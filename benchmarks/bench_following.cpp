// SPDX-License-Identifier: MIT
// A TableModel in a QTableView of 1200 x 800 with a ViewAnchor, sorted by a column, under two filters, while
// the table changes 100,000 times a second for five seconds, or less when it has fewer rows: 70 % of the
// changes write a value of a row, 25 % append a row, 5 % remove one (those of a tenth of a second at once).
//   follow             the model follows the table, which another thread changes
//   follow_refiltered  the same, while a filter changes every second
//   reload             the GUI thread changes the table and calls reload() after each portion
// Counters, in milliseconds: stall_ms, the longest time that the GUI thread was busy at a stretch; write_ms,
// the longest time that a writer needed for a single change, waiting included, and remove_ms for a removal of
// several; behind_ms, the longest time from a change to its announcement. busy is the part of the time that
// the GUI thread was busy. At the end the rows shown are compared with those of a new model.
#include "quotes.h"

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/views/viewanchor.h>

#include <data/tablechanges.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTableView>
#include <QThread>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>

using namespace sito;

namespace {

constexpr auto portionTime = std::chrono::milliseconds(1);
constexpr int portion = 100;

/// Changes the table of quotes, and knows when it appended which row.
class Writer
{
public:
    Writer() : m_rows(quotes::data().records) { m_clock.start(); }

    /// Makes a hundred changes, and tells of one when it was made.
    void write()
    {
        MemoryTable &table = quotes::data().table;
        for (int i = 0; i < portion; ++i) {
            const int action = int(m_random.bounded(100));
            QElapsedTimer timer;
            if (action < 70) {
                const QList<CellValue> values = quotes::row(qint64(m_random.bounded(10'000'000)));
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
    }
    /// Notes how far \a model is behind.
    void look(const TableModel &model)
    {
        const std::lock_guard lock(m_mutex);
        // Some of the rows are filtered or have left: what counts is the latest that is shown.
        size_t known = m_appended.size();
        while (known > 0 && model.rowOf(m_appended[known - 1].first) < 0)
            --known;
        for (size_t i = 0; i < known; ++i) {
            if (model.rowOf(m_appended[i].first) >= 0)
                longestBehind = std::max(longestBehind, m_clock.nsecsElapsed() - m_appended[i].second);
        }
        m_appended.erase(m_appended.begin(), m_appended.begin() + qptrdiff(known));
    }
    qint64 changes() const { return m_portions * portion; }

    qint64 longestWrite = 0;
    qint64 longestRemoval = 0;
    qint64 longestBehind = 0;

private:
    QRandomGenerator m_random{1};
    /// The rows in the table, in any order.
    QList<Record> &m_rows;
    QList<Record> m_leaving;
    qint64 m_next = quotes::rowCount();
    qint64 m_portions = 0;
    QElapsedTimer m_clock;
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

/// A model of the quotes in a view.
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
        model.setFilters(&filters);
        model.setSortKeys({{quotes::Price, Qt::DescendingOrder}});
        model.waitForPass();
        view.setModel(&model);
        view.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        view.resize(1200, 800);
        view.show();
        new ViewAnchor(&view, &model);
        QCoreApplication::processEvents();
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
    }

    FilterList filters{quotes::data().table};
    ColumnsFilter *stock = new ColumnsFilter(quotes::data().table, {quotes::StockId});
    ColumnsFilter *price = new ColumnsFilter(quotes::data().table, {quotes::Price});
    TableModel model{quotes::data().table, {0, 1, 2, 3, 4, 5, 6}};
    QTableView view;
};

/// Calls \a each in a loop with the events, for the duration.
template <typename Each>
void handleEvents(benchmark::State &state, const Each &each)
{
    const qint64 milliseconds = std::clamp<qint64>(quotes::rowCount() / 200, 300, 5000);
    qint64 longest = 0;
    qint64 busy = 0;
    QElapsedTimer all;
    all.start();
    while (all.elapsed() < milliseconds) {
        QElapsedTimer timer;
        timer.start();
        each(all.elapsed());
        QCoreApplication::processEvents();
        longest = std::max(longest, timer.nsecsElapsed());
        busy += timer.nsecsElapsed();
        QThread::usleep(50);
    }
    state.counters["stall_ms"] = double(longest) / 1e6;
    state.counters["busy"] = double(busy) / double(all.nsecsElapsed());
}

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
BENCHMARK(reload)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
