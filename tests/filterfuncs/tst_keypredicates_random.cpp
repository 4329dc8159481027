// SPDX-License-Identifier: MIT
//
// On random tables the answers of the key predicates are those of the plainest loop over keys and columns, and
// asking them allocates nothing where no text has to be made.
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <database/memorytable.h>

#include <support/fieldtypes.h>
#include <support/seed.h>

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "keyfixtures.h"
#include "textcost.h"

using namespace Qt::StringLiterals;
using namespace fieldtypes;

namespace {

constexpr FieldType::Type allTypes[] = {Raw,      Int,     Int64,    Double, Decimal,
                                        XDecimal, VarChar, DateTime, String, Block};

/// Makes tables and values; values come from small ranges, so that many are equal.
class Random
{
public:
    explicit Random(quint32 seed) : m_generator(seed) {}

    int below(int bound) { return int(m_generator.bounded(bound)); }
    bool oneIn(int chances) { return below(chances) == 0; }

    ColumnSpec spec(int number)
    {
        ColumnSpec spec;
        spec.name = u"c%1"_s.arg(number);
        spec.type = allTypes[below(int(std::size(allTypes)))];
        spec.nullable = oneIn(3);
        if (spec.type == VarChar) {
            spec.length = 12 + below(8);
            spec.size = oneIn(3) ? 2 * spec.length + below(9) : 0;
        } else if (spec.type == Raw) {
            spec.length = 1 + below(9);
        } else if (spec.type == Decimal || spec.type == XDecimal) {
            spec.length = below(4);
        }
        return spec;
    }

    /// A value that fits a column of \a spec, out of some \a variety different ones.
    CellValue value(const ColumnSpec &spec, int variety)
    {
        if (spec.nullable && oneIn(6))
            return {};
        const int number = below(variety) - variety / 3;
        switch (spec.type) {
        case Int:
            return oneIn(20) ? std::numeric_limits<qint32>::min() : qint32(number);
        case Int64:
            // Some differ in the upper half alone.
            return oneIn(3) ? qint64(number) << 32 : qint64(number);
        case DateTime:
            return datetime(oneIn(5) ? number : 1700000000000 + number * qint64(86400000));
        case Double:
            switch (below(40)) {
            case 0:
                return std::nan("");
            case 1:
                return HUGE_VAL;
            case 2:
                return -HUGE_VAL;
            case 3:
                return -0.0;
            case 4:
                return std::numeric_limits<double>::denorm_min();
            default:
                return number / 4.0;
            }
        case Decimal:
            return decimalNumber(number, spec.length);
        case XDecimal:
            return xdecimalNumber(number, spec.length);
        case VarChar:
        case String:
            return text(number);
        case Raw:
            return QByteArray(spec.length, char(number));
        case Block:
            return QByteArray(FieldType::blockSize, char(number));
        }
        return {};
    }

private:
    /// The number of hundredths, at the column's scale where that is exact, and sometimes at a longer one.
    static qint64 tenTo(int exponent) { return exponent == 0 ? 1 : 10 * tenTo(exponent - 1); }
    CellValue decimalNumber(int number, int scale)
    {
        const int longer = oneIn(8) ? scale + below(6) : scale;
        return decimal::fromUnscaled(number * tenTo(longer - scale), short(longer));
    }
    CellValue xdecimalNumber(int number, int scale)
    {
        const int longer = oneIn(8) ? scale + below(6) : scale;
        return xdecimal(number * tenTo(longer - scale), short(longer));
    }
    QString text(int number)
    {
        switch (below(12)) {
        case 0:
            return {};
        case 1:
            return u"ab"_s.left(1 + below(2));
        case 2:
            return u"Бумага %1"_s.arg(number);
        case 3:
            return QString(QChar(u'\0')) + QString::number(number);
        default:
            return u"N%1"_s.arg(number, 6, 10, QChar(u'0'));
        }
    }

    QRandomGenerator m_generator;
};

/// A column that is like \a spec or whose type is another one, for a table whose rows are asked about as
/// well.
ColumnSpec similar(const ColumnSpec &spec, Random &random)
{
    ColumnSpec result = spec;
    if (random.oneIn(2))
        result.nullable = !spec.nullable;
    if (spec.type == VarChar || spec.type == String) {
        result.type = random.oneIn(2) ? VarChar : String;
        result.length = result.type == VarChar ? 20 + random.below(5) : 0;
        result.size = 0;
    } else if (spec.type == Decimal || spec.type == XDecimal) {
        result.length = random.below(4);
    } else if (random.oneIn(6)) {
        result = random.spec(0);
        result.name = spec.name;
    }
    return result;
}

bool equalsTheBytesOfAKey(const Record &record, const QList<Record> &keys, qsizetype offset, size_t length)
{
    for (const Record &key : keys) {
        if (std::memcmp(record.row() + offset, key.row() + offset, length) == 0)
            return true;
    }
    return false;
}

} // namespace

