// SPDX-License-Identifier: MIT
//
// What all key predicates promise alike: their names, parents, rows and failures; which records they accept;
// that asking them allocates nothing where no text has to be made, and can be done from several threads. Those
// that compare as Field::compare() does, all but the fast one, promise more: the same answers for every type.
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
#include "textcost.h"

using namespace Qt::StringLiterals;
using namespace fieldtypes;

namespace {

using Make = FilterFunc *(*)(Table *, const QList<KeyValue> &, const QList<int> &, QObject *);

template <typename Predicate>
FilterFunc *makeOf(Table *table, const QList<KeyValue> &keys, const QList<int> &columns, QObject *parent)
{
    return new Predicate(table, keys, columns, parent);
}

/// A predicate of any class.
class Predicate
{
public:
    Predicate(Make make, Table *table, const QList<KeyValue> &keys, const QList<int> &columns)
        : m_func(make(table, keys, columns, nullptr))
    {
    }

    bool filter(const Record &record) const { return m_func->filter(record); }

private:
    const std::unique_ptr<FilterFunc> m_func;
};

CellValue text(const char16_t *characters)
{
    return QString::fromUtf16(characters);
}

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

Q_DECLARE_METATYPE(Make)

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

    // Those that compare as Field::compare() does.

    void lookAtTheKeyColumnsOnly_data() { addComparingPredicates(); }
    void lookAtTheKeyColumnsOnly();
    void matchAbsentWithAbsentAlone_data() { addComparingPredicates(); }
    void matchAbsentWithAbsentAlone();
    void matchANanWithEveryDouble_data() { addComparingPredicates(); }
    void matchANanWithEveryDouble();
    void findRowsAmongKeysWithANan_data() { addComparingPredicates(); }
    void findRowsAmongKeysWithANan();
    void testKeysWithANanApart_data() { addComparingPredicates(); }
    void testKeysWithANanApart();
    void compareRowsWithANanWithAllKeys_data() { addComparingPredicates(); }
    void compareRowsWithANanWithAllKeys();
    void matchDecimalsByTheirNumber_data() { addComparingPredicates(); }
    void matchDecimalsByTheirNumber();
    void matchDecimalsOfAnyScale_data() { addComparingPredicates(); }
    void matchDecimalsOfAnyScale();
    void findDecimalsOfOtherScalesAmongManyKeys_data() { addComparingPredicates(); }
    void findDecimalsOfOtherScalesAmongManyKeys();
    void tellDecimalsApartThatShareADouble_data() { addComparingPredicates(); }
    void tellDecimalsApartThatShareADouble();
    void matchNeverOrderedValuesByTheirPresence_data() { addComparingPredicates(); }
    void matchNeverOrderedValuesByTheirPresence();
    void matchVarCharWithString_data() { addComparingPredicates(); }
    void matchVarCharWithString();
    void matchTextsOfOtherTables_data() { addComparingPredicates(); }
    void matchTextsOfOtherTables();
    void tellTextsOfAnyLengthApart_data() { addComparingPredicates(); }
    void tellTextsOfAnyLengthApart();
    void doNotMatchOtherTypes_data() { addComparingPredicates(); }
    void doNotMatchOtherTypes();
    void findKeysThatShareTheirValues_data() { addComparingPredicates(); }
    void findKeysThatShareTheirValues();

private:
    static void addPredicates();
    static void addComparingPredicates();
};

void TestKeyPredicates::addPredicates()
{
    addComparingPredicates();
    QTest::newRow("fast") << Make(makeOf<KeyFilterFunc_Fast>) << u"KeyFilterFunc_Fast"_s;
}

void TestKeyPredicates::addComparingPredicates()
{
    QTest::addColumn<Make>("make");
    QTest::addColumn<QString>("name");
    QTest::newRow("general") << Make(makeOf<KeyFilterFunc>) << u"KeyFilterFunc"_s;
    QTest::newRow("hash") << Make(makeOf<KeyFilterFunc_Hash>) << u"KeyFilterFunc_Hash"_s;
    QTest::newRow("quickest") << Make(keypredicates::makeQuickest) << u"KeyFilterFunc"_s;
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

void TestKeyPredicates::lookAtTheKeyColumnsOnly()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}, {u"c"_s, Int}});
    const Record row = table.append({qint32(1), qint32(2), qint32(3)});
    const Record other = table.append({qint32(9), qint32(2), qint32(3)});
    const Record swapped = table.append({qint32(1), qint32(3), qint32(2)});
    const Predicate func(make, &table, {keyOf(row, {2, 1})}, {2, 1});

    QVERIFY(func.filter(row));
    QVERIFY(func.filter(other));
    QVERIFY(!func.filter(swapped));
}

