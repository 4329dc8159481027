// SPDX-License-Identifier: MIT
#include <data/fieldconstvalue.h>
#include <data/keyvalue.h>
#include <data/table.h>
#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/objectlayout.h>

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <limits>
#include <memory>

static_assert(std::is_polymorphic_v<FieldValue> && !std::is_polymorphic_v<Field>);
static_assert(std::is_base_of_v<Field, FieldValue> && std::is_base_of_v<FieldValue, FieldConstValue>);
static_assert(std::has_virtual_destructor_v<FieldValue>);
static_assert(std::is_nothrow_move_constructible_v<FieldValue>);
static_assert(sizeof(FieldValue) == 64, "a key of two integers stays under 200 bytes");
static_assert(sizeof(FieldConstValue) == sizeof(FieldValue));

namespace {
using Type = FieldType::Type;

/// A table with a column of each type, once without and once with absent values.
const QList<ColumnSpec> &allTypes()
{
    static const QList<ColumnSpec> specs = [] {
        QList<ColumnSpec> result;
        for (const bool nullable : {false, true}) {
            for (int code = FieldType::Raw; code <= FieldType::Block; ++code) {
                const auto type = Type(code);
                int length = 0;
                if (type == FieldType::Decimal || type == FieldType::XDecimal)
                    length = 2;
                else if (type == FieldType::VarChar || type == FieldType::Raw)
                    length = 5;
                result.append({FieldType::typeName(type) + (nullable ? QStringLiteral("?") : QString()), type,
                               nullable, length, type == FieldType::Raw ? 8 : 0});
            }
        }
        return result;
    }();
    return specs;
}

CellValue bytes(int count, char first)
{
    QByteArray result(count, '\0');
    for (int i = 0; i < count; ++i)
        result[i] = char(first + i);
    return result;
}

struct Value
{
    const char *name;
    Type type;
    CellValue value;
    QString text;
};

QList<Value> valuesOfEveryType()
{
    constexpr auto int32 = std::numeric_limits<qint32>();
    constexpr auto int64 = std::numeric_limits<qint64>();
    using Float = std::numeric_limits<double>;
    return {
        {"raw", FieldType::Raw, bytes(5, char(0x7e)), QStringLiteral("7e7f808182")},
        {"int", FieldType::Int, qint32(-42), QStringLiteral("-42")},
        {"least int", FieldType::Int, int32.min(), QStringLiteral("-2147483648")},
        {"greatest int", FieldType::Int, int32.max(), QStringLiteral("2147483647")},
        {"least int64", FieldType::Int64, int64.min(), QStringLiteral("-9223372036854775808")},
        {"greatest int64", FieldType::Int64, int64.max(), QStringLiteral("9223372036854775807")},
        {"double", FieldType::Double, 0.1, QStringLiteral("0.1")},
        {"sum of doubles", FieldType::Double, 0.1 + 0.2, QStringLiteral("0.30000000000000004")},
        {"zero", FieldType::Double, 0.0, QStringLiteral("0")},
        {"negative zero", FieldType::Double, -0.0, QStringLiteral("-0")},
        {"infinity", FieldType::Double, Float::infinity(), QStringLiteral("inf")},
        {"negative infinity", FieldType::Double, -Float::infinity(), QStringLiteral("-inf")},
        {"nan", FieldType::Double, Float::quiet_NaN(), QStringLiteral("nan")},
        {"least denormal", FieldType::Double, Float::denorm_min(), QStringLiteral("5e-324")},
        {"greatest denormal", FieldType::Double, 2.2250738585072009e-308,
         QStringLiteral("2.225073858507201e-308")},
        {"least double", FieldType::Double, Float::lowest(), QStringLiteral("-1.7976931348623157e+308")},
        {"decimal", FieldType::Decimal, decimal(QStringView(u"-12.50")), QStringLiteral("-12.50")},
        {"decimal with a scale of its own", FieldType::Decimal, decimal(QStringView(u"1.2500")),
         QStringLiteral("1.2500")},
        {"decimal with trailing zeros", FieldType::Decimal, decimal(int64.max()),
         QStringLiteral("9223372036854775e3")},
        {"xdecimal", FieldType::XDecimal, xdecimal(QStringView(u"123456789012345678901234567890.123456")),
         QStringLiteral("123456789012345678901234567890.123456")},
        {"varchar", FieldType::VarChar, QStringLiteral("ab"), QStringLiteral("ab")},
        {"empty varchar", FieldType::VarChar, QString(), QString()},
        {"varchar at capacity", FieldType::VarChar, QStringLiteral("абвгд"), QStringLiteral("абвгд")},
        {"varchar with a zero inside", FieldType::VarChar, QStringLiteral("a\0b"), QStringLiteral("a\0b")},
        {"varchar of the mark", FieldType::VarChar, QStringLiteral("\u2400"), QStringLiteral("\u2400\u2400")},
        {"date", FieldType::DateTime, datetime(1711852200000), QStringLiteral("2024.03.31 02:30:00.000")},
        {"date before 1970", FieldType::DateTime, datetime(-1), QStringLiteral("1969.12.31 23:59:59.999")},
        {"no date", FieldType::DateTime, datetime(), QString()},
        {"least date", FieldType::DateTime, datetime(int64.min()), QStringLiteral("@-9223372036854775808")},
        {"greatest date", FieldType::DateTime, datetime(int64.max()), QStringLiteral("@9223372036854775807")},
        {"string", FieldType::String, QStringLiteral("a,b|c \U0001F600\0d"),
         QStringLiteral("a,b|c \U0001F600\0d")},
        {"empty string", FieldType::String, QString(), QString()},
        {"string of the mark", FieldType::String, QStringLiteral("\u2400"), QStringLiteral("\u2400\u2400")},
        {"string of two marks", FieldType::String, QStringLiteral("\u2400\u2400"),
         QStringLiteral("\u2400\u2400\u2400")},
        {"string behind the mark", FieldType::String, QStringLiteral("\u2400x"),
         QStringLiteral("\u2400\u2400x")},
        {"block", FieldType::Block, bytes(404, 0), QString()},
    };
}

QByteArray bytesOf(const Field &field)
{
    return QByteArray(reinterpret_cast<const char *>(field.data), qsizetype(field.def->size));
}

bool isSame(const Field &a, const Field &b)
{
    if (a.isPresent() != b.isPresent() || a.def->type != b.def->type)
        return false;
    if (!a.isPresent())
        return true;
    if (a.def->type == FieldType::String)
        return a.toString() == b.toString();
    return bytesOf(a) == bytesOf(b);
}
} // namespace

