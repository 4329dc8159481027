// SPDX-License-Identifier: MIT
#include <filters/valuefilter.h>

#include <database/memorytable.h>
#include <support/exceptions.h>
#include <support/objectlayout.h>

#include "filtertest.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

static_assert(std::is_abstract_v<ValueFilter>);
static_assert(std::is_base_of_v<Filter, ValueFilter> && std::is_convertible_v<ValueFilter *, Filter *>);
static_assert(sizeof(ValueFilter) == 32 + 8 + 24 + 24, "three members behind those of Filter");

namespace {
const QList<ColumnSpec> twoColumns{{u"a"_s}, {u"b"_s}};

/// Reports every signal of a filter and every change of its switch.
class Quiet
{
public:
    explicit Quiet(const Filter &filter)
        : m_filter(filter),
          m_enabled(filter.isEnabled()),
          m_enabledChanged(&filter, &Filter::enabledChanged),
          m_asincChanged(&filter, &Filter::asincChanged)
    {
    }
    bool kept() const
    {
        return m_filter.isEnabled() == m_enabled && m_enabledChanged.isEmpty() && m_asincChanged.isEmpty();
    }

private:
    const Filter &m_filter;
    const bool m_enabled;
    const QSignalSpy m_enabledChanged;
    const QSignalSpy m_asincChanged;
};

bool equal(const KeyValue &a, const KeyValue &b)
{
    return !(a < b) && !(b < a);
}

/// The set as a plain list that is looked through from end to end.
class PlainSet
{
public:
    bool has(const KeyValue &key) const
    {
        return std::any_of(m_keys.begin(), m_keys.end(), [&](const KeyValue &k) { return equal(k, key); });
    }
    void add(const KeyValue &key)
    {
        if (has(key))
            return;
        auto place = m_keys.begin();
        while (place != m_keys.end() && *place < key)
            ++place;
        m_keys.insert(place, key);
    }
    void remove(const KeyValue &key)
    {
        m_keys.removeIf([&](const KeyValue &k) { return equal(k, key); });
    }
    void setAll(const QList<KeyValue> &keys)
    {
        m_keys.clear();
        for (const KeyValue &key : keys) {
            auto place = m_keys.begin();
            while (place != m_keys.end() && !(key < *place))
                ++place;
            m_keys.insert(place, key);
        }
    }
    void clear() { m_keys.clear(); }
    const QList<KeyValue> &keys() const { return m_keys; }

private:
    QList<KeyValue> m_keys;
};

/// A table with two columns of every type; the second one admits absent values.
QList<ColumnSpec> columnsOf(FieldType::Type type, int length = 0)
{
    return {{u"plain"_s, type, false, length}, {u"nullable"_s, type, true, length}};
}

KeyValue doubleKey(const PlainFilter &filter, double value, int number)
{
    return filter.valueToKey(QString::number(value) + u',' + QString::number(number));
}
} // namespace

class tst_ValueFilter : public FilterTest
{
    Q_OBJECT
public:
    tst_ValueFilter() : FilterTest(twoColumns) {}

private Q_SLOTS:
    void filtersOneColumn();
    void filtersAListOfColumns();
    void startsWithAnEmptySet();
    void membersLieInTheStatedOrder();
    void virtualOperationsLieInTheStatedOrder();
    void addsNothingToTheMetaObject();

    void keepsKeysSorted();
    void addsAnEqualKeyOnce();
    void keepsTheFirstOfEqualKeys();
    void addsAKeyOfItsOwnList();
    void hasExactlyItsKeys();
    void removesEveryEqualKey();
    void removesNothingForAnAbsentKey();
    void removesAKeyOfItsOwnList();
    void setAllSortsAndKeepsDuplicates();
    void setAllTakesAnyLength();
    void setAllLeavesTheCallersListAlone();
    void setAllIsOutOfReachOfTheCallersReferences();
    void setAllTakesItsOwnList();
    void setAllOfNothingEmptiesTheSet();
    void setAllSortsByEveryField_data();
    void setAllSortsByEveryField();
    void setAllSortsMixedTypes();
    void clearEmptiesTheSet();
    void clearKeepsTheStorageOrItsSize();
    void theReferenceFollowsTheSet();
    void copiesOfTheSetStayAsTheyWere();
    void changesNeitherSwitchNorSignal();
    void switchingDoesNotTouchTheSet();
    void keysAreNotCheckedAgainstTheColumns();
    void constantsAndColumnValuesOfInt64AreDifferentKeys();
    void mixedTextsAreEqualByTheirText();
    void valuesOutliveTheRowTheyCameFrom();

    void agreesWithAPlainList_data();
    void agreesWithAPlainList();
    void searchesProbeAsStatedAlsoWithNaN();
    void searchesProbeAsStatedAlsoWithTextsMixedWithDates();
    void addsBehindIntegersWhateverElseThereIs();
    void removingTakesOutTheRunFoundAlsoWithNaN();
    void sortingKeepsEveryKeyAlsoWithNaN();
    void sortingKeepsEveryKeyOfTextsMixedWithDates();
};

