// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <filterfuncs/keyfilterfunc_hash.h>
#include <filterfuncs/keytorecord.h>
#include <filterfuncs/keytorecord_p.h>

#include <data/datetime.h>
#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fieldtypes.h>
#include <support/typenames.h>
#include <support/zoneguard.h>

#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 int32Min = std::numeric_limits<qint32>::min();
constexpr qint32 int32Max = std::numeric_limits<qint32>::max();
constexpr qint64 int64Min = std::numeric_limits<qint64>::min();
constexpr qint64 int64Max = std::numeric_limits<qint64>::max();
constexpr double doubleMax = std::numeric_limits<double>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan = std::nan("");

constexpr FieldType::Type allTypes[] = {
    FieldType::Raw,      FieldType::Int,     FieldType::Int64,    FieldType::Double, FieldType::Decimal,
    FieldType::XDecimal, FieldType::VarChar, FieldType::DateTime, FieldType::String, FieldType::Block};

/// The definition of a column: its type, with the length and the size where they matter.
struct Column
{
    Column(FieldType::Type columnType, int columnLength = 0, qint64 columnSize = 0)
        : type(columnType), length(columnLength), size(columnSize)
    {
        if (length == 0 && (type == FieldType::VarChar || type == FieldType::Raw))
            length = type == FieldType::VarChar ? 12 : 4;
    }

    ColumnSpec spec(const QString &name, bool nullable = false) const
    {
        return {name, type, nullable, length, size};
    }
    QString text() const { return u"%1(%2,%3)"_s.arg(FieldType::typeName(type)).arg(length).arg(size); }

    FieldType::Type type;
    int length;
    qint64 size;
};

/// What becomes of a value in a column: it is stored, it becomes absent, or there is an error.
struct Outcome
{
    Outcome() = default;
    Outcome(CellValue value) : stored(std::move(value)) {}

    static Outcome error(const char *message)
    {
        Outcome outcome;
        outcome.message = QString::fromLatin1(message);
        return outcome;
    }

    CellValue stored;
    QString message;
};

struct Case
{
    Column source;
    CellValue value;
    Column target;
    /// Into a column without absent values, and into one with them.
    Outcome plain;
    Outcome nullable;

    Case(const Column &from, const CellValue &given, const Column &to, const Outcome &expected)
        : source(from), value(given), target(to), plain(expected), nullable(expected)
    {
    }
    Case(const Column &from, const CellValue &given, const Column &to, const Outcome &expected,
         const Outcome &expectedInNullable)
        : source(from), value(given), target(to), plain(expected), nullable(expectedInNullable)
    {
    }
};

const Outcome absent;

CellValue text(const char16_t *characters)
{
    return QString::fromUtf16(characters);
}

CellValue bytes(const char *hex)
{
    return QByteArray::fromHex(hex);
}

CellValue block(char fill)
{
    return QByteArray(FieldType::blockSize, fill);
}

decimal dec(qint64 unscaled, short scale)
{
    return decimal::fromUnscaled(unscaled, scale);
}

xdecimal xdec(qint64 unscaled, short scale)
{
    return {unscaled, scale};
}

Outcome error(const char *message)
{
    return Outcome::error(message);
}

/// An error of the database library itself, which words it as it likes.
Outcome libraryError()
{
    return Outcome::error("*");
}

/// \a number as the database library rounds it.
decimal scaled(decimal number, short scale)
{
    number.setScale(scale);
    return number;
}

using namespace fieldtypes;

/// The name that withTypeNames() replaces.
QString plainName(FieldType::Type type)
{
    static constexpr const char *names[] = {"Raw",      "Int",     "Int64",    "Double", "Decimal",
                                            "XDecimal", "VarChar", "DateTime", "String", "Block"};
    return QString::fromLatin1(names[type]);
}

/// The cells of the matrix that know no conversion, named as the message names the source.
std::vector<Case> impossibleCases()
{
    struct Source
    {
        Column column;
        CellValue value;
        const char *name;
        std::initializer_list<FieldType::Type> targets;
    };
    const Source sources[] = {
        {Int, qint32(7), "Int", {DateTime, Raw, Block}},
        {Int64, qint64(7), "Int64", {DateTime, Raw, Block}},
        {Double, 7.0, "Double", {Raw, Block}},
        {{Decimal, 2}, dec(7, 2), "Decimal", {Raw, Block}},
        {{XDecimal, 2}, xdec(7, 2), "Decimal", {Raw, Block}},
        {VarChar, text(u"7"), "VarChar", {Raw, Block}},
        {String, text(u"7"), "VarChar", {Raw, Block}},
        {DateTime, datetime(7), "DateTime", {Int, Int64, Double, Decimal, XDecimal, Raw, Block}},
        {Raw,
         bytes("00000007"),
         "Raw",
         {Int, Int64, Double, Decimal, XDecimal, VarChar, DateTime, String, Block}},
        {Block, block(7), "Block", {Raw, Int, Int64, Double, Decimal, XDecimal, VarChar, DateTime, String}},
    };
    std::vector<Case> cases;
    for (const Source &source : sources) {
        for (const FieldType::Type target : source.targets) {
            const QString message =
                u"Can't convert from %1 to %2"_s.arg(QLatin1String(source.name), plainName(target));
            cases.emplace_back(source.column, source.value, Column(target),
                               error(message.toLatin1().constData()));
        }
    }
    return cases;
}

