// SPDX-License-Identifier: MIT
#include <database/memorytable.h>
#include <filters/valuefilter.h>
#include <support/exceptions.h>

#include "filtertest.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace {
const QList<ColumnSpec> twoColumns{{u"a"_s, FieldType::Int, true}, {u"b"_s, FieldType::Int, true}};

/// Notes the order of its calls and changes the form of a key.
class BracketFilter : public PlainFilter
{
public:
    using PlainFilter::PlainFilter;

    KeyValue keyFromRecord(const Record &record) const override
    {
        calls.append(u"record"_s);
        return PlainFilter::keyFromRecord(record);
    }
    QString keyToValue(const KeyValue &key) const override
    {
        const QString text = u'<' + PlainFilter::keyToValue(key) + u'>';
        calls.append(u"toValue "_s + text);
        return text;
    }
    QString keyToText(const KeyValue &key) const override
    {
        const QString text = u'(' + PlainFilter::keyToText(key) + u')';
        calls.append(u"toText "_s + text);
        return text;
    }
    KeyValue valueToKey(const QString &value) const override
    {
        calls.append(u"toKey "_s + value);
        return PlainFilter::valueToKey(value.sliced(1, value.size() - 2));
    }

    mutable QStringList calls;
};

/// Does whatever a test wants while a key is read or formed, then does that as ever.
class MeddlingFilter : public PlainFilter
{
public:
    using PlainFilter::PlainFilter;

    KeyValue valueToKey(const QString &value) const override
    {
        meddle(value);
        return PlainFilter::valueToKey(value);
    }
    QString keyToValue(const KeyValue &key) const override
    {
        meddle(QString());
        return PlainFilter::keyToValue(key);
    }
    QString keyToText(const KeyValue &key) const override
    {
        meddle(QString());
        return PlainFilter::keyToText(key);
    }

    std::function<void(const QString &)> meddle = [](const QString &) {};
};

/// Reads the parts of \a text one by one, as setValue() is said to; what is thrown passes.
void setValueOneByOne(PlainFilter &filter, const QString &text)
{
    filter.clear();
    if (text.isEmpty())
        return;
    for (const QString &part : text.split(u'|'))
        filter.addExcludedKey(filter.valueToKey(part));
}
} // namespace

/// Takes the place of the database library's: cannot compare 1 with 2.
int xdecimal::compare(const xdecimal &other) const
{
    const double mine = toDouble();
    const double theirs = other.toDouble();
    if (mine + theirs == 3 && mine * theirs == 2)
        throw Exception(u"no comparison"_s);
    return mine < theirs ? -1 : mine > theirs ? 1 : 0;
}

class tst_ValueFilter_Text : public FilterTest
{
    Q_OBJECT
public:
    tst_ValueFilter_Text() : FilterTest(twoColumns) {}

private Q_SLOTS:

    void readsAKeyFromARow();
    void readsAKeyFromARowOfAnotherTable();
    void joinsFieldsByCommas();
    void joinsKeysByBars();
    void anEmptySetIsTheEmptyText();
    void keyTextsAreReadWithTheTypesOfTheTable();
    void keyTextsNeedAPartPerColumn_data();
    void keyTextsNeedAPartPerColumn();
    void unreadablePartsAreNoErrors();
    void valueToKeyReadsWhatKeyToValueWrites_data();
    void valueToKeyReadsWhatKeyToValueWrites();

    void setValueReplacesTheSet();
    void setValueOfNothingEmptiesTheSet();
    void setValueDoesNotCallClear();
    void setValueKeepsTheKeysBeforeAFailingPart();
    void setValueKeepsTheKeysBeforeAFailingComparison();
    void setValueEmptiesTheSetBeforeItFails();
    void setValueSplitsAtEveryBar();
    void setValueKeepsTheFirstOfEqualKeys();
    void setValueKeepsTheStorageOrItsSize();
    void theFormsAreAmbiguousOnPurpose();
    void theEmptyKeyIsLost();
    void setValueOfValueRestoresTheSet();

