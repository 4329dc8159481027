// SPDX-License-Identifier: MIT
#include <hostkit/values/valuecount_p.h>

#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/parallel/threadpool.h>

#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <filters/valuefilter.h>

#include <support/exceptions.h>
#include <support/seed.h>
#include <support/typenames.h>

#include <QRandomGenerator>
#include <QTest>
#include <QThreadPool>

#include <chrono>
#include <cmath>
#include <future>
#include <limits>
#include <map>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

KeyValue keyOf(const Record &record, const QList<int> &columns)
{
    KeyValue key;
    for (const int column : columns)
        key.append(FieldValue(record.field(column)));
    return key;
}

bool isEqual(const KeyValue &a, const KeyValue &b)
{
    return !(a < b) && !(b < a);
}

/// The values and counts, one word each.
QString shortForm(const DistinctValues &values)
{
    QStringList parts;
    for (qsizetype i = 0; i < values.size(); ++i)
        parts.append(values.text(i) + u'=' + QString::number(values.count(i)));
    return parts.join(u' ');
}

std::shared_ptr<const DistinctValues> countOf(MemoryTable &table, const QList<int> &columns,
                                              const QList<KeyValue> &keys = {})
{
    return ValueCount::run({.table = &table, .columns = columns, .hiddenBy = {}, .keys = keys}, {});
}

/// Whether the counting of column 0 is stopped.
bool isStopped(MemoryTable &table, const parallel::StopToken &stop,
               const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy = {})
{
    try {
        ValueCount::run({.table = &table, .columns = {0}, .hiddenBy = hiddenBy, .keys = {}}, {.stop = stop});
    } catch (const parallel::Stopped &) {
        return true;
    }
    return false;
}

} // namespace

class tst_DistinctValues : public QObject
{
    Q_OBJECT

    enum Column { Int, Int64, Double, Decimal, XDecimal, VarChar, DateTime, String, Required };