std::vector<Case> valueCases()
{
    const char *noDate = "Can't convert from decimal to datetime.";
    return {
        // From Int.
        {Int, qint32(0), Int, {qint32(0)}},
        {Int, int32Min, Int, {int32Min}},
        {Int, int32Max, Int, {int32Max}},
        {Int, int32Min, Int64, {qint64(int32Min)}},
        {Int, int32Max, Int64, {qint64(int32Max)}},
        {Int, qint32(-1), Int64, {qint64(-1)}},
        {Int, int32Min, Double, {-2147483648.0}},
        {Int, int32Max, Double, {2147483647.0}},
        {Int, qint32(7), Decimal, {dec(7, 0)}},
        {Int, int32Min, Decimal, {dec(int32Min, 0)}},
        {Int, int32Max, {Decimal, 2}, {dec(qint64(int32Max) * 100, 2)}},
        {Int, qint32(-42), {Decimal, 4}, {dec(-420000, 4)}},
        {Int, qint32(1250), {Decimal, -1}, {dec(125, -1)}},
        {Int, qint32(1), {Decimal, 17}, libraryError()},
        {Int, qint32(-5), {Decimal, -1}, {scaled(dec(-5, 0), -1)}},
        {Int, qint32(7), {XDecimal, 2}, {xdec(7, 0)}},
        {Int, int32Min, {XDecimal, 63}, libraryError()},
        {Int, qint32(0), {XDecimal, 63}, {xdec(0, 0)}},
        {Int, int32Max, {XDecimal, -3}, {xdec(int32Max, 0)}},
        {Int, qint32(-42), VarChar, {text(u"-42")}},
        {Int, int32Min, VarChar, {text(u"-2147483648")}},
        {Int, int32Max, {VarChar, 4}, {text(u"2147")}},
        {Int, qint32(0), String, {text(u"0")}},
        {Int, int32Min, String, {text(u"-2147483648")}},
        // From Int64.
        {Int64, qint64(3000000000), Int, {int32Max}},
        {Int64, qint64(-3000000000), Int, {int32Min}},
        {Int64, qint64(int32Max), Int, {int32Max}},
        {Int64, qint64(int32Max) + 1, Int, {int32Max}},
        {Int64, qint64(int32Min), Int, {int32Min}},
        {Int64, qint64(int32Min) - 1, Int, {int32Min}},
        {Int64, int64Max, Int, {int32Max}},
        {Int64, int64Min, Int, {int32Min}},
        {Int64, qint64(-5), Int, {qint32(-5)}},
        {Int64, int64Min, Int64, {int64Min}},
        {Int64, int64Max, Int64, {int64Max}},
        {Int64, int64Max, Double, {9223372036854775808.0}},
        {Int64, int64Min, Double, {-9223372036854775808.0}},
        {Int64, qint64(9007199254740993), Double, {9007199254740992.0}},
        {Int64, qint64(9007199254740995), Double, {9007199254740996.0}},
        {Int64, qint64(5), Decimal, {dec(5, 0)}},
        {Int64, qint64(-5), {Decimal, 3}, {dec(-5000, 3)}},
        {Int64, decimal::maxUnscaled, Decimal, {dec(decimal::maxUnscaled, 0)}},
        {Int64, decimal::minUnscaled, Decimal, {dec(decimal::minUnscaled, 0)}},
        {Int64, qint64(72057594037927936), {Decimal, -1}, {dec(7205759403792793, -1)}},
        {Int64, qint64(72057594037927936), Decimal, {dec(72057594037927930, 0)}},
        {Int64, int64Max, {Decimal, -3}, {dec(9223372036854775, -3)}},
        {Int64, int64Max, {Decimal, -4}, {scaled(dec(9223372036854775, -3), -4)}},
        {Int64, qint64(-72057594037927937), Decimal, {dec(-1, 0)}},
        {Int64, qint64(-72057594037927937), {Decimal, 2}, {dec(-100, 2)}},
        {Int64, int64Min, Decimal, {dec(decimal::minUnscaled, 0)}},
        {Int64, int64Max, {Decimal, 2}, libraryError()},
        {Int64, int64Max, {XDecimal, 2}, {xdec(int64Max, 0)}},
        {Int64, qint64(1000000000000000000), {XDecimal, 18}, {xdec(1000000000000000000, 0)}},
        {Int64, qint64(2000000000000000000), {XDecimal, 18}, libraryError()},
        {Int64, int64Min, {XDecimal, 63}, libraryError()},
        {Int64, int64Min, {VarChar, 20}, {text(u"-9223372036854775808")}},
        {Int64, int64Max, {VarChar, 3}, {text(u"922")}},
        {Int64, int64Max, String, {text(u"9223372036854775807")}},
        // From Double.
        {Double, 2.9, Int, {qint32(2)}},
        {Double, -2.9, Int, {qint32(-2)}},
        {Double, 1e10, Int, {int32Min}},
        {Double, -1e10, Int, {int32Min}},
        {Double, nan, Int, {int32Min}},
        {Double, infinity, Int, {int32Min}},
        {Double, -infinity, Int, {int32Min}},
        {Double, 2147483647.0, Int, {int32Max}},
        {Double, 2147483647.9, Int, {int32Max}},
        {Double, 2147483648.0, Int, {int32Min}},
        {Double, -2147483648.0, Int, {int32Min}},
        {Double, -2147483648.9, Int, {int32Min}},
        {Double, -2147483647.9, Int, {int32Min + 1}},
        {Double, -2147483649.0, Int, {int32Min}},
        {Double, -0.5, Int, {qint32(0)}},
        {Double, doubleMax, Int, {int32Min}},
        {Double, 2.9, Int64, {qint64(2)}},
        {Double, -2.9, Int64, {qint64(-2)}},
        {Double, 1e10, Int64, {qint64(10000000000)}},
        {Double, nan, Int64, {int64Min}},
        {Double, infinity, Int64, {int64Min}},
        {Double, -infinity, Int64, {int64Min}},
        {Double, 9223372036854775808.0, Int64, {int64Min}},
        {Double, 9223372036854774784.0, Int64, {qint64(9223372036854774784)}},
        {Double, -9223372036854775808.0, Int64, {int64Min}},
        {Double, -9223372036854777856.0, Int64, {int64Min}},
        {Double, -9223372036854774784.0, Int64, {qint64(-9223372036854774784)}},
        {Double, doubleMax, Int64, {int64Min}},
        {Double, 1.5, Double, {1.5}},
        {Double, -0.0, Double, {-0.0}},
        {Double, nan, Double, {nan}},
        {Double, -infinity, Double, {-infinity}},
        {Double, 7.25, {Decimal, 6}, {dec(7250000, 6)}},
        {Double, 7.25, {Decimal, 1}, {scaled(dec(7250000, 6), 1)}},
        {Double, -7.25, Decimal, {scaled(dec(-7250000, 6), 0)}},
        {Double, 0.1234567, {Decimal, 8}, {dec(12345700, 8)}},
        {Double, nan, Decimal, libraryError()},
        {Double, 1e18, Decimal, libraryError()},
        {Double, nan, XDecimal, libraryError()},
        {Double, 7.25, {XDecimal, 2}, {xdec(7250000, 6)}},
        {Double, -0.5, {XDecimal, -2}, {xdec(-500000, 6)}},
        {Double, 1e12, {XDecimal, 24}, {xdec(1000000000000000000, 6)}},
        {Double, 2e12, {XDecimal, 24}, libraryError()},
        {Double, 1.5, VarChar, {text(u"1.500000")}},
        {Double, 1.5, {VarChar, 3}, {text(u"1.5")}},
        {Double, 1.5, String, {text(u"1.500000")}},
        {Double, -2e6, String, {text(u"-2000000.000000")}},
        {Double, 1e22, String, {text(u"10000000000000000000000.000000")}},
        {Double, nan, String, {text(u"nan")}},
        {Double, infinity, String, {text(u"inf")}},
        {Double, -infinity, String, {text(u"-inf")}},
        {Double, 7.0, DateTime, error("Can't convert double to datetime.")},
        {Double, nan, DateTime, error("Can't convert double to datetime.")},
        // From Decimal.
        {{Decimal, 1}, dec(29, 1), Int, {qint32(2)}},
        {{Decimal, 1}, dec(-29, 1), Int, {qint32(-2)}},
        {{Decimal, 1}, dec(21474836479, 1), Int, {int32Max}},
        {{Decimal, 0}, dec(2147483648, 0), Int, {int32Min}},
        {{Decimal, 0}, dec(decimal::maxUnscaled, 63), Int, {qint32(0)}},
        {{Decimal, 0}, dec(decimal::minUnscaled, -64), Int, {int32Min}},
        {{Decimal, 1}, dec(29, 1), Int64, {qint64(2)}},
        {{Decimal, 1}, dec(-29, 1), Int64, {qint64(-2)}},
        {{Decimal, 0}, dec(decimal::minUnscaled, 0), Int64, {qint64(decimal::minUnscaled)}},
        {{Decimal, 0}, dec(1, -19), Int64, {int64Min}},
        {{Decimal, 2}, dec(-150, 2), Double, {-1.5}},
        {{Decimal, 0}, dec(decimal::minUnscaled, 0), Double, {-72057594037927936.0}},
        {{Decimal, 0}, dec(1, 63), Double, {1e-63}},
        {{Decimal, 4}, dec(15000, 4), {Decimal, 2}, {dec(15000, 4)}},
        {{Decimal, 2}, dec(150, 2), {Decimal, 2}, {dec(150, 2)}},
        {{Decimal, 2}, dec(15, 1), {Decimal, 2}, {dec(15, 1)}},
        {{Decimal, 2}, dec(decimal::minUnscaled, -64), {Decimal, 3}, {dec(decimal::minUnscaled, -64)}},
        {{Decimal, 2}, dec(decimal::maxUnscaled, 63), {Decimal, 3}, {dec(decimal::maxUnscaled, 63)}},
        {{Decimal, 2}, dec(150, 2), {XDecimal, 4}, {xdec(150, 2)}},
        {{Decimal, 2}, dec(-1, 2), {XDecimal, 2}, {xdec(-1, 2)}},
        {{Decimal, 2}, dec(decimal::minUnscaled, 63), {XDecimal, 2}, {xdec(decimal::minUnscaled, 63)}},
        {{Decimal, 2}, dec(decimal::maxUnscaled, -64), {XDecimal, 2}, {xdec(decimal::maxUnscaled, -64)}},
        {{Decimal, 2}, dec(-150, 2), VarChar, {dec(-150, 2).toString()}},
        {{Decimal, 2}, dec(-150, 2), String, {dec(-150, 2).toString()}},
        {{Decimal, 2}, dec(15, -3), String, {dec(15, -3).toString()}},
        {{Decimal, 2}, dec(150, 2), DateTime, error(noDate)},
        // From XDecimal.
        {{XDecimal, 1}, xdec(29, 1), Int, {qint32(2)}},
        {{XDecimal, 1}, xdec(-29, 1), Int, {qint32(-2)}},
        {{XDecimal, 1}, xdec(2147483648, 0), Int, {int32Min}},
        {{XDecimal, 1}, xdec(-29, 1), Int64, {qint64(-2)}},
        {{XDecimal, 1}, xdec(1, -40), Int64, {int64Min}},
        {{XDecimal, 2}, xdec(-150, 2), Double, {-1.5}},
        {{XDecimal, 2}, xdec(150, 2), {Decimal, 4}, {decimal(xdec(150, 2).toString())}},
        {{XDecimal, 2}, xdec(-15, -3), {Decimal, 4}, {decimal(xdec(-15, -3).toString())}},
        {{XDecimal, 2}, xdec(int64Max, 2), {Decimal, 4}, libraryError()},
        {{XDecimal, 2}, xdec(-150, 2), {XDecimal, 2}, {xdec(-150, 2)}},
        {{XDecimal, 4}, xdec(150, 1), {XDecimal, 2}, {xdec(150, 1)}},
        {{XDecimal, 2}, xdec(-150, 2), VarChar, {xdec(-150, 2).toString()}},
        {{XDecimal, 2}, xdec(-150, 2), String, {xdec(-150, 2).toString()}},
        {{XDecimal, 2}, xdec(150, 2), DateTime, error(noDate)},
        // From texts, whichever of the two types they have; see also textCases().
        {VarChar, text(u"same"), VarChar, {text(u"same")}},
        {VarChar, text(u"12 letters.."), {VarChar, 5}, {text(u"12 le")}},
        {{VarChar, 3}, text(u"abc"), {VarChar, 3, 64}, {text(u"abc")}},
        {{VarChar, 3, 64}, text(u"abc"), {VarChar, 3, 64}, {text(u"abc")}},
        {VarChar, text(u"поле"), String, {text(u"поле")}},
        {String, text(u"поле"), VarChar, {text(u"поле")}},
        {String, text(u"поле"), String, {text(u"поле")}},
        // An empty text stays a value between equal types and becomes absent through assignText().
        {String, text(u""), String, {text(u"")}},
        {VarChar, text(u""), VarChar, {text(u"")}},
        {VarChar, text(u""), {VarChar, 5}, {text(u"")}, absent},
        {VarChar, text(u""), String, {text(u"")}, absent},
        {String, text(u""), VarChar, {text(u"")}, absent},
        // From DateTime.
        {DateTime, datetime(int64Min), DateTime, {datetime(int64Min)}},
        {DateTime, datetime(0), DateTime, {datetime(0)}},
        {DateTime, datetime(1711852200123), {VarChar, 30}, {text(u"2024.03.31 02:30:00.123")}},
        {DateTime, datetime(1711852200123), {VarChar, 10}, {text(u"2024.03.31")}},
        {DateTime, datetime(-1), String, {text(u"1969.12.31 23:59:59.999")}},
        {DateTime, datetime(int64Max), String, {text(u"292278994.08.17 07:12:55.807")}},
        {DateTime, datetime(0), VarChar, {text(u"")}, absent},
        {DateTime, datetime(0), String, {text(u"")}, absent},
        // Bytes.
        {Raw, bytes("00ff0102"), Raw, {bytes("00ff0102")}},
        {{Raw, 3}, bytes("00ff01"), {Raw, 4}, error("Can't convert from Raw to Raw")},
        {{Raw, 4}, bytes("00ff0102"), {Raw, 4, 8}, error("Can't convert from Raw to Raw")},
        {{Raw, 4, 8}, bytes("00ff0102"), {Raw, 4, 8}, {bytes("00ff0102")}},
        {Block, block('\x5a'), Block, {block('\x5a')}},
    };
}