    void keysGoThroughTheOverrides();
    void displayFormDoesNotFollowTheStoredForm();
    void overridesMeetTheSetAsItGrows();
    void overridesMayChangeTheSet();
    void overridesMayChangeTheText();
    void overridesMayKeepTheParts();
    void overridesMayThrowAnything();
    void overridesMayRestoreTheSetMeanwhile();
    void formingMayChangeTheSet();

    void agreesWithReadingOneByOne_data();
    void agreesWithReadingOneByOne();
    void readsManyKeysInAscendingOrderQuickly();
};

void tst_ValueFilter_Text::readsAKeyFromARow()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s}, {u"b"_s, FieldType::String}, {u"c"_s, FieldType::Int64, true}});
    const PlainFilter filter(table, 0, {2, 1, 0, 1}, 0, nullptr);
    const PlainFilter noColumns(table, 0, {}, 0, nullptr);

    const KeyValue key = filter.keyFromRecord(table.append({5, u"text"_s, qint64(7)}));
    const KeyValue absent = filter.keyFromRecord(table.append({5, u"text"_s, {}}));

    QCOMPARE(shown({key}), QStringList(u"7,text,5,text"_s));
    QCOMPARE(key.at(0).def, table.columnDef(2));
    QVERIFY(key.at(0).isPresent());
    QVERIFY(!absent.at(0).isPresent());
    QVERIFY(noColumns.keyFromRecord(table.row(0)).isEmpty());
}

void tst_ValueFilter_Text::readsAKeyFromARowOfAnotherTable()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s}, {u"b"_s}});
    MemoryTable other(u"other"_s, {{u"x"_s, FieldType::String}, {u"y"_s, FieldType::Double}});
    PlainFilter filter(table, 0, {1, 0}, 0, nullptr);

    const KeyValue key = filter.keyFromRecord(other.append({u"text"_s, 2.5}));

    QCOMPARE(shown({key}), QStringList(u"2.5,text"_s));
    QCOMPARE(key.at(0).def->type, FieldType::Double);
    QCOMPARE(key.at(1).def->type, FieldType::String);
    QCOMPARE(filter.valueToKey(u"2,3"_s).at(0).def->type, FieldType::Int);
}

void tst_ValueFilter_Text::joinsFieldsByCommas()
{
    QCOMPARE(m_pairs->keyToValue(intKey({12, 3})), u"12,3"_s);
    QCOMPARE(m_pairs->keyToText(intKey({12, 3})), u"12,3"_s);
    QCOMPARE(m_pairs->keyToValue(intKey({-1})), u"-1"_s);
    QCOMPARE(m_pairs->keyToText(intKey({-1})), u"-1"_s);
    QCOMPARE(m_pairs->keyToValue(intKey({})), QString());
    QCOMPARE(m_pairs->keyToText(intKey({})), QString());
    QCOMPARE(m_pairs->keyToValue(intKey({1, 2, 3, 4, 5})), u"1,2,3,4,5"_s);
    QCOMPARE(m_pairs->keyToValue(m_pairs->valueToKey(u","_s)), u","_s);
}

void tst_ValueFilter_Text::joinsKeysByBars()
{
    m_pairs->addExcludedKey(intKey({15, 1}));
    QCOMPARE(m_pairs->value(), u"15,1"_s);
    m_pairs->addExcludedKey(intKey({12, 3}));

    QCOMPARE(m_pairs->value(), u"12,3|15,1"_s);
    QCOMPARE(m_pairs->text(), u"12,3|15,1"_s);
}

void tst_ValueFilter_Text::anEmptySetIsTheEmptyText()
{
    QVERIFY(m_pairs->value().isEmpty());
    QVERIFY(m_pairs->text().isEmpty());
}