void tst_ValueFilter::filtersOneColumn()
{
    QObject parent;

    const PlainFilter filter(*m_table, 1, &parent);

    QCOMPARE(filter.table(), m_table.get());
    QCOMPARE(filter.columns(), QList<int>{1});
    QCOMPARE(filter.firstId(), 1);
    QCOMPARE(filter.secondId(), -1);
    QCOMPARE(filter.parent(), &parent);
}

void tst_ValueFilter::filtersAListOfColumns()
{
    QObject parent;
    const QList<int> columns{1, 0, 1, 99, -3};

    const PlainFilter filter(*m_table, 8, columns, 9, &parent);
    const PlainFilter noColumns(*m_table, 8, {}, 9, nullptr);

    QCOMPARE(filter.table(), m_table.get());
    QCOMPARE(filter.columns(), columns);
    QVERIFY(filter.columns().isSharedWith(columns));
    QCOMPARE(filter.firstId(), 8);
    QCOMPARE(filter.secondId(), 9);
    QCOMPARE(filter.parent(), &parent);
    QVERIFY(noColumns.columns().isEmpty());
}

void tst_ValueFilter::startsWithAnEmptySet()
{
    const PlainFilter one(*m_table, 0, nullptr);
    const PlainFilter two(*m_table, 0, {0}, 0, nullptr);

    for (const PlainFilter *filter : {&one, &two}) {
        QVERIFY(!filter->hasValue());
        QVERIFY(!filter->hasExcludedKey(intKey({0})));
        QVERIFY(filter->getAllExcludedKeys().isEmpty());
        QVERIFY(!filter->isEnabled());
    }
}

void tst_ValueFilter::membersLieInTheStatedOrder()
{
    PlainFilter filter(*m_table, 1, {1, 0}, 2, nullptr);
    filter.addExcludedKey(intKey({1, 2}));
    filter.addExcludedKey(intKey({3, 4}));

    QCOMPARE(memberAt<qint32>(filter, 20), 1);
    QCOMPARE(memberAt<qint32>(filter, 24), 2);
    QCOMPARE(memberAt<Table *>(filter, 32), m_table.get());
    // A QList is a pointer to its header, one to its first element, and the number of elements.
    QCOMPARE(memberAt<const int *>(filter, 40 + 8), filter.columns().constData());
    QCOMPARE(memberAt<qsizetype>(filter, 40 + 16), 2);
    QCOMPARE(memberAt<const KeyValue *>(filter, 64 + 8), filter.getAllExcludedKeys().constData());
    QCOMPARE(memberAt<qsizetype>(filter, 64 + 16), 2);
    QCOMPARE(static_cast<const void *>(&filter.getAllExcludedKeys()),
             static_cast<const void *>(reinterpret_cast<const char *>(&filter) + 64));
}

void tst_ValueFilter::virtualOperationsLieInTheStatedOrder()
{
    const std::ptrdiff_t last = virtualSlot(&Filter::setEnabled);

    QCOMPARE(virtualSlot(&ValueFilter::keyFromRecord), last + 1);
    QCOMPARE(virtualSlot(&ValueFilter::keyToValue), last + 2);
    QCOMPARE(virtualSlot(&ValueFilter::valueToKey), last + 3);
    QCOMPARE(virtualSlot(&ValueFilter::keyToText), last + 4);
    QCOMPARE(virtualSlot(&ValueFilter::createFilterFunc), virtualSlot(&Filter::createFilterFunc));
    QCOMPARE(virtualSlot(&ValueFilter::text), virtualSlot(&Filter::text));
    QCOMPARE(virtualSlot(&ValueFilter::hasValue), virtualSlot(&Filter::hasValue));
    QCOMPARE(virtualSlot(&ValueFilter::value), virtualSlot(&Filter::value));
    QCOMPARE(virtualSlot(&ValueFilter::setValue), virtualSlot(&Filter::setValue));
    QCOMPARE(virtualSlot(&ValueFilter::clear), virtualSlot(&Filter::clear));
    QCOMPARE(virtualSlot(&ValueFilter::hasExcludedKey), -1);
    QCOMPARE(virtualSlot(&ValueFilter::addExcludedKey), -1);
    QCOMPARE(virtualSlot(&ValueFilter::removeExcludedKey), -1);
    QCOMPARE(virtualSlot(&ValueFilter::setAllExcludedKeys), -1);
    QCOMPARE(virtualSlot(&ValueFilter::getAllExcludedKeys), -1);
}

void tst_ValueFilter::addsNothingToTheMetaObject()
{
    const QMetaObject &meta = ValueFilter::staticMetaObject;

    QCOMPARE(QByteArray(meta.className()), QByteArray("ValueFilter"));
    QCOMPARE(meta.superClass(), &Filter::staticMetaObject);
    QCOMPARE(ownSurface(meta), QStringList());
}

void tst_ValueFilter::keepsKeysSorted()
{
    QStringList states;
    for (const int number : {3, 1, 2}) {
        m_filter->addExcludedKey(intKey({number}));
        states.append(shown(m_filter->getAllExcludedKeys()).join(u' '));
    }

    QCOMPARE(states, QStringList({u"3"_s, u"1 3"_s, u"1 2 3"_s}));
}