void TestKeyPredicates::matchAbsentWithAbsentAlone()
{
    QFETCH(const Make, make);
    const CellValue present[] = {
        qint32(0), qint64(0),   0.0,       decimal(),           xdecimal(),
        text(u""), datetime(0), text(u""), QByteArray(4, '\0'), QByteArray(FieldType::blockSize, '\0')};
    const ColumnSpec specs[] = {{u"c"_s, Int, true},      {u"c"_s, Int64, true},
                                {u"c"_s, Double, true},   {u"c"_s, Decimal, true},
                                {u"c"_s, XDecimal, true}, {u"c"_s, VarChar, true, 5},
                                {u"c"_s, DateTime, true}, {u"c"_s, String, true},
                                {u"c"_s, Raw, true, 4},   {u"c"_s, Block, true}};
    for (size_t i = 0; i < std::size(specs); ++i) {
        MemoryTable table(u"t"_s, {specs[i]});
        const Record some = table.append({present[i]});
        const Record none = table.append({CellValue()});
        const Predicate absentKey(make, &table, {keyOf(none, {0})}, {0});
        const Predicate presentKey(make, &table, {keyOf(some, {0})}, {0});
        const Predicate both(make, &table, {keyOf(none, {0}), keyOf(some, {0})}, {0});

        QVERIFY(absentKey.filter(none));
        QVERIFY(!absentKey.filter(some));
        QVERIFY(!presentKey.filter(none));
        QVERIFY(presentKey.filter(some));
        QVERIFY(both.filter(none));
        QVERIFY(both.filter(some));
    }
}

void TestKeyPredicates::matchANanWithEveryDouble()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record nan = table.append({std::nan(""), qint32(1)});
    const Record five = table.append({5.0, qint32(1)});
    const Record minus = table.append({-0.0, qint32(1)});
    const Record plus = table.append({0.0, qint32(1)});
    const Record infinite = table.append({HUGE_VAL, qint32(1)});
    const Record none = table.append({CellValue(), qint32(1)});
    const Record nanTwo = table.append({std::nan(""), qint32(2)});
    const Predicate isNan(make, &table, {keyOf(nan, {0, 1})}, {0, 1});
    const Predicate isFive(make, &table, {keyOf(five, {0, 1})}, {0, 1});
    const Predicate isZero(make, &table, {keyOf(plus, {0, 1})}, {0, 1});
    const Predicate isInfinite(make, &table, {keyOf(infinite, {0, 1})}, {0, 1});

    for (const Record *row : {&nan, &five, &minus, &plus, &infinite})
        QVERIFY(isNan.filter(*row));
    for (const Predicate *func : {&isNan, &isFive, &isZero, &isInfinite}) {
        QVERIFY(func->filter(nan));
        QVERIFY(!func->filter(none));
        QVERIFY(!func->filter(nanTwo));
    }
    QVERIFY(!isFive.filter(plus));
    QVERIFY(isZero.filter(minus));
    QVERIFY(isInfinite.filter(infinite));
    QVERIFY(!isInfinite.filter(five));
}

void TestKeyPredicates::findRowsAmongKeysWithANan()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Double}, {u"b"_s, Int}});
    QList<KeyValue> both;
    QList<KeyValue> doubles;
    QList<KeyValue> doublesAndNan;
    for (int i = 0; i < 100; ++i) {
        const Record row = table.append({i == 50 ? std::nan("") : double(i), qint32(i % 10)});
        both.append(keyOf(row, {0, 1}));
        doublesAndNan.append(keyOf(row, {0}));
        if (i != 50)
            doubles.append(keyOf(row, {0}));
    }
    const Record seven = table.append({7.0, qint32(7)});
    const Record sevenEight = table.append({7.0, qint32(8)});
    const Record thousandZero = table.append({1000.0, qint32(0)});
    const Record nanZero = table.append({std::nan(""), qint32(0)});
    const Record nanTen = table.append({std::nan(""), qint32(10)});
    const Predicate func(make, &table, both, {0, 1});
    const Predicate withoutNan(make, &table, doubles, {0});
    const Predicate withNan(make, &table, doublesAndNan, {0});

    QVERIFY(func.filter(seven));
    QVERIFY(!func.filter(sevenEight));
    QVERIFY(func.filter(thousandZero));
    QVERIFY(func.filter(nanZero));
    QVERIFY(!func.filter(nanTen));
    QVERIFY(withoutNan.filter(seven));
    QVERIFY(!withoutNan.filter(thousandZero));
    QVERIFY(withoutNan.filter(nanTen));
    QVERIFY(withNan.filter(thousandZero));
}