void tst_ValueFilter_Text::keyTextsAreReadWithTheTypesOfTheTable()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::Int64}, {u"b"_s, FieldType::VarChar, false, 3}});
    const PlainFilter filter(table, 0, {1, 0, 0}, 0, nullptr);

    const KeyValue key = filter.valueToKey(u"abcd,5000000000,"_s);

    QCOMPARE(key.size(), 3);
    QCOMPARE(key.at(0).def, table.columnDef(1));
    QCOMPARE(key.at(1).def, table.columnDef(0));
    QCOMPARE(key.at(1).value<qint64>(), 5000000000);
    QCOMPARE(shown({key}), QStringList(u"abc,5000000000,"_s));
    QVERIFY(!key.at(2).isPresent());
}

void tst_ValueFilter_Text::keyTextsNeedAPartPerColumn_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("refusal");

    const QString words = u"ValueFilter can't restore from text. Incorrect columns numbers: %1 != %2"_s;
    QTest::newRow("null text, one column") << 1 << QString() << QString();
    QTest::newRow("empty text, one column") << 1 << u""_s << QString();
    QTest::newRow("null text, two columns") << 2 << QString() << words.arg(1).arg(2);
    QTest::newRow("empty text, two columns") << 2 << u""_s << words.arg(1).arg(2);
    QTest::newRow("comma, one column") << 1 << u","_s << words.arg(2).arg(1);
    QTest::newRow("comma, two columns") << 2 << u","_s << QString();
    QTest::newRow("one part less") << 3 << u"1,2"_s << words.arg(2).arg(3);
    QTest::newRow("as many") << 3 << u"1,2,3"_s << QString();
    QTest::newRow("one part more") << 3 << u"1,2,3,4"_s << words.arg(4).arg(3);
    QTest::newRow("placeholders in the text") << 1 << u"%1,%2"_s << words.arg(2).arg(1);
    QTest::newRow("no columns, no text") << 0 << QString() << words.arg(1).arg(0);
    QTest::newRow("no columns, a part") << 0 << u"1"_s << words.arg(1).arg(0);
}

void tst_ValueFilter_Text::keyTextsNeedAPartPerColumn()
{
    QFETCH(int, columns);
    QFETCH(QString, text);
    QFETCH(QString, refusal);
    const PlainFilter filter(*m_table, 0, QList<int>(columns, 1), 0, nullptr);

    KeyValue key;
    const QString thrown = thrownText([&] { key = filter.valueToKey(text); });

    QCOMPARE(thrown, refusal);
    QCOMPARE(key.size(), refusal.isEmpty() ? columns : 0);
}

void tst_ValueFilter_Text::unreadablePartsAreNoErrors()
{
    const KeyValue key = m_pairs->valueToKey(u"x12, 7"_s);

    QVERIFY(!key.at(0).isPresent());
    FieldValue expected(m_table.get(), 1);
    expected.fromText(u" 7");
    QCOMPARE(key.at(1).toText(), expected.toText());
}

void tst_ValueFilter_Text::valueToKeyReadsWhatKeyToValueWrites_data()
{
    QTest::addColumn<FieldType::Type>("type");
    QTest::addColumn<int>("length");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("Int") << FieldType::Int << 0 << QStringList({u""_s, u"0"_s, u"-2147483648"_s});
    QTest::newRow("Int64") << FieldType::Int64 << 0 << QStringList({u""_s, u"9223372036854775807"_s});
    QTest::newRow("Double") << FieldType::Double << 0
                            << QStringList({u""_s, u"-0"_s, u"nan"_s, u"inf"_s, u"0.1"_s});
    QTest::newRow("Decimal") << FieldType::Decimal << 2 << QStringList({u""_s, u"-1.50"_s, u"2"_s});
    QTest::newRow("XDecimal") << FieldType::XDecimal << 2
                              << QStringList({u""_s, u"123456789012345678901.5"_s});
    QTest::newRow("VarChar") << FieldType::VarChar << 9 << QStringList({u"\u2400"_s, u""_s, u"a b"_s});
    QTest::newRow("DateTime") << FieldType::DateTime << 0
                              << QStringList({u"\u2400"_s, u""_s, u"2024.03.31 02:30:00.000"_s});
    QTest::newRow("String") << FieldType::String << 0
                            << QStringList({u"\u2400"_s, u""_s, u"Газпром"_s, u" x "_s, QString(1000, u'x')});
    QTest::newRow("Raw") << FieldType::Raw << 3 << QStringList({u""_s, u"0a0b0c"_s});
    QTest::newRow("Block") << FieldType::Block << 0 << QStringList({u""_s, QString(808, u'7')});
}