void tst_ValueFilter::addsAnEqualKeyOnce()
{
    m_filter->addExcludedKey(intKey({3}));
    m_filter->addExcludedKey(intKey({3}));

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList(u"3"_s));
    QVERIFY(m_filter->hasValue());
}

void tst_ValueFilter::keepsTheFirstOfEqualKeys()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Decimal, 2));
    PlainFilter filter(table, 0, nullptr);

    filter.addExcludedKey(filter.valueToKey(u"1.50"_s));
    filter.addExcludedKey(filter.valueToKey(u"1.5"_s));

    QCOMPARE(shown(filter.getAllExcludedKeys()), QStringList(u"1.50"_s));
}

void tst_ValueFilter::addsAKeyOfItsOwnList()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Double));
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    filter.setAllExcludedKeys({doubleKey(filter, 1, 1), doubleKey(filter, 2, 2)});

    // Also while the storage is shared, so that it is replaced under the reference.
    const QList<KeyValue> copy = filter.getAllExcludedKeys();
    filter.addExcludedKey(filter.getAllExcludedKeys().at(1));
    filter.addExcludedKey(filter.getAllExcludedKeys().at(0));

    QCOMPARE(shown(filter.getAllExcludedKeys()), shown(copy));
    QVERIFY(!filter.getAllExcludedKeys().isSharedWith(copy));
}

void tst_ValueFilter::hasExactlyItsKeys()
{
    for (const int number : {10, 30, 20, 50, 40})
        m_pairs->addExcludedKey(intKey({number, -number}));

    for (int a = 0; a <= 60; ++a) {
        for (const int b : {-a - 1, -a, -a + 1})
            QCOMPARE(m_pairs->hasExcludedKey(intKey({a, b})), a % 10 == 0 && a > 0 && a < 60 && b == -a);
    }
}

void tst_ValueFilter::removesEveryEqualKey()
{
    m_filter->setAllExcludedKeys(
        {intKey({2}), intKey({1}), intKey({2}), intKey({3}), intKey({2}), intKey({2})});

    m_filter->removeExcludedKey(intKey({2}));

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"3"_s}));
    QVERIFY(!m_filter->hasExcludedKey(intKey({2})));
}

void tst_ValueFilter::removesNothingForAnAbsentKey()
{
    m_filter->removeExcludedKey(intKey({2}));
    QVERIFY(!m_filter->hasValue());
    m_filter->setAllExcludedKeys({intKey({1}), intKey({3})});
    const QList<KeyValue> copy = m_filter->getAllExcludedKeys();

    for (const int number : {0, 2, 4})
        m_filter->removeExcludedKey(intKey({number}));

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"3"_s}));
    QVERIFY2(m_filter->getAllExcludedKeys().isSharedWith(copy),
             "nothing to remove is no reason to copy the set");
}

void tst_ValueFilter::removesAKeyOfItsOwnList()
{
    m_filter->setAllExcludedKeys({intKey({1}), intKey({2}), intKey({2}), intKey({3})});

    m_filter->removeExcludedKey(m_filter->getAllExcludedKeys().at(1));

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"3"_s}));
}

void tst_ValueFilter::setAllSortsAndKeepsDuplicates()
{
    m_filter->addExcludedKey(intKey({7}));

    m_filter->setAllExcludedKeys({intKey({2}), intKey({1}), intKey({2})});

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"2"_s, u"2"_s}));
    QVERIFY(m_filter->hasExcludedKey(intKey({2})));
    m_filter->addExcludedKey(intKey({2}));
    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"2"_s, u"2"_s}));
    m_filter->removeExcludedKey(intKey({2}));
    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s}));
}

void tst_ValueFilter::setAllTakesAnyLength()
{
    // Every length around those at which runs are merged, in three orders.
    for (int length = 0; length <= 140; ++length) {
        for (const int step : {1, -1, 37}) {
            QList<KeyValue> keys;
            QStringList expected;
            for (int i = 0; i < length; ++i) {
                keys.append(intKey({step == 1 ? i : step == -1 ? length - 1 - i : (i * step) % 149}));
                expected.append(QString::number(step == 37 ? (i * step) % 149 : i));
            }
            std::sort(expected.begin(), expected.end(),
                      [](const QString &a, const QString &b) { return a.toInt() < b.toInt(); });

            m_filter->setAllExcludedKeys(keys);

            QCOMPARE(shown(m_filter->getAllExcludedKeys()), expected);
        }
    }
}

void tst_ValueFilter::setAllLeavesTheCallersListAlone()
{
    const QList<KeyValue> unsorted{intKey({3}), intKey({1}), intKey({2})};
    const QList<KeyValue> sorted{intKey({1}), intKey({2}), intKey({3})};

    m_filter->setAllExcludedKeys(unsorted);
    QCOMPARE(shown(unsorted), QStringList({u"3"_s, u"1"_s, u"2"_s}));

    m_filter->setAllExcludedKeys(sorted);
    m_filter->removeExcludedKey(intKey({2}));
    QCOMPARE(shown(sorted), QStringList({u"1"_s, u"2"_s, u"3"_s}));
}