class TestKeyPredicatesRandom : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void answerLikeThePlainLoop_data();
    void answerLikeThePlainLoop();
    void fastAnswersLikeTheBytes_data();
    void fastAnswersLikeTheBytes();
};

void TestKeyPredicatesRandom::answerLikeThePlainLoop_data()
{
    QTest::addColumn<int>("rounds");
    QTest::addColumn<int>("mostKeys");
    QTest::addColumn<int>("mostColumns");
    QTest::addColumn<int>("variety");
    QTest::newRow("single columns, few keys") << 600 << 6 << 1 << 12;
    QTest::newRow("single columns, many keys") << 200 << 200 << 1 << 300;
    QTest::newRow("several columns, few keys") << 600 << 6 << 4 << 3;
    QTest::newRow("several columns, many keys") << 200 << 200 << 3 << 6;
    QTest::newRow("many columns") << 150 << 60 << 14 << 2;
    QTest::newRow("more keys") << 20 << 1500 << 2 << 90;
}

void TestKeyPredicatesRandom::answerLikeThePlainLoop()
{
    QFETCH(int, rounds);
    QFETCH(int, mostKeys);
    QFETCH(int, mostColumns);
    QFETCH(int, variety);
    const auto seed = quint32(testSeed());
    Random random(seed);
    int accepted = 0;
    int refused = 0;

    for (int round = 0; round < rounds; ++round) {
        const QByteArray where = seedMessage(seed, u"round %1"_s.arg(round));
        QList<ColumnSpec> specs;
        QList<ColumnSpec> otherSpecs;
        for (int i = mostColumns + random.below(2); i > 0; --i) {
            specs.append(random.spec(int(specs.size())));
            otherSpecs.append(similar(specs.last(), random));
        }
        MemoryTable table(u"t"_s, specs);
        MemoryTable other(u"other"_s, otherSpecs);
        QList<int> columns;
        for (int i = 1 + random.below(mostColumns); i > 0; --i)
            columns.append(random.below(int(specs.size())));
        const auto newRow = [&](MemoryTable &rows, const QList<ColumnSpec> &columnSpecs) {
            QList<CellValue> values;
            for (const ColumnSpec &spec : columnSpecs)
                values.append(random.value(spec, variety));
            return rows.append(std::span<const CellValue>(values.constData(), size_t(values.size())));
        };
        QList<KeyValue> keys;
        for (int i = random.below(mostKeys + 1); i > 0; --i) {
            const bool again = !keys.isEmpty() && random.oneIn(10);
            keys.append(again ? keys.at(random.below(int(keys.size())))
                              : keyOf(newRow(table, specs), columns));
        }
        QList<Record> records;
        for (int i = 0; i < 40; ++i) {
            records.append(newRow(table, specs));
            records.append(newRow(other, otherSpecs));
        }
        for (int i = 0; i < 5 && !keys.isEmpty(); ++i)
            records.append(table.row(random.below(int(table.rowCount()))));

        // The text of a VarChar beside a String is made.
        const bool mixesTexts = std::any_of(columns.cbegin(), columns.cend(), [&](int column) {
            const auto isText = [](FieldType::Type type) { return type == VarChar || type == String; };
            const FieldType::Type type = specs[column].type;
            const FieldType::Type otherType = otherSpecs[column].type;
            return type != otherType && isText(type) && isText(otherType);
        });

        // And some database libraries make one for every comparison.
        const bool makesTexts = std::any_of(records.cbegin(), records.cend(), [&](const Record &record) {
            return comparisonAllocates(record, columns);
        });

        const KeyFilterFunc func(&table, keys, columns);
        const KeyFilterFunc_Hash hash(&table, keys, columns);

        QList<Record> keyRecords;
        for (const KeyValue &key : std::as_const(keys))
            keyRecords.append(func.keyToRecord(key));
        for (const Record &record : std::as_const(records)) {
            const bool expected = equalsAKey(record, keyRecords, columns);
            for (const FilterFunc *predicate :
                 {static_cast<const FilterFunc *>(&func), static_cast<const FilterFunc *>(&hash)}) {
                const AllocationCounter allocations;
                const bool answer = predicate->filter(record);
                QVERIFY2(allocations.count() == 0 || (record.table() == &other && mixesTexts) || makesTexts,
                         where.constData());
                QVERIFY2(answer == expected,
                         qPrintable(predicate->toString() + u", "_s + QString::fromLatin1(where)));
            }
            ++(expected ? accepted : refused);
        }
    }
    // A test in which nothing ever matches, or everything, would show little.
    QVERIFY(accepted > (accepted + refused) / 50);
    QVERIFY(refused > (accepted + refused) / 50);
}