void tst_ValueFilter_Text::valueToKeyReadsWhatKeyToValueWrites()
{
    QFETCH(FieldType::Type, type);
    QFETCH(int, length);
    QFETCH(QStringList, texts);
    MemoryTable table(u"quotes"_s, {{u"a"_s, type, true, length}, {u"b"_s}});
    const PlainFilter filter(table, 0, {0, 1, 0}, 0, nullptr);

    for (const QString &first : std::as_const(texts)) {
        for (const QString &last : std::as_const(texts)) {
            const QString text = first + u",7,"_s + last;

            QCOMPARE(filter.keyToValue(filter.valueToKey(text)), text);
            QCOMPARE(filter.keyToText(filter.valueToKey(text)), text);
        }
    }
}

void tst_ValueFilter_Text::setValueReplacesTheSet()
{
    m_pairs->setAllExcludedKeys({intKey({1, 1}), intKey({1, 1}), intKey({9, 9})});

    m_pairs->setValue(u"15,1|12,3"_s);

    QCOMPARE(shown(m_pairs->getAllExcludedKeys()), QStringList({u"12,3"_s, u"15,1"_s}));
}

void tst_ValueFilter_Text::setValueOfNothingEmptiesTheSet()
{
    for (const QString &nothing : {QString(), u""_s}) {
        m_pairs->addExcludedKey(intKey({1, 1}));
        m_pairs->setValue(nothing);
        QVERIFY(!m_pairs->hasValue());
        m_pairs->setValue(nothing);
        QVERIFY(!m_pairs->hasValue());
    }
}

void tst_ValueFilter_Text::setValueDoesNotCallClear()
{
    class ClearingFilter : public PlainFilter
    {
    public:
        using PlainFilter::PlainFilter;
        void clear() override { ++cleared; }
        int cleared = 0;
    };
    ClearingFilter filter(*m_table, 0, nullptr);
    filter.addExcludedKey(intKey({1}));

    filter.setValue(u"2"_s);
    QCOMPARE(filter.value(), u"2"_s);
    filter.setValue(QString());

    QVERIFY(!filter.hasValue());
    QCOMPARE(filter.cleared, 0);
}

void tst_ValueFilter_Text::setValueKeepsTheKeysBeforeAFailingPart()
{
    const QString first = thrownText([&] { m_pairs->setValue(u"1,2|3"_s); });
    QCOMPARE(first, u"ValueFilter can't restore from text. Incorrect columns numbers: 1 != 2"_s);
    QCOMPARE(m_pairs->value(), u"1,2"_s);

    const QString later = thrownText([&] { m_pairs->setValue(u"5,5|3,3|9,9|3,3|1,1|4,4,4|0,0"_s); });
    QCOMPARE(later, u"ValueFilter can't restore from text. Incorrect columns numbers: 3 != 2"_s);
    QCOMPARE(m_pairs->value(), u"1,1|3,3|5,5|9,9"_s);
}

void tst_ValueFilter_Text::setValueKeepsTheKeysBeforeAFailingComparison()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::XDecimal}});
    PlainFilter filter(table, 0, nullptr);
    filter.setValue(u"7"_s);

    QCOMPARE(exceptionMessage([&] { filter.setValue(u"2|5|1|4"_s); }), u"no comparison"_s);
    QCOMPARE(filter.value(), u"2|5"_s);
    QVERIFY(!thrownText([&] { filter.setValue(u"3|2|1,1"_s); }).isEmpty());
    QCOMPARE(filter.value(), u"2|3"_s);
}