void tst_ValueFilter::setAllIsOutOfReachOfTheCallersReferences()
{
    QList<KeyValue> list{intKey({1}), intKey({2}), intKey({3})};
    KeyValue &kept = list[0];

    m_filter->setAllExcludedKeys(list);
    kept = intKey({9});

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"2"_s, u"3"_s}));
}

void tst_ValueFilter::setAllTakesItsOwnList()
{
    m_filter->setAllExcludedKeys({intKey({3}), intKey({1}), intKey({1})});

    m_filter->setAllExcludedKeys(m_filter->getAllExcludedKeys());

    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList({u"1"_s, u"1"_s, u"3"_s}));
}

void tst_ValueFilter::setAllOfNothingEmptiesTheSet()
{
    m_filter->addExcludedKey(intKey({3}));

    m_filter->setAllExcludedKeys({});

    QVERIFY(!m_filter->hasValue());
    QVERIFY(m_filter->getAllExcludedKeys().isEmpty());
}

void tst_ValueFilter::setAllSortsByEveryField_data()
{
    QTest::addColumn<FieldType::Type>("first");
    QTest::addColumn<FieldType::Type>("second");
    QTest::addColumn<QString>("values");

    // Ascending keys; an absent value of a type is its empty text, or U+2400 where the empty text is a value.
    QTest::newRow("two Ints with their limits")
        << FieldType::Int << FieldType::Int
        << u"-2147483648,-2147483648|-2147483648,2147483647|-1,-1|-1,0|0,-1|0,0|0,1|1,-5|2147483647,-2147483648|2147483647,2147483647"_s;
    QTest::newRow("two Ints, some absent")
        << FieldType::Int << FieldType::Int
        << u",|,-2147483648|,0|-2147483648,|-2147483648,-1|-1,|0,|0,0|1,"_s;
    QTest::newRow("an Int before a text")
        << FieldType::Int << FieldType::String << u"-2,B|-2,a|-1,|-1,Z|0,a|0,aa|1,\u2400|1,|1,a"_s;
    QTest::newRow("Int64s with their limits")
        << FieldType::Int64 << FieldType::Int
        << u"-9223372036854775808,0|-4294967296,5|-1,1|0,0|0,1|1,0|4294967296,-1|9223372036854775807,0|9223372036854775807,9"_s;
    QTest::newRow("Int64s, some absent")
        << FieldType::Int64 << FieldType::Int64 << u",0|-9223372036854775808,|-9223372036854775808,0|0,0"_s;
    QTest::newRow("dates")
        << FieldType::DateTime << FieldType::Int
        << u"1969.12.31 23:59:59.999,7|,1|2024.03.31 02:30:00.000,1|2024.03.31 02:30:00.000,2|2024.03.31 02:30:00.001,0"_s;
    QTest::newRow("dates, some absent")
        << FieldType::DateTime << FieldType::DateTime << u"\u2400,2024.03.31 02:30:00.000|,\u2400|,"_s;
    QTest::newRow("doubles") << FieldType::Double << FieldType::Int
                             << u",0|-inf,0|-1e+300,0|-1,0|0,1|0,2|0.5,0|inf,0|inf,1"_s;
    QTest::newRow("decimals") << FieldType::Decimal << FieldType::Int
                              << u",0|-1.5,0|-1.4999,0|0,0|1.5,0|1.5,1|1.51,0|20,0"_s;
    QTest::newRow("long decimals")
        << FieldType::XDecimal << FieldType::Int
        << u",0|-123456789012345678901234567890.5,0|-1,0|0,0|123456789012345678901234567890,1"_s;
    QTest::newRow("VarChars before Ints")
        << FieldType::VarChar << FieldType::Int << u"\u2400,|,|,4|B,1|BB,0|a,0|a,1"_s;
    QTest::newRow("Raw never distinguishes")
        << FieldType::Raw << FieldType::Int << u",5|0102030405060708,6|01020304050607FF,7"_s;
}

void tst_ValueFilter::setAllSortsByEveryField()
{
    QFETCH(FieldType::Type, first);
    QFETCH(FieldType::Type, second);
    QFETCH(QString, values);
    const auto length = [](FieldType::Type type) {
        return type == FieldType::VarChar || type == FieldType::Raw ? 8 : type == FieldType::Decimal ? 4 : 0;
    };
    MemoryTable table(u"quotes"_s,
                      {{u"a"_s, first, true, length(first)}, {u"b"_s, second, true, length(second)}});
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    const QStringList ascending = values.split(u'|');
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    for (int round = 0; round < 50; ++round) {
        QStringList texts = ascending;
        std::shuffle(texts.begin(), texts.end(), random);
        QList<KeyValue> keys;
        for (const QString &text : std::as_const(texts))
            keys.append(filter.valueToKey(text));

        filter.setAllExcludedKeys(keys);
        const QStringList sorted = shown(filter.getAllExcludedKeys());
        filter.clear();
        for (const KeyValue &key : std::as_const(keys))
            filter.addExcludedKey(key);
        const QStringList added = shown(filter.getAllExcludedKeys());
        filter.setValue(texts.join(u'|'));
        const QStringList read = shown(filter.getAllExcludedKeys());

        QVERIFY2(sorted.join(u'|').compare(values, Qt::CaseInsensitive) == 0,
                 qPrintable(u"seed %1: %2"_s.arg(seed).arg(sorted.join(u'|'))));
        QVERIFY2(added.join(u'|').compare(values, Qt::CaseInsensitive) == 0,
                 qPrintable(u"seed %1: %2"_s.arg(seed).arg(added.join(u'|'))));
        QVERIFY2(read.join(u'|').compare(values, Qt::CaseInsensitive) == 0,
                 qPrintable(u"seed %1: %2"_s.arg(seed).arg(read.join(u'|'))));
    }
}

