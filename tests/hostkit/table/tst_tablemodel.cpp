// SPDX-License-Identifier: MIT
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/parallel/threadpool.h>
#include <hostkit/table/tablemodel.h>

#include <database/memorytable.h>

#include <data/exception.h>
#include <filterfuncs/lambdafilterfunc.h>

#include <support/allocationcounter.h>
#include <support/exceptions.h>
#include <support/lambdafilter.h>
#include <support/modellog.h>
#include <support/typenames.h>

#include <QAbstractItemModelTester>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <future>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;

static_assert(int(TableModel::ColumnRole) == int(Qt::UserRole));

namespace {

/// Holds up predicates until it is opened.
class Gate
{
public:
    void wait()
    {
        m_waiting.fetch_add(1, std::memory_order_relaxed);
        m_open.wait(false);
    }
    bool isReached() const { return m_waiting.load(std::memory_order_relaxed) > 0; }
    void open()
    {
        m_open = true;
        m_open.notify_all();
    }

private:
    std::atomic<int> m_waiting = 0;
    std::atomic<bool> m_open = false;
};

/// The display texts of a section, from top to bottom.
QString shown(const TableModel &model, int section = 0)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts.append(model.index(row, section).data().toString());
    return texts.join(u' ');
}

} // namespace

class tst_TableModel : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"quotes"_s,
                        {{.name = u"id"_s, .type = FieldType::Int},
                         {.name = u"code"_s, .type = FieldType::VarChar, .nullable = true, .length = 12},
                         {.name = u"price"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                         {.name = u"time"_s, .type = FieldType::DateTime},
                         {.name = u"note"_s, .type = FieldType::String, .nullable = true},
                         {.name = u"ratio"_s, .type = FieldType::Double}}};
    std::unique_ptr<TableModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;

    Record append(int id, const CellValue &code = u"c"_s, const CellValue &note = u"n"_s, double ratio = 0)
    {
        return m_table.append(
            {qint32(id), code, decimal::fromUnscaled(id * 100, 2), datetime(1), note, ratio});
    }

    /// A model over the ids 1 to \a count.
    TableModel &makeModel(int count)
    {
        for (int id = 1; id <= count; ++id)
            append(id);
        m_model = std::make_unique<TableModel>(m_table, QList<int>{0});
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        return *m_model;
    }

    static int id(const Record &row) { return row.field(0).value<qint32>(); }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup()
    {
        m_tester.reset();
        m_model.reset();
        m_table.clear();
    }

    void showsAllRowsAtOnce()
    {
        const Record first = append(1, u"GAZP"_s);
        const Record second = append(2, u"SBER"_s);
        TableModel model(m_table, {1, 0});
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);

        QCOMPARE(model.table(), &m_table);
        QCOMPARE(model.columns(), QList<int>({1, 0}));
        QCOMPARE(model.section(0), 1);
        QCOMPARE(model.section(2), -1);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.columnCount(), 2);
        QCOMPARE(model.totalRowCount(), 2);
        QCOMPARE(shown(model), u"GAZP SBER"_s);
        QCOMPARE(shown(model, 1), u"1 2"_s);
        QVERIFY(model.record(1) == second);
        QVERIFY(model.record(2).isNull());
        QVERIFY(model.record(-1).isNull());
        QCOMPARE(model.rowOf(first), 0);
        QCOMPARE(model.rowOf(second), 1);
        QCOMPARE(model.rowOf(Record(&m_table)), -1);
        QCOMPARE(model.rowOf(Record()), -1);
        QVERIFY(!model.isPassRunning());
        QVERIFY(model.sortKeys().isEmpty());
    }

    void showsAnEmptyTable()
    {
        TableModel &model = makeModel(0);
        ModelLog log(model);

        QCOMPARE(model.rowCount(), 0);
        model.sort(0);
        model.waitForPass();
        QCOMPARE(log.take(), QStringList({u"started"_s, u"about"_s, u"finished"_s}));
        append(7);
        model.reload();
        model.waitForPass();
        QCOMPARE(shown(model), u"7"_s);
        m_table.clear();
        model.reload();
        model.waitForPass();
        QCOMPARE(model.rowCount(), 0);
    }

    void tellsOfItsColumns()
    {
        const TableModel model(m_table, {1, 0, 3});
        const auto header = [&](int section, int role) {
            return model.headerData(section, Qt::Horizontal, role);
        };

        QCOMPARE(header(0, Qt::DisplayRole).toString(), u"code"_s);
        QCOMPARE(header(1, Qt::DisplayRole).toString(), u"id"_s);
        QCOMPARE(header(0, TableModel::ColumnRole).toInt(), 1);
        QCOMPARE(header(0, Qt::ToolTipRole).toString(),
                 withTypeNames(u"code\nТип: VarChar(12), значения может не быть"_s));
        QCOMPARE(header(1, Qt::ToolTipRole).toString(), withTypeNames(u"id\nТип: Int"_s));
        QCOMPARE(header(0, Qt::TextAlignmentRole).toInt(), int(Qt::AlignLeft | Qt::AlignVCenter));
        QCOMPARE(header(1, Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight | Qt::AlignVCenter));
        QVERIFY(!header(3, Qt::DisplayRole).isValid());
        QVERIFY(!header(-1, Qt::DisplayRole).isValid());
    }

    void numbersItsRows()
    {
        const TableModel &model = makeModel(2);

        QCOMPARE(model.headerData(0, Qt::Vertical).toInt(), 1);
        QCOMPARE(model.headerData(1, Qt::Vertical).toInt(), 2);
        QVERIFY(!model.headerData(2, Qt::Vertical).isValid());
    }

    void alignsByType_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<bool>("right");
        QTest::newRow("Int") << 0 << true;
        QTest::newRow("VarChar") << 1 << false;
        QTest::newRow("Decimal") << 2 << true;
        QTest::newRow("DateTime") << 3 << false;
        QTest::newRow("String") << 4 << false;
        QTest::newRow("Double") << 5 << true;
    }
    void alignsByType()
    {
        QFETCH(int, column);
        append(1);
        const TableModel model(m_table, {0, 1, 2, 3, 4, 5});
        const QModelIndex index = model.index(0, column);

        QTEST(bool(index.data(Qt::TextAlignmentRole).toInt() & Qt::AlignRight), "right");
        QCOMPARE(index.data(TableModel::ColumnRole).toInt(), column);
    }

    void tellsAbsentFromEmpty()
    {
        append(1, u""_s);
        append(2, std::monostate());
        append(3, u"—"_s);
        const TableModel model(m_table, {1});
        const QModelIndex empty = model.index(0, 0);
        const QModelIndex absent = model.index(1, 0);
        const QModelIndex dash = model.index(2, 0);

        QCOMPARE(empty.data().toString(), QString());
        QCOMPARE(empty.data(Qt::EditRole), QVariant(QString()));
        QCOMPARE(absent.data().toString(), u"—"_s);
        QVERIFY(!absent.data(Qt::EditRole).isValid());
        QCOMPARE(absent.data(TableModel::AbsentRole), QVariant(true));
        QCOMPARE(absent.data(Qt::ToolTipRole).toString(), u"нет значения"_s);
        QCOMPARE(absent.data(Qt::AccessibleTextRole).toString(), u"нет значения"_s);
        QVERIFY(absent.data(Qt::FontRole).value<QFont>().italic());
        QCOMPARE(absent.data(Qt::ForegroundRole).value<QColor>(),
                 QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text));
        for (const QModelIndex &present : {empty, dash}) {
            QCOMPARE(present.data(TableModel::AbsentRole), QVariant(false));
            for (const int role : {int(Qt::ToolTipRole), int(Qt::AccessibleTextRole), int(Qt::FontRole),
                                   int(Qt::ForegroundRole)})
                QVERIFY(!present.data(role).isValid());
        }
    }

    void followsThePalette()
    {
        append(1, std::monostate());
        const TableModel model(m_table, {1});
        const QPalette before = QGuiApplication::palette();
        QPalette other = before;
        other.setColor(QPalette::Disabled, QPalette::Text, QColor(1, 2, 3));

        QGuiApplication::setPalette(other);
        const QColor colour = model.index(0, 0).data(Qt::ForegroundRole).value<QColor>();
        QGuiApplication::setPalette(before);

        QCOMPARE(colour, QColor(1, 2, 3));
    }

    void showsLongTextsAsToolTips()
    {
        const QString longText = u"A long text that <b>no</b> cell shows"_s;
        append(1, u"short"_s, longText);
        append(2, u"two\nlines"_s, QString(10'000, u'x'));
        const TableModel model(m_table, {1, 4});

        QVERIFY(!model.index(0, 0).data(Qt::ToolTipRole).isValid());
        const QString toolTip = model.index(0, 1).data(Qt::ToolTipRole).toString();
        QVERIFY(toolTip.contains(longText.toHtmlEscaped()));
        QVERIFY(!toolTip.contains(u"<b>"));
        QVERIFY(model.index(1, 0).data(Qt::ToolTipRole).toString().contains(u"two\nlines"));
        const QString cut = model.index(1, 1).data(Qt::ToolTipRole).toString();
        QCOMPARE(cut.count(u'x'), 4000);
        QVERIFY(cut.contains(u'…'));
    }

    void displaysNoMoreOfATextThanFitsOnAScreen()
    {
        const QString longText(100'000, u'x');
        append(1, u"short"_s, longText);
        append(2, u"short"_s, QString(500, u'y'));
        append(3, u"short"_s, QString(499, u'z') + QString::fromUcs4(U"\U0001F600") + u'z');
        const TableModel model(m_table, {4});

        QCOMPARE(model.index(0, 0).data().toString(), longText.left(500) + u'…');
        QCOMPARE(model.index(1, 0).data().toString(), QString(500, u'y'));
        // Never in the middle of a surrogate pair.
        QCOMPARE(model.index(2, 0).data().toString(), QString(499, u'z') + u'…');
        QCOMPARE(model.index(0, 0).data(Qt::EditRole).toString(), longText);
    }

    void allocatesNothingThatCanBeAvoided()
    {
        append(1, std::monostate(), u"a text of a String column"_s);
        const TableModel model(m_table, {1, 4});
        const QModelIndex absent = model.index(0, 0);
        const QModelIndex text = model.index(0, 1);
        const auto readAll = [&] {
            for (const int role :
                 {int(Qt::DisplayRole), int(Qt::FontRole), int(Qt::ForegroundRole),
                  int(Qt::TextAlignmentRole), int(Qt::BackgroundRole), int(Qt::DecorationRole),
                  int(Qt::CheckStateRole), int(TableModel::AbsentRole)}) {
                model.data(absent, role);
                model.data(text, role);
            }
        };
        readAll();

        const AllocationCounter counter;
        readAll();
        const qint64 allocations = counter.count();

        QCOMPARE(allocations, 0);
    }

    void keepsItsRowsAlive()
    {
        TableModel &model = makeModel(3);

        m_table.clear();

        QCOMPARE(shown(model), u"1 2 3"_s);
        QCOMPARE(m_table.liveRowCount(), 3);
        model.reload();
        model.waitForPass();
        QCOMPARE(model.rowCount(), 0);
        QTRY_COMPARE(m_table.liveRowCount(), 0);
    }

    void hidesRowsByItsFilters()
    {
        TableModel &model = makeModel(5);
        FilterList filters(m_table);
        auto *filter = new ColumnsFilter(m_table, {0});
        filter->setValue(u"2|4"_s);
        filter->setEnabled(true);
        filters.add(filter);

        model.setFilters(&filters);
        QVERIFY(model.isPassRunning());
        QCOMPARE(shown(model), u"1 2 3 4 5"_s);
        QTRY_VERIFY(!model.isPassRunning());
        QCOMPARE(shown(model), u"1 3 5"_s);
        QCOMPARE(model.totalRowCount(), 5);
        QVERIFY(model.lastPassNanoseconds() > 0);

        filter->setEnabled(false);
        model.waitForPass();
        QCOMPARE(shown(model), u"1 2 3 4 5"_s);

        filter->setEnabled(true);
        filter->setValue(u"1"_s);
        filters.notifyChanged(filter);
        model.waitForPass();
        QCOMPARE(shown(model), u"2 3 4 5"_s);

        filters.clear();
        model.waitForPass();
        QCOMPARE(shown(model), u"1 2 3 4 5"_s);
    }

    void announcesRowsAtTheTail()
    {
        TableModel &model = makeModel(6);
        std::function<bool(const Record &)> hidden = [](const Record &row) { return id(row) > 4; };
        FilterList filters(m_table);
        auto *filter = new LambdaFilter(hidden);
        filters.add(filter);
        ModelLog log(model);
        const auto pass = [&](std::function<bool(const Record &)> function) {
            filter->setFunction(std::move(function));
            filters.notifyChanged(filter);
            model.waitForPass();
            return log.take().join(u", ");
        };
        model.setFilters(&filters);
        model.waitForPass();

        // Only the tail goes; nothing changes; only the tail comes.
        QCOMPARE(log.take().join(u", "), u"started, about, removed 4-5, finished"_s);
        QCOMPARE(pass([](const Record &row) { return id(row) > 4; }), u"started, about, finished"_s);
        QCOMPARE(pass([](const Record &row) { return id(row) > 5; }),
                 u"started, about, inserted 4-4, finished"_s);
        QCOMPARE(pass([](const Record &row) { return id(row) == 2; }),
                 u"started, about, inserted 5-5, layout 0 1, removed 5-5, finished"_s);
        QCOMPARE(shown(model), u"1 3 4 5 6"_s);
        model.sort(0, Qt::DescendingOrder);
        model.waitForPass();
        QCOMPARE(log.take().join(u", "), u"started, about, layout 0 1, finished"_s);
        QCOMPARE(pass([](const Record &) { return true; }), u"started, about, removed 0-4, finished"_s);
    }

    void makesOnePassOfSeveralChanges()
    {
        TableModel &model = makeModel(5);
        FilterList filters(m_table);
        auto *filter = new ColumnsFilter(m_table, {0});
        filter->setEnabled(true);
        filters.add(filter);
        model.setFilters(&filters);
        model.waitForPass();
        ModelLog log(model);

        for (const QString &value : {u"1"_s, u"2"_s, u"3"_s}) {
            filter->setValue(value);
            filters.notifyChanged(filter);
        }
        model.sort(0, Qt::DescendingOrder);
        model.reload();
        QTRY_VERIFY(!model.isPassRunning());

        QCOMPARE(log.take().join(u", "),
                 u"started, about, layout 0 1, removed 4-4, changed 0:0-3:0, finished"_s);
        QCOMPARE(shown(model), u"5 4 2 1"_s);
    }

    void neverShowsWhatWasSuperseded()
    {
        TableModel &model = makeModel(5);
        const auto gate = std::make_shared<Gate>();
        const auto opener = qScopeGuard([gate] { gate->open(); });
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([gate](const Record &) {
            gate->wait();
            return true;
        });
        filters.add(filter);
        model.setFilters(&filters);
        ModelLog log(model);
        QTRY_VERIFY(gate->isReached());

        filter->setFunction([](const Record &row) { return id(row) == 3; });
        filters.notifyChanged(filter);
        QTRY_COMPARE(log.entries().size(), 2);
        QCOMPARE(log.take(), QStringList({u"started"_s, u"started"_s}));
        gate->open();
        QTRY_VERIFY(!model.isPassRunning());

        QCOMPARE(log.take(), QStringList({u"about"_s, u"layout 0 1"_s, u"removed 4-4"_s, u"finished"_s}));
        QCOMPARE(shown(model), u"1 2 4 5"_s);
    }

    void stopsWhatIsSuperseded_data()
    {
        QTest::addColumn<int>("change");
        QTest::newRow("by a filter") << 0;
        QTest::newRow("by a sorting") << 1;
        QTest::newRow("by a sorting during a reload") << 2;
    }
    void stopsWhatIsSuperseded()
    {
        QFETCH(const int, change);
        constexpr int count = 20'000;
        TableModel &model = makeModel(count);
        model.setThreadCount(1);
        const auto gate = std::make_shared<Gate>();
        const auto opener = qScopeGuard([gate] { gate->open(); });
        const auto asked = std::make_shared<std::atomic<int>>(0);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([gate, asked](const Record &) {
            ++*asked;
            gate->wait();
            return true;
        });
        filters.add(filter);
        model.setFilters(&filters);
        if (change == 2)
            model.reload();
        QTRY_VERIFY(gate->isReached());

        filter->setFunction([](const Record &row) { return id(row) > 2; });
        if (change == 0)
            filters.notifyChanged(filter);
        else
            model.setSortKeys({{0, Qt::AscendingOrder}});
        gate->open();
        QTRY_VERIFY(!model.isPassRunning());

        QCOMPARE(shown(model), u"1 2"_s);
        // Not even what a thread takes on in one go.
        QVERIFY2(*asked < 1000, qPrintable(QString::number(*asked)));
    }

    void splitsAPassOverThreads_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one") << 1;
        QTest::newRow("two") << 2;
        QTest::newRow("four") << 4;
    }
    void splitsAPassOverThreads()
    {
        QFETCH(const int, threads);
        QThreadPool pool;
        pool.setMaxThreadCount(threads);
        parallel::setThreadPool(&pool);
        const auto back = qScopeGuard([&] {
            cleanup();
            pool.waitForDone();
            parallel::setThreadPool(nullptr);
        });
        TableModel &model = makeModel(40'000);
        model.setThreadCount(threads);
        std::mutex mutex;
        std::condition_variable arrived;
        std::set<std::thread::id> seen;
        bool isLate = false;
        FilterList filters(m_table);
        // Each thread waits for the others, or one of them might do all the work on a busy machine.
        filters.add(new LambdaFilter([&](const Record &) {
            std::unique_lock lock(mutex);
            seen.insert(std::this_thread::get_id());
            arrived.notify_all();
            const auto areAllThere = [&] { return isLate || seen.size() >= size_t(threads); };
            if (!arrived.wait_for(lock, std::chrono::seconds(10), areAllThere)) {
                isLate = true;
                arrived.notify_all();
            }
            return false;
        }));

        model.setFilters(&filters);
        model.waitForPass();

        QVERIFY(!isLate);
        QCOMPARE(seen.size(), size_t(threads));
        QVERIFY(!seen.contains(std::this_thread::get_id()));
    }

    void holdsTheTablesLockDuringAPass_data()
    {
        QTest::addColumn<bool>("reloads");
        QTest::newRow("over the rows it knows") << false;
        QTest::newRow("over the rows listed again") << true;
    }
    void holdsTheTablesLockDuringAPass()
    {
        QFETCH(const bool, reloads);
        TableModel &model = makeModel(3);
        const auto gate = std::make_shared<Gate>();
        const auto opener = qScopeGuard([gate] { gate->open(); });
        FilterList filters(m_table);
        filters.add(new LambdaFilter([gate](const Record &row) {
            gate->wait();
            return id(row) == 2;
        }));
        const auto isFree = [this] {
            if (!m_table.tryLock())
                return false;
            m_table.unlock();
            return true;
        };
        QVERIFY(isFree());

        model.setFilters(&filters);
        if (reloads)
            model.reload();
        QTRY_VERIFY(gate->isReached());
        QVERIFY(!isFree());
        gate->open();
        QTRY_VERIFY(!model.isPassRunning());

        QVERIFY(isFree());
        QCOMPARE(shown(model), u"1 3"_s);
    }

    void neverWaitsForTheLockOfTheTable_data()
    {
        QTest::addColumn<QString>("what");
        for (const char *what : {"cancel", "reload", "delete"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void neverWaitsForTheLockOfTheTable()
    {
        QFETCH(const QString, what);
        TableModel &model = makeModel(3);
        std::promise<void> taken;
        std::promise<void> release;
        std::atomic<bool> isHeld = true;
        std::thread holder([&] {
            const std::lock_guard<Table> lock(m_table);
            taken.set_value();
            release.get_future().wait_for(std::chrono::seconds(5));
            isHeld = false;
        });
        taken.get_future().wait();
        model.setSortKeys({{.column = 0, .order = Qt::DescendingOrder}});
        QSignalSpy started(&model, &TableModel::passStarted);
        QVERIFY(started.wait());

        if (what == u"cancel") {
            model.cancelPass();
        } else if (what == u"reload") {
            model.setSortKeys({});
            model.reload();
            QTest::qWait(10);
        } else {
            m_tester.reset();
            m_model.reset();
        }
        const bool wasHeld = isHeld;
        release.set_value();
        holder.join();
        if (m_model)
            model.waitForPass();
        parallel::waitForWaiters(m_table);

        QVERIFY(wasHeld);
        if (m_model)
            QCOMPARE(shown(model), u"1 2 3"_s);
    }

    void keepsTheRowsWhenAPredicateThrows_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("Exception") << 0 << u"bad row"_s;
        QTest::newRow("QString") << 1 << u"bad text"_s;
        QTest::newRow("std::exception") << 2 << u"bad number"_s;
        QTest::newRow("out of memory") << 3 << u"Недостаточно памяти"_s;
        QTest::newRow("anything else") << 4 << u"Неизвестная ошибка"_s;
    }
    void keepsTheRowsWhenAPredicateThrows()
    {
        QFETCH(int, kind);
        QFETCH(QString, message);
        TableModel &model = makeModel(20'000);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([kind](const Record &row) {
            if (id(row) != 9000)
                return true;
            switch (kind) {
            case 0:
                throw Exception(u"bad row"_s);
            case 1:
                throw u"bad text"_s;
            case 2:
                throw std::runtime_error("bad number");
            case 3:
                throw std::bad_alloc();
            default:
                throw 5;
            }
        });
        filters.add(filter);
        model.setFilters(&filters);
        model.sort(0, Qt::DescendingOrder);
        ModelLog log(model);

        if (kind == 0)
            announceReport(u"bad row"_s);
        model.waitForPass();

        QCOMPARE(log.take(), QStringList({u"started"_s, QString(u"failed: "_s + message)}));
        QCOMPARE(model.rowCount(), 20'000);
        QCOMPARE(id(model.record(0)), 1);
        filter->setFunction([](const Record &row) { return id(row) > 2; });
        filters.notifyChanged(filter);
        model.waitForPass();
        QCOMPARE(shown(model), u"2 1"_s);
    }

    void takesBackWhatItHasAnnouncedWhenThatFails_data()
    {
        QTest::addColumn<QString>("when");
        for (const char *when : {"about", "inserted", "layout", "removed", "changed"})
            QTest::newRow(when) << QString::fromLatin1(when);
    }
    void takesBackWhatItHasAnnouncedWhenThatFails()
    {
        QFETCH(const QString, when);
        TableModel &model = makeModel(3);
        m_tester.reset();
        m_table.remove(m_table.row(0));
        append(4);
        model.setSortKeys({{.column = 0, .order = Qt::DescendingOrder}});
        model.reload();
        auto fail = [&when, done = false](const QString &now) mutable {
            if (now == when && !std::exchange(done, true))
                throw std::bad_alloc();
        };
        const auto guarded = std::make_shared<decltype(fail)>(fail);
        connect(&model, &TableModel::aboutToShow, this, [guarded] { (*guarded)(u"about"_s); });
        connect(&model, &TableModel::rowsInserted, this, [guarded] { (*guarded)(u"inserted"_s); });
        connect(&model, &TableModel::layoutChanged, this, [guarded] { (*guarded)(u"layout"_s); });
        connect(&model, &TableModel::rowsRemoved, this, [guarded] { (*guarded)(u"removed"_s); });
        connect(&model, &TableModel::dataChanged, this, [guarded] { (*guarded)(u"changed"_s); });
        ModelLog log(model);

        model.waitForPass();

        QCOMPARE(log.entries().constLast(), u"failed: Недостаточно памяти"_s);
        QCOMPARE(log.entries().contains(u"reset"_s), when != u"about");
        QCOMPARE(shown(model), u"1 2 3"_s);
        QCOMPARE(model.rowOf(model.record(2)), 2);
        QVERIFY(!model.isUpToDate());
        model.setSortKeys({{.column = 0, .order = Qt::DescendingOrder}});
        model.waitForPass();
        QCOMPARE(shown(model), u"4 3 2"_s);
    }

    void keepsTheRowsWhenAFilterMakesNoPredicate()
    {
        class BrokenFilter : public LambdaFilter
        {
        public:
            using LambdaFilter::LambdaFilter;
            FilterFunc *createFilterFunc(QObject *) const override { throw u"broken"_s; }
        };
        TableModel &model = makeModel(3);
        FilterList filters(m_table);
        filters.add(new BrokenFilter(nullptr));
        model.setFilters(&filters);
        ModelLog log(model);

        QTRY_VERIFY(!model.isPassRunning());

        QCOMPARE(log.take(), QStringList({u"failed: broken"_s}));
        QCOMPARE(shown(model), u"1 2 3"_s);
    }

    void catchesUpOnAReloadThatFailed()
    {
        TableModel &model = makeModel(2);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([](const Record &) -> bool { throw u"broken"_s; });
        filters.add(filter);
        model.setFilters(&filters);
        append(3);
        model.reload();
        model.waitForPass();
        QCOMPARE(shown(model), u"1 2"_s);

        filters.clear();
        model.waitForPass();

        QCOMPARE(shown(model), u"1 2 3"_s);
    }

    void sortsBySeveralColumns()
    {
        append(1, u"b"_s, u"x"_s);
        append(2, u"a"_s, u"y"_s);
        append(3, u"b"_s, u"y"_s);
        append(4, u"a"_s, u"x"_s);
        append(5, u"a"_s, u"y"_s);
        TableModel model(m_table, {0, 1, 4});
        const auto sorted = [&](const QList<TableModel::SortKey> &keys) {
            model.setSortKeys(keys);
            model.waitForPass();
            return shown(model);
        };

        QCOMPARE(sorted({{1}}), u"2 4 5 1 3"_s);
        QCOMPARE(sorted({{1, Qt::DescendingOrder}}), u"1 3 2 4 5"_s);
        QCOMPARE(sorted({{1}, {4}}), u"4 2 5 1 3"_s);
        QCOMPARE(sorted({{1}, {4, Qt::DescendingOrder}}), u"2 5 4 3 1"_s);
        QCOMPARE(sorted({{4}, {1}, {0, Qt::DescendingOrder}}), u"4 1 5 2 3"_s);
        QCOMPARE(sorted({}), u"1 2 3 4 5"_s);
    }

    void sortsByASectionFirstAndThenByTheKeysBefore()
    {
        append(1, u"b"_s, u"x"_s);
        append(2, u"a"_s, u"y"_s);
        append(3, u"a"_s, u"x"_s);
        TableModel model(m_table, {4, 1, 0});
        using Keys = QList<TableModel::SortKey>;

        model.sort(0);
        model.sort(1, Qt::DescendingOrder);
        QCOMPARE(model.sortKeys(), Keys({{1, Qt::DescendingOrder}, {4}}));
        model.waitForPass();
        QCOMPARE(shown(model, 2), u"1 3 2"_s);

        model.sort(1);
        QCOMPARE(model.sortKeys(), Keys({{1}, {4}}));
        model.sort(3);
        QCOMPARE(model.sortKeys(), Keys({{1}, {4}}));
        model.sort(-1);
        QCOMPARE(model.sortKeys(), Keys());
        model.waitForPass();
        QCOMPARE(shown(model, 2), u"1 2 3"_s);
    }

    void putsNaNBehindAllNumbersAndAbsentValuesFirst()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        append(1, u""_s, u""_s, std::nan(""));
        append(2, std::monostate(), u""_s, infinity);
        append(3, u"a"_s, u""_s, -infinity);
        append(4, std::monostate(), u""_s, -std::nan(""));
        append(5, u""_s, u""_s, 0.0);
        append(6, u""_s, u""_s, -0.0);
        TableModel model(m_table, {0});
        const auto sorted = [&](const QList<TableModel::SortKey> &keys) {
            model.setSortKeys(keys);
            model.waitForPass();
            return shown(model);
        };

        QCOMPARE(sorted({{5}}), u"3 5 6 2 1 4"_s);
        QCOMPARE(sorted({{5, Qt::DescendingOrder}}), u"1 4 2 5 6 3"_s);
        QCOMPARE(sorted({{1}}), u"2 4 1 5 6 3"_s);
        QCOMPARE(sorted({{1, Qt::DescendingOrder}}), u"3 1 5 6 2 4"_s);
    }

    void startsNoPassForTheSameKeysOrFilters()
    {
        TableModel &model = makeModel(2);
        model.setSortKeys({});
        model.setFilters(nullptr);

        QVERIFY(!model.isPassRunning());
        model.sort(0);
        model.waitForPass();
        model.sort(0);
        QVERIFY(!model.isPassRunning());
    }

    void showsChangesOfTheTableAfterAReload()
    {
        TableModel &model = makeModel(4);
        model.sort(0, Qt::DescendingOrder);
        model.waitForPass();
        const QPersistentModelIndex third = model.index(1, 0);

        m_table.remove({m_table.row(0), m_table.row(3)});
        append(9);
        m_table.insert(0,
                       {{qint32(7), std::monostate(), std::monostate(), datetime(), std::monostate(), 0.0}});
        QCOMPARE(shown(model), u"4 3 2 1"_s);
        model.reload();
        model.waitForPass();

        QCOMPARE(shown(model), u"9 7 3 2"_s);
        QCOMPARE(third.row(), 2);
        QCOMPARE(model.totalRowCount(), 4);
        m_table.update(m_table.row(0), 0, qint32(1));
        model.reload();
        model.waitForPass();
        QCOMPARE(shown(model), u"9 3 2 1"_s);
    }

    void announcesCellsThatMayHaveChanged()
    {
        append(1, u"a"_s);
        append(2, u"b"_s);
        append(3, u"c"_s);
        append(4, u"d"_s);
        TableModel model(m_table, {1, 0});
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
        ModelLog log(model);
        const auto reloaded = [&] {
            model.reload();
            model.waitForPass();
            return log.take().join(u", ");
        };

        m_table.update(m_table.row(2), 1, u"x"_s);
        QCOMPARE(reloaded(), u"started, about, changed 0:0-3:1, finished"_s);
        QCOMPARE(shown(model), u"a b x d"_s);
        // New rows need no change.
        append(5, u"e"_s);
        m_table.remove(m_table.row(0));
        QCOMPARE(reloaded(),
                 u"started, about, inserted 4-4, layout 0 1, removed 4-4, changed 0:0-2:1, finished"_s);
        QCOMPARE(shown(model), u"b x d e"_s);
        // Those that stayed may stand anywhere.
        model.setSortKeys({{1, Qt::DescendingOrder}});
        model.waitForPass();
        QCOMPARE(log.take().join(u", "), u"started, about, layout 0 1, finished"_s);
        append(6, u"z"_s);
        append(7, u"a"_s);
        QCOMPARE(reloaded(), u"started, about, inserted 4-5, layout 0 1, changed 1:0-4:1, finished"_s);
        QCOMPARE(shown(model), u"z x e d b a"_s);
        // None stayed.
        m_table.clear();
        append(8, u"n"_s);
        QCOMPARE(reloaded(), u"started, about, inserted 6-6, layout 0 1, removed 1-6, finished"_s);
    }

    void endsAPassBeforeItReloads()
    {
        TableModel &model = makeModel(3);
        const auto gate = std::make_shared<Gate>();
        const auto opener = qScopeGuard([gate] { gate->open(); });
        FilterList filters(m_table);
        filters.add(new LambdaFilter([gate](const Record &row) {
            gate->wait();
            return id(row) == 1;
        }));
        model.setFilters(&filters);
        ModelLog log(model);
        QTRY_VERIFY(gate->isReached());

        for (int i = 0; i < 3; ++i) {
            model.reload();
            QTest::qWait(5);
        }
        QVERIFY(!model.isUpToDate());
        gate->open();
        QTRY_VERIFY(!model.isPassRunning());

        QVERIFY(model.isUpToDate());
        QCOMPARE(log.take().join(u", "), u"started, about, layout 0 1, removed 2-2, finished, "
                                         "started, about, changed 0:0-1:0, finished"_s);
        QCOMPARE(shown(model), u"2 3"_s);
    }

    void showsRowsWhileItIsReloadedAllTheTime()
    {
        TableModel &model = makeModel(5000);
        m_tester.reset();
        FilterList filters(m_table);
        filters.add(new LambdaFilter([](const Record &row) {
            if (id(row) % 100 == 0)
                QThread::usleep(500); // some 25 ms in all
            return false;
        }));
        model.setFilters(&filters);
        model.sort(0, Qt::DescendingOrder);
        QTimer timer;
        connect(&timer, &QTimer::timeout, &model, [&] { model.reload(); });
        timer.start(2);

        QTRY_COMPARE(id(model.record(0)), 5000);
        append(5001);
        QTRY_COMPARE(id(model.record(0)), 5001);
        timer.stop();
        QTRY_VERIFY(model.isUpToDate());
    }

    void outlivesItsFilters()
    {
        TableModel &model = makeModel(3);
        auto filters = std::make_unique<FilterList>(m_table);
        filters->add(new LambdaFilter([](const Record &row) { return id(row) == 1; }));
        model.setFilters(filters.get());
        model.waitForPass();
        QCOMPARE(shown(model), u"2 3"_s);

        filters.reset();

        QCOMPARE(model.filters(), nullptr);
        model.waitForPass();
        QCOMPARE(shown(model), u"1 2 3"_s);
    }

    void forgetsTheFiltersItHadBefore()
    {
        TableModel &model = makeModel(3);
        FilterList first(m_table);
        FilterList second(m_table);
        model.setFilters(&first);
        model.setFilters(&second);
        model.waitForPass();

        first.add(new LambdaFilter([](const Record &) { return true; }));

        QVERIFY(!model.isPassRunning());
    }

    void isDeletedWhileAPassRuns()
    {
        makeModel(100'000);
        std::atomic<bool> reached = false;
        FilterList filters(m_table);
        filters.add(new LambdaFilter([&reached](const Record &) {
            reached.store(true, std::memory_order_relaxed);
            QThread::usleep(100);
            return true;
        }));
        m_model->setFilters(&filters);
        QTRY_VERIFY(reached.load(std::memory_order_relaxed));
        QElapsedTimer timer;
        timer.start();

        m_tester.reset();
        m_model.reset();

        // The whole pass would take seconds.
        QVERIFY(timer.elapsed() < 1000);
    }

    void givesARunningPassUp()
    {
        TableModel &model = makeModel(3);
        const auto gate = std::make_shared<Gate>();
        const auto opener = qScopeGuard([gate] { gate->open(); });
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([gate](const Record &) {
            gate->wait();
            return true;
        });
        filters.add(filter);
        model.setFilters(&filters);
        QTRY_VERIFY(gate->isReached());
        ModelLog log(model);

        model.cancelPass();
        model.cancelPass();
        QVERIFY(!model.isPassRunning());
        gate->open();
        filter->setFunction([](const Record &row) { return id(row) == 1; });

        QCOMPARE(log.take(), QStringList({u"cancelled"_s}));
        QCOMPARE(shown(model), u"1 2 3"_s);
        model.reload();
        model.cancelPass();
        QVERIFY(!model.isPassRunning());
        model.reload();
        model.waitForPass();
        QCOMPARE(log.take().join(u", "),
                 u"cancelled, started, about, layout 0 1, removed 2-2, changed 0:0-1:0, finished"_s);
    }

    void tellsWhetherWhatIsShownIsWhatIsWanted()
    {
        append(1);
        append(2);
        append(3);
        TableModel model(m_table, {0});
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([](const Record &row) { return id(row) == 2; });
        filters.add(filter);
        QVERIFY(model.isUpToDate());
        const QList<TableModel::SortKey> descending{{.column = 0, .order = Qt::DescendingOrder}};

        model.setSortKeys(descending);
        QVERIFY(!model.isUpToDate());
        model.cancelPass();
        QVERIFY(!model.isUpToDate());
        QCOMPARE(shown(model), u"1 2 3"_s);

        // The same again is a second attempt now, and nothing once it has succeeded.
        model.setSortKeys(descending);
        model.waitForPass();
        QVERIFY(model.isUpToDate());
        QCOMPARE(shown(model), u"3 2 1"_s);
        model.setSortKeys(descending);
        QVERIFY(!model.isPassRunning());

        model.setFilters(&filters);
        model.waitForPass();
        QVERIFY(model.isUpToDate());
        filter->setFunction([](const Record &) -> bool { throw std::runtime_error("no answer"); });
        model.reload();
        model.waitForPass();
        QVERIFY(!model.isUpToDate());
        QCOMPARE(shown(model), u"3 1"_s);
        // Nor is it while the next one is already wanted.
        filter->setFunction([](const Record &row) { return id(row) != 2; });
        model.reload();
        connect(
            &model, &QAbstractItemModel::rowsRemoved, &model, [&] { model.setSortKeys({}); },
            Qt::SingleShotConnection);
        QSignalSpy finished(&model, &TableModel::passFinished);
        bool isUpToDate = true;
        connect(
            &model, &TableModel::passFinished, &model, [&] { isUpToDate = model.isUpToDate(); },
            Qt::SingleShotConnection);
        model.waitForPass();
        QCOMPARE(finished.size(), 2);
        QVERIFY(!isUpToDate);
        QVERIFY(model.isUpToDate());
        QCOMPARE(shown(model), u"2"_s);
    }

    void showsProgressOfPassesThatLast()
    {
        TableModel &model = makeModel(20'000);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([](const Record &) { return true; });
        filters.add(filter);
        QList<int> percents;
        connect(&model, &TableModel::passProgress, this, [&](int percent) { percents.append(percent); });
        model.setFilters(&filters);
        QTRY_VERIFY(!model.isPassRunning());
        QVERIFY(percents.isEmpty());

        model.setThreadCount(4);
        filter->setFunction([](const Record &) {
            QThread::usleep(50);
            return false;
        });
        filters.notifyChanged(filter);
        QTRY_VERIFY(!model.isPassRunning());

        QVERIFY(!percents.isEmpty());
        for (qsizetype i = 1; i < percents.size(); ++i)
            QVERIFY(percents[i] > percents[i - 1]);
        QVERIFY(percents.constFirst() >= 0);
        QVERIFY(percents.constLast() <= 100);
    }

    void letsPredicatesGoInItsOwnThread()
    {
        class WatchedFunc : public LambdaFilterFunc
        {
        public:
            WatchedFunc(QList<QThread *> &died)
                : LambdaFilterFunc([](const Record &) { return false; }), m_died(died)
            {
            }
            ~WatchedFunc() override { m_died.append(QThread::currentThread()); }

        private:
            QList<QThread *> &m_died;
        };
        class WatchedFilter : public LambdaFilter
        {
        public:
            explicit WatchedFilter(QList<QThread *> &died) : LambdaFilter(nullptr), m_died(died) {}
            FilterFunc *createFilterFunc(QObject *) const override { return new WatchedFunc(m_died); }

        private:
            QList<QThread *> &m_died;
        };
        QList<QThread *> died;
        TableModel &model = makeModel(10);
        FilterList filters(m_table);
        filters.add(new WatchedFilter(died));
        model.setFilters(&filters);

        for (int i = 0; i < 50; ++i) {
            model.reload();
            QCoreApplication::processEvents();
        }
        model.waitForPass();
        m_tester.reset();
        m_model.reset();

        QVERIFY(!died.isEmpty());
        QCOMPARE(died, QList<QThread *>(died.size(), thread()));
    }

    void tellsBeforehandWhereRowsWillBe()
    {
        TableModel &model = makeModel(4);
        FilterList filters(m_table);
        filters.add(new LambdaFilter([](const Record &row) { return id(row) == 2; }));
        model.setFilters(&filters);
        model.sort(0, Qt::DescendingOrder);
        QList<int> rows;
        connect(&model, &TableModel::aboutToShow, this, [&] {
            QCOMPARE(shown(model), u"1 2 3 4"_s);
            for (int row = -1; row < 5; ++row)
                rows.append(model.rowAfterPass(row));
        });

        model.waitForPass();

        QCOMPARE(rows, QList<int>({-1, 2, -1, 1, 0, -1}));
        QCOMPARE(model.rowAfterPass(0), -1);
    }

    // Whoever is told runs events, changes a filter and gives a pass time to get through.
    void startsNoPassWhileRowsAreAnnounced_data()
    {
        QTest::addColumn<QString>("when");
        for (const char *when : {"about", "inserted", "layout", "removed"})
            QTest::newRow(when) << QString::fromLatin1(when);
    }
    void startsNoPassWhileRowsAreAnnounced()
    {
        QFETCH(QString, when);
        TableModel &model = makeModel(10);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([](const Record &row) { return id(row) <= 3; });
        filters.add(filter);
        model.setFilters(&filters);
        model.waitForPass();
        ModelLog log(model);
        auto change = [&, done = false](const QString &now) mutable {
            if (now != when || std::exchange(done, true))
                return;
            filter->setFunction([](const Record &row) { return id(row) > 5; });
            filters.notifyChanged(filter);
            for (int i = 0; i < 3; ++i) {
                QCoreApplication::processEvents();
                QThread::msleep(10);
            }
        };
        connect(&model, &TableModel::aboutToShow, this, [&] { change(u"about"_s); });
        connect(&model, &TableModel::rowsInserted, this, [&] { change(u"inserted"_s); });
        connect(&model, &TableModel::layoutChanged, this, [&] { change(u"layout"_s); });
        connect(&model, &TableModel::rowsRemoved, this, [&] { change(u"removed"_s); });

        filter->setFunction([](const Record &row) { return id(row) > 3 && id(row) < 8; });
        filters.notifyChanged(filter);
        QTRY_VERIFY(!model.isPassRunning());

        QCOMPARE(log.take(),
                 QStringList({u"started"_s, u"about"_s, u"inserted 7-9"_s, u"layout 0 1"_s, u"removed 6-9"_s,
                              u"finished"_s, u"started"_s, u"about"_s, u"inserted 6-7"_s, u"layout 0 1"_s,
                              u"removed 5-7"_s, u"finished"_s}));
        QCOMPARE(shown(model), u"1 2 3 4 5"_s);
    }

    void reloadsWhenItIsAskedToWhileRowsAreAnnounced_data() { startsNoPassWhileRowsAreAnnounced_data(); }
    void reloadsWhenItIsAskedToWhileRowsAreAnnounced()
    {
        QFETCH(QString, when);
        TableModel &model = makeModel(4);
        model.sort(0, Qt::DescendingOrder);
        model.waitForPass();
        auto change = [&, done = false](const QString &now) mutable {
            if (now != when || std::exchange(done, true))
                return;
            append(6);
            model.reload();
        };
        connect(&model, &TableModel::aboutToShow, this, [&] { change(u"about"_s); });
        connect(&model, &TableModel::rowsInserted, this, [&] { change(u"inserted"_s); });
        connect(&model, &TableModel::layoutChanged, this, [&] { change(u"layout"_s); });
        connect(&model, &TableModel::rowsRemoved, this, [&] { change(u"removed"_s); });

        append(5);
        m_table.remove(m_table.row(0));
        model.reload();
        model.waitForPass();

        QCOMPARE(shown(model), u"6 5 4 3 2"_s);
    }

    void findsRowsWhileTheyAreAnnounced()
    {
        TableModel &model = makeModel(5);
        FilterList filters(m_table);
        auto *filter = new LambdaFilter([](const Record &row) { return id(row) == 1; });
        filters.add(filter);
        model.setFilters(&filters);
        model.waitForPass();
        int checks = 0;
        const auto check = [&] {
            for (int row = 0; row < model.rowCount(); ++row)
                QCOMPARE(model.rowOf(model.record(row)), row);
            ++checks;
        };
        connect(&model, &TableModel::rowsInserted, this, check);
        connect(&model, &TableModel::layoutChanged, this, check);
        connect(&model, &TableModel::rowsRemoved, this, check);

        filter->setFunction([](const Record &row) { return id(row) == 3; });
        append(6);
        m_table.remove(m_table.row(1));
        model.reload();
        model.waitForPass();

        QCOMPARE(shown(model), u"1 4 5 6"_s);
        QCOMPARE(checks, 3);
    }
};

QTEST_MAIN(tst_TableModel)
#include "tst_tablemodel.moc"