/// What a text becomes, from either of the two types that hold texts.
std::vector<Case> textCases()
{
    struct Row
    {
        const char16_t *value;
        Column target;
        Outcome plain;
        std::optional<Outcome> nullable = {};
    };
    const Row rows[] = {
        {u"0", Int, {qint32(0)}},
        {u"-42", Int, {qint32(-42)}},
        {u"+42", Int, {qint32(42)}},
        {u"2147483647", Int, {int32Max}},
        {u"-2147483648", Int, {int32Min}},
        {u"007", Int, {qint32(7)}},
        {u" 7 ", Int, {qint32(7)}},
        {u"\t-7\n", Int, {qint32(-7)}},
        {u"7 7", Int, error("Can't convert from '7 7' to Int")},
        {u" ", Int, error("Can't convert from ' ' to Int")},
        {u"2147483648", Int, error("Can't convert from '2147483648' to Int")},
        {u"4294967296", Int, error("Can't convert from '4294967296' to Int")},
        {u"12x", Int, error("Can't convert from '12x' to Int")},
        {u"1.5", Int, error("Can't convert from '1.5' to Int")},
        {u"0x10", Int, error("Can't convert from '0x10' to Int")},
        {u" x ", Int, error("Can't convert from ' x ' to Int")},
        {u"%2 %1", Int, error("Can't convert from '%2 %1' to Int")},
        {u"", Int, error("Can't convert from '' to Int"), absent},
        {u"9223372036854775807", Int64, {int64Max}},
        {u"-9223372036854775808", Int64, {int64Min}},
        {u"9223372036854775808", Int64, error("Can't convert from '9223372036854775808' to Int64")},
        {u" 7 ", Int64, {qint64(7)}},
        {u"\t-7\n", Int64, {qint64(-7)}},
        {u"7 7", Int64, error("Can't convert from '7 7' to Int64")},
        {u" ", Int64, error("Can't convert from ' ' to Int64")},
        {u"12x", Int64, error("Can't convert from '12x' to Int64")},
        {u"%2", Int64, error("Can't convert from '%2' to Int64")},
        {u"", Int64, error("Can't convert from '' to Int64"), absent},
        {u"1.5", Double, {1.5}},
        {u"-1e3", Double, {-1000.0}},
        {u"inf", Double, {infinity}},
        {u"1,5", Double, error("Can't convert from '1,5' to Double")},
        {u"%1 %2", Double, error("Can't convert from '%1 %2' to Double")},
        {u"", Double, error("Can't convert from '' to Double"), absent},
        {u"1.50", {Decimal, 4}, {dec(150, 2)}},
        {u"-15e3", {Decimal, 4}, {dec(-15, -3)}},
        {u"12x", {Decimal, 4}, libraryError()},
        {u"", Decimal, libraryError(), absent},
        {u"1.50", {XDecimal, 4}, {xdec(150, 2)}},
        {u"12x", {XDecimal, 4}, libraryError()},
        {u"", XDecimal, libraryError(), absent},
        {u"abcdef", {VarChar, 5}, {text(u"abcde")}},
        {u"abcd\U0001F600", {VarChar, 5}, {text(u"abcd")}},
        {u"abc\U0001F600", {VarChar, 5}, {text(u"abc\U0001F600")}},
        {u" a ", {VarChar, 5}, {text(u" a ")}},
        {u"2024-03-31", DateTime, {datetime(1711843200000)}},
        {u"2024.03.31", DateTime, {datetime(1711843200000)}},
        {u"31.03.2024", DateTime, {datetime(0)}},
        {u"no date", DateTime, {datetime(0)}},
        {u"@5", DateTime, {datetime(0)}},
        {u"", DateTime, {datetime(0)}, absent},
        {u"", Raw, error("Can't convert from VarChar to Raw"), absent},
        {u"", Block, error("Can't convert from VarChar to Block"), absent},
    };
    std::vector<Case> cases;
    for (const Row &row : rows) {
        cases.emplace_back(Column(String), text(row.value), row.target, row.plain,
                           row.nullable.value_or(row.plain));
        // Of blanks at the end of a VarChar the database library need not tell.
        if (QStringView(row.value).endsWith(u' '))
            continue;
        cases.emplace_back(Column(VarChar, 30), text(row.value), row.target, row.plain,
                           row.nullable.value_or(row.plain));
    }
    cases.emplace_back(Column(String), text(u"2024.03.31 02:30:00.000"), Column(DateTime),
                       CellValue(datetime(1711852200000)));
    cases.emplace_back(Column(VarChar, 30), text(u"2024-03-31 02:30:00"), Column(DateTime),
                       CellValue(datetime(1711852200000)));
    return cases;
}