void TestKeyPredicates::testKeysWithANanApart()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record nan = table.append({std::nan(""), qint32(1)});
    const Record five = table.append({5.0, qint32(2)});
    const Record fiveOne = table.append({5.0, qint32(1)});
    const Record fiveThree = table.append({5.0, qint32(3)});
    const Record noneOne = table.append({CellValue(), qint32(1)});

    const Predicate func(make, &table, {keyOf(five, {0, 1}), keyOf(nan, {0, 1})}, {0, 1});
    const Predicate onlyNan(make, &table, {keyOf(nan, {0, 1})}, {0, 1});

    QVERIFY(func.filter(five));
    QVERIFY(func.filter(fiveOne));
    QVERIFY(!func.filter(fiveThree));
    QVERIFY(!func.filter(noneOne));
    QVERIFY(func.filter(nan));
    QVERIFY(onlyNan.filter(fiveOne));
    QVERIFY(!onlyNan.filter(five));
    QVERIFY(onlyNan.filter(nan));
    QVERIFY(!onlyNan.filter(noneOne));
}

void TestKeyPredicates::compareRowsWithANanWithAllKeys()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record five = table.append({5.0, qint32(2)});
    const Record none = table.append({CellValue(), qint32(3)});
    const Record nanTwo = table.append({std::nan(""), qint32(2)});
    const Record nanThree = table.append({-std::nan(""), qint32(3)});
    const Record negativeZero = table.append({-0.0, qint32(4)});
    const Record zero = table.append({0.0, qint32(4)});

    const Predicate func(make, &table,
                         {keyOf(five, {0, 1}), keyOf(none, {0, 1}), keyOf(negativeZero, {0, 1})}, {0, 1});

    QVERIFY(func.filter(nanTwo));
    QVERIFY(!func.filter(nanThree));
    QVERIFY(func.filter(none));
    QVERIFY(func.filter(zero));
}

void TestKeyPredicates::matchDecimalsByTheirNumber()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, false, 2}, {u"b"_s, XDecimal, false, 2}});
    const Record row = table.append({decimal::fromUnscaled(150, 2), xdecimal(150, 2)});
    const Record shorter = table.append({decimal::fromUnscaled(15, 1), xdecimal(15, 1)});
    const Record longer = table.append({decimal::fromUnscaled(15000, 4), xdecimal(1500000, 6)});
    const Record other = table.append({decimal::fromUnscaled(151, 2), xdecimal(150, 2)});
    const Record negative = table.append({decimal::fromUnscaled(-150, 2), xdecimal(150, 2)});
    const Record tenfold = table.append({decimal::fromUnscaled(150, 1), xdecimal(150, 1)});

    for (const Record *key : {&row, &shorter, &longer}) {
        const Predicate func(make, &table, {keyOf(*key, {0, 1})}, {0, 1});
        QVERIFY(func.filter(row));
        QVERIFY(func.filter(shorter));
        QVERIFY(func.filter(longer));
        QVERIFY(!func.filter(other));
        QVERIFY(!func.filter(negative));
        QVERIFY(!func.filter(tenfold));
    }
}

void TestKeyPredicates::matchDecimalsOfAnyScale()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, true, 2}, {u"b"_s, XDecimal, true, 2}});
    const auto row = [&](qint64 unscaled, short scale) {
        return table.append({decimal::fromUnscaled(unscaled, scale), xdecimal(unscaled, scale)});
    };
    const Record key = row(150, 2);
    const Record same[] = {row(15, 1), row(150, 2), row(15000000, 7)};
    const Record other[] = {row(15, 2), row(1500000001, 9), row(-150, 2), row(15, -1),
                            row(0, 0),  row(1, -64),        row(1, 63)};
    const Record zero = row(0, 5);

    const Predicate oneScale(make, &table, {keyOf(key, {0, 1})}, {0, 1});
    const Predicate twoScales(make, &table, {keyOf(zero, {0, 1}), keyOf(same[2], {0, 1})}, {0, 1});

    for (const Record &record : same) {
        QVERIFY(oneScale.filter(record));
        QVERIFY(twoScales.filter(record));
    }
    for (const Record &record : other) {
        QVERIFY(!oneScale.filter(record));
        QCOMPARE(twoScales.filter(record), record == other[4]);
    }
}