void tst_ValueFilter::setAllSortsMixedTypes()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::Int, true},
                                    {u"b"_s, FieldType::Int64, true},
                                    {u"c"_s, FieldType::DateTime, true},
                                    {u"d"_s, FieldType::Double, true}});
    PlainFilter filter(table, 0, nullptr);
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    for (int round = 0; round < 300; ++round) {
        // One place of the key is of one type in most rounds, the other is anything.
        const int types = int(random.bounded(1, 5));
        const int fixed = int(random.bounded(3));
        QList<KeyValue> keys;
        for (int i = random.bounded(2, 60); i > 0; --i) {
            KeyValue key;
            for (int place = 0; place < 2; ++place) {
                const int column = place == fixed ? 0 : int(random.bounded(types));
                FieldValue value(&table, column);
                const int number = int(random.bounded(-2, 3));
                if (random.bounded(10) != 0 || place == fixed)
                    value.fromText(column == 2 ? u'@' + QString::number(number) : QString::number(number));
                key.append(value);
            }
            keys.append(key);
        }
        PlainSet oracle;
        oracle.setAll(keys);

        filter.setAllExcludedKeys(keys);

        const QByteArray where = u"seed %1, round %2"_s.arg(seed).arg(round).toUtf8();
        QVERIFY2(filter.getAllExcludedKeys().size() == keys.size(), where.constData());
        for (qsizetype i = 0; i < keys.size(); ++i)
            QVERIFY2(equal(filter.getAllExcludedKeys().at(i), oracle.keys().at(i)), where.constData());
    }
}

void tst_ValueFilter::clearEmptiesTheSet()
{
    m_filter->setAllExcludedKeys({intKey({3}), intKey({1})});

    m_filter->clear();
    QVERIFY(!m_filter->hasValue());
    QVERIFY(!m_filter->hasExcludedKey(intKey({1})));
    m_filter->clear();
    QVERIFY(!m_filter->hasValue());

    m_filter->addExcludedKey(intKey({1}));
    QCOMPARE(m_filter->value(), u"1"_s);
}

void tst_ValueFilter::clearKeepsTheStorageOrItsSize()
{
    m_filter->setAllExcludedKeys({intKey({3}), intKey({1}), intKey({2})});
    const QList<KeyValue> &set = m_filter->getAllExcludedKeys();
    const qsizetype capacity = set.capacity();
    const KeyValue *storage = set.constData();

    m_filter->clear();
    QCOMPARE(set.capacity(), capacity);
    m_filter->addExcludedKey(intKey({1}));
    QCOMPARE(set.constData(), storage);

    const QList<KeyValue> copy = set;
    m_filter->clear();
    QCOMPARE(set.capacity(), capacity);
    QVERIFY(!set.isSharedWith(copy));
    QCOMPARE(shown(copy), QStringList(u"1"_s));
}

void tst_ValueFilter::theReferenceFollowsTheSet()
{
    const QList<KeyValue> &set = m_filter->getAllExcludedKeys();

    m_filter->addExcludedKey(intKey({3}));
    QCOMPARE(shown(set), QStringList(u"3"_s));
    m_filter->setAllExcludedKeys({intKey({2}), intKey({1})});
    QCOMPARE(shown(set), QStringList({u"1"_s, u"2"_s}));
    m_filter->removeExcludedKey(intKey({1}));
    QCOMPARE(shown(set), QStringList(u"2"_s));
    m_filter->setValue(u"9|8"_s);
    QCOMPARE(shown(set), QStringList({u"8"_s, u"9"_s}));
    m_filter->clear();
    QVERIFY(set.isEmpty());
}

void tst_ValueFilter::copiesOfTheSetStayAsTheyWere()
{
    m_filter->setAllExcludedKeys({intKey({2}), intKey({4})});

    const QList<KeyValue> before = m_filter->getAllExcludedKeys();
    QVERIFY(before.isSharedWith(m_filter->getAllExcludedKeys()));
    m_filter->addExcludedKey(intKey({3}));
    const QList<KeyValue> added = m_filter->getAllExcludedKeys();
    m_filter->removeExcludedKey(intKey({2}));
    const QList<KeyValue> removed = m_filter->getAllExcludedKeys();
    m_filter->setValue(u"7"_s);

    QCOMPARE(shown(before), QStringList({u"2"_s, u"4"_s}));
    QCOMPARE(shown(added), QStringList({u"2"_s, u"3"_s, u"4"_s}));
    QCOMPARE(shown(removed), QStringList({u"3"_s, u"4"_s}));
    QCOMPARE(shown(m_filter->getAllExcludedKeys()), QStringList(u"7"_s));
}

