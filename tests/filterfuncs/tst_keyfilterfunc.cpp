// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>

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

static_assert(std::is_base_of_v<FilterFunc, KeyFilterFunc>);
static_assert(
    std::is_constructible_v<KeyFilterFunc, Table *, const QList<KeyValue> &, const QList<int> &, QObject *>);
static_assert(
    std::is_same_v<decltype(&KeyFilterFunc::keyToRecord), Record (KeyFilterFunc::*)(const KeyValue &) const>);
static_assert(!std::is_copy_constructible_v<KeyFilterFunc>);

namespace {

CellValue text(const char16_t *characters)
{
    return QString::fromUtf16(characters);
}

using namespace fieldtypes;

} // namespace

class TestKeyFilterFunc : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsItsLayout();
    void addsNothingToTheMetaObject();
    void acceptsRecordsThatEqualOneOfTheKeys();
    void looksAtTheKeyColumnsOnly();
    void matchesAbsentWithAbsentAlone();
    void matchesANanWithEveryDouble();
    void matchesDecimalsByTheirNumber();
    void matchesNeverOrderedValuesByTheirPresence();
    void matchesVarCharWithString();
    void doesNotMatchOtherTypes();
    void findsEachOfManyKeys_data();
    void findsEachOfManyKeys();
    void findsKeysThatShareTheirValues();
    void findsRowsAmongKeysWithANan();
    void findsDecimalsOfOtherScalesAmongManyKeys();
    void allocatesNothingInFilter();
};

void TestKeyFilterFunc::keepsItsLayout()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    const Record row = table.append({qint32(1), qint32(2)});
    const QList<int> columns{1, 0};

    const KeyFilterFunc func(&table, {keyOf(row, columns), keyOf(row, columns)}, columns);

    // Behind the members of QObject: the table, a list of rows, the list of columns (each list is an
    // allocation, a pointer to its first element and a size).
    const size_t base = sizeof(QObject);
    QCOMPARE(memberAt<Table *>(func, base), &table);
    QCOMPARE(memberAt<qsizetype>(func, base + 24), 2);
    const auto *rows = memberAt<const Record *>(func, base + 16);
    QCOMPARE(rows[0].field(0).value<qint32>(), 1);
    QCOMPARE(rows[1].field(1).value<qint32>(), 2);
    QCOMPARE(memberAt<const int *>(func, base + 40), columns.constData());
    QCOMPARE(memberAt<qsizetype>(func, base + 48), 2);
    QCOMPARE(virtualSlot(&KeyFilterFunc::filter), virtualSlot(&FilterFunc::filter));
    QCOMPARE(virtualSlot(&KeyFilterFunc::keyToRecord), -1);
}

void TestKeyFilterFunc::addsNothingToTheMetaObject()
{
    const QMetaObject &meta = KeyFilterFunc::staticMetaObject;
    QCOMPARE(meta.superClass(), &FilterFunc::staticMetaObject);
    QCOMPARE(meta.methodCount(), FilterFunc::staticMetaObject.methodCount());
    QCOMPARE(meta.propertyCount(), FilterFunc::staticMetaObject.propertyCount());
}

void TestKeyFilterFunc::acceptsRecordsThatEqualOneOfTheKeys()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, String}});
    const Record one = table.append({qint32(1), text(u"a")});
    const Record two = table.append({qint32(2), text(u"b")});
    const Record three = table.append({qint32(3), text(u"c")});
    const Record mixed = table.append({qint32(1), text(u"b")});
    const Record upper = table.append({qint32(1), text(u"A")});
    const Record twoAgain = table.append({qint32(2), text(u"b")});
    const KeyFilterFunc func(&table, {keyOf(one, {0, 1}), keyOf(two, {0, 1}), keyOf(three, {0, 1})}, {0, 1});

    QVERIFY(func.filter(one));
    QVERIFY(func.filter(two));
    QVERIFY(func.filter(twoAgain));
    QVERIFY(func.filter(three));
    QVERIFY(!func.filter(mixed));
    QVERIFY(!func.filter(upper));
}