void TestKeyPredicates::findDecimalsOfOtherScalesAmongManyKeys()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, true, 2}});
    const auto row = [&](qint64 unscaled, short scale) {
        return table.append({decimal::fromUnscaled(unscaled, scale)});
    };
    const Record none = table.append({CellValue()});
    QList<KeyValue> oneScale{keyOf(none, {0})};
    QList<KeyValue> scales{keyOf(none, {0})};
    for (int i = -100; i < 100; ++i) {
        oneScale.append(keyOf(row(i * 10, 2), {0}));
        scales.append(keyOf(i % 2 ? row(i, 1) : row(i * 1000, 4), {0}));
    }
    const Predicate ofOneScale(make, &table, oneScale, {0});
    const Predicate ofScales(make, &table, scales, {0});

    for (const Predicate *func : {&ofOneScale, &ofScales}) {
        QVERIFY(func->filter(none));
        for (int i = -100; i < 100; ++i) {
            QVERIFY(func->filter(row(i, 1)));
            QVERIFY(func->filter(row(i * 10, 2)));
            QVERIFY(func->filter(row(i * qint64(1000000), 7)));
            QVERIFY(!func->filter(row(i * 10 + 1, 2)));
            QVERIFY(!func->filter(row(i * 10000 + 1, 5)));
        }
        QVERIFY(func->filter(row(1, 0)));
        QVERIFY(func->filter(row(0, 63)));
        QVERIFY(func->filter(row(-1, 0)));
        QVERIFY(!func->filter(row(1, -64)));
        QVERIFY(!func->filter(row(1, 63)));
        QVERIFY(!func->filter(row(decimal::minUnscaled, 0)));
        QVERIFY(!func->filter(row(decimal::maxUnscaled, 0)));
    }

    // The same number at the smallest scale there is.
    scales.append(keyOf(row(10, -63), {0}));
    const Predicate withLargest(make, &table, scales, {0});
    QVERIFY(withLargest.filter(row(10, -63)));
    QVERIFY(withLargest.filter(row(1, -64)));
    QVERIFY(!withLargest.filter(row(10, -64)));
    QVERIFY(!withLargest.filter(row(1, -63)));
}

void TestKeyPredicates::tellDecimalsApartThatShareADouble()
{
    QFETCH(const Make, make);
    // 56 bits and more: beyond what a double can tell apart.
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, false, 2}, {u"b"_s, XDecimal, false, 2}});
    const qint64 large = decimal::maxUnscaled - 4000;
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 4000; ++i) {
        rows.append(table.append(
            {decimal::fromUnscaled(large + i, i % 4 == 0 ? 2 : 3), xdecimal(large * 64 + i, 2)}));
        if (i % 2 == 0)
            keys.append(keyOf(rows.last(), {0, 1}));
    }
    for (const QList<int> &columns : {QList<int>{0}, QList<int>{1}}) {
        QList<KeyValue> columnKeys;
        for (const KeyValue &key : std::as_const(keys))
            columnKeys.append(KeyValue{key[columns.first()]});

        const Predicate func(make, &table, columnKeys, columns);

        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(func.filter(rows[i]), i % 2 == 0);
    }
}

void TestKeyPredicates::matchNeverOrderedValuesByTheirPresence()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, Raw, true, 2}, {u"b"_s, Block, true}});
    const QByteArray zeros(FieldType::blockSize, '\0');
    const QByteArray ones(FieldType::blockSize, '\1');
    const Record row = table.append({QByteArray("ab"), zeros});
    const Record other = table.append({QByteArray("cd"), ones});
    const Record none = table.append({QByteArray("cd"), CellValue()});
    const Predicate func(make, &table, {keyOf(row, {0, 1})}, {0, 1});

    QVERIFY(func.filter(row));
    QVERIFY(func.filter(other));
    QVERIFY(!func.filter(none));
}

void TestKeyPredicates::matchVarCharWithString()
{
    QFETCH(const Make, make);
    MemoryTable fixed(u"fixed"_s, {{u"a"_s, VarChar, false, 8}});
    MemoryTable free(u"free"_s, {{u"a"_s, String}});
    const Record fixedRow = fixed.append({text(u"слово")});
    const Record freeRow = free.append({text(u"слово")});
    const Record fixedOther = fixed.append({text(u"слова")});
    const Record freeOther = free.append({text(u"словоо")});
    const Predicate fixedKey(make, &fixed, {keyOf(freeRow, {0})}, {0});
    const Predicate freeKey(make, &free, {keyOf(fixedRow, {0})}, {0});

    for (const Predicate *func : {&fixedKey, &freeKey}) {
        QVERIFY(func->filter(fixedRow));
        QVERIFY(func->filter(freeRow));
        QVERIFY(!func->filter(fixedOther));
        QVERIFY(!func->filter(freeOther));
    }
}