void tst_ValueFilter::changesNeitherSwitchNorSignal()
{
    for (const bool enabled : {false, true}) {
        m_filter->setEnabled(enabled);
        const Quiet quiet(*m_filter);

        m_filter->addExcludedKey(intKey({3}));
        m_filter->addExcludedKey(intKey({3}));
        m_filter->setAllExcludedKeys({intKey({2}), intKey({1})});
        m_filter->removeExcludedKey(intKey({2}));
        m_filter->removeExcludedKey(intKey({1}));
        m_filter->setValue(u"5|4"_s);
        m_filter->clear();
        m_filter->clear();
        m_filter->setValue(QString());

        QVERIFY(quiet.kept());
    }
}

void tst_ValueFilter::switchingDoesNotTouchTheSet()
{
    MemoryTable table(u"quotes"_s, twoColumns);
    PlainFilter filter(table, 0, nullptr);
    filter.addExcludedKey(intKey({1}));

    for (const bool enabled : {true, false, false}) {
        filter.setEnabled(enabled);
        QCOMPARE(filter.value(), u"1"_s);
    }
}

void tst_ValueFilter::keysAreNotCheckedAgainstTheColumns()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::String));
    PlainFilter filter(table, 0, nullptr);

    filter.addExcludedKey(intKey({2, 2, 2}));
    filter.addExcludedKey(intKey({1, 5, 9}));
    filter.addExcludedKey(intKey({1, 5, 8}));

    QCOMPARE(shown(filter.getAllExcludedKeys()), QStringList({u"1,5,8"_s, u"1,5,9"_s, u"2,2,2"_s}));
    QVERIFY(filter.hasExcludedKey(intKey({1, 5, 9})));
}

void tst_ValueFilter::constantsAndColumnValuesOfInt64AreDifferentKeys()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Int64));
    PlainFilter filter(table, 0, nullptr);

    filter.addExcludedKey(intKey({1000}));
    filter.addExcludedKey(filter.valueToKey(u"1"_s));
    filter.addExcludedKey(filter.valueToKey(u"1000"_s));

    QCOMPARE(filter.value(), u"1000|1|1000"_s);
    filter.setValue(filter.value());
    QCOMPARE(filter.value(), u"1|1000"_s);
}

void tst_ValueFilter::mixedTextsAreEqualByTheirText()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::String}, {u"b"_s, FieldType::VarChar, false, 8}});
    PlainFilter strings(table, 0, nullptr);
    const PlainFilter varChars(table, 1, nullptr);

    strings.addExcludedKey(strings.valueToKey(u"b"_s));
    strings.addExcludedKey(varChars.valueToKey(u"b"_s));
    strings.addExcludedKey(varChars.valueToKey(u"a"_s));

    QCOMPARE(strings.value(), u"a|b"_s);
    QVERIFY(strings.hasExcludedKey(strings.valueToKey(u"a"_s)));
}

void tst_ValueFilter::valuesOutliveTheRowTheyCameFrom()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::String}});
    PlainFilter filter(table, 0, nullptr);
    {
        Record row = table.append({u"first text that is not short"_s});
        filter.addExcludedKey(filter.keyFromRecord(row));
        table.update(row, 0, u"second"_s);
        table.clear();
    }

    QCOMPARE(table.liveRowCount(), 0);
    QCOMPARE(filter.value(), u"first text that is not short"_s);
}

void tst_ValueFilter::agreesWithAPlainList_data()
{
    QTest::addColumn<FieldType::Type>("type");
    QTest::addColumn<int>("length");

    QTest::newRow("Int") << FieldType::Int << 0;
    QTest::newRow("Int64") << FieldType::Int64 << 0;
    QTest::newRow("Double") << FieldType::Double << 0;
    QTest::newRow("Decimal") << FieldType::Decimal << 2;
    QTest::newRow("XDecimal") << FieldType::XDecimal << 2;
    QTest::newRow("VarChar") << FieldType::VarChar << 6;
    QTest::newRow("DateTime") << FieldType::DateTime << 0;
    QTest::newRow("String") << FieldType::String << 0;
    QTest::newRow("Raw, all equal") << FieldType::Raw << 4;
}

