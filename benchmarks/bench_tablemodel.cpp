// SPDX-License-Identifier: MIT
// TableModel in a QTableView of 1200 x 800, beside a plain QAbstractTableModel over the same rows and handles
// behind a QSortFilterProxyModel with a QSet of packed keys. Keys of two Ints exclude K of the rows, evenly
// spread.
//   exclude/K        from FilterList::notifyChanged() until the view is repainted
//   exclude_proxy/K  from the change of the QSet until its view is repainted
//   sort/COLUMN, sort_proxy/COLUMN   from the choice of a column until the view is repainted
//   scroll, scroll_proxy   from a jump of the scroll bar until the view is repainted
// The counter stall_ms is the longest time that the GUI thread was busy at a stretch.
#include "quotes.h"

#include <filterfuncs/keyfilterfunc_hash.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/celltext.h>
#include <hostkit/views/viewanchor.h>

#include <QAbstractTableModel>
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QPaintEvent>
#include <QScrollBar>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QThread>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

using namespace sito;

namespace {

/// The quotes in an order that no column is sorted by.
struct Data
{
    Data()
    {
        const qint64 count = quotes::rowCount();
        records.reserve(count);
        for (qint64 i = 0; i < count; ++i)
            records.append(table.append(quotes::row(i * 611'953 % count)));
    }

    MemoryTable table{QStringLiteral("quotes"), specs()};
    QList<Record> records;

private:
    static QList<ColumnSpec> specs()
    {
        return {{QStringLiteral("stock_id"), FieldType::Int},
                {QStringLiteral("sess_id"), FieldType::Int},
                {QStringLiteral("code"), FieldType::VarChar, false, 12},
                {QStringLiteral("name"), FieldType::String},
                {QStringLiteral("price"), FieldType::Decimal, false, 0},
                {QStringLiteral("volume"), FieldType::Int, true},
                {QStringLiteral("time"), FieldType::DateTime}};
    }
};

Data &shuffled()
{
    static Data result;
    return result;
}

class View : public QTableView
{
public:
    bool isPainted = false;

protected:
    void paintEvent(QPaintEvent *event) override
    {
        QTableView::paintEvent(event);
        isPainted = true;
    }
};

/// The filter of a value list: its predicate looks up many keys by hash.
class KeysFilter : public ColumnsFilter
{
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        if (getAllExcludedKeys().size() < 100)
            return ColumnsFilter::createFilterFunc(parent);
        return new KeyFilterFunc_Hash(table(), getAllExcludedKeys(), columns(), parent);
    }
};

class PlainModel : public QAbstractTableModel
{
public:
    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(shuffled().records.size());
    }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : shuffled().table.columnCount();
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        const Field field = shuffled().records.at(index.row()).field(index.column());
        // In the column's own type, so that numbers sort as numbers.
        switch (field.def->type) {
        case FieldType::Int:
            return field.isPresent() ? field.value<qint32>() : QVariant();
        default:
            return cellText(field).value_or(QString());
        }
    }
};

quint64 packed(const Record &row)
{
    return quint64(quint32(row.field(quotes::StockId).value<qint32>())) << 32 |
           quint32(row.field(quotes::SessId).value<qint32>());
}

class Proxy : public QSortFilterProxyModel
{
public:
    void setExcluded(const QSet<quint64> &excluded)
    {
        m_excluded = excluded;
        invalidateFilter();
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &) const override
    {
        return m_excluded.isEmpty() || !m_excluded.contains(packed(shuffled().records.at(row)));
    }

private:
    QSet<quint64> m_excluded;
};

void show(View &view, QAbstractItemModel &model)
{
    view.setModel(&model);
    view.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view.resize(1200, 800);
    view.show();
    while (!view.isPainted)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

struct Ours
{
    Ours()
    {
        filter = new KeysFilter(shuffled().table, {quotes::StockId, quotes::SessId});
        filter->setEnabled(true);
        filters.add(filter);
        model.setFilters(&filters);
        model.waitForPass();
        show(view, model);
        new ViewAnchor(&view, &model);
    }

    /// Waits until the result of the next pass is painted; returns the longest time that handling events
    /// took, in milliseconds.
    double waitUntilPainted()
    {
        qint64 longest = 0;
        bool isShown = false;
        const auto connection = QObject::connect(&model, &TableModel::passFinished, &view, [&] {
            isShown = true;
            view.isPainted = false;
        });
        while (!isShown || !view.isPainted) {
            QElapsedTimer timer;
            timer.start();
            QCoreApplication::processEvents();
            longest = std::max(longest, timer.nsecsElapsed());
            QThread::usleep(50);
        }
        QObject::disconnect(connection);
        return double(longest) / 1e6;
    }

    FilterList filters{shuffled().table};
    TableModel model{shuffled().table, {0, 1, 2, 3, 4, 5, 6}};
    KeysFilter *filter = nullptr;
    View view;
};

std::unique_ptr<Ours> oursMade;

Ours &ours()
{
    if (!oursMade)
        oursMade = std::make_unique<Ours>();
    return *oursMade;
}

struct Theirs
{
    Theirs()
    {
        proxy.setSourceModel(&model);
        show(view, proxy);
    }

    void waitUntilPainted()
    {
        while (!view.isPainted)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    PlainModel model;
    Proxy proxy;
    View view;
};

std::unique_ptr<Theirs> theirsMade;

Theirs &theirs()
{
    if (!theirsMade)
        theirsMade = std::make_unique<Theirs>();
    return *theirsMade;
}

/// The rows whose keys are excluded.
QList<Record> excludedRows(qint64 count)
{
    const QList<Record> &records = shuffled().records;
    count = std::min<qint64>(count, records.size());
    QList<Record> result;
    for (qint64 i = 0; i < count; ++i)
        result.append(records.at((2 * i + 1) * records.size() / (2 * count)));
    return result;
}

void exclude(benchmark::State &state)
{
    Ours &our = ours();
    const QList<Record> rows = excludedRows(state.range(0));
    QList<KeyValue> keys;
    for (const Record &row : rows)
        keys.append(our.filter->keyFromRecord(row));
    double stall = 0;
    for (auto _ : state) {
        our.filter->setAllExcludedKeys(keys);
        QElapsedTimer timer;
        timer.start();
        our.filters.notifyChanged(our.filter);
        stall = std::max(stall, our.waitUntilPainted());
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);
        if (our.model.rowCount() != quotes::rowCount() - rows.size())
            state.SkipWithError("other rows are shown");

        our.filter->clear();
        our.filters.notifyChanged(our.filter);
        our.waitUntilPainted();
    }
    state.counters["stall_ms"] = stall;
    state.SetItemsProcessed(qint64(state.iterations()));
}

void excludeProxy(benchmark::State &state)
{
    Theirs &their = theirs();
    const QList<Record> rows = excludedRows(state.range(0));
    QSet<quint64> keys;
    for (const Record &row : rows)
        keys.insert(packed(row));
    for (auto _ : state) {
        their.view.isPainted = false;
        QElapsedTimer timer;
        timer.start();
        their.proxy.setExcluded(keys);
        their.view.isPainted = false;
        their.waitUntilPainted();
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);
        if (their.proxy.rowCount() != quotes::rowCount() - rows.size())
            state.SkipWithError("other rows are shown");

        their.view.isPainted = false;
        their.proxy.setExcluded({});
        their.waitUntilPainted();
    }
    state.SetItemsProcessed(qint64(state.iterations()));
}

void sort(benchmark::State &state, int column)
{
    Ours &our = ours();
    double stall = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        our.model.setSortKeys({{column, Qt::DescendingOrder}});
        stall = std::max(stall, our.waitUntilPainted());
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);