void TestKeyFilterFunc::looksAtTheKeyColumnsOnly()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}, {u"c"_s, Int}});
    const Record row = table.append({qint32(1), qint32(2), qint32(3)});
    const Record other = table.append({qint32(9), qint32(2), qint32(3)});
    const Record swapped = table.append({qint32(1), qint32(3), qint32(2)});
    const KeyFilterFunc func(&table, {keyOf(row, {2, 1})}, {2, 1});

    QVERIFY(func.filter(row));
    QVERIFY(func.filter(other));
    QVERIFY(!func.filter(swapped));
}

void TestKeyFilterFunc::matchesAbsentWithAbsentAlone()
{
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
        const KeyFilterFunc absentKey(&table, {keyOf(none, {0})}, {0});
        const KeyFilterFunc presentKey(&table, {keyOf(some, {0})}, {0});
        const KeyFilterFunc both(&table, {keyOf(none, {0}), keyOf(some, {0})}, {0});

        QVERIFY(absentKey.filter(none));
        QVERIFY(!absentKey.filter(some));
        QVERIFY(!presentKey.filter(none));
        QVERIFY(presentKey.filter(some));
        QVERIFY(both.filter(none));
        QVERIFY(both.filter(some));
    }
}

void TestKeyFilterFunc::matchesANanWithEveryDouble()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Double, true}, {u"b"_s, Int}});
    const Record nan = table.append({std::nan(""), qint32(1)});
    const Record five = table.append({5.0, qint32(1)});
    const Record minus = table.append({-0.0, qint32(1)});
    const Record plus = table.append({0.0, qint32(1)});
    const Record infinite = table.append({HUGE_VAL, qint32(1)});
    const Record none = table.append({CellValue(), qint32(1)});
    const Record nanTwo = table.append({std::nan(""), qint32(2)});
    const KeyFilterFunc isNan(&table, {keyOf(nan, {0, 1})}, {0, 1});
    const KeyFilterFunc isFive(&table, {keyOf(five, {0, 1})}, {0, 1});
    const KeyFilterFunc isZero(&table, {keyOf(plus, {0, 1})}, {0, 1});
    const KeyFilterFunc isInfinite(&table, {keyOf(infinite, {0, 1})}, {0, 1});

    for (const Record *row : {&nan, &five, &minus, &plus, &infinite})
        QVERIFY(isNan.filter(*row));
    for (const KeyFilterFunc *func : {&isNan, &isFive, &isZero, &isInfinite}) {
        QVERIFY(func->filter(nan));
        QVERIFY(!func->filter(none));
        QVERIFY(!func->filter(nanTwo));
    }
    QVERIFY(!isFive.filter(plus));
    QVERIFY(isZero.filter(minus));
    QVERIFY(isInfinite.filter(infinite));
    QVERIFY(!isInfinite.filter(five));
}

void TestKeyFilterFunc::matchesDecimalsByTheirNumber()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Decimal, false, 2}, {u"b"_s, XDecimal, false, 2}});
    const Record row = table.append({decimal::fromUnscaled(150, 2), xdecimal(150, 2)});
    const Record shorter = table.append({decimal::fromUnscaled(15, 1), xdecimal(15, 1)});
    const Record longer = table.append({decimal::fromUnscaled(15000, 4), xdecimal(1500000, 6)});
    const Record other = table.append({decimal::fromUnscaled(151, 2), xdecimal(150, 2)});
    const Record negative = table.append({decimal::fromUnscaled(-150, 2), xdecimal(150, 2)});
    const Record tenfold = table.append({decimal::fromUnscaled(150, 1), xdecimal(150, 1)});

    for (const Record *key : {&row, &shorter, &longer}) {
        const KeyFilterFunc func(&table, {keyOf(*key, {0, 1})}, {0, 1});
        QVERIFY(func.filter(row));
        QVERIFY(func.filter(shorter));
        QVERIFY(func.filter(longer));
        QVERIFY(!func.filter(other));
        QVERIFY(!func.filter(negative));
        QVERIFY(!func.filter(tenfold));
    }
}

