// SPDX-License-Identifier: MIT
//
// What the key predicates that compare as Field::compare() does promise, all but the fast one: the same answers
// for every type.
#include <database/memorytable.h>

#include <support/fieldtypes.h>

#include <QRegularExpression>
#include <QTest>

#include <cmath>

#include "keyfixtures.h"
#include "predicatefixtures.h"

using namespace Qt::StringLiterals;
using namespace fieldtypes;

namespace {

CellValue text(const char16_t *characters)
{
    return QString::fromUtf16(characters);
}

} // namespace

class TestKeyPredicatesTypes : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

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
};

void TestKeyPredicatesTypes::lookAtTheKeyColumnsOnly()
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

void TestKeyPredicatesTypes::matchAbsentWithAbsentAlone()
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

void TestKeyPredicatesTypes::matchANanWithEveryDouble()
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

void TestKeyPredicatesTypes::findRowsAmongKeysWithANan()
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

void TestKeyPredicatesTypes::testKeysWithANanApart()
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

void TestKeyPredicatesTypes::compareRowsWithANanWithAllKeys()
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

void TestKeyPredicatesTypes::matchDecimalsByTheirNumber()
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

void TestKeyPredicatesTypes::matchDecimalsOfAnyScale()
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

void TestKeyPredicatesTypes::findDecimalsOfOtherScalesAmongManyKeys()
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

void TestKeyPredicatesTypes::tellDecimalsApartThatShareADouble()
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

void TestKeyPredicatesTypes::matchNeverOrderedValuesByTheirPresence()
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

void TestKeyPredicatesTypes::matchVarCharWithString()
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

void TestKeyPredicatesTypes::matchTextsOfOtherTables()
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

void TestKeyPredicatesTypes::tellTextsOfAnyLengthApart()
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

void TestKeyPredicatesTypes::doNotMatchOtherTypes()
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

void TestKeyPredicatesTypes::findKeysThatShareTheirValues()
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

QTEST_APPLESS_MAIN(TestKeyPredicatesTypes)
#include "tst_keypredicates_types.moc"
