// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <database/memorytable.h>

#include <support/allocationcounter.h>
#include <support/exceptions.h>
#include <support/fieldtypes.h>
#include <support/objectlayout.h>

#include <QPointer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <cmath>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<FilterFunc, KeyFilterFunc_Hash>);
static_assert(!std::is_base_of_v<KeyFilterFunc, KeyFilterFunc_Hash>);
static_assert(std::is_constructible_v<KeyFilterFunc_Hash, Table *, const QList<KeyValue> &,
                                      const QList<int> &, QObject *>);
static_assert(std::is_same_v<decltype(&KeyFilterFunc_Hash::keyToRecord),
                             Record (KeyFilterFunc_Hash::*)(const KeyValue &) const>);

namespace {

KeyValue keyOf(const Record &record, const QList<int> &columns)
{
    KeyValue key;
    for (const int column : columns)
        key.append(FieldValue(record.field(column)));
    return key;
}

using namespace fieldtypes;

} // namespace

class TestKeyFilterFuncHash : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsItsLayout();
    void isNamedByItsClass();
    void belongsToItsParent();
    void rejectsEverythingWithoutKeys();
    void acceptsEverythingWithKeysButNoColumns();
    void findsEachOfManyKeys_data();
    void findsEachOfManyKeys();
    void findsKeysOfAnyNumber();
    void tellsTextsOfAnyLengthApart();
    void testsKeysWithANanApart();
    void comparesRowsWithANanWithAllKeys();
    void matchesDecimalsByTheirNumber();
    void tellsDecimalsApartThatShareADouble();
    void matchesTextsOfOtherTables();
    void standsManyDuplicates();
    void givesItsRowsBack();
    void isNotMadeOfKeysThatCannotBeConverted();
    void canBeAskedBySeveralThreads();
    void allocatesNothingInFilter();
};

void TestKeyFilterFuncHash::keepsItsLayout()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    const Record row = table.append({qint32(1), qint32(2)});
    const QList<int> columns{1, 0};

    const KeyFilterFunc_Hash func(&table, {keyOf(row, columns), keyOf(row, columns)}, columns);

    const size_t base = sizeof(QObject);
    QCOMPARE(memberAt<Table *>(func, base), &table);
    QCOMPARE(memberAt<qsizetype>(func, base + 24), 2);
    QCOMPARE(memberAt<const int *>(func, base + 40), columns.constData());
    QCOMPARE(memberAt<qsizetype>(func, base + 48), 2);
    QCOMPARE(virtualSlot(&KeyFilterFunc_Hash::filter), virtualSlot(&FilterFunc::filter));
    QCOMPARE(virtualSlot(&KeyFilterFunc_Hash::keyToRecord), -1);
    QCOMPARE(KeyFilterFunc_Hash::staticMetaObject.superClass(), &FilterFunc::staticMetaObject);
    QCOMPARE(KeyFilterFunc_Hash::staticMetaObject.methodCount(), FilterFunc::staticMetaObject.methodCount());
}

void TestKeyFilterFuncHash::isNamedByItsClass()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}});
    const std::unique_ptr<FilterFunc> func =
        std::make_unique<KeyFilterFunc_Hash>(&table, QList<KeyValue>(), QList<int>{0});

    QCOMPARE(func->toString(), u"KeyFilterFunc_Hash"_s);
}

void TestKeyFilterFuncHash::belongsToItsParent()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}});
    auto parent = std::make_unique<QObject>();
    const QPointer<FilterFunc> func = new KeyFilterFunc_Hash(&table, {}, {0}, parent.get());
    QCOMPARE(func->parent(), parent.get());

    parent.reset();

    QVERIFY(func.isNull());
}

void TestKeyFilterFuncHash::rejectsEverythingWithoutKeys()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int, true}});
    const Record row = table.append({qint32(0)});
    const Record none = table.append({CellValue()});

    for (const QList<int> &columns : {QList<int>{0}, QList<int>{}}) {
        const KeyFilterFunc_Hash func(&table, {}, columns);
        QVERIFY(!func.filter(row));
        QVERIFY(!func.filter(none));
    }
}

void TestKeyFilterFuncHash::acceptsEverythingWithKeysButNoColumns()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}});
    const Record row = table.append({qint32(0)});

    QVERIFY(KeyFilterFunc_Hash(&table, {KeyValue()}, {}).filter(row));
}

void TestKeyFilterFuncHash::findsEachOfManyKeys_data()
{
    QTest::addColumn<QList<int>>("columns");
    QTest::newRow("int") << QList<int>{0};
    QTest::newRow("int64 that differs in the upper half") << QList<int>{1};
    QTest::newRow("double") << QList<int>{2};
    QTest::newRow("decimal") << QList<int>{3};
    QTest::newRow("xdecimal") << QList<int>{4};
    QTest::newRow("varchar") << QList<int>{5};
    QTest::newRow("datetime") << QList<int>{6};
    QTest::newRow("string") << QList<int>{7};
    QTest::newRow("all") << QList<int>{7, 6, 5, 4, 3, 2, 1, 0};
}

