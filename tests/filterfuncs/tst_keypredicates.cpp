// SPDX-License-Identifier: MIT
//
// What all key predicates promise alike: their names, parents, rows and failures; which records they accept;
// that asking them allocates nothing where no text has to be made, and can be done from several threads.
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <filterfuncs/keyfilterfunc_hash.h>
#include <filterfuncs/keypredicates.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fieldtypes.h>
#include <support/objectlayout.h>
#include <support/typenames.h>

#include <QPointer>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <cmath>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "keyfixtures.h"
#include "predicatefixtures.h"
#include "textcost.h"

using namespace Qt::StringLiterals;
using namespace fieldtypes;

namespace {

/// A table of an Int, and in the keys a text that becomes one.
struct Numbers
{
    MemoryTable table{u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}}};
    MemoryTable texts{u"texts"_s, {{u"a"_s, String}}};

    Record row(int number) { return table.append({qint32(number), qint32(5)}); }
    KeyValue key(int number) { return keyOf(row(number), {0}); }
    KeyValue key(const QString &text) { return keyOf(texts.append({text}), {0}); }
};

} // namespace

class TestKeyPredicates : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void areNamedByTheirClass_data() { addPredicates(); }
    void areNamedByTheirClass();
    void belongToTheirParent_data() { addPredicates(); }
    void belongToTheirParent();
    void rejectEverythingWithoutKeys_data() { addPredicates(); }
    void rejectEverythingWithoutKeys();
    void keepDuplicatesAndTheOrderOfTheKeys_data() { addPredicates(); }
    void keepDuplicatesAndTheOrderOfTheKeys();
    void areCopies_data() { addPredicates(); }
    void areCopies();
    void giveTheirRowsBack_data() { addPredicates(); }
    void giveTheirRowsBack();
    void areNotMadeOfKeysThatCannotBeConverted_data() { addPredicates(); }
    void areNotMadeOfKeysThatCannotBeConverted();
    void acceptEverythingWithKeysButNoColumns();
    void theQuickestDependsOnTheNumberOfKeys();
    void acceptRecordsThatEqualOneOfTheKeys_data() { addPredicates(); }
    void acceptRecordsThatEqualOneOfTheKeys();
    void findEachOfManyKeys_data();
    void findEachOfManyKeys();
    void allocateNothingInFilter_data() { addPredicates(); }
    void allocateNothingInFilter();
    void canBeAskedBySeveralThreads();

private:
    static void addPredicates();
};

void TestKeyPredicates::addPredicates()
{
    addComparingPredicates();
    QTest::newRow("fast") << Make(makeOf<KeyFilterFunc_Fast>) << u"KeyFilterFunc_Fast"_s;
}

void TestKeyPredicates::areNamedByTheirClass()
{
    QFETCH(const Make, make);
    QFETCH(const QString, name);
    Numbers numbers;

    const std::unique_ptr<FilterFunc> func(make(&numbers.table, {}, {0}, nullptr));

    QCOMPARE(func->toString(), name);
    QCOMPARE(func->parent(), nullptr);
}

void TestKeyPredicates::belongToTheirParent()
{
    QFETCH(const Make, make);
    Numbers numbers;
    auto parent = std::make_unique<QObject>();
    const QPointer<FilterFunc> func = make(&numbers.table, {}, {0}, parent.get());
    QCOMPARE(func->parent(), parent.get());

    parent.reset();

    QVERIFY(func.isNull());
}

void TestKeyPredicates::rejectEverythingWithoutKeys()
{
    QFETCH(const Make, make);
    Numbers numbers;
    const std::unique_ptr<FilterFunc> func(make(&numbers.table, {}, {0}, nullptr));

    QVERIFY(!func->filter(numbers.row(0)));
    QVERIFY(!func->filter(numbers.row(1)));
}

void TestKeyPredicates::acceptEverythingWithKeysButNoColumns()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int, true}});
    const Record row = table.append({qint32(0)});
    const Record none = table.append({CellValue()});
    for (const Make make : {Make(makeOf<KeyFilterFunc>), Make(makeOf<KeyFilterFunc_Hash>)}) {
        const std::unique_ptr<FilterFunc> without(make(&table, {}, {}, nullptr));
        QVERIFY(!without->filter(row));
        const QList<QList<KeyValue>> lists{{KeyValue()}, {keyOf(row, {0}), keyOf(row, {0})}};
        for (const QList<KeyValue> &keys : lists) {
            const std::unique_ptr<FilterFunc> func(make(&table, keys, {}, nullptr));
            QVERIFY(func->filter(row));
            QVERIFY(func->filter(none));
        }
    }
}