    static QList<ColumnSpec> columns()
    {
        return {{.name = u"int"_s, .type = FieldType::Int, .nullable = true},
                {.name = u"int64"_s, .type = FieldType::Int64, .nullable = true},
                {.name = u"double"_s, .type = FieldType::Double, .nullable = true},
                {.name = u"decimal"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                {.name = u"xdecimal"_s, .type = FieldType::XDecimal, .nullable = true, .length = 2},
                {.name = u"varchar"_s, .type = FieldType::VarChar, .nullable = true, .length = 24},
                {.name = u"time"_s, .type = FieldType::DateTime, .nullable = true},
                {.name = u"string"_s, .type = FieldType::String, .nullable = true},
                {.name = u"required"_s, .type = FieldType::Int}};
    }
    /// A row that is absent everywhere but for one column.
    static QList<CellValue> rowWith(int column, const CellValue &value)
    {
        QList<CellValue> row(Required);
        row.append(qint32(0));
        row[column] = value;
        return row;
    }

    static QString randomText(QRandomGenerator &random)
    {
        static const QStringList starts = {u""_s, u"a"_s, u"abcd"_s, u"abcdabcd"_s, u"Ж"_s, u"😀"_s};
        QString text = starts.at(random.bounded(int(starts.size())));
        const int length = random.bounded(6);
        for (int i = 0; i < length; ++i)
            text += QChar(random.bounded(3) == 0 ? u'я' : char16_t(u'a' + random.bounded(4)));
        return text;
    }
    static QList<CellValue> randomRow(QRandomGenerator &random)
    {
        const auto orAbsent = [&random](const CellValue &value) {
            return random.bounded(8) == 0 ? CellValue() : value;
        };
        static const std::vector<double> doubles = {0.0,
                                                    -0.0,
                                                    1.5,
                                                    -1.5,
                                                    1e300,
                                                    -1e-300,
                                                    std::numeric_limits<double>::infinity(),
                                                    -std::numeric_limits<double>::infinity()};
        const int scale = random.bounded(4);
        return {orAbsent(qint32(random.bounded(-20, 20)) * 100'000'000),
                orAbsent((qint64(random.bounded(-20, 20)) << 40) + 7),
                orAbsent(doubles[size_t(random.bounded(int(doubles.size())))]),
                orAbsent(decimal::fromUnscaled(random.bounded(-30, 30) * (scale ? 10 : 1), short(scale))),
                orAbsent(xdecimal(random.bounded(-30, 30) * (scale ? 10 : 1), short(scale))),
                orAbsent(randomText(random)),
                orAbsent(datetime(qint64(random.bounded(-10, 10)) * 86'400'000)),
                orAbsent(randomText(random)),
                qint32(random.bounded(3))};
    }

    /// So that work is split also on a machine with fewer.
    QThreadPool m_pool;

private Q_SLOTS:
    void initTestCase()
    {
        m_pool.setMaxThreadCount(3);
        parallel::setThreadPool(&m_pool);
    }
    void cleanupTestCase() { parallel::setThreadPool(nullptr); }
    void init() { failOnAnyWarning(); }

    void countsAndOrdersAsAPlainMapDoes_data()
    {
        QTest::addColumn<QList<int>>("columns");
        QTest::addColumn<int>("rows");
        const QList<ColumnSpec> specs = columns();
        for (int column = 0; column < specs.size(); ++column)
            QTest::newRow(qPrintable(specs.at(column).name)) << QList<int>{column} << 3000;
        QTest::newRow("two columns") << QList<int>{String, Int} << 3000;
        QTest::newRow("three columns, one of them without absent values")
            << QList<int>{Decimal, Required, VarChar} << 3000;
        QTest::newRow("all columns") << QList<int>{Required, Int,     Double, XDecimal, DateTime,
                                                   String,   VarChar, Int64,  Decimal}
                                     << 3000;
        QTest::newRow("rows for several threads") << QList<int>{VarChar, Double} << 70'000;
    }
    void countsAndOrdersAsAPlainMapDoes()
    {
        QFETCH(QList<int>, columns);
        QFETCH(int, rows);
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        MemoryTable table(u"t"_s, tst_DistinctValues::columns());
        std::map<KeyValue, qint64> oracle;
        QList<KeyValue> keys;
        for (int i = 0; i < rows; ++i) {
            const Record row = table.append(std::span<const CellValue>(randomRow(random)));
            const KeyValue key = keyOf(row, columns);
            const bool isHidden = i % 5 == 0;
            if (!isHidden)
                ++oracle[key];
            if (i % 100 == 0)
                keys.append(key);
        }
        for (const KeyValue &key : keys)
            oracle.try_emplace(key, 0);
        std::vector<std::shared_ptr<const FilterFunc>> hiddenBy;
        std::map<const unsigned char *, int> numbers;
        for (int i = 0; i < rows; ++i)
            numbers[table.row(i).row()] = i;
        hiddenBy.push_back(std::make_shared<LambdaFilterFunc>(
            [&numbers](const Record &record) { return numbers.at(record.row()) % 5 == 0; }));

        for (const int threads : {1, 3}) {
            const auto values =
                ValueCount::run({.table = &table, .columns = columns, .hiddenBy = hiddenBy, .keys = keys},
                                {.threads = threads});

            const QByteArray about = seedMessage(seed, u"%1 threads"_s.arg(threads));
            QVERIFY2(values->size() == qsizetype(oracle.size()), about.constData());
            qsizetype i = 0;
            for (const auto &[key, count] : oracle) {
                QVERIFY2(isEqual(values->key(i), key),
                         (about + ", value " + QByteArray::number(i)).constData());
                QVERIFY2(values->count(i) == count, (about + ", count " + QByteArray::number(i)).constData());
                for (qsizetype field = 0; field < key.size(); ++field)
                    QVERIFY2(values->key(i).at(field).def == key.at(field).def, about.constData());
                ++i;
            }
            QCOMPARE(values->keyIndexes().size(), size_t(keys.size()));
            for (qsizetype k = 0; k < keys.size(); ++k)
                QVERIFY2(isEqual(values->key(values->keyIndexes()[size_t(k)]), keys.at(k)),
                         about.constData());
        }
    }

    void sortsLongTextsWithLongCommonBeginnings()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        MemoryTable table(u"t"_s, {{.name = u"s"_s, .type = FieldType::String}});
        std::map<KeyValue, qint64> oracle;
        for (int i = 0; i < 4000; ++i) {
            QString text(random.bounded(3) * 150, u'x');
            const int length = random.bounded(9);
            for (int unit = 0; unit < length; ++unit)
                text += QChar(char16_t(random.bounded(2)));
            ++oracle[keyOf(table.append({text}), {0})];
        }

        const auto values = countOf(table, {0});

        QCOMPARE(values->size(), qsizetype(oracle.size()));
        qsizetype i = 0;
        for (const auto &[key, count] : oracle) {
            QVERIFY2(isEqual(values->key(i), key), seedMessage(seed, QString::number(i)).constData());
            QCOMPARE(values->count(i), count);
            ++i;
        }
    }

