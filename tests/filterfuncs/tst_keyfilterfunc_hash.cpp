// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <database/memorytable.h>

#include <support/fieldtypes.h>
#include <support/objectlayout.h>

#include <QRegularExpression>
#include <QTest>

#include <type_traits>

#include "keyfixtures.h"

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
    void standsManyDuplicates();
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

QTEST_APPLESS_MAIN(TestKeyFilterFuncHash)
#include "tst_keyfilterfunc_hash.moc"
