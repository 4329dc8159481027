// SPDX-License-Identifier: MIT
//
// The key predicates over a database library that keeps what the interface promises and nothing else: this
// program replaces some of its functions. Equal numbers of different scales have different doubles; the text
// of a VarChar ends with its filler when it is compared with another VarChar and loses its spaces when it
// becomes a text; a record must not be asked for a column that its table lacks.
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fieldtypes.h>

#include <QTest>

#include <cmath>
#include <dlfcn.h>
#include <functional>

#include "keyfixtures.h"

using namespace Qt::StringLiterals;
using namespace fieldtypes;

namespace {

/// Whose rows have so many columns, and whether one of them was asked for another.
const Table *narrowTable = nullptr;
int narrowColumns = 0;
bool isAskedForMissingColumn = false;

double roundedByScale(const QString &text, short scale)
{
    const double value = text.toDouble();
    return scale % 2 == 0 ? value : std::nextafter(value, HUGE_VAL);
}

} // namespace

// These take the place of the library's: the program comes first when names are resolved.

double decimal::toDouble() const
{
    return roundedByScale(toString(), scale());
}

double xdecimal::toDouble() const
{
    return roundedByScale(toString(), scale());
}

QString Field::asStaticString() const
{
    return QString(reinterpret_cast<const QChar *>(data), def->length);
}

QString Field::toString() const
{
    if (def->type == FieldType::String)
        return *reinterpret_cast<const QString *>(data);
    QString text = asStaticString();
    while (text.endsWith(u' ') || text.endsWith(QChar(u'\0')))
        text.chop(1);
    return text;
}

Field Table::dataPtr(unsigned char *row, int column) const
{
    using DataPtr = Field (*)(const Table *, unsigned char *, int);
    static const auto original = reinterpret_cast<DataPtr>(dlsym(RTLD_NEXT, "_ZNK5Table7dataPtrEPhi"));
    const bool isMissing = this == narrowTable && column >= narrowColumns;
    isAskedForMissingColumn = isAskedForMissingColumn || isMissing;
    return original(this, row, isMissing ? 0 : column);
}

class TestOtherDatabase : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void isTheOneThatAnswers();
    void predicatesAnswerLikeTheComparison_data();
    void predicatesAnswerLikeTheComparison();
    void predicatesReadNoColumnBehindAMismatch_data();
    void predicatesReadNoColumnBehindAMismatch();
};

void TestOtherDatabase::isTheOneThatAnswers()
{
    QVERIFY(xdecimal(15, 1).toDouble() != xdecimal(150, 2).toDouble());
    QCOMPARE(xdecimal(15, 1).compare(xdecimal(150, 2)), 0);
    MemoryTable table(u"t"_s, {{u"a"_s, VarChar, false, 4}});
    const Field field = table.append({u"a "_s}).field(0);
    QCOMPARE(field.toString(), u"a"_s);
    QCOMPARE(field.asStaticString().size(), 4);
}

void TestOtherDatabase::predicatesAnswerLikeTheComparison_data()
{
    QTest::addColumn<ColumnSpec>("keySpec");
    QTest::addColumn<ColumnSpec>("rowSpec");
    const ColumnSpec decimals{u"a"_s, Decimal, false, 2};
    const ColumnSpec xdecimals{u"a"_s, XDecimal, false, 2};
    const ColumnSpec varChars{u"a"_s, VarChar, false, 8};
    const ColumnSpec longVarChars{u"a"_s, VarChar, false, 9};
    const ColumnSpec strings{u"a"_s, String};
    QTest::newRow("decimals") << decimals << decimals;
    QTest::newRow("xdecimals") << xdecimals << xdecimals;
    QTest::newRow("decimals beside xdecimals") << decimals << xdecimals;
    QTest::newRow("varchars") << varChars << varChars;
    QTest::newRow("varchars of another length") << varChars << longVarChars;
    QTest::newRow("varchar keys, string rows") << varChars << strings;
    QTest::newRow("string keys, varchar rows") << strings << varChars;
    QTest::newRow("strings") << strings << strings;
}