class FieldValueTest : public QObject
{
    Q_OBJECT
    /// Every test has a new one, with a column of each type and no rows.
    std::unique_ptr<MemoryTable> m_table;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table = std::make_unique<MemoryTable>(QStringLiteral("t"), allTypes());
    }
    void cleanup() { m_table.reset(); }

    void readsBackEveryText_data()
    {
        QTest::addColumn<int>("index");
        const auto values = valuesOfEveryType();
        for (int i = 0; i < values.size(); ++i)
            QTest::newRow(values[i].name) << i;
    }
    void readsBackEveryText()
    {
        QFETCH(const int, index);
        const Value value = valuesOfEveryType()[index];
        for (const int column : {int(value.type), value.type + 10}) {
            Record record(m_table.get());
            store(record, column, value.value);

            const FieldValue written(record.field(column));
            FieldValue read(m_table.get(), column);
            read.fromText(written.toText());

            if (value.type != FieldType::Block)
                QCOMPARE(written.toText(), value.text);
            QVERIFY(written.isPresent());
            QVERIFY(isSame(written, record.field(column)));
            QVERIFY2(isSame(read, written), qPrintable(read.toText()));
        }
    }

    void keepsAbsentApartFromEmpty_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        for (int column = 0; column < 20; ++column) {
            const auto type = allTypes()[column].type;
            const bool marked =
                type == FieldType::VarChar || type == FieldType::String || type == FieldType::DateTime;
            QTest::newRow(qPrintable(allTypes()[column].name))
                << column << (marked ? QStringLiteral("\u2400") : QString());
        }
    }
    void keepsAbsentApartFromEmpty()
    {
        QFETCH(const int, column);
        QFETCH(const QString, text);

        FieldValue value(m_table.get(), column);
        FieldValue read(m_table.get(), column);
        read.fromText(value.toText());
        FieldValue empty(m_table.get(), column);
        empty.fromText(u"");

        QVERIFY(!value.isPresent());
        QCOMPARE(value.toText(), text);
        QVERIFY(!read.isPresent());
        QCOMPARE(empty.isPresent(), !text.isEmpty());
        QCOMPARE(empty.toText(), QString());
    }

    void readsBackRandomDoublesExactly()
    {
        QRandomGenerator random(20170103);
        FieldValue value(m_table.get(), FieldType::Double);
        FieldValue read(m_table.get(), FieldType::Double);
        for (int i = 0; i < 20000; ++i) {
            const quint64 word = random.generate64();
            memcpy(value.data, &word, sizeof word);
            value.setPresent();
            if (std::isnan(value.Field::value<double>()))
                continue;

            read.fromText(value.toText());

            QVERIFY2(read.isPresent() && read.Field::value<quint64>() == word, qPrintable(value.toText()));
        }
    }

    void makesUnreadableTextsAbsent_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::newRow("int with a letter") << int(FieldType::Int) << QStringLiteral("12x");
        QTest::newRow("int too large") << int(FieldType::Int) << QStringLiteral("2147483648");
        QTest::newRow("int64 too large") << int(FieldType::Int64) << QStringLiteral("9223372036854775808");
        QTest::newRow("double") << int(FieldType::Double) << QStringLiteral("1,5");
        QTest::newRow("decimal") << int(FieldType::Decimal) << QStringLiteral("1.2.3");
        QTest::newRow("decimal too long")
            << int(FieldType::Decimal) << QStringLiteral("99999999999999999999.1");
        QTest::newRow("xdecimal") << int(FieldType::XDecimal) << QStringLiteral("one");
        QTest::newRow("raw too short") << int(FieldType::Raw) << QStringLiteral("00112233");
        QTest::newRow("raw too long") << int(FieldType::Raw) << QStringLiteral("001122334455");
        QTest::newRow("raw of other letters") << int(FieldType::Raw) << QStringLiteral("001122334x");
        QTest::newRow("block") << int(FieldType::Block) << QStringLiteral("00");
    }
    void makesUnreadableTextsAbsent()
    {
        QFETCH(const int, type);
        QFETCH(const QString, text);
        FieldValue value(m_table.get(), type);
        if (type == FieldType::Int)
            value.fromText(u"7");

        value.fromText(text);

        QVERIFY(!value.isPresent());
    }

    void readsAnUnreadableDateAsNoDate()
    {
        FieldValue value(m_table.get(), FieldType::DateTime);

        value.fromText(u"31.03.2024");

        QVERIFY(value.isPresent());
        QCOMPARE(value.Field::value<qint64>(), 0);
    }

    void cutsAVarCharTextAtItsCapacity()
    {
        FieldValue value(m_table.get(), FieldType::VarChar);

        value.fromText(u"abcdefg");

        QCOMPARE(value.toText(), QStringLiteral("abcde"));
    }

    void copiesAreIndependent()
    {
        for (int column = 0; column < m_table->columnCount(); ++column) {
            const auto type = allTypes()[column].type;
            const Value sample = *std::find_if(m_values.begin(), m_values.end(),
                                               [&](const Value &value) { return value.type == type; });
            Record record(m_table.get());
            store(record, column, sample.value);
            const FieldValue original(record.field(column));

            FieldValue copy(original);
            FieldValue assigned(m_table.get(), FieldType::Block);
            assigned = original;
            FieldValue moved(std::move(copy));
            copy.fromText(original.toText());
            assigned = *&assigned;
            const FieldValue again(assigned);
            assigned.setAbsent();
            memset(record.field(column).data, 0,
                   record.field(column).def->size * (type != FieldType::String));

            QVERIFY(isSame(again, original));
            QVERIFY(isSame(moved, original));
            QVERIFY(isSame(copy, original));
            QVERIFY(original.isPresent() && !assigned.isPresent());
        }
    }

    void movedFromValuesAreAbsent()
    {
        for (int column = 0; column < m_table->columnCount(); ++column) {
            FieldValue value(m_table.get(), column);
            value.setPresent();

            const FieldValue moved(std::move(value));
            const FieldValue copyOfMoved(value);

            QVERIFY(moved.isPresent());
            QVERIFY(!value.isPresent());
            QVERIFY(!copyOfMoved.isPresent());
        }
    }

    void outlivesTheRowItCameFrom()
    {
        Record record(m_table.get());
        record.field(FieldType::String).storeString(u"text of some length");
        KeyValue key;
        key.append(FieldValue(record.field(FieldType::String)));
        const KeyValue shared = key;

        record = Record();
        key[0].fromText(u"other");

        QCOMPARE(m_table->liveRowCount(), 0);
        QCOMPARE(shared[0].toText(), QStringLiteral("text of some length"));
        QCOMPARE(key[0].toText(), QStringLiteral("other"));
    }

    void makesConstants()
    {
        const FieldConstValue number(-7);
        const FieldConstValue letter(QChar(u'Ж'));

        QCOMPARE(number.def->type, FieldType::Int);
        QVERIFY(number.isPresent());
        QCOMPARE(number.Field::value<qint32>(), -7);
        QCOMPARE(letter.def->type, FieldType::String);
        QCOMPARE(letter.toText(), QStringLiteral("Ж"));
    }

    void hasFifteenCharacterConstants()
    {
        QString letters;
        for (const FieldConstValue &constant : fieldCharacters)
            letters += constant.toText();

        QCOMPARE(letters, QStringLiteral("DAIHTOFCPADSBWA"));
    }

    void beginsWithItsTableOfVirtualFunctions()
    {
        const FieldValue value(m_table.get(), FieldType::Int);
        const FieldValue text(m_table.get(), FieldType::String);
        const FieldConstValue constant(5);
        const Field &field = value;

        QCOMPARE(reinterpret_cast<const char *>(&field) - reinterpret_cast<const char *>(&value), 8);
        QCOMPARE(memberAt<const void *>(value, 0), memberAt<const void *>(text, 0));
        QVERIFY(memberAt<const void *>(value, 0) != memberAt<const void *>(constant, 0));
        QCOMPARE(memberAt<const ColumnDef *>(value, 8), m_table->columnDef(FieldType::Int));
    }

    void storesATextWithoutTouchingThePresence()
    {
        const Record record(m_table.get());
        const int column = FieldType::String + 10;
        QVERIFY(allTypes()[column].nullable);
        Field field = record.field(column);

        field.storeString(u"first");
        const bool wasPresent = field.isPresent();
        field.setPresent();
        const QString shown = field.toString();
        field.storeString(u"second");

        QVERIFY(!wasPresent);
        QCOMPARE(shown, QStringLiteral("first"));
        QVERIFY(field.isPresent());
        QCOMPARE(field.toString(), QStringLiteral("second"));
        // The neighbours' presence is theirs.
        for (int other = 10; other < 20; ++other)
            QCOMPARE(record.field(other).isPresent(), other == column);
    }

    void readsEveryNaNAsTheSameOne()
    {
        FieldValue value(m_table.get(), FieldType::Double);
        FieldValue read(m_table.get(), FieldType::Double);
        for (const quint64 word :
             {0x7ff8000000000000u, 0xfff8000000000000u, 0x7ff0000000000001u, 0x7fffffffffffffffu}) {
            memcpy(value.data, &word, sizeof word);
            value.setPresent();

            read.fromText(value.toText());

            QCOMPARE(value.toText(), QStringLiteral("nan"));
            QVERIFY(read.isPresent());
            QCOMPARE(read.Field::value<quint64>(), 0x7ff8000000000000u);
        }
    }

    void presenceFollowsTheMask()
    {
        const ColumnDef def{FieldType::Int, 0, 1, 0, 4};
        unsigned char value[4] = {};
        unsigned char flags = 0b101;

        Field field(&def, value, &flags, 0b100);
        Field twoBits(&def, value, &flags, 0b110);
        Field noMask(&def, value, &flags, 0);

        QVERIFY(field.isPresent() && !twoBits.isPresent() && noMask.isPresent());
        field.setAbsent();
        QCOMPARE(int(flags), 0b001);
        noMask.setAbsent();
        QVERIFY(noMask.isPresent());
        twoBits.setPresent();
        QCOMPARE(int(flags), 0b111);
        QVERIFY(twoBits.isPresent() && field.isPresent());
    }

    void showsAbsentFieldsAsEmptyText()
    {
        const Record record(m_table.get());
        for (int column = 10; column < 20; ++column)
            QCOMPARE(record.field(column).toString(), QString());
        QCOMPARE(record.field(FieldType::Int).toString(), QStringLiteral("0"));
    }

private:
    void store(const Record &record, int column, const CellValue &value)
    {
        m_table->update(record, column, value);
    }

    const QList<Value> m_values = valuesOfEveryType();
};

QTEST_APPLESS_MAIN(FieldValueTest)
#include "tst_fieldvalue.moc"