void tst_ValueFilter::agreesWithAPlainList()
{
    QFETCH(FieldType::Type, type);
    QFETCH(int, length);
    MemoryTable table(u"quotes"_s, columnsOf(type, length));
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    PlainSet oracle;
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    const auto text = [&]() -> QString {
        const int number = int(random.bounded(-4, 5));
        switch (type) {
        case FieldType::Double:
            return number == 4 ? u"inf"_s : QString::number(number / 2.0);
        case FieldType::Decimal:
        case FieldType::XDecimal:
            return QString::number(number / 2.0, 'f', int(random.bounded(1, 3)));
        case FieldType::VarChar:
        case FieldType::String:
            return QString(random.bounded(3), QChar(u'a' + ushort(random.bounded(2))));
        case FieldType::DateTime:
            return number < 0 ? QString() : u"2024.01.0%1 00:00:00.000"_s.arg(number + 1);
        case FieldType::Raw:
            return u"0102030%1"_s.arg(number + 4);
        default:
            return QString::number(number);
        }
    };
    const auto key = [&] {
        const bool absent = random.bounded(6) == 0;
        const QString first = text();
        const QString second = absent && type < FieldType::VarChar ? QString()
                               : absent                            ? u"\u2400"_s
                                                                   : text();
        return filter.valueToKey(first + u',' + second);
    };

    for (int step = 0; step < 1500; ++step) {
        const int action = random.bounded(20);
        const KeyValue some = key();
        if (action < 10) {
            filter.addExcludedKey(some);
            oracle.add(some);
        } else if (action < 17) {
            filter.removeExcludedKey(some);
            oracle.remove(some);
        } else if (action == 17) {
            QList<KeyValue> keys;
            for (int i = random.bounded(60); i > 0; --i)
                keys.append(key());
            filter.setAllExcludedKeys(keys);
            oracle.setAll(keys);
        } else if (action == 18) {
            QStringList parts;
            oracle.clear();
            for (int i = random.bounded(1, 60); i > 0; --i) {
                const KeyValue part = key();
                parts.append(shown({part}).first());
                oracle.add(filter.valueToKey(parts.last()));
            }
            filter.setValue(parts.join(u'|'));
        } else if (random.bounded(3) == 0) {
            filter.clear();
            oracle.clear();
        }

        const KeyValue other = key();
        const QByteArray where = u"seed %1, step %2"_s.arg(seed).arg(step).toUtf8();
        QVERIFY2(filter.hasExcludedKey(other) == oracle.has(other), where.constData());
        QVERIFY2(filter.hasValue() == !oracle.keys().isEmpty(), where.constData());
        QVERIFY2(filter.getAllExcludedKeys().size() == oracle.keys().size(), where.constData());
        // The keys compare equal one by one and, where equal keys look different, the first one added is
        // kept.
        for (qsizetype i = 0; i < oracle.keys().size(); ++i)
            QVERIFY2(equal(filter.getAllExcludedKeys().at(i), oracle.keys().at(i)), where.constData());
        if (action != 17)
            QVERIFY2(shown(filter.getAllExcludedKeys()) == shown(oracle.keys()), where.constData());
    }
}

void tst_ValueFilter::searchesProbeAsStatedAlsoWithNaN()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Double));
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    // Halving, as the standard library does it without looking whether it may.
    QList<KeyValue> oracle;
    const auto key = [&] {
        const auto part = [&] {
            return random.bounded(8) == 0 ? std::numeric_limits<double>::quiet_NaN()
                                          : double(random.bounded(12));
        };
        return filter.valueToKey(QString::number(part()) + u',' + QString::number(part()));
    };
    const auto present = [&](auto place, const KeyValue &k) {
        return place != oracle.end() && !(k < *place);
    };

    for (int step = 0; step < 4000; ++step) {
        const KeyValue some = key();
        const QByteArray where = u"seed %1, step %2"_s.arg(seed).arg(step).toUtf8();
        const auto place = std::lower_bound(oracle.begin(), oracle.end(), some);
        QVERIFY2(filter.hasExcludedKey(some) == present(place, some), where.constData());
        if (random.bounded(5) < 3) {
            filter.addExcludedKey(some);
            if (!present(place, some))
                oracle.insert(place, some);
        } else {
            filter.removeExcludedKey(some);
            const auto range = std::equal_range(oracle.begin(), oracle.end(), some);
            oracle.erase(range.first, range.second);
        }
        QVERIFY2(shown(filter.getAllExcludedKeys()) == shown(oracle), where.constData());
    }
}

void tst_ValueFilter::searchesProbeAsStatedAlsoWithTextsMixedWithDates()
{
    // VarChar and String compare as texts, but a date sorts between the two by its type: a circle.
    MemoryTable table(
        u"quotes"_s,
        {{u"a"_s, FieldType::VarChar, false, 8}, {u"b"_s, FieldType::String}, {u"c"_s, FieldType::DateTime}});
    PlainFilter filter(table, 0, nullptr);
    const PlainFilter strings(table, 1, nullptr);
    const PlainFilter dates(table, 2, nullptr);
    const KeyValue date = dates.valueToKey(u"2024.01.01"_s);
    const KeyValue later = dates.valueToKey(u"2024.01.02"_s);
    const QList<KeyValue> keys{strings.valueToKey(u"a"_s), strings.valueToKey(u"b"_s),
                               strings.valueToKey(u"c"_s), filter.valueToKey(u"d"_s), date};
    filter.setAllExcludedKeys(keys);
    QCOMPARE(shown(filter.getAllExcludedKeys()), shown(keys));

    // It sorts behind the last key, but before those that the halving meets.
    filter.addExcludedKey(later);

    QCOMPARE(shown(filter.getAllExcludedKeys()), shown(QList<KeyValue>{later} + keys));
}