void TestOtherDatabase::predicatesAnswerLikeTheComparison()
{
    QFETCH(const ColumnSpec, keySpec);
    QFETCH(const ColumnSpec, rowSpec);
    // The second column tells few keys apart.
    MemoryTable table(u"t"_s, {keySpec, {u"b"_s, Int}});
    MemoryTable other(u"other"_s, {rowSpec, {u"b"_s, Int}});
    const auto append = [](MemoryTable &rows, FieldType::Type type, int i) {
        const short scale = short(i % 5);
        const int number = i / 10;
        qint64 unscaled = number;
        for (int digits = 0; digits < scale; ++digits)
            unscaled *= 10;
        const CellValue second = qint32(number % 3);
        switch (type) {
        case Decimal:
            return rows.append({decimal::fromUnscaled(unscaled, scale), second});
        case XDecimal:
            return rows.append({xdecimal(unscaled, scale), second});
        default:
            return rows.append({u"N%1"_s.arg(number) + QString(i % 3, u' '), second});
        }
    };
    const QList<int> bothColumns{0, 1};
    const QList<int> otherOrder{1, 0};
    int accepted = 0;
    int refused = 0;
    for (const QList<int> &columns : {QList<int>{0}, bothColumns, otherOrder}) {
        for (const int count : {1, 2, 7, 200}) {
            QList<KeyValue> keys;
            for (int i = 0; i < count; ++i)
                keys.append(keyOf(append(table, keySpec.type, i * 7 % 400), columns));
            const KeyFilterFunc func(&table, keys, columns);
            const KeyFilterFunc_Hash hash(&table, keys, columns);
            QList<Record> keyRecords;
            for (const KeyValue &key : std::as_const(keys))
                keyRecords.append(func.keyToRecord(key));

            for (int i = 0; i < 600; ++i) {
                for (const Record &record :
                     {append(table, keySpec.type, i), append(other, rowSpec.type, i)}) {
                    const bool expected = equalsAKey(record, keyRecords, columns);
                    QCOMPARE(func.filter(record), expected);
                    QCOMPARE(hash.filter(record), expected);
                    ++(expected ? accepted : refused);
                }
            }
        }
    }
    QVERIFY(accepted > 100);
    QVERIFY(refused > 100);
}

void TestOtherDatabase::predicatesReadNoColumnBehindAMismatch_data()
{
    QTest::addColumn<int>("keyCount");
    QTest::newRow("one key") << 1;
    QTest::newRow("a few keys") << 5;
    QTest::newRow("many keys") << 200;
}

void TestOtherDatabase::predicatesReadNoColumnBehindAMismatch()
{
    QFETCH(const int, keyCount);
    // The columns that tell the keys apart are those that the other table lacks.
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, Int64}, {u"c"_s, String}});
    MemoryTable narrow(u"narrow"_s, {{u"a"_s, Int}});
    QList<KeyValue> keys;
    for (int i = 0; i < keyCount; ++i)
        keys.append(keyOf(table.append({qint32(1), qint64(i), QString::number(i)}), {0, 1, 2}));
    const Record record = narrow.append({qint32(2)});
    const KeyFilterFunc func(&table, keys, {0, 1, 2});
    const KeyFilterFunc_Hash hash(&table, keys, {0, 1, 2});
    narrowTable = &narrow;
    narrowColumns = 1;
    isAskedForMissingColumn = false;

    QVERIFY(!func.filter(record));
    QVERIFY(!isAskedForMissingColumn);
    QVERIFY(!hash.filter(record));
    QVERIFY(!isAskedForMissingColumn);

    narrowTable = nullptr;
}

QTEST_APPLESS_MAIN(TestOtherDatabase)
#include "tst_otherdatabase.moc"