void TestKeyFilterFuncHash::findsEachOfManyKeys()
{
    QFETCH(QList<int>, columns);
    constexpr int count = 10000;
    MemoryTable table(u"t"_s, {{u"a"_s, Int},
                               {u"b"_s, Int64},
                               {u"c"_s, Double},
                               {u"d"_s, Decimal, false, 2},
                               {u"e"_s, XDecimal, false, 2},
                               {u"f"_s, VarChar, false, 9},
                               {u"g"_s, DateTime},
                               {u"h"_s, String}});
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 2 * count; ++i) {
        rows.append(
            table.append({qint32(i), qint64(i) << 40, i / 8.0, decimal::fromUnscaled(i, 2), xdecimal(i, 2),
                          u"T%1"_s.arg(i), datetime(i * qint64(86400000)), u"Text %1"_s.arg(i)}));
        if (i % 2 == 0)
            keys.append(keyOf(rows.last(), columns));
    }

    const KeyFilterFunc_Hash func(&table, keys, columns);

    for (int i = 0; i < 2 * count; ++i)
        QCOMPARE(func.filter(rows[i]), i % 2 == 0);
}

void TestKeyFilterFuncHash::findsKeysOfAnyNumber()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 80; ++i) {
        rows.append(table.append({qint32(i % 7), qint32(i / 7)}));
        keys.append(keyOf(rows.last(), {0, 1}));
    }
    for (int count = 0; count <= 80; ++count) {
        const KeyFilterFunc_Hash func(&table, keys.first(count), {0, 1});
        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(func.filter(rows[i]), i < count);
    }
}

void TestKeyFilterFuncHash::tellsTextsOfAnyLengthApart()
{
    MemoryTable table(u"t"_s, {{u"a"_s, String}});
    const Record row = table.append({QString()});
    const QString base = u"a text with which all others begin"_s;
    QList<KeyValue> keys;
    for (int length = 0; length < base.size(); ++length) {
        table.update(row, 0, base.left(length));
        keys.append(keyOf(row, {0}));
    }
    const KeyFilterFunc_Hash func(&table, keys, {0});

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

void TestKeyFilterFuncHash::testsKeysWithANanApart()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record nan = table.append({std::nan(""), qint32(1)});
    const Record five = table.append({5.0, qint32(2)});
    const Record fiveOne = table.append({5.0, qint32(1)});
    const Record fiveThree = table.append({5.0, qint32(3)});
    const Record noneOne = table.append({CellValue(), qint32(1)});

    const KeyFilterFunc_Hash func(&table, {keyOf(five, {0, 1}), keyOf(nan, {0, 1})}, {0, 1});
    const KeyFilterFunc_Hash onlyNan(&table, {keyOf(nan, {0, 1})}, {0, 1});

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

void TestKeyFilterFuncHash::comparesRowsWithANanWithAllKeys()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record five = table.append({5.0, qint32(2)});
    const Record none = table.append({CellValue(), qint32(3)});
    const Record nanTwo = table.append({std::nan(""), qint32(2)});
    const Record nanThree = table.append({-std::nan(""), qint32(3)});
    const Record negativeZero = table.append({-0.0, qint32(4)});
    const Record zero = table.append({0.0, qint32(4)});

    const KeyFilterFunc_Hash func(
        &table, {keyOf(five, {0, 1}), keyOf(none, {0, 1}), keyOf(negativeZero, {0, 1})}, {0, 1});

    QVERIFY(func.filter(nanTwo));
    QVERIFY(!func.filter(nanThree));
    QVERIFY(func.filter(none));
    QVERIFY(func.filter(zero));
}

void TestKeyFilterFuncHash::matchesDecimalsByTheirNumber()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, true, 2}, {u"b"_s, XDecimal, true, 2}});
    const auto row = [&](qint64 unscaled, short scale) {
        return table.append({decimal::fromUnscaled(unscaled, scale), xdecimal(unscaled, scale)});
    };
    const Record key = row(150, 2);
    const Record same[] = {row(15, 1), row(150, 2), row(15000000, 7)};
    const Record other[] = {row(15, 2), row(1500000001, 9), row(-150, 2), row(15, -1),
                            row(0, 0),  row(1, -64),        row(1, 63)};
    const Record zero = row(0, 5);

    const KeyFilterFunc_Hash oneScale(&table, {keyOf(key, {0, 1})}, {0, 1});
    const KeyFilterFunc_Hash twoScales(&table, {keyOf(zero, {0, 1}), keyOf(same[2], {0, 1})}, {0, 1});

    for (const Record &record : same) {
        QVERIFY(oneScale.filter(record));
        QVERIFY(twoScales.filter(record));
    }
    for (const Record &record : other) {
        QVERIFY(!oneScale.filter(record));
        QCOMPARE(twoScales.filter(record), record == other[4]);
    }
}

void TestKeyFilterFuncHash::tellsDecimalsApartThatShareADouble()
{
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

        const KeyFilterFunc_Hash func(&table, columnKeys, columns);

        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(func.filter(rows[i]), i % 2 == 0);
    }
}