void tst_ValueFilter::addsBehindIntegersWhateverElseThereIs()
{
    MemoryTable table(u"quotes"_s, {{u"int"_s},
                                    {u"int64"_s, FieldType::Int64, true},
                                    {u"double"_s, FieldType::Double},
                                    {u"varchar"_s, FieldType::VarChar, false, 8},
                                    {u"date"_s, FieldType::DateTime},
                                    {u"string"_s, FieldType::String}});
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    const auto field = [&] {
        const int column = int(random.bounded(6));
        const int number = int(random.bounded(4));
        const QString texts[] = {QString::number(number),
                                 number == 0 ? QString() : QString::number(number),
                                 number == 0 ? u"nan"_s : QString::number(number),
                                 QChar(u'a' + number),
                                 u"2024.01.0%1"_s.arg(number + 1),
                                 QChar(u'a' + number)};
        FieldValue value(&table, column);
        value.fromText(texts[column]);
        return value;
    };

    for (int round = 0; round < 200; ++round) {
        PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
        QList<KeyValue> oracle;
        for (int step = 0; step < 40; ++step) {
            KeyValue key;
            key.append(field());
            key.append(field());
            filter.addExcludedKey(key);
            const auto place = std::lower_bound(oracle.begin(), oracle.end(), key);
            if (place == oracle.end() || key < *place)
                oracle.insert(place, key);
            QVERIFY2(shown(filter.getAllExcludedKeys()) == shown(oracle),
                     qPrintable(u"seed %1, round %2, step %3"_s.arg(seed).arg(round).arg(step)));
        }
    }
}

void tst_ValueFilter::removingTakesOutTheRunFoundAlsoWithNaN()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Double));
    PlainFilter filter(table, 0, nullptr);
    QList<KeyValue> keys;
    for (const QString &number : u"2|nan|2|nan|5|5|5"_s.split(u'|'))
        keys.append(filter.valueToKey(number));
    filter.setAllExcludedKeys(keys);
    QCOMPARE(filter.value(), u"2|nan|2|nan|5|5|5"_s);

    // Between two NaNs, which equal 3, lies a 2, which does not: it goes with them.
    filter.removeExcludedKey(filter.valueToKey(u"3"_s));
    QCOMPARE(filter.value(), u"2|5|5|5"_s);

    filter.removeExcludedKey(filter.valueToKey(u"3"_s));
    QCOMPARE(filter.value(), u"2|5|5|5"_s);
}

void tst_ValueFilter::sortingKeepsEveryKeyAlsoWithNaN()
{
    MemoryTable table(u"quotes"_s, columnsOf(FieldType::Double));
    PlainFilter filter(table, 0, {0, 1}, 0, nullptr);
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    for (int round = 0; round < 60; ++round) {
        const int length = int(random.bounded(round < 50 ? 200 : 5000));
        const int share = 1 + random.bounded(100);
        QList<KeyValue> keys;
        for (int i = 0; i < length; ++i) {
            const bool nan = random.bounded(share) == 0;
            keys.append(filter.valueToKey((nan ? u"nan,"_s : QString::number(random.bounded(50)) + u',') +
                                          QString::number(i)));
        }

        filter.setAllExcludedKeys(keys);

        QStringList before = shown(keys);
        QStringList after = shown(filter.getAllExcludedKeys());
        before.sort();
        after.sort();
        QVERIFY2(before == after, qPrintable(u"seed %1, round %2"_s.arg(seed).arg(round)));
        for (const KeyValue &key : std::as_const(keys))
            filter.removeExcludedKey(key);
        filter.clear();
    }
}

void tst_ValueFilter::sortingKeepsEveryKeyOfTextsMixedWithDates()
{
    // VarChar and String compare as texts, but a date sorts between the two by its type: a circle.
    MemoryTable table(
        u"quotes"_s,
        {{u"a"_s, FieldType::VarChar, false, 8}, {u"b"_s, FieldType::String}, {u"c"_s, FieldType::DateTime}});
    PlainFilter filter(table, 0, nullptr);
    const PlainFilter strings(table, 1, nullptr);
    const PlainFilter dates(table, 2, nullptr);
    const KeyValue varChar = filter.valueToKey(u"b"_s);
    const KeyValue date = dates.valueToKey(u"2024.01.01 00:00:00.000"_s);
    const KeyValue string = strings.valueToKey(u"a"_s);
    QVERIFY(varChar < date && date < string && string < varChar);
    QList<KeyValue> keys;
    for (int i = 0; i < 1000; ++i)
        keys.append(i % 3 == 0 ? varChar : i % 3 == 1 ? string : date);

    filter.setAllExcludedKeys(keys);

    QStringList before = shown(keys);
    QStringList after = shown(filter.getAllExcludedKeys());
    before.sort();
    after.sort();
    QCOMPARE(after, before);
}

QTEST_GUILESS_MAIN(tst_ValueFilter)
#include "tst_valuefilter.moc"