    void tellsAbsentFromEmpty()
    {
        MemoryTable table(u"t"_s, columns());
        table.append(std::span<const CellValue>(rowWith(String, u""_s)));
        table.append(std::span<const CellValue>(rowWith(String, {})));
        table.append(std::span<const CellValue>(rowWith(String, {})));
        table.append(std::span<const CellValue>(rowWith(String, u"x"_s)));
        table.append(std::span<const CellValue>(rowWith(DateTime, datetime())));

        const auto strings = countOf(table, {String});
        const auto times = countOf(table, {DateTime});
        const auto both = countOf(table, {String, Required});

        QCOMPARE(shortForm(*strings), u"(нет значения)=3 (пусто)=1 x=1"_s);
        QCOMPARE(shortForm(*times), u"(нет значения)=4 (нет даты)=1"_s);
        QCOMPARE(shortForm(*both), u"(нет значения) · 0=3 (пусто) · 0=1 x · 0=1"_s);
        QVERIFY(strings->isUnwritten(0));
        QVERIFY(strings->isUnwritten(1));
        QVERIFY(!strings->isUnwritten(2));
        QVERIFY(!both->isUnwritten(0));
        QVERIFY(!strings->key(0).at(0).isPresent());
        QVERIFY(strings->key(1).at(0).isPresent());
    }

    void showsTextsInOneLine()
    {
        MemoryTable table(u"t"_s, {{.name = u"s"_s, .type = FieldType::String}});
        table.append({u"a\r\nb\tc\u0001"_s});

        QCOMPARE(countOf(table, {0})->text(0), u"a↵b c\uFFFD"_s);
        QCOMPARE(countOf(table, {0})->key(0).at(0).toString(), u"a\r\nb\tc\u0001"_s);
    }

    void putsNaNsBehindAllNumbers()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        MemoryTable table(u"t"_s, columns());
        Record last;
        for (const double value : {1.0, nan, std::numeric_limits<double>::infinity(), -nan, 0.0, -0.0, -0.0})
            last = table.append(std::span<const CellValue>(rowWith(Double, value)));

        const auto values = countOf(table, {Double});