std::vector<Case> allCases()
{
    std::vector<Case> cases = valueCases();
    for (const auto &more : {textCases(), impossibleCases()})
        cases.insert(cases.end(), more.begin(), more.end());
    return cases;
}

const std::vector<Case> &cases()
{
    static const std::vector<Case> all = allCases();
    return all;
}

/// Something to store in a column of \a type.
CellValue sample(FieldType::Type type)
{
    switch (type) {
    case Int:
        return qint32(1);
    case Int64:
        return qint64(1);
    case Double:
        return 1.0;
    case Decimal:
        return dec(1, 0);
    case XDecimal:
        return xdec(1, 0);
    case VarChar:
    case String:
        return text(u"1");
    case DateTime:
        return datetime(1);
    case Block:
        return block(1);
    case Raw:
        break;
    }
    return bytes("00000001");
}

/// A key of one value, which owns the table its column belongs to.
struct Key
{
    Key(const Column &column, const CellValue &value)
        : table(u"source"_s, {column.spec(u"value"_s, true)}), key{FieldValue(table.append({value}).field(0))}
    {
    }

    MemoryTable table;
    KeyValue key;
};

/// The whole row after its header, so that filler and presence bits are compared, too. Not for String
/// columns.
QByteArray rowBytes(const MemoryTable &table, const Record &record)
{
    return {reinterpret_cast<const char *>(record.row() + sizeof(RowHeader)),
            qsizetype(table.rowBlockSize() - qint64(sizeof(RowHeader)))};
}

} // namespace