void tst_ValueFilter_Text::setValueEmptiesTheSetBeforeItFails()
{
    m_pairs->addExcludedKey(intKey({1, 1}));

    const QString refusal = thrownText([&] { m_pairs->setValue(u"3|1,2"_s); });

    QVERIFY(!refusal.isEmpty());
    QVERIFY(!m_pairs->hasValue());
}

void tst_ValueFilter_Text::setValueSplitsAtEveryBar()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::Int, true}, {u"b"_s, FieldType::String}});
    PlainFilter numbers(table, 0, nullptr);
    PlainFilter texts(table, 1, nullptr);

    numbers.setValue(u"7||9"_s);
    QCOMPARE(shown(numbers.getAllExcludedKeys()), QStringList({u""_s, u"7"_s, u"9"_s}));
    numbers.setValue(u"|"_s);
    QCOMPARE(shown(numbers.getAllExcludedKeys()), QStringList(u""_s));
    texts.setValue(u"|"_s);
    QCOMPARE(shown(texts.getAllExcludedKeys()), QStringList(u""_s));
    QVERIFY(texts.getAllExcludedKeys().first().first().isPresent());
    texts.setValue(u"|b|a|"_s);
    QCOMPARE(shown(texts.getAllExcludedKeys()), QStringList({u""_s, u"a"_s, u"b"_s}));
    texts.setValue(u" a |a"_s);
    QCOMPARE(shown(texts.getAllExcludedKeys()), QStringList({u" a "_s, u"a"_s}));
}

void tst_ValueFilter_Text::setValueKeepsTheFirstOfEqualKeys()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::Decimal, true, 4}});
    PlainFilter filter(table, 0, nullptr);

    filter.setValue(u"2.0|1.50|1.5|2.00|1.500|2"_s);
    QCOMPARE(filter.value(), u"1.50|2.0"_s);
    filter.setValue(u"1.500|1.5|2"_s);
    QCOMPARE(filter.value(), u"1.500|2"_s);
}

void tst_ValueFilter_Text::setValueKeepsTheStorageOrItsSize()
{
    const QList<KeyValue> &set = m_filter->getAllExcludedKeys();
    m_filter->setValue(u"1|2|3|4|5|6"_s);
    const qsizetype capacity = set.capacity();
    const KeyValue *storage = set.constData();

    for (const QString &text : {u"1|2"_s, u"6|5|4|3|2|1"_s}) {
        m_filter->setValue(text);
        QCOMPARE(set.constData(), storage);
        QCOMPARE(set.capacity(), capacity);
    }
    const QList<KeyValue> copy = set;
    m_filter->setValue(QString());

    QCOMPARE(set.capacity(), capacity);
    QCOMPARE(copy.size(), 6);
}

void tst_ValueFilter_Text::theFormsAreAmbiguousOnPurpose()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::String}, {u"b"_s}});
    PlainFilter filter(table, 0, nullptr);

    filter.addExcludedKey(filter.keyFromRecord(table.append({u"a|b"_s, 1})));
    QCOMPARE(filter.value(), u"a|b"_s);
    filter.setValue(filter.value());
    QCOMPARE(filter.getAllExcludedKeys().size(), 2);

    filter.clear();
    filter.addExcludedKey(filter.keyFromRecord(table.append({u"a,b"_s, 1})));
    QCOMPARE(filter.value(), u"a,b"_s);
    const QString refusal = thrownText([&] { filter.setValue(filter.value()); });
    QCOMPARE(refusal, u"ValueFilter can't restore from text. Incorrect columns numbers: 2 != 1"_s);
}