        const QString minusZero = last.field(Double).toString();
        QCOMPARE(shortForm(*values), minusZero + u"=3 1=1 inf=1 (не число)=2"_s);
        QVERIFY(std::signbit(values->key(0).at(0).value<double>()));
        QVERIFY(values->isKey(2));
        QVERIFY(!values->isKey(3));
        QVERIFY(values->isUnwritten(3));
        QVERIFY(!countOf(table, {Required, Double})->isKey(3));
    }

    void showsTheCommonestFormOfEqualDecimals()
    {
        MemoryTable table(u"t"_s, columns());
        for (const auto &text : {u"1.5"_s, u"1.50"_s, u"1.50"_s, u"1.500"_s, u"2.0"_s, u"2"_s, u"-7"_s}) {
            QList<CellValue> row = rowWith(Decimal, decimal(text));
            row[XDecimal] = xdecimal(text);
            table.append(std::span<const CellValue>(row));
        }

        const QString commonest = decimal(u"1.50"_s).toString();
        for (const int column : {Decimal, XDecimal}) {
            const auto values = countOf(table, {column});
            QCOMPARE(shortForm(*values), u"-7=1 %1=4 2=2"_s.arg(commonest));
            QCOMPARE(values->key(1).at(0).toText(), u"1.50"_s);
        }
    }

    void listsGivenKeysInAnyCase()
    {
        MemoryTable table(u"t"_s, columns());
        table.append(std::span<const CellValue>(rowWith(Int64, qint64(5))));
        MemoryTable other(u"o"_s, {{.name = u"n"_s, .type = FieldType::Int},
                                   {.name = u"s"_s, .type = FieldType::String},
                                   {.name = u"d"_s, .type = FieldType::Double}});
        const Record row = other.append({qint32(7), u"x"_s, std::numeric_limits<double>::quiet_NaN()});

        // An Int becomes the Int64 of the column, a text that is no number does not, nor does too short a
        // key.
        const auto listed = countOf(table, {Int64}, {keyOf(row, {0}), KeyValue(), keyOf(row, {0})});
        QCOMPARE(shortForm(*listed), u"5=1 7=0"_s);
        QCOMPARE(listed->keyIndexes(), std::vector<qsizetype>({1, -1, 1}));
        QCOMPARE(listed->key(1).at(0).def, table.columnDef(Int64));

        announceReport(withTypeNames(u"Can't convert from 'x' to Int64"_s));
        QCOMPARE(countOf(table, {Int64}, {keyOf(row, {1})})->keyIndexes(), std::vector<qsizetype>{-1});
        QCOMPARE(countOf(table, {Double}, {keyOf(row, {2})})->keyIndexes(), std::vector<qsizetype>{-1});
        QCOMPARE(shortForm(*countOf(table, {VarChar}, {keyOf(row, {1})})), u"(нет значения)=1 x=0"_s);
    }

    void countsAnEmptyTable()
    {
        MemoryTable table(u"t"_s, columns());

        QCOMPARE(countOf(table, {Int})->size(), 0);
        QCOMPARE(countOf(table, {String, Int})->size(), 0);
    }

    void stopsWhenAsked()
    {
        MemoryTable table(u"t"_s, columns());
        table.append(std::span<const CellValue>(rowWith(Int, qint32(1))));
        parallel::StopSource stop;
        stop.requestStop();

        QVERIFY(isStopped(table, stop.token()));
    }

    void stopsInTheMiddle()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        for (int i = 0; i < 50'000; ++i)
            table.append({qint32(i)});
        parallel::StopSource stop;
        std::atomic<int> asked = 0;
        const auto func = std::make_shared<LambdaFilterFunc>([&](const Record &) {
            if (++asked == 10'000)
                stop.requestStop();
            return false;
        });

        QVERIFY(isStopped(table, stop.token(), {func}));

        QCOMPARE(asked.load(), 10'000);
    }

    void stopsWhileAnotherThreadHasTheLock()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        table.append({1});
        parallel::StopSource stop;
        table.lock();
        std::future<bool> answer = std::async(
            std::launch::async, [&table, token = stop.token()] { return isStopped(table, token); });
        const std::future_status before = answer.wait_for(std::chrono::milliseconds(20));

        stop.requestStop();

        const std::future_status after = answer.wait_for(std::chrono::seconds(5));
        table.unlock();
        parallel::waitForWaiters(table);
        QCOMPARE(before, std::future_status::timeout);
        QCOMPARE(after, std::future_status::ready);
        QVERIFY(answer.get());
    }

    void waitsForTheLock()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        table.lock();
        std::future<QString> form = std::async(std::launch::async, [&table] {
            return shortForm(
                *ValueCount::run({.table = &table, .columns = {0}, .hiddenBy = {}, .keys = {}}, {}));
        });
        const std::future_status before = form.wait_for(std::chrono::milliseconds(20));
        table.append({7});
        table.unlock();

        QCOMPARE(form.get(), u"7=1"_s);
        QCOMPARE(before, std::future_status::timeout);
        // The lock is free again.
        QVERIFY(std::async(std::launch::async, [&table] {
                    const bool isFree = table.tryLock();
                    if (isFree)
                        table.unlock();
                    return isFree;
                }).get());
    }

    void throwsWhatAPredicateThrowsInAnyThread_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one") << 1;
        QTest::newRow("three") << 3;
    }
    void throwsWhatAPredicateThrowsInAnyThread()
    {
        QFETCH(int, threads);
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        for (int i = 0; i < 100'000; ++i)
            table.append({qint32(i)});
        const auto func = std::make_shared<LambdaFilterFunc>(std::function<bool(const Record &)>());

        QVERIFY_THROWS_EXCEPTION(
            std::bad_function_call,
            ValueCount::run({.table = &table, .columns = {0}, .hiddenBy = {func}, .keys = {}},
                            {.threads = threads}));

        // The lock is free again.
        std::jthread([&table] { table.append({qint32(1)}); }).join();
        QCOMPARE(table.rowCount(), 100'001);
    }

    void tellsProgressInAscendingOrder()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        for (int i = 0; i < 100'000; ++i)
            table.append({qint32(i)});
        parallel::Progress progress;
        QList<int> percents;
        const auto func = std::make_shared<LambdaFilterFunc>([&](const Record &) {
            if (percents.isEmpty() || percents.last() != progress.percent())
                percents.append(progress.percent());
            return false;
        });

        ValueCount::run({.table = &table, .columns = {0}, .hiddenBy = {func}, .keys = {}},
                        {.progress = &progress});

        QVERIFY(percents.size() > 3);
        QVERIFY(std::is_sorted(percents.begin(), percents.end()));
        QCOMPARE(percents.first(), 0);
        QCOMPARE(progress.percent(), 100);
    }

    void ownsItsValues()
    {
        auto table = std::make_unique<MemoryTable>(u"t"_s, columns());
        table->append(std::span<const CellValue>(rowWith(VarChar, u"abc"_s)));
        const auto values = countOf(*table, {VarChar});

        table->clear();

        QCOMPARE(shortForm(*values), u"abc=1"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DistinctValues)
#include "tst_distinctvalues.moc"