class TestKeyToRecord : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void convertsValues_data();
    void convertsValues();
    void coversTheWholeMatrix();
    void makesAbsentValuesAbsent();
    void leavesTheDefaultWhereAbsentIsNotAdmitted();
    void fillsOnlyTheKeyColumns();
    void putsValuesIntoColumnsInTheOrderOfTheColumns();
    void ignoresFurtherValues();
    void refusesKeysThatAreTooShort();
    void makesARowOfEachKey();
    void convertsTheColumnsFromFirstToLast();
    void writesDatesAsALocalClockShowsThem();
    void storesWhatHasNoRoomAtTheScaleOfTheColumn();
    void copiesTheSizeOfTheTarget();
    void asksTheFlagWhetherATextBecomesAbsent();
    void leavesNothingOfColumnsBeforeTheFailingOne();
    void givesTheSameRowsInAllClasses();
    void sharesTextsOfEqualTypes();
    void overwritesWhatTheTargetHeld();
    void treatsUnknownTypesLikeRaw();
    void copiesValuesOfUnknownTypes();
};

void TestKeyToRecord::convertsValues_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("nullable");
    int index = 0;
    for (const Case &row : cases()) {
        // The value and its message are in the case; its number is enough to find it.
        const QString name = u"%1: %2 to %3"_s.arg(index).arg(row.source.text(), row.target.text());
        QTest::newRow(qPrintable(name)) << index << false;
        QTest::newRow(qPrintable(name + u", nullable"_s)) << index << true;
        ++index;
    }
}

void TestKeyToRecord::convertsValues()
{
    QFETCH(int, index);
    QFETCH(bool, nullable);
    const Case &row = cases()[size_t(index)];
    const Outcome &expected = nullable ? row.nullable : row.plain;
    const Key source(row.source, row.value);
    MemoryTable table(u"target"_s, {row.target.spec(u"value"_s, nullable)});
    const KeyFilterFunc func(&table, {}, {0});

    if (!expected.message.isNull()) {
        const QString message = exceptionMessage([&] { (void)func.keyToRecord(source.key); });

        if (expected.message == u"*")
            QVERIFY(!message.isEmpty());
        else
            QCOMPARE(message, withTypeNames(expected.message));
        QCOMPARE(table.liveRowCount(), 0);

        const QString constructed = exceptionMessage([&] { KeyFilterFunc(&table, {source.key}, {0}); });
        QCOMPARE(constructed, message);
        QCOMPARE(table.liveRowCount(), 0);
        return;
    }
    const Record record = func.keyToRecord(source.key);

    const Record wanted = table.append({expected.stored});
    QCOMPARE(record.table(), &table);
    QCOMPARE(record.field(0).isPresent(), wanted.field(0).isPresent());
    if (row.target.type == FieldType::String)
        QCOMPARE(record.field(0).toString(), wanted.field(0).toString());
    else
        QCOMPARE(rowBytes(table, record), rowBytes(table, wanted));
}

void TestKeyToRecord::coversTheWholeMatrix()
{
    QSet<QPair<int, int>> covered;
    for (const Case &row : cases())
        covered.insert({row.source.type, row.target.type});

    for (const FieldType::Type source : allTypes) {
        for (const FieldType::Type target : allTypes)
            QVERIFY2(covered.contains({source, target}), qPrintable(u"%1 to %2"_s.arg(source).arg(target)));
    }
}

void TestKeyToRecord::makesAbsentValuesAbsent()
{
    for (const FieldType::Type from : allTypes) {
        for (const FieldType::Type to : allTypes) {
            const Key source(from, CellValue());
            MemoryTable table(u"target"_s, {Column(to).spec(u"value"_s, true)});

            const Record record = KeyFilterFunc(&table, {}, {0}).keyToRecord(source.key);

            QVERIFY2(!record.field(0).isPresent(), qPrintable(u"%1 to %2"_s.arg(from).arg(to)));
        }
    }
}