void TestKeyFilterFunc::matchesNeverOrderedValuesByTheirPresence()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Raw, true, 2}, {u"b"_s, Block, true}});
    const QByteArray zeros(FieldType::blockSize, '\0');
    const QByteArray ones(FieldType::blockSize, '\1');
    const Record row = table.append({QByteArray("ab"), zeros});
    const Record other = table.append({QByteArray("cd"), ones});
    const Record none = table.append({QByteArray("cd"), CellValue()});
    const KeyFilterFunc func(&table, {keyOf(row, {0, 1})}, {0, 1});

    QVERIFY(func.filter(row));
    QVERIFY(func.filter(other));
    QVERIFY(!func.filter(none));
}

void TestKeyFilterFunc::matchesVarCharWithString()
{
    MemoryTable fixed(u"fixed"_s, {{u"a"_s, VarChar, false, 8}});
    MemoryTable free(u"free"_s, {{u"a"_s, String}});
    const Record fixedRow = fixed.append({text(u"слово")});
    const Record freeRow = free.append({text(u"слово")});
    const Record fixedOther = fixed.append({text(u"слова")});
    const Record freeOther = free.append({text(u"словоо")});
    const KeyFilterFunc fixedKey(&fixed, {keyOf(freeRow, {0})}, {0});
    const KeyFilterFunc freeKey(&free, {keyOf(fixedRow, {0})}, {0});

    for (const KeyFilterFunc *func : {&fixedKey, &freeKey}) {
        QVERIFY(func->filter(fixedRow));
        QVERIFY(func->filter(freeRow));
        QVERIFY(!func->filter(fixedOther));
        QVERIFY(!func->filter(freeOther));
    }
}

void TestKeyFilterFunc::doesNotMatchOtherTypes()
{
    MemoryTable narrow(u"narrow"_s, {{u"a"_s, Int, true}});
    MemoryTable wide(u"wide"_s, {{u"a"_s, Int64, true}});
    MemoryTable texts(u"texts"_s, {{u"a"_s, String, true}});
    const Record row = narrow.append({qint32(1)});
    const Record wideRow = wide.append({qint64(1)});
    const Record textRow = texts.append({text(u"1")});
    const Record none = narrow.append({CellValue()});
    const Record wideNone = wide.append({CellValue()});
    const KeyFilterFunc func(&narrow, {keyOf(row, {0})}, {0});
    const KeyFilterFunc absentKey(&narrow, {keyOf(none, {0})}, {0});

    QVERIFY(func.filter(row));
    QVERIFY(!func.filter(wideRow));
    QVERIFY(!func.filter(textRow));
    QVERIFY(!func.filter(wideNone));
    QVERIFY(absentKey.filter(wideNone));
    QVERIFY(!absentKey.filter(wideRow));
}