        our.model.setSortKeys({});
        our.waitUntilPainted();
    }
    state.counters["stall_ms"] = stall;
    state.SetItemsProcessed(qint64(state.iterations()));
}

void sortProxy(benchmark::State &state, int column)
{
    Theirs &their = theirs();
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        their.proxy.sort(column, Qt::DescendingOrder);
        their.view.isPainted = false;
        their.waitUntilPainted();
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);

        their.view.isPainted = false;
        their.proxy.sort(-1);
        their.waitUntilPainted();
    }
    state.SetItemsProcessed(qint64(state.iterations()));
}

void scroll(benchmark::State &state, View &view)
{
    QScrollBar *bar = view.verticalScrollBar();
    int value = 0;
    for (auto _ : state) {
        value = (value + bar->maximum() / 7 + 13) % (bar->maximum() + 1);
        view.isPainted = false;
        bar->setValue(value);
        while (!view.isPainted)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    state.SetItemsProcessed(qint64(state.iterations()));
    bar->setValue(0);
}

void scrollOurs(benchmark::State &state)
{
    scroll(state, ours().view);
}

void scrollProxy(benchmark::State &state)
{
    scroll(state, theirs().view);
}

} // namespace

BENCHMARK(exclude)->Arg(1)->Arg(100)->Arg(10'000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(excludeProxy)
    ->Name("exclude_proxy")
    ->Arg(1)
    ->Arg(100)
    ->Arg(10'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, int, quotes::Volume)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, string, quotes::Name)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortProxy, int, quotes::Volume)
    ->Name("sort_proxy/int")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sortProxy, string, quotes::Name)
    ->Name("sort_proxy/string")
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(scrollOurs)->Name("scroll")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(scrollProxy)->Name("scroll_proxy")->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    // Widgets do not outlive the application.
    oursMade.reset();
    theirsMade.reset();
}
