// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fieldtypes.h>
#include <support/objectlayout.h>

#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <memory>
#include <type_traits>

#include "keyfixtures.h"
#include "textcost.h"

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<FilterFunc, KeyFilterFunc_Hash>);
static_assert(!std::is_base_of_v<KeyFilterFunc, KeyFilterFunc_Hash>);
static_assert(std::is_constructible_v<KeyFilterFunc_Hash, Table *, const QList<KeyValue> &,
                                      const QList<int> &, QObject *>);
static_assert(std::is_same_v<decltype(&KeyFilterFunc_Hash::keyToRecord),
                             Record (KeyFilterFunc_Hash::*)(const KeyValue &) const>);

namespace {

using namespace fieldtypes;

} // namespace

class TestKeyFilterFuncHash : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsItsLayout();
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

    const qint64 allocated = allocations.count();
    QVERIFY(allocated == 0 || comparisonAllocates(rows.first(), columns));
    QCOMPARE(accepted, 100);
}

QTEST_APPLESS_MAIN(TestKeyFilterFuncHash)
#include "tst_keyfilterfunc_hash.moc"
