// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>

#include <database/memorytable.h>

#include <support/fieldtypes.h>
#include <support/objectlayout.h>

#include <QRegularExpression>
#include <QTest>

#include <type_traits>

#include "keyfixtures.h"

using namespace Qt::StringLiterals;

static_assert(std::is_base_of_v<FilterFunc, KeyFilterFunc>);
static_assert(
    std::is_constructible_v<KeyFilterFunc, Table *, const QList<KeyValue> &, const QList<int> &, QObject *>);
static_assert(
    std::is_same_v<decltype(&KeyFilterFunc::keyToRecord), Record (KeyFilterFunc::*)(const KeyValue &) const>);
static_assert(!std::is_copy_constructible_v<KeyFilterFunc>);

using namespace fieldtypes;

class TestKeyFilterFunc : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsItsLayout();
    void addsNothingToTheMetaObject();
};

void TestKeyFilterFunc::keepsItsLayout()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    const QList<int> columns{1, 0};
    QList<KeyValue> keys;
    for (const int number : {3, 1, 2})
        keys.append(keyOf(table.append({qint32(number), qint32(number * 10)}), columns));

    const KeyFilterFunc func(&table, keys, columns);

    // Behind the members of QObject: the table, a list of rows, the list of columns (each list is an
    // allocation, a pointer to its first element and a size).
    const size_t base = sizeof(QObject);
    QCOMPARE(memberAt<Table *>(func, base), &table);
    QCOMPARE(memberAt<qsizetype>(func, base + 24), 3);
    const auto *rows = memberAt<const Record *>(func, base + 16);
    QCOMPARE(rows[0].field(0).value<qint32>(), 3);
    QCOMPARE(rows[1].field(1).value<qint32>(), 10);
    QCOMPARE(rows[2].field(0).value<qint32>(), 2);
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

QTEST_APPLESS_MAIN(TestKeyFilterFunc)
#include "tst_keyfilterfunc.moc"