void TestKeyFilterFuncHash::matchesTextsOfOtherTables()
{
    MemoryTable fixed(u"fixed"_s, {{u"a"_s, VarChar, true, 8}});
    MemoryTable free(u"free"_s, {{u"a"_s, String, true}});
    MemoryTable numbers(u"numbers"_s, {{u"a"_s, Int, true}});
    for (const QString &text : {u""_s, u"a"_s, u"слово"_s, u"12345678"_s}) {
        const Record fixedRow = fixed.append({text});
        const Record freeRow = free.append({text});
        const KeyFilterFunc_Hash fixedKey(&fixed, {keyOf(fixedRow, {0})}, {0});
        const KeyFilterFunc_Hash freeKey(&free, {keyOf(freeRow, {0})}, {0});
        for (const KeyFilterFunc_Hash *func : {&fixedKey, &freeKey}) {
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

void TestKeyFilterFuncHash::standsManyDuplicates()
{
    // Were duplicates to make the work grow with their square, this would not end.
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Raw, false, 2}});
    const Record one = table.append({qint32(1), QByteArray("ab")});
    const Record two = table.append({qint32(2), QByteArray("cd")});

    const KeyFilterFunc_Hash func(&table, QList<KeyValue>(200000, keyOf(one, {0, 1})), {0, 1});
    const KeyFilterFunc_Hash unordered(&table, QList<KeyValue>(200000, keyOf(one, {1})), {1});

    QCOMPARE(memberAt<qsizetype>(func, sizeof(QObject) + 24), 200000);
    QVERIFY(func.filter(one));
    QVERIFY(!func.filter(two));
    QVERIFY(unordered.filter(two));
}

void TestKeyFilterFuncHash::givesItsRowsBack()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Double}});
    const Record row = table.append({1.0});
    const Record nan = table.append({std::nan("")});
    auto func = std::make_unique<KeyFilterFunc_Hash>(
        &table, QList<KeyValue>{keyOf(row, {0}), keyOf(nan, {0})}, QList<int>{0});
    QCOMPARE(table.liveRowCount(), 4);

    func.reset();

    QCOMPARE(table.liveRowCount(), 2);
}

void TestKeyFilterFuncHash::isNotMadeOfKeysThatCannotBeConverted()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}});
    MemoryTable texts(u"texts"_s, {{u"a"_s, String}});
    const Record good = texts.append({u"12"_s});
    const Record bad = texts.append({u"12x"_s});

    QCOMPARE(exceptionMessage([&] {
                 KeyFilterFunc_Hash(&table, {keyOf(good, {0}), keyOf(bad, {0})}, {0});
             }),
             u"Can't convert from '12x' to Int"_s);
    QCOMPARE(exceptionMessage([&] { KeyFilterFunc_Hash(&table, {KeyValue()}, {0}); }),
             u"Key of 0 values for 1 columns"_s);
    QCOMPARE(table.liveRowCount(), 0);
}

void TestKeyFilterFuncHash::canBeAskedBySeveralThreads()
{
    MemoryTable table(u"t"_s,
                      {{u"a"_s, Int}, {u"b"_s, String}, {u"c"_s, VarChar, false, 8}, {u"d"_s, Double}});
    const QList<int> columns{0, 1, 2, 3};
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 2000; ++i) {
        rows.append(table.append(
            {qint32(i), QString::number(i), QString::number(i), i % 50 ? i / 2.0 : std::nan("")}));
        if (i % 2 == 0)
            keys.append(keyOf(rows.last(), columns));
    }
    const KeyFilterFunc_Hash hash(&table, keys, columns);
    const KeyFilterFunc func(&table, keys, columns);
    std::atomic<int> wrong = 0;

    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < rows.size(); ++i) {
                const Record &row = std::as_const(rows)[i];
                wrong += hash.filter(row) != (i % 2 == 0);
                wrong += func.filter(row) != (i % 2 == 0);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    QCOMPARE(wrong.load(), 0);
}

void TestKeyFilterFuncHash::allocatesNothingInFilter()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int, true},
                               {u"b"_s, String},
                               {u"c"_s, VarChar, false, 30},
                               {u"d"_s, Double},
                               {u"e"_s, XDecimal},
                               {u"f"_s, Decimal}});
    const QList<int> columns{0, 1, 2, 3, 4, 5};
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 200; ++i) {
        rows.append(
            table.append({i % 5 ? CellValue(qint32(i)) : CellValue(), u"a text of some length %1"_s.arg(i),
                          u"another such text %1"_s.arg(i), i % 7 ? double(i) : std::nan(""),
                          xdecimal(i * 10, short(i % 3)), decimal::fromUnscaled(i * 10, short(i % 3))}));
        if (i % 2 == 0)
            keys.append(keyOf(rows.last(), columns));
    }
    const KeyFilterFunc_Hash func(&table, keys, columns);

    const AllocationCounter allocations;
    int accepted = 0;
    for (const Record &row : std::as_const(rows))
        accepted += func.filter(row);

    QCOMPARE(allocations.count(), 0);
    QCOMPARE(accepted, 100);
}

QTEST_APPLESS_MAIN(TestKeyFilterFuncHash)
#include "tst_keyfilterfunc_hash.moc"