void TestKeyPredicatesRandom::fastAnswersLikeTheBytes_data()
{
    QTest::addColumn<int>("rounds");
    QTest::addColumn<int>("mostKeys");
    QTest::addColumn<int>("variety");
    QTest::newRow("few keys") << 600 << 5 << 3;
    QTest::newRow("many keys") << 200 << 150 << 8;
    QTest::newRow("more keys") << 20 << 1500 << 60;
}

void TestKeyPredicatesRandom::fastAnswersLikeTheBytes()
{
    QFETCH(int, rounds);
    QFETCH(int, mostKeys);
    QFETCH(int, variety);
    const auto seed = quint32(testSeed());
    Random random(seed);
    int accepted = 0;
    int differences = 0;

    for (int round = 0; round < rounds; ++round) {
        const QByteArray where = seedMessage(seed, u"round %1"_s.arg(round));
        QList<ColumnSpec> specs;
        bool decimals = false;
        const int first = random.below(3);
        const int count = 1 + random.below(4);
        QList<int> columns;
        for (int i = 0; i < first + count + 1; ++i) {
            ColumnSpec spec = random.spec(i);
            if (i >= first && i < first + count) {
                columns.append(i);
                while (spec.type != Int && spec.type != Int64 && spec.type != Decimal &&
                       spec.type != VarChar && spec.type != DateTime)
                    spec = random.spec(i);
                spec.nullable = false;
                decimals = decimals || spec.type == Decimal;
            }
            specs.append(spec);
        }
        MemoryTable table(u"t"_s, specs);
        const auto newRow = [&] {
            QList<CellValue> values;
            for (const ColumnSpec &spec : std::as_const(specs))
                values.append(random.value(spec, variety));
            return table.append(std::span<const CellValue>(values.constData(), size_t(values.size())));
        };
        QList<KeyValue> keys;
        for (int i = random.below(mostKeys + 1); i > 0; --i)
            keys.append(keyOf(newRow(), columns));
        QList<Record> records;
        for (int i = 0; i < 60; ++i)
            records.append(newRow());
        for (int i = 0; i < 5 && !keys.isEmpty(); ++i)
            records.append(table.row(random.below(int(table.rowCount()))));
        const ColumnDef *begin = table.columnDef(columns.first());
        const ColumnDef *end = table.columnDef(columns.last() + 1);

        const KeyFilterFunc_Fast fast(&table, keys, columns);
        const KeyFilterFunc func(&table, keys, columns);
        const KeyFilterFunc_Hash hash(&table, keys, columns);

        QList<Record> keyRecords;
        for (const KeyValue &key : std::as_const(keys))
            keyRecords.append(fast.keyToRecord(key));
        for (const Record &record : std::as_const(records)) {
            const bool expected = equalsTheBytesOfAKey(record, keyRecords, qsizetype(begin->offset + 16),
                                                       size_t(end->offset - begin->offset));
            const AllocationCounter allocations;
            const bool answer = fast.filter(record);
            QVERIFY2(allocations.count() == 0, where.constData());
            QVERIFY2(answer == expected, where.constData());
            accepted += answer;
            // The two differ at most where a decimal has another scale, and then the bytes are stricter.
            const bool general = func.filter(record);
            differences += general != answer;
            QVERIFY2(hash.filter(record) == general, where.constData());
            QVERIFY2(general == answer || (decimals && general), where.constData());
        }
    }
    QVERIFY(accepted > 0);
    // Rare, so only many rounds are sure to meet it.
    QVERIFY(differences > 0 || rounds < 100);
}

QTEST_APPLESS_MAIN(TestKeyPredicatesRandom)
#include "tst_keypredicates_random.moc"