void TestKeyFilterFunc::findsEachOfManyKeys_data()
{
    QTest::addColumn<QList<int>>("columns");
    QTest::newRow("int") << QList<int>{0};
    QTest::newRow("int64 that differs in the upper half") << QList<int>{1};
    QTest::newRow("double") << QList<int>{2};
    QTest::newRow("decimal") << QList<int>{3};
    QTest::newRow("xdecimal") << QList<int>{4};
    QTest::newRow("varchar") << QList<int>{5};
    QTest::newRow("datetime") << QList<int>{6};
    QTest::newRow("string that differs in the middle") << QList<int>{7};
    QTest::newRow("nothing that tells keys apart but the last") << QList<int>{8, 9, 1};
    QTest::newRow("all") << QList<int>{9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
}

void TestKeyFilterFunc::findsEachOfManyKeys()
{
    // Every number of keys meets the ends of whatever blocks they are looked at in.
    QFETCH(QList<int>, columns);
    MemoryTable table(u"t"_s, {{u"a"_s, Int},
                               {u"b"_s, Int64},
                               {u"c"_s, Double},
                               {u"d"_s, Decimal, false, 2},
                               {u"e"_s, XDecimal, false, 2},
                               {u"f"_s, VarChar, false, 9},
                               {u"g"_s, DateTime},
                               {u"h"_s, String},
                               {u"i"_s, Raw, false, 2},
                               {u"j"_s, Int, true}});
    QList<Record> rows;
    QList<KeyValue> keys;
    for (int i = 0; i < 330; ++i) {
        rows.append(table.append({qint32(i), qint64(i) << 40, i / 8.0, decimal::fromUnscaled(i, 2),
                                  xdecimal(i, 2), u"T%1"_s.arg(i), datetime(i * qint64(86400000)),
                                  u"Text %1 of some"_s.arg(i, 3), QByteArray("ab"), CellValue()}));
        keys.append(keyOf(rows.last(), columns));
    }
    for (int count = 0; count <= 330; count += count < 140 ? 1 : 19) {
        const KeyFilterFunc func(&table, keys.first(count), columns);
        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(func.filter(rows[i]), i < count);
    }
}

void TestKeyFilterFunc::findsKeysThatShareTheirValues()
{
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
        const KeyFilterFunc func(&table, keys, columns);

        for (int a = 0; a < 26; ++a) {
            for (int b = 0; b < 26; ++b)
                QCOMPARE(func.filter(row(a, b)), a < 24 && b < 24 && (a + b) % 3 == 0);
        }
    }
}

void TestKeyFilterFunc::findsRowsAmongKeysWithANan()
{
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
    const KeyFilterFunc func(&table, both, {0, 1});
    const KeyFilterFunc withoutNan(&table, doubles, {0});
    const KeyFilterFunc withNan(&table, doublesAndNan, {0});

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

void TestKeyFilterFunc::findsDecimalsOfOtherScalesAmongManyKeys()
{
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
    const KeyFilterFunc ofOneScale(&table, oneScale, {0});
    const KeyFilterFunc ofScales(&table, scales, {0});

    for (const KeyFilterFunc *func : {&ofOneScale, &ofScales}) {
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
}

void TestKeyFilterFunc::allocatesNothingInFilter()
{
    const QList<ColumnSpec> specs{{u"int"_s, Int, true},       {u"int64"_s, Int64},
                                  {u"double"_s, Double},       {u"decimal"_s, Decimal},
                                  {u"xdecimal"_s, XDecimal},   {u"text"_s, VarChar, true, 40},
                                  {u"date"_s, DateTime, true}, {u"string"_s, String, true},
                                  {u"raw"_s, Raw, false, 3},   {u"block"_s, Block}};
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
                                QByteArray(FieldType::blockSize, char(i))};
    };
    QList<Record> rows;
    for (int i = 0; i < 60; ++i) {
        rows.append(table.append(values(i)));
        rows.append(other.append(values(i)));
    }
    // Each column alone, then all of them; few keys and many.
    QList<QList<int>> columnLists;
    for (int column = 0; column < specs.size(); ++column)
        columnLists.append(QList<int>{column});
    columnLists.append(QList<int>{5, 7, 4, 3, 2, 1, 0, 6, 8, 9});
    for (const QList<int> &columns : columnLists) {
        for (const int count : {1, 5, 50}) {
            QList<KeyValue> keys;
            for (int i = 0; i < count; ++i)
                keys.append(keyOf(rows[2 * i], columns));
            const KeyFilterFunc func(&table, keys, columns);

            const AllocationCounter allocations;
            int accepted = 0;
            for (const Record &row : std::as_const(rows))
                accepted += func.filter(row);

            const qint64 allocated = allocations.count();
            QVERIFY(allocated == 0 || comparisonAllocates(rows.first(), columns));
            QVERIFY(accepted >= 2 * count);
        }
    }
}

QTEST_APPLESS_MAIN(TestKeyFilterFunc)
#include "tst_keyfilterfunc.moc"