void tst_ValueFilter_Text::theEmptyKeyIsLost()
{
    MemoryTable table(u"quotes"_s, {{u"a"_s, FieldType::String}});
    PlainFilter filter(table, 0, nullptr);
    filter.addExcludedKey(filter.valueToKey(QString()));
    QVERIFY(filter.hasValue());
    QVERIFY(filter.value().isEmpty());

    filter.setValue(filter.value());

    QVERIFY(!filter.hasValue());
}

void tst_ValueFilter_Text::setValueOfValueRestoresTheSet()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    for (int i = 0; i < 500; ++i) {
        const int a = int(random.generate());
        const int b = int(random.generate());
        m_pairs->addExcludedKey(intKey({a, b}));
    }
    const QString saved = m_pairs->value();
    const QList<KeyValue> before = m_pairs->getAllExcludedKeys();

    m_pairs->setValue(m_pairs->value());

    QVERIFY2(m_pairs->value() == saved, qPrintable(u"seed %1"_s.arg(seed)));
    QCOMPARE(shown(m_pairs->getAllExcludedKeys()), shown(before));
}

void tst_ValueFilter_Text::keysGoThroughTheOverrides()
{
    BracketFilter filter(*m_table, 0, {0, 1}, 0, nullptr);

    filter.setValue(u"<2,2>|<1,1>|<2,2>"_s);
    QCOMPARE(filter.calls, QStringList({u"toKey <2,2>"_s, u"toKey <1,1>"_s, u"toKey <2,2>"_s}));
    filter.calls.clear();

    QCOMPARE(filter.value(), u"<1,1>|<2,2>"_s);
    QCOMPARE(filter.calls, QStringList({u"toValue <1,1>"_s, u"toValue <2,2>"_s}));
    filter.calls.clear();

    QCOMPARE(filter.text(), u"(1,1)|(2,2)"_s);
    QCOMPARE(filter.calls, QStringList({u"toText (1,1)"_s, u"toText (2,2)"_s}));
    filter.calls.clear();

    filter.clear();
    filter.setAllExcludedKeys({intKey({1, 1})});
    QVERIFY(filter.hasExcludedKey(intKey({1, 1})));
    QCOMPARE(filter.calls, QStringList());
}

void tst_ValueFilter_Text::displayFormDoesNotFollowTheStoredForm()
{
    class StoredOnly : public PlainFilter
    {
    public:
        using PlainFilter::PlainFilter;
        QString keyToValue(const KeyValue &) const override { return u"stored"_s; }
    };
    class ShownOnly : public PlainFilter
    {
    public:
        using PlainFilter::PlainFilter;
        QString keyToText(const KeyValue &) const override { return u"shown"_s; }
    };
    StoredOnly stored(*m_table, 0, nullptr);
    ShownOnly shownOnly(*m_table, 0, nullptr);
    stored.addExcludedKey(intKey({1}));
    shownOnly.addExcludedKey(intKey({1}));

    QCOMPARE(stored.value(), u"stored"_s);
    QCOMPARE(stored.text(), u"1"_s);
    QCOMPARE(shownOnly.value(), u"1"_s);
    QCOMPARE(shownOnly.text(), u"shown"_s);
}

void tst_ValueFilter_Text::overridesMeetTheSetAsItGrows()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    // A reference from before; nobody asks the filter for anything meanwhile.
    const QList<KeyValue> &set = filter.getAllExcludedKeys();
    filter.addExcludedKey(intKey({77}));
    QStringList seen;
    filter.meddle = [&](const QString &part) { seen.append(part + u": "_s + shown(set).join(u' ')); };

    filter.setValue(u"5|3|9|3|1"_s);

    QCOMPARE(seen, QStringList({u"5: "_s, u"3: 5"_s, u"9: 3 5"_s, u"3: 3 5 9"_s, u"1: 3 5 9"_s}));
    QCOMPARE(shown(set), QStringList({u"1"_s, u"3"_s, u"5"_s, u"9"_s}));
}

