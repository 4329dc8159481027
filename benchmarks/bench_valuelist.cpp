// SPDX-License-Identifier: MIT
// A ValueListWidget over 1,000,000 rows with 100,000 distinct values, with a window of its own.
//   usable/COLUMN   from ValueListFilter::init() to the first values painted
//   search/COLUMN   from Return in the search box to the finds painted
//   plain/COLUMN    counting into a QMap of the values in one thread, and a QStandardItemModel of them in a
//                   QListView, to the first values painted
// COLUMN is int, int64, string, varchar, decimal, time or int_string (two columns, 100,000 combinations).
#include <data/indexlist.h>
#include <database/memorytable.h>
#include <filters/valuefilter.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>

#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QMap>
#include <QStandardItemModel>
#include <QTest>

#include <benchmark/benchmark.h>

#include <memory>

using namespace sito;

namespace {

qint64 rowCount()
{
    const qint64 wanted = qEnvironmentVariableIntValue("SITO_BENCHMARK_ROWS");
    return wanted > 0 ? wanted : 1'000'000;
}

constexpr qint64 distinctValues = 100'000;

enum Column { Int, Int64, String, VarChar, Decimal, Time, Stock };

MemoryTable &table()
{
    static std::unique_ptr<MemoryTable> result;
    if (result)
        return *result;
    result = std::make_unique<MemoryTable>(
        QStringLiteral("quotes"),
        QList<ColumnSpec>{{QStringLiteral("int"), FieldType::Int},
                          {QStringLiteral("int64"), FieldType::Int64},
                          {QStringLiteral("string"), FieldType::String},
                          {QStringLiteral("varchar"), FieldType::VarChar, false, 12},
                          {QStringLiteral("decimal"), FieldType::Decimal, false, 2},
                          {QStringLiteral("time"), FieldType::DateTime},
                          {QStringLiteral("stock"), FieldType::Int}});
    const qint64 count = rowCount();
    for (qint64 i = 0; i < count; ++i) {
        // All values equally often, in no order.
        const qint64 value = i * 7919 % distinctValues;
        const QString number = QStringLiteral("%1").arg(value, 8, 10, QChar(u'0'));
        result->append({qint32(value), value * 1'000'003, QStringLiteral("Company %1 plc").arg(number),
                        QString(u'S' + number), decimal::fromUnscaled(value * 37, 2),
                        datetime(1'483'401'600'000 + value * 60'000), qint32(value % 1000)});
    }
    return *result;
}

/// Runs the event loop until \a done.
template <typename Done>
void waitFor(Done done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// Records when a list with rows is painted.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QListView *view) : m_view(view) { view->viewport()->installEventFilter(this); }
    bool painted = false;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && m_view->model()->rowCount() > 0)
            painted = true;
        return false;
    }

private:
    QListView *m_view;
};

void usable(benchmark::State &state, const QList<int> &columns)
{
    ValueListFilter filter(table(), columns);
    ValueListWidget widget;
    widget.show();
    (void)QTest::qWaitForWindowExposed(&widget);
    auto *view = widget.findChild<QListView *>();
    for (auto step : state) {
        Q_UNUSED(step)
        PaintWatch watch(view);
        filter.init(&widget);
        waitFor([&] { return widget.isReady() && watch.painted; });
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * rowCount());
    state.counters["values"] = view->model()->rowCount();
}

void search(benchmark::State &state, int column)
{
    ValueListFilter filter(table(), {column});
    ValueListWidget widget;
    widget.show();
    (void)QTest::qWaitForWindowExposed(&widget);
    filter.init(&widget);
    waitFor([&] { return widget.isReady(); });
    auto *edit = widget.findChild<QLineEdit *>();
    auto *view = widget.findChild<QListView *>();
    for (auto step : state) {
        state.PauseTiming();
        edit->clear();
        QTest::keyClick(edit, Qt::Key_Return);
        edit->setText(QStringLiteral("77"));
        QCoreApplication::processEvents();
        const int all = view->model()->rowCount();
        PaintWatch watch(view);
        state.ResumeTiming();
        Q_UNUSED(step)
        QTest::keyClick(edit, Qt::Key_Return);
        waitFor([&] { return view->model()->rowCount() < all; });
        watch.painted = false;
        waitFor([&] { return watch.painted; });
    }
    state.counters["found"] = view->model()->rowCount();
}

void plain(benchmark::State &state, int column)
{
    QListView view;
    view.setUniformItemSizes(true);
    view.resize(300, 400);
    view.show();
    (void)QTest::qWaitForWindowExposed(&view);
    for (auto step : state) {
        Q_UNUSED(step)
        QStandardItemModel model;
        QMap<QString, qint64> counts;
        for (auto row = table().masterIndex()->begin(), end = table().masterIndex()->end(); row != end; ++row)
            ++counts[table().dataPtr(*row, column).toString()];
        for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
            auto *item = new QStandardItem(QStringLiteral("%1 (%2)").arg(count.key()).arg(count.value()));
            item->setCheckable(true);
            item->setCheckState(Qt::Checked);
            model.appendRow(item);
        }
        PaintWatch watch(&view);
        view.setModel(&model);
        waitFor([&] { return watch.painted; });
        view.setModel(nullptr);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * rowCount());
}

void registerAll()
{
    const std::pair<const char *, int> columns[] = {{"int", Int},         {"int64", Int64},
                                                    {"string", String},   {"varchar", VarChar},
                                                    {"decimal", Decimal}, {"time", Time}};
    for (const auto &[name, column] : columns) {
        const int index = column;
        benchmark::RegisterBenchmark((std::string("usable/") + name).c_str(),
                                     [index](benchmark::State &state) { usable(state, {index}); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    benchmark::RegisterBenchmark("usable/int_string",
                                 [](benchmark::State &state) {
                                     usable(state, {Stock, String});
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    for (const int column : {int(Int), int(String)}) {
        const std::string name = column == Int ? "int" : "string";
        benchmark::RegisterBenchmark(("search/" + name).c_str(),
                                     [column](benchmark::State &state) { search(state, column); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark(("plain/" + name).c_str(),
                                     [column](benchmark::State &state) { plain(state, column); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
}