void TestKeyToRecord::leavesTheDefaultWhereAbsentIsNotAdmitted()
{
    for (const FieldType::Type from : allTypes) {
        for (const FieldType::Type to : allTypes) {
            const Key source(from, CellValue());
            MemoryTable table(u"target"_s, {Column(to).spec(u"value"_s)});

            const Record record = KeyFilterFunc(&table, {}, {0}).keyToRecord(source.key);

            QVERIFY(record.field(0).isPresent());
            if (to == FieldType::String)
                QCOMPARE(record.field(0).toString(), QString());
            else
                QCOMPARE(rowBytes(table, record), rowBytes(table, Record(&table)));
        }
    }
}

void TestKeyToRecord::fillsOnlyTheKeyColumns()
{
    MemoryTable table(u"target"_s,
                      {{u"a"_s, Int}, {u"b"_s, Int, true}, {u"c"_s, Int}, {u"d"_s, String, true}});
    const Key source(Int, qint32(7));

    const Record record = KeyFilterFunc(&table, {}, {2}).keyToRecord(source.key);

    QCOMPARE(record.field(0).value<qint32>(), 0);
    QVERIFY(!record.field(1).isPresent());
    QCOMPARE(record.field(2).value<qint32>(), 7);
    QVERIFY(!record.field(3).isPresent());
    QCOMPARE(table.rowCount(), 0);
}

void TestKeyToRecord::putsValuesIntoColumnsInTheOrderOfTheColumns()
{
    MemoryTable table(u"target"_s, {{u"a"_s, Int}, {u"b"_s, Int64}, {u"c"_s, String}});
    const Key first(Int, qint32(1));
    const Key second(Int, qint32(2));
    const Key third(Int, qint32(3));
    const KeyValue key{first.key[0], second.key[0], third.key[0]};

    const Record record = KeyFilterFunc(&table, {}, {2, 0, 1}).keyToRecord(key);

    QCOMPARE(record.field(2).toString(), u"1"_s);
    QCOMPARE(record.field(0).value<qint32>(), 2);
    QCOMPARE(record.field(1).value<qint64>(), 3);
}

void TestKeyToRecord::ignoresFurtherValues()
{
    MemoryTable table(u"target"_s, {{u"a"_s, Int}, {u"b"_s, DateTime}});
    const Key source(Int, qint32(7));
    const KeyValue key{source.key[0], source.key[0]};

    // The second value could not become a DateTime.
    const Record one = KeyFilterFunc(&table, {}, {0}).keyToRecord(key);
    const Record none = KeyFilterFunc(&table, {}, {}).keyToRecord(key);

    QCOMPARE(one.field(0).value<qint32>(), 7);
    QCOMPARE(one.field(1).value<qint64>(), 0);
    QCOMPARE(none.field(0).value<qint32>(), 0);
}

void TestKeyToRecord::refusesKeysThatAreTooShort()
{
    MemoryTable table(u"target"_s, {{u"a"_s, Int}, {u"b"_s, Int}});
    const Key source(Int, qint32(7));

    QCOMPARE(exceptionMessage([&] {
                 (void)KeyFilterFunc(&table, {}, {0, 1}).keyToRecord(source.key);
             }),
             u"Key of 1 values for 2 columns"_s);
    QCOMPARE(exceptionMessage([&] { KeyFilterFunc(&table, {KeyValue()}, {0}); }),
             u"Key of 0 values for 1 columns"_s);
    QCOMPARE(exceptionMessage([&] {
                 KeyFilterFunc_Fast(&table, {source.key}, {0, 1});
             }),
             u"Key of 1 values for 2 columns"_s);
    QCOMPARE(table.liveRowCount(), 0);
}

void TestKeyToRecord::makesARowOfEachKey()
{
    MemoryTable table(u"t"_s, {{u"a"_s, Int}, {u"b"_s, String}});
    const Key three(Column(Int64), qint64(3));
    const Key one(Column(String), text(u"1"));
    const Key two(Column(Int64), qint64(2));
    const Key none(Column(String), text(u"x"));

    {
        const QList<Record> rows =
            keyconversion::keysToRecords(&table, {0}, {three.key, one.key, two.key, one.key});
        QCOMPARE(rows.size(), 4);
        QCOMPARE(rows[0].field(0).value<qint32>(), 3);
        QCOMPARE(rows[1].field(0).value<qint32>(), 1);
        QCOMPARE(rows[2].field(0).value<qint32>(), 2);
        QCOMPARE(rows[3].field(0).value<qint32>(), 1);
        QVERIFY(rows[1].row() != rows[3].row());
        QCOMPARE(table.liveRowCount(), 4);
    }
    QCOMPARE(exceptionMessage([&] {
                 keyconversion::keysToRecords(&table, {0}, {two.key, none.key});
             }),
             withTypeNames(u"Can't convert from 'x' to Int"_s));
    QCOMPARE(table.liveRowCount(), 0);
}

void TestKeyToRecord::convertsTheColumnsFromFirstToLast()
{
    MemoryTable table(u"target"_s, {{u"a"_s, Int}, {u"b"_s, DateTime}});
    const Key word(String, text(u"x"));
    const Key number(Double, 7.0);
    const KeyValue failing{word.key[0], number.key[0]};
    const KeyValue failingBackwards{number.key[0], word.key[0]};
    const QString noNumber = withTypeNames(u"Can't convert from 'x' to Int"_s);
    const QString noDate = u"Can't convert double to datetime."_s;

    // Each value fails; the first one says why.
    QCOMPARE(exceptionMessage([&] { keyconversion::keyToRecord(&table, {0, 1}, failing); }), noNumber);
    QCOMPARE(exceptionMessage([&] { keyconversion::keyToRecord(&table, {1, 0}, failingBackwards); }), noDate);

    // A column that is given twice holds the later value.
    const Key one(Int, qint32(1));
    const Key two(Int, qint32(2));
    const KeyValue both{one.key[0], two.key[0]};
    QCOMPARE(keyconversion::keyToRecord(&table, {0, 0}, both).field(0).value<qint32>(), 2);
}