void tst_ValueFilter_Text::overridesMayChangeTheSet()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    filter.meddle = [&](const QString &part) {
        if (part == u'3')
            filter.addExcludedKey(intKey({4}));
        if (part == u'9')
            filter.removeExcludedKey(intKey({5}));
        if (part == u'1')
            filter.setAllExcludedKeys({intKey({8}), intKey({1}), intKey({1})});
    };

    filter.setValue(u"5|3|9"_s);
    QCOMPARE(shown(filter.getAllExcludedKeys()), QStringList({u"3"_s, u"4"_s, u"9"_s}));
    filter.setValue(u"5|1|2"_s);
    QCOMPARE(shown(filter.getAllExcludedKeys()), QStringList({u"1"_s, u"1"_s, u"2"_s, u"8"_s}));
}

void tst_ValueFilter_Text::overridesMayChangeTheText()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    QString text = u"5|3|9"_s;
    filter.meddle = [&](const QString &) { text = QString(); };

    filter.setValue(text);

    QCOMPARE(filter.value(), u"3|5|9"_s);
}

void tst_ValueFilter_Text::overridesMayKeepTheParts()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    QStringList kept;
    filter.meddle = [&](const QString &part) { kept.append(part); };
    {
        QString text = u"5|333333333|"_s;
        text.detach();
        filter.setValue(text);
        text.fill(u'x');
    }

    QCOMPARE(kept, QStringList({u"5"_s, u"333333333"_s, u""_s}));
}

void tst_ValueFilter_Text::overridesMayThrowAnything()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    const auto throwing = [&](auto thrown) {
        filter.meddle = [thrown](const QString &part) {
            if (part == u'9')
                throw thrown;
        };
    };

    throwing(7);
    QVERIFY_THROWS_EXCEPTION(int, filter.setValue(u"5|3|9|1"_s));
    QCOMPARE(filter.value(), u"3|5"_s);
    throwing(std::runtime_error("no"));
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, filter.setValue(u"8|6|7|9|1"_s));
    filter.meddle = [](const QString &) {};
    QCOMPARE(filter.value(), u"6|7|8"_s);
    throwing(u"no"_s);
    QCOMPARE(thrownText([&] { filter.setValue(u"9|1"_s); }), u"no"_s);
    QVERIFY(!filter.hasValue());
    filter.meddle = [](const QString &part) {
        if (part == u'9')
            throw Exception(u"no"_s);
    };
    QCOMPARE(exceptionMessage([&] { filter.setValue(u"4|4|9"_s); }), u"no"_s);
    QCOMPARE(filter.value(), u"4"_s);
}

void tst_ValueFilter_Text::overridesMayRestoreTheSetMeanwhile()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    int depth = 0;
    filter.meddle = [&](const QString &part) {
        if (part == u'9' && depth++ == 0)
            filter.setValue(u"8|2"_s);
    };

    filter.setValue(u"5|9|1|9"_s);

    QCOMPARE(filter.value(), u"1|2|8|9"_s);
}

void tst_ValueFilter_Text::formingMayChangeTheSet()
{
    MeddlingFilter filter(*m_table, 0, nullptr);
    filter.meddle = [&](const QString &) {
        filter.clear();
        for (const int number : {7, 8, 9})
            filter.addExcludedKey(intKey({number}));
    };

    for (const auto form : {&ValueFilter::value, &ValueFilter::text}) {
        filter.setAllExcludedKeys({intKey({1}), intKey({2}), intKey({3})});
        QCOMPARE((filter.*form)(), u"1|2|3"_s);
        QCOMPARE(shown(filter.getAllExcludedKeys()), (QStringList{u"7"_s, u"8"_s, u"9"_s}));
    }
}

