// SPDX-License-Identifier: MIT
#include <sources/declaredtype_p.h>

#include <data/decimal.h>

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <iterator>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The digits, and the scale, of a decimal column that declares neither.
constexpr int openDigits = 36;
constexpr int openScale = 10;
constexpr int maxRaw = 65535;

enum class Kind { Int, Int64, Double, Decimal, Text, DateTime, Bytes };

struct KnownType
{
    QLatin1StringView name;
    Kind kind;
};

constexpr KnownType knownTypes[] = {
    {"BIG INT"_L1, Kind::Int64},
    {"BIGINT"_L1, Kind::Int64},
    {"BIGSERIAL"_L1, Kind::Int64},
    {"BINARY"_L1, Kind::Bytes},
    {"BLOB"_L1, Kind::Bytes},
    {"BOOL"_L1, Kind::Int},
    {"BOOLEAN"_L1, Kind::Int},
    {"BYTEA"_L1, Kind::Bytes},
    {"CHAR"_L1, Kind::Text},
    {"CHAR VARYING"_L1, Kind::Text},
    {"CHARACTER"_L1, Kind::Text},
    {"CHARACTER VARYING"_L1, Kind::Text},
    {"CLOB"_L1, Kind::Text},
    {"DATE"_L1, Kind::DateTime},
    {"DATETIME"_L1, Kind::DateTime},
    {"DEC"_L1, Kind::Decimal},
    {"DECIMAL"_L1, Kind::Decimal},
    {"DOUBLE"_L1, Kind::Double},
    {"DOUBLE PRECISION"_L1, Kind::Double},
    {"FLOAT"_L1, Kind::Double},
    {"FLOAT4"_L1, Kind::Double},
    {"FLOAT8"_L1, Kind::Double},
    {"INT"_L1, Kind::Int},
    {"INT2"_L1, Kind::Int},
    {"INT4"_L1, Kind::Int},
    {"INT8"_L1, Kind::Int64},
    {"INTEGER"_L1, Kind::Int},
    {"LONGTEXT"_L1, Kind::Text},
    {"MEDIUMINT"_L1, Kind::Int},
    {"MEDIUMTEXT"_L1, Kind::Text},
    {"NATIONAL CHARACTER"_L1, Kind::Text},
    {"NATIONAL CHARACTER VARYING"_L1, Kind::Text},
    {"NATIVE CHARACTER"_L1, Kind::Text},
    {"NCHAR"_L1, Kind::Text},
    {"NTEXT"_L1, Kind::Text},
    {"NUM"_L1, Kind::Decimal},
    {"NUMBER"_L1, Kind::Decimal},
    {"NUMERIC"_L1, Kind::Decimal},
    {"NVARCHAR"_L1, Kind::Text},
    {"NVARCHAR2"_L1, Kind::Text},
    {"REAL"_L1, Kind::Double},
    {"SERIAL"_L1, Kind::Int},
    {"SMALLINT"_L1, Kind::Int},
    {"TEXT"_L1, Kind::Text},
    {"TIMESTAMP"_L1, Kind::DateTime},
    {"TIMESTAMP WITH TIME ZONE"_L1, Kind::DateTime},
    {"TIMESTAMP WITHOUT TIME ZONE"_L1, Kind::DateTime},
    {"TINYINT"_L1, Kind::Int},
    {"TINYTEXT"_L1, Kind::Text},
    {"VARBINARY"_L1, Kind::Bytes},
    {"VARCHAR"_L1, Kind::Text},
    {"VARCHAR2"_L1, Kind::Text},
    {"VARYING CHARACTER"_L1, Kind::Text},
};

std::optional<Kind> kindOf(const QString &name)
{
    const auto known = std::find_if(std::begin(knownTypes), std::end(knownTypes),
                                    [&name](const KnownType &type) { return name == type.name; });
    if (known == std::end(knownTypes))
        return std::nullopt;
    return known->kind;
}

} // namespace

std::optional<DeclaredType> DeclaredType::read(const QString &text)
{
    static const QRegularExpression pattern(
        uR"(^([A-Z][A-Z0-9_ ]*)(?:\( ?(\d{1,9})(?: CHAR| BYTE)? ?(?:, ?([+-]?\d{1,9}) ?)?\)([A-Z ]*))?$)"_s);
    const QRegularExpressionMatch match = pattern.match(text.simplified().toUpper());
    if (!match.hasMatch())
        return std::nullopt;
    QStringList words =
        match.captured(1).split(u' ', Qt::SkipEmptyParts) + match.captured(4).split(u' ', Qt::SkipEmptyParts);
    if (words.size() > 2 && words.last() == "ALWAYS"_L1 && words.at(words.size() - 2) == "GENERATED"_L1)
        words.resize(words.size() - 2);
    const bool isUnsigned = words.removeAll(u"UNSIGNED"_s) > 0;
    const auto kind = kindOf(words.join(u' '));
    if (!kind)
        return std::nullopt;
    const bool hasLength = !match.captured(2).isEmpty();
    const int length = match.captured(2).toInt();
    const int scale = match.captured(3).toInt();

    DeclaredType type;
    ColumnSpec &spec = type.spec;
    switch (*kind) {
    case Kind::Int:
        spec.type = isUnsigned ? FieldType::Int64 : FieldType::Int;
        break;
    case Kind::Int64:
        spec.type = FieldType::Int64;
        break;
    case Kind::Double:
        spec.type = FieldType::Double;
        break;
    case Kind::Decimal:
        type.digits = hasLength ? length : openDigits;
        type.isOpen = !hasLength;
        spec.length = hasLength ? scale : openScale;
        spec.type = FieldType::Decimal;
        if (spec.length < decimal::minScale || spec.length > decimal::maxScale || type.digits < 1)
            return std::nullopt;
        break;
    case Kind::Text:
        if (hasLength && length > 0 && length <= maxVarChar && !words.constLast().endsWith("TEXT"_L1) &&
            words.constLast() != "CLOB"_L1) {
            spec.type = FieldType::VarChar;
            spec.length = length;
        } else {
            spec.type = FieldType::String;
        }
        break;
    case Kind::DateTime:
        spec.type = FieldType::DateTime;
        type.isDate = words == QStringList(u"DATE"_s);
        break;
    case Kind::Bytes:
        if (hasLength && (length < 1 || length > maxRaw))
            return std::nullopt;
        spec.type = hasLength ? FieldType::Raw : FieldType::Block;
        spec.length = length;
        break;
    }
    return type;
}

} // namespace sito