void TestKeyPredicates::keepDuplicatesAndTheOrderOfTheKeys()
{
    QFETCH(const Make, make);
    Numbers numbers;
    const int numbersGiven[] = {3, 1, 2, 1};
    QList<KeyValue> keys;
    for (const int number : numbersGiven)
        keys.append(numbers.key(number));

    const std::unique_ptr<FilterFunc> func(make(&numbers.table, keys, {0}, nullptr));

    const auto *rows = memberAt<const Record *>(*func, sizeof(QObject) + 16);
    QCOMPARE(memberAt<qsizetype>(*func, sizeof(QObject) + 24), 4);
    for (size_t i = 0; i < std::size(numbersGiven); ++i) {
        QCOMPARE(rows[i].field(0).value<qint32>(), numbersGiven[i]);
        QVERIFY(func->filter(numbers.row(numbersGiven[i])));
    }
    QVERIFY(rows[1].row() != rows[3].row());
    QVERIFY(!func->filter(numbers.row(4)));
}

void TestKeyPredicates::areCopies()
{
    QFETCH(const Make, make);
    Numbers numbers;
    const Record one = numbers.row(1);
    QList<KeyValue> keys{keyOf(one, {0})};
    QList<int> columns{0};
    const std::unique_ptr<FilterFunc> func(make(&numbers.table, keys, columns, nullptr));

    keys.append(numbers.key(2));
    columns[0] = 1;
    numbers.table.update(one, 0, qint32(3));

    QVERIFY(!func->filter(numbers.row(2)));
    QVERIFY(!func->filter(one));
    QVERIFY(func->filter(numbers.row(1)));
}

void TestKeyPredicates::giveTheirRowsBack()
{
    QFETCH(const Make, make);
    Numbers numbers;
    const QList<KeyValue> keys(5, numbers.key(1));
    std::unique_ptr<FilterFunc> func(make(&numbers.table, keys, {0}, nullptr));
    QCOMPARE(numbers.table.liveRowCount(), 6);
    QCOMPARE(numbers.table.rowCount(), 1);

    func.reset();

    QCOMPARE(numbers.table.liveRowCount(), 1);
}

void TestKeyPredicates::areNotMadeOfKeysThatCannotBeConverted()
{
    QFETCH(const Make, make);
    Numbers numbers;
    QObject parent;
    const QList<KeyValue> keys{numbers.key(u"12"_s), numbers.key(u"12x"_s), numbers.key(u"12"_s)};

    QCOMPARE(exceptionMessage([&] { make(&numbers.table, keys, {0}, &parent); }),
             withTypeNames(u"Can't convert from '12x' to Int"_s));
    QCOMPARE(exceptionMessage([&] { make(&numbers.table, {KeyValue()}, {0}, &parent); }),
             u"Key of 0 values for 1 columns"_s);

    QCOMPARE(numbers.table.liveRowCount(), 0);
    QVERIFY(parent.children().isEmpty());
}

void TestKeyPredicates::theQuickestDependsOnTheNumberOfKeys()
{
    Numbers numbers;
    QList<KeyValue> keys;
    for (int i = 0; i < 100; ++i)
        keys.append(numbers.key(2 * i));
    const auto classOf = [&](qsizetype count) {
        const std::unique_ptr<FilterFunc> func(
            keypredicates::makeQuickest(&numbers.table, keys.first(count), {0}));
        return func->toString();
    };

    QCOMPARE(classOf(1), u"KeyFilterFunc"_s);
    QCOMPARE(classOf(63), u"KeyFilterFunc"_s);
    QCOMPARE(classOf(64), u"KeyFilterFunc_Hash"_s);
    QCOMPARE(classOf(100), u"KeyFilterFunc_Hash"_s);

    const std::unique_ptr<FilterFunc> many(keypredicates::makeQuickest(&numbers.table, keys, {0}));
    for (int i = 0; i < 200; ++i)
        QCOMPARE(many->filter(numbers.row(i)), i % 2 == 0);
}