void TestKeyToRecord::writesDatesAsALocalClockShowsThem()
{
    const ZoneGuard zone("Europe/Berlin");
    const Key source(DateTime, datetime(1711852200123));
    MemoryTable table(u"target"_s, {{u"a"_s, String}, {u"b"_s, VarChar, false, 30}});

    // The zone skips 02:30 of that day.
    for (const int column : {0, 1}) {
        const Record record = keyconversion::keyToRecord(&table, {column}, source.key);
        QCOMPARE(record.field(column).toString(), u"2024.03.31 03:30:00.123"_s);
    }
}

void TestKeyToRecord::storesWhatHasNoRoomAtTheScaleOfTheColumn()
{
    MemoryTable table(u"target"_s, {{u"a"_s, XDecimal, true, 18}, {u"b"_s, XDecimal, true, 24}});
    const Record record(&table);
    Field integer = record.field(0);
    Field number = record.field(1);
    const Key tooLong(Int64, qint64(2000000000000000000));
    const Key tooLarge(Double, 2e12);

    // The value is stored before its copy fails at the column's scale.
    QVERIFY(!exceptionMessage([&] { keyconversion::assignField(integer, tooLong.key[0]); }).isEmpty());
    QVERIFY(!exceptionMessage([&] { keyconversion::assignField(number, tooLarge.key[0]); }).isEmpty());

    QVERIFY(integer.isPresent());
    QCOMPARE(xdecimal::fromData(integer.data).compare(xdec(2000000000000000000, 0)), 0);
    QCOMPARE(xdecimal::fromData(integer.data).scale(), 0);
    QVERIFY(number.isPresent());
    QCOMPARE(xdecimal::fromData(number.data).compare(xdec(2000000000000, 0)), 0);
    QCOMPARE(xdecimal::fromData(number.data).scale(), 6);
}

void TestKeyToRecord::copiesTheSizeOfTheTarget()
{
    // No table has columns of these sizes, so the views are made by hand.
    for (const FieldType::Type type : {Int, Int64, Double, DateTime}) {
        ColumnDef wide;
        wide.type = type;
        wide.size = 8;
        ColumnDef narrow = wide;
        narrow.size = 3;
        qint64 from = 0x0807060504030201;
        qint64 to = 0;
        unsigned char flags = 0;
        const Field source(&wide, reinterpret_cast<unsigned char *>(&from), &flags, 0);
        Field target(&narrow, reinterpret_cast<unsigned char *>(&to), &flags, 0);

        keyconversion::assignField(target, source);

        QCOMPARE(to, qint64(0x030201));
    }
}

void TestKeyToRecord::asksTheFlagWhetherATextBecomesAbsent()
{
    ColumnDef def;
    def.type = FieldType::DateTime;
    def.size = 8;
    qint64 value = 7;
    unsigned char flags = 4;
    Field field(&def, reinterpret_cast<unsigned char *>(&value), &flags, 4);

    // There is a presence bit, but the definition does not admit absent values.
    keyconversion::assignText(field, u"");
    QCOMPARE(value, 0);
    QCOMPARE(int(flags), 4);

    // The definition admits them; any number but 0 says so.
    value = 7;
    def.nullable = 2;
    keyconversion::assignText(field, u"");
    QCOMPARE(value, 7);
    QCOMPARE(int(flags), 0);

    // There is no bit to clear: absent it is not, but nothing is stored either.
    flags = 4;
    Field always(&def, reinterpret_cast<unsigned char *>(&value), &flags, 0);
    keyconversion::assignText(always, u"");
    QCOMPARE(value, 7);
    QCOMPARE(int(flags), 4);
}

void TestKeyToRecord::leavesNothingOfColumnsBeforeTheFailingOne()
{
    MemoryTable table(u"target"_s, {{u"a"_s, String}, {u"b"_s, Int}});
    const Key first(String, text(u"a long text"));
    const Key good(String, text(u"12"));
    const Key bad(String, text(u"12x"));
    const KeyValue whole{first.key[0], good.key[0]};
    const KeyValue failing{first.key[0], bad.key[0]};
    const QString expected = withTypeNames(u"Can't convert from '12x' to Int"_s);
    const KeyFilterFunc func(&table, {whole}, {0, 1});
    const KeyFilterFunc_Hash hash(&table, {whole}, {0, 1});
    QCOMPARE(table.liveRowCount(), 2);

    QCOMPARE(exceptionMessage([&] { (void)func.keyToRecord(failing); }), expected);
    QCOMPARE(exceptionMessage([&] { (void)hash.keyToRecord(failing); }), expected);
    QCOMPARE(exceptionMessage([&] { KeyFilterFunc(&table, {whole, failing}, {0, 1}); }), expected);
    QCOMPARE(exceptionMessage([&] { KeyFilterFunc_Hash(&table, {whole, failing}, {0, 1}); }), expected);

    QCOMPARE(table.liveRowCount(), 2);
    QCOMPARE(table.rowCount(), 0);
    QCOMPARE(first.key[0].toString(), u"a long text"_s);
    const Record after = func.keyToRecord(whole);
    QCOMPARE(after.field(0).toString(), u"a long text"_s);
    QCOMPARE(after.field(1).value<qint32>(), 12);
}