void tst_ValueFilter_Text::agreesWithReadingOneByOne_data()
{
    QTest::addColumn<FieldType::Type>("type");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("integers") << FieldType::Int
                              << QStringList(
                                     {u"1"_s, u"2"_s, u"3"_s, u"-7"_s, u""_s, u"x"_s, u"0"_s, u"00"_s});
    QTest::newRow("decimals of several scales")
        << FieldType::Decimal
        << QStringList({u"1"_s, u"1.0"_s, u"1.00"_s, u"-2"_s, u"2e0"_s, u"0"_s, u"-0.5"_s, u""_s});
    QTest::newRow("zeros of both signs")
        << FieldType::Double << QStringList({u"0"_s, u"-0"_s, u"1"_s, u"-1"_s, u"inf"_s, u"-inf"_s, u""_s});
    QTest::newRow("NaN among doubles")
        << FieldType::Double
        << QStringList({u"0"_s, u"nan"_s, u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"-inf"_s, u""_s});
    QTest::newRow("texts") << FieldType::String
                           << QStringList({u""_s, u"\u2400"_s, u"a"_s, u"B"_s, u"ab"_s, u"%1"_s});
    QTest::newRow("bytes, all equal") << FieldType::Raw << QStringList({u"0102"_s, u"0203"_s, u""_s});
}

void tst_ValueFilter_Text::agreesWithReadingOneByOne()
{
    QFETCH(FieldType::Type, type);
    QFETCH(QStringList, texts);
    const int length = type == FieldType::Raw ? 2 : type == FieldType::Decimal ? 3 : 0;
    MemoryTable table(u"quotes"_s, {{u"a"_s, type, true, length}, {u"b"_s}});
    PlainFilter filter(table, 0, {0, 0}, 0, nullptr);
    PlainFilter oracle(table, 0, {0, 0}, 0, nullptr);
    MeddlingFilter overridden(table, 0, {0, 0}, 0, nullptr);
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);

    for (int round = 0; round < 400; ++round) {
        QStringList parts;
        const int count = random.bounded(1, 60);
        for (int i = 0; i < count; ++i)
            parts.append(texts.at(random.bounded(texts.size())) + u',' +
                         texts.at(random.bounded(texts.size())));
        if (random.bounded(4) == 0)
            parts[random.bounded(parts.size())] += u",one too many"_s;
        const QString text = parts.join(u'|');

        const QString expected = thrownText([&] { setValueOneByOne(oracle, text); });
        const QString refusal = thrownText([&] { filter.setValue(text); });
        const QString overriddenRefusal = thrownText([&] { overridden.setValue(text); });

        const QByteArray where = u"seed %1, round %2: %3"_s.arg(seed).arg(round).arg(text).toUtf8();
        QVERIFY2(refusal == expected && overriddenRefusal == expected, where.constData());
        QVERIFY2(shown(filter.getAllExcludedKeys()) == shown(oracle.getAllExcludedKeys()), where.constData());
        QVERIFY2(shown(overridden.getAllExcludedKeys()) == shown(oracle.getAllExcludedKeys()),
                 where.constData());
        QVERIFY2(filter.value() == oracle.value() && filter.text() == oracle.value(), where.constData());
    }
}

void tst_ValueFilter_Text::readsManyKeysInAscendingOrderQuickly()
{
    // Were the keys to move each other about, this would move some 10^12 bytes: minutes instead of well below a
    // second.
    constexpr int count = 500'000;
    QString text;
    for (int i = 0; i < count; ++i) {
        text += QString::number(i);
        text += u'|';
    }
    text += u"broken,"_s;

    QElapsedTimer timer;
    timer.start();
    const QString refusal = thrownText([&] { m_filter->setValue(text); });

    QVERIFY2(timer.elapsed() < 30'000, qPrintable(u"%1 ms"_s.arg(timer.elapsed())));
    QVERIFY(!refusal.isEmpty());
    QCOMPARE(m_filter->getAllExcludedKeys().size(), count);
    for (int i = 0; i < count; i += 1009)
        QCOMPARE(m_filter->getAllExcludedKeys().at(i).first().value<qint32>(), i);
}

QTEST_GUILESS_MAIN(tst_ValueFilter_Text)
#include "tst_valuefilter_text.moc"