void TestKeyPredicates::acceptRecordsThatEqualOneOfTheKeys()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, VarChar, false, 5}, {u"c"_s, String}});
    const auto row = [&table](int number, const QString &text) {
        return table.append({qint32(number), text, text});
    };
    const Record one = row(1, u"a"_s);
    const Record two = row(2, u"ab"_s);
    const Record three = row(3, u"abcde"_s);
    const Record mixed = row(1, u"ab"_s);
    const Record upper = row(1, u"A"_s);
    const Record twoAgain = row(2, u"ab"_s);
    const Record changing = row(9, u"zzzzz"_s);
    QList<QList<int>> columnLists{{0, 1}};
    if (make != Make(makeOf<KeyFilterFunc_Fast>)) // refuses a String
        columnLists.append({0, 2});

    for (const QList<int> &columns : std::as_const(columnLists)) {
        const Predicate func(make, &table, {keyOf(one, columns), keyOf(two, columns), keyOf(three, columns)},
                             columns);

        QVERIFY(func.filter(one));
        QVERIFY(func.filter(two));
        QVERIFY(func.filter(twoAgain));
        QVERIFY(func.filter(three));
        QVERIFY(!func.filter(mixed));
        QVERIFY(!func.filter(upper));
        QVERIFY(!func.filter(changing));
        table.update(changing, {{0, qint32(2)}, {1, u"ab"_s}, {2, u"ab"_s}});
        table.update(changing, {{3 - columns.last(), u"other"_s}});
        QVERIFY(func.filter(changing));
        table.update(changing, {{0, qint32(9)}, {1, u"zzzzz"_s}, {2, u"zzzzz"_s}});
    }
}

void TestKeyPredicates::findEachOfManyKeys_data()
{
    QTest::addColumn<Make>("make");
    QTest::addColumn<QList<int>>("columns");
    const std::pair<const char *, Make> predicates[] = {{"general", makeOf<KeyFilterFunc>},
                                                        {"hash", makeOf<KeyFilterFunc_Hash>},
                                                        {"quickest", keypredicates::makeQuickest},
                                                        {"fast", makeOf<KeyFilterFunc_Fast>}};
    struct Columns
    {
        const char *name;
        QList<int> columns;
        bool suitFast = false;
    };
    const Columns lists[] = {{"int", {0}, true},
                             {"int64 that differs in the upper half", {1}, true},
                             {"double", {2}},
                             {"decimal", {3}, true},
                             {"xdecimal", {4}},
                             {"varchar", {5}, true},
                             {"datetime", {6}, true},
                             {"string that differs in the middle", {7}},
                             {"nothing that tells keys apart but the last", {8, 9, 1}},
                             {"two that tell keys apart together", {10, 11}, true},
                             {"all", {9, 8, 7, 6, 5, 4, 3, 2, 1, 0}}};
    for (const auto &[name, make] : predicates) {
        for (const Columns &list : lists) {
            if (list.suitFast || make != Make(makeOf<KeyFilterFunc_Fast>))
                QTest::addRow("%s, %s", name, list.name) << make << list.columns;
        }
    }
}

void TestKeyPredicates::findEachOfManyKeys()
{
    // Every number of keys meets the ends of whatever blocks they are looked at in.
    QFETCH(const Make, make);
    QFETCH(const QList<int>, columns);
    MemoryTable table(u"t"_s, {{u"a"_s, Int},
                               {u"b"_s, Int64},
                               {u"c"_s, Double},
                               {u"d"_s, Decimal, false, 2},
                               {u"e"_s, XDecimal, false, 2},
                               {u"f"_s, VarChar, false, 9},
                               {u"g"_s, DateTime},
                               {u"h"_s, String},
                               {u"i"_s, Raw, false, 2},
                               {u"j"_s, Int, true},
                               {u"k"_s, Int},
                               {u"l"_s, Int}});
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 330; ++i) {
        rows.append(
            table.append({qint32(i), qint64(i) << 40, i / 8.0, decimal::fromUnscaled(i, 2), xdecimal(i, 2),
                          u"T%1"_s.arg(i), datetime(i * qint64(86400000)), u"Text %1 of some"_s.arg(i, 3),
                          QByteArray("ab"), CellValue(), qint32(i % 17), qint32(i / 17)}));
        keys.append(keyOf(rows.last(), columns));
    }
    for (int count = 0; count <= 330; count += count < 140 ? 1 : 19) {
        const Predicate func(make, &table, keys.first(count), columns);
        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(func.filter(rows[i]), i < count);
    }
}