void TestKeyToRecord::givesTheSameRowsInAllClasses()
{
    // Every value of the tables above in every type of column that all classes take.
    MemoryTable table(u"target"_s, {{u"a"_s, Int},
                                    {u"b"_s, Int64},
                                    {u"c"_s, Decimal, false, 2},
                                    {u"d"_s, VarChar, false, 9},
                                    {u"e"_s, DateTime}});
    int rows = 0;
    int refusals = 0;

    for (int column = 0; column < 5; ++column) {
        const KeyFilterFunc func(&table, {}, {column});
        const KeyFilterFunc_Fast fast(&table, {}, {column});
        const KeyFilterFunc_Hash hash(&table, {}, {column});
        for (const Case &row : cases()) {
            for (const CellValue &value : {row.value, CellValue()}) {
                const Key source(row.source, value);
                const auto outcome = [&](const auto &predicate) {
                    QByteArray stored;
                    const QString message = exceptionMessage(
                        [&] { stored = rowBytes(table, predicate.keyToRecord(source.key)); });
                    return std::pair(message, stored);
                };

                const auto expected = outcome(func);

                const QString where = u"%1 into column %2"_s.arg(row.source.text()).arg(column);
                QVERIFY2(outcome(fast) == expected, qPrintable(where));
                QVERIFY2(outcome(hash) == expected, qPrintable(where));
                ++(expected.first.isNull() ? rows : refusals);
            }
        }
    }
    QVERIFY(rows > 100);
    QVERIFY(refusals > 100);

    // All five at once, each from another type.
    const Key sources[] = {{Int64, qint64(int64Max)},
                           {Double, -2.9},
                           {{XDecimal, 1}, xdec(150, 2)},
                           {String, text(u"A long text")},
                           {{VarChar, 20}, text(u"2024.03.31")}};
    KeyValue key;
    for (const Key &source : sources)
        key.append(source.key[0]);
    const QList<int> columns{0, 1, 2, 3, 4};
    const QByteArray wanted =
        rowBytes(table, table.append({int32Max, qint64(-2), decimal(xdec(150, 2).toString()),
                                      text(u"A long te"), datetime(1711843200000)}));
    QCOMPARE(rowBytes(table, KeyFilterFunc(&table, {}, columns).keyToRecord(key)), wanted);
    QCOMPARE(rowBytes(table, KeyFilterFunc_Fast(&table, {}, columns).keyToRecord(key)), wanted);
    QCOMPARE(rowBytes(table, KeyFilterFunc_Hash(&table, {}, columns).keyToRecord(key)), wanted);
}

void TestKeyToRecord::sharesTextsOfEqualTypes()
{
    MemoryTable table(u"target"_s, {{u"a"_s, String}});
    const Key source(String, text(u"a text that is shared"));

    const Record record = KeyFilterFunc(&table, {}, {0}).keyToRecord(source.key);

    QCOMPARE(reinterpret_cast<const QString *>(record.field(0).data)->constData(),
             reinterpret_cast<const QString *>(source.key[0].data)->constData());
}

void TestKeyToRecord::overwritesWhatTheTargetHeld()
{
    MemoryTable table(u"target"_s, {{u"a"_s, Int, true}, {u"b"_s, VarChar, true, 5}, {u"c"_s, Int}});
    const Record record = table.append({qint32(7), text(u"abcde"), qint32(9)});
    Field number = record.field(0);
    Field word = record.field(1);
    Field plain = record.field(2);
    const Key none(Int, CellValue());
    const Key letter(String, text(u"x"));

    keyconversion::assignField(number, none.key[0]);
    keyconversion::assignField(word, letter.key[0]);
    keyconversion::assignField(plain, none.key[0]);

    QVERIFY(!number.isPresent());
    QVERIFY(word.isPresent());
    const Record wanted = table.append({CellValue(), text(u"x"), qint32(9)});
    QCOMPARE(word.toString(), u"x"_s);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(word.data), qsizetype(word.def->size)),
             QByteArray(reinterpret_cast<const char *>(wanted.field(1).data), qsizetype(word.def->size)));
    QVERIFY(plain.isPresent());
    QCOMPARE(plain.value<qint32>(), 9);

    keyconversion::assignText(number, u"5");
    QVERIFY(number.isPresent());
    QCOMPARE(number.value<qint32>(), 5);
    keyconversion::assignText(word, u"");
    QVERIFY(!word.isPresent());
}

void TestKeyToRecord::treatsUnknownTypesLikeRaw()
{
    // No table has such a column, so the views are made by hand.
    ColumnDef unknown;
    unknown.type = FieldType::Type(10);
    unknown.size = 8;
    qint64 value = 7;
    unsigned char flags = 0;
    Field view(&unknown, reinterpret_cast<unsigned char *>(&value), &flags, 0);

    for (const FieldType::Type type : allTypes) {
        const Column column(type);
        const Key source(column, sample(type));
        MemoryTable table(u"target"_s, {column.spec(u"value"_s)});
        const Record record(&table);
        Field target = record.field(0);

        const QString from = exceptionMessage([&] { keyconversion::assignField(target, view); });
        const QString to = exceptionMessage([&] { keyconversion::assignField(view, source.key[0]); });

        const QString name = FieldType::typeName(type);
        const QString noName = FieldType::typeName(unknown.type);
        QCOMPARE(from, u"Can't convert from %1 to %2"_s.arg(noName, name));
        FieldType::Type named = type;
        if (type == String)
            named = VarChar;
        else if (type == XDecimal)
            named = Decimal;
        QCOMPARE(to, u"Can't convert from %1 to %2"_s.arg(FieldType::typeName(named), noName));
        QCOMPARE(value, 7);
    }
}

void TestKeyToRecord::copiesValuesOfUnknownTypes()
{
    ColumnDef unknown;
    unknown.type = FieldType::Type(11);
    unknown.size = 8;
    unknown.nullable = 1;
    ColumnDef longer = unknown;
    longer.length = 1;
    qint64 from = 0x0102030405060708;
    qint64 to = 0;
    unsigned char present = 4;
    unsigned char flags = 3;
    const Field source(&unknown, reinterpret_cast<unsigned char *>(&from), &present, 4);
    Field target(&unknown, reinterpret_cast<unsigned char *>(&to), &flags, 4);
    Field other(&longer, reinterpret_cast<unsigned char *>(&to), &flags, 4);

    keyconversion::assignField(target, source);

    QCOMPARE(to, from);
    QCOMPARE(int(flags), 7);
    QCOMPARE(exceptionMessage([&] { keyconversion::assignField(other, source); }),
             u"Can't convert from %1 to %1"_s.arg(FieldType::typeName(longer.type)));
    QCOMPARE(exceptionMessage([&] { keyconversion::assignText(target, u"7"); }),
             u"Can't convert from %1 to %2"_s.arg(FieldType::typeName(VarChar),
                                                  FieldType::typeName(target.def->type)));
    keyconversion::assignText(target, u"");
    QCOMPARE(int(flags), 3);
}

QTEST_APPLESS_MAIN(TestKeyToRecord)
#include "tst_keytorecord.moc"