void TestKeyPredicates::matchTextsOfOtherTables()
{
    QFETCH(const Make, make);
    MemoryTable fixed(u"fixed"_s, {{u"a"_s, VarChar, true, 8}});
    MemoryTable free(u"free"_s, {{u"a"_s, String, true}});
    MemoryTable numbers(u"numbers"_s, {{u"a"_s, Int, true}});
    for (const QString &text : {u""_s, u"a"_s, u"слово"_s, u"12345678"_s}) {
        const Record fixedRow = fixed.append({text});
        const Record freeRow = free.append({text});
        const Predicate fixedKey(make, &fixed, {keyOf(fixedRow, {0})}, {0});
        const Predicate freeKey(make, &free, {keyOf(freeRow, {0})}, {0});
        for (const Predicate *func : {&fixedKey, &freeKey}) {
            QVERIFY(func->filter(fixedRow));
            QVERIFY(func->filter(freeRow));
            QVERIFY(!func->filter(fixed.append({u"other"_s})));
            QVERIFY(!func->filter(free.append({u"other"_s})));
            QVERIFY(!func->filter(free.append({CellValue()})));
            QVERIFY(!func->filter(numbers.append({qint32(1)})));
            QVERIFY(!func->filter(numbers.append({CellValue()})));
        }
    }
}

void TestKeyPredicates::tellTextsOfAnyLengthApart()
{
    QFETCH(const Make, make);
    MemoryTable table(u"t"_s, {{u"a"_s, String}});
    const Record row = table.append({QString()});
    const QString base = u"a text with which all others begin"_s;
    QList<KeyValue> keys;
    for (int length = 0; length < base.size(); ++length) {
        table.update(row, 0, base.left(length));
        keys.append(keyOf(row, {0}));
    }
    const Predicate func(make, &table, keys, {0});

    for (int length = 0; length < base.size(); ++length) {
        table.update(row, 0, base.left(length));
        QVERIFY(func.filter(row));
        for (int i = 0; i < length; ++i) {
            QString changed = base.left(length);
            changed[i] = QChar(changed[i].unicode() + 0x100);
            table.update(row, 0, changed);
            QVERIFY(!func.filter(row));
        }
    }
    table.update(row, 0, base);
    QVERIFY(!func.filter(row));
}

void TestKeyPredicates::doNotMatchOtherTypes()
{
    QFETCH(const Make, make);
    MemoryTable narrow(u"narrow"_s, {{u"a"_s, Int, true}});
    MemoryTable wide(u"wide"_s, {{u"a"_s, Int64, true}});
    MemoryTable texts(u"texts"_s, {{u"a"_s, String, true}});
    const Record row = narrow.append({qint32(1)});
    const Record wideRow = wide.append({qint64(1)});
    const Record textRow = texts.append({text(u"1")});
    const Record none = narrow.append({CellValue()});
    const Record wideNone = wide.append({CellValue()});
    const Predicate func(make, &narrow, {keyOf(row, {0})}, {0});
    const Predicate absentKey(make, &narrow, {keyOf(none, {0})}, {0});

    QVERIFY(func.filter(row));
    QVERIFY(!func.filter(wideRow));
    QVERIFY(!func.filter(textRow));
    QVERIFY(!func.filter(wideNone));
    QVERIFY(absentKey.filter(wideNone));
    QVERIFY(!absentKey.filter(wideRow));
}

void TestKeyPredicates::findKeysThatShareTheirValues()
{
    QFETCH(const Make, make);
    // Each value is in many keys, and only the pair tells whether a row is.
    MemoryTable table(u"t"_s, {{u"a"_s, Int, true}, {u"b"_s, String}, {u"c"_s, Double}});
    const auto row = [&](int a, int b) {
        return table.append({a == 0 ? CellValue() : CellValue(qint32(a)), QString::number(b), double(b)});
    };
    for (const QList<int> &columns :
         {QList<int>{0, 1}, QList<int>{1, 0}, QList<int>{2, 0}, QList<int>{0, 1, 2}}) {
        QList<KeyValue> keys;
        for (int a = 0; a < 24; ++a) {
            for (int b = 0; b < 24; ++b) {
                if ((a + b) % 3 == 0)
                    keys.append(keyOf(row(a, b), columns));
            }
        }
        const Predicate func(make, &table, keys, columns);

        for (int a = 0; a < 26; ++a) {
            for (int b = 0; b < 26; ++b)
                QCOMPARE(func.filter(row(a, b)), a < 24 && b < 24 && (a + b) % 3 == 0);
        }
    }
}

QTEST_APPLESS_MAIN(TestKeyPredicates)
#include "tst_keypredicates.moc"