void TestKeyPredicates::allocateNothingInFilter()
{
    QFETCH(const Make, make);
    const QList<ColumnSpec> specs{
        {u"int"_s, Int, true},       {u"int64"_s, Int64},         {u"double"_s, Double},
        {u"decimal"_s, Decimal},     {u"xdecimal"_s, XDecimal},   {u"text"_s, VarChar, true, 40},
        {u"date"_s, DateTime, true}, {u"string"_s, String, true}, {u"raw"_s, Raw, false, 3},
        {u"block"_s, Block},         {u"number"_s, Int},          {u"word"_s, VarChar, false, 20},
        {u"long"_s, Int64}};
    MemoryTable table(u"t"_s, specs);
    MemoryTable other(u"other"_s, specs);
    const auto values = [](int i) {
        return QList<CellValue>{i % 3 ? CellValue(qint32(i)) : CellValue(),
                                qint64(i),
                                i % 4 ? double(i) : std::nan(""),
                                decimal::fromUnscaled(i * 10, short(i % 3)),
                                xdecimal(i * 10, short(i % 3)),
                                u"a longer text, which no small storage holds"_s.left(30) +
                                    QString::number(i),
                                datetime(i),
                                u"another text that is rather long "_s + QString::number(i),
                                QByteArray(3, char(i)),
                                QByteArray(FieldType::blockSize, char(i)),
                                qint32(i),
                                QString::number(i * 1000000),
                                qint64(i)};
    };
    QList<Record> rows;
    for (int i = 0; i < 100; ++i) {
        rows.append(table.append(values(i)));
        rows.append(other.append(values(i)));
    }
    // Each column alone, then all of them and some; few keys and many.
    QList<QList<int>> columnLists{{10}, {10, 11}, {10, 11, 12}};
    if (make != Make(makeOf<KeyFilterFunc_Fast>)) {
        for (int column = 0; column < 10; ++column)
            columnLists.append(QList<int>{column});
        columnLists.append({{5, 7, 4, 3, 2, 1, 0, 6, 8, 9}, {0, 7, 5, 2, 4, 3}});
    }
    for (const QList<int> &columns : std::as_const(columnLists)) {
        for (const int count : {1, 5, 50, 100}) {
            QList<KeyValue> keys;
            for (int i = 0; i < count; ++i)
                keys.append(keyOf(rows[2 * i], columns));
            const Predicate func(make, &table, keys, columns);

            const AllocationCounter allocations;
            int accepted = 0;
            for (const Record &row : std::as_const(rows))
                accepted += func.filter(row);

            const qint64 allocated = allocations.count();
            QVERIFY(allocated == 0 || comparisonAllocates(rows.first(), columns));
            QVERIFY(accepted >= 2 * count);
            // No two rows share several values.
            QVERIFY(columns.size() == 1 || accepted == 2 * count);
        }
    }
}

void TestKeyPredicates::canBeAskedBySeveralThreads()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int},
                               {u"b"_s, Int64},
                               {u"c"_s, Decimal, false, 2},
                               {u"d"_s, VarChar, false, 9},
                               {u"e"_s, DateTime},
                               {u"f"_s, String},
                               {u"g"_s, XDecimal, true, 2},
                               {u"h"_s, Double}});
    const QList<int> plainColumns{0, 1, 2, 3, 4};
    const QList<int> allColumns{7, 6, 5, 4, 3, 2, 1, 0};
    QList<Record> rows;
    QList<KeyValue> plainKeys;
    QList<KeyValue> allKeys;
    for (int i = 0; i < 600; ++i) {
        rows.append(
            table.append({qint32(i / 4), qint64(i) << 32, decimal::fromUnscaled(i, 2), u"N%1"_s.arg(i),
                          datetime(i), u"A longer text %1"_s.arg(i),
                          i % 3 ? CellValue(xdecimal(i, 2)) : CellValue(), i % 50 ? i / 2.0 : std::nan("")}));
        if (i % 2 == 0) {
            plainKeys.append(keyOf(rows.last(), plainColumns));
            allKeys.append(keyOf(rows.last(), allColumns));
        }
    }
    const KeyFilterFunc func(&table, allKeys, allColumns);
    const KeyFilterFunc plainFunc(&table, plainKeys, plainColumns);
    const KeyFilterFunc_Fast fast(&table, plainKeys, plainColumns);
    const KeyFilterFunc_Hash hash(&table, allKeys, allColumns);
    const FilterFunc *predicates[] = {&func, &plainFunc, &fast, &hash};
    std::atomic<int> wrong[std::size(predicates)] = {};
    std::atomic<int> ready = 0;
    constexpr int threadCount = 3;

    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&] {
            // All start together: a thread is otherwise done before the next one is there.
            ++ready;
            while (ready < threadCount)
                std::this_thread::yield();
            for (qsizetype i = 0; i < rows.size(); ++i) {
                for (size_t p = 0; p < std::size(predicates); ++p)
                    wrong[p] += predicates[p]->filter(std::as_const(rows)[i]) != (i % 2 == 0);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    for (size_t p = 0; p < std::size(predicates); ++p)
        QVERIFY2(wrong[p] == 0, qPrintable(predicates[p]->toString()));
}

QTEST_APPLESS_MAIN(TestKeyPredicates)
#include "tst_keypredicates.moc"
