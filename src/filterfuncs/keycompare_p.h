// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>

#include <QString>

#include <optional>

/// Equality of fields for the key predicates: exactly Field::compare() == 0, but without a temporary text,
/// and what can be said of a value before it is compared. Nothing here allocates.
namespace keycompare {

inline bool isText(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String;
}

/// The QString of a String field, in place.
inline const QString &stringAt(const Field &field)
{
    return *reinterpret_cast<const QString *>(field.data);
}

/// Hands the text of a present text field to \a take, which must not keep it.
template <typename Take>
inline decltype(auto) withText(const Field &field, Take take)
{
    if (field.def->type == FieldType::String)
        return take(stringAt(field));
    return take(field.asStaticString());
}

inline bool sameText(const Field &a, const Field &b)
{
    return withText(
        a, [&b](const QString &x) { return withText(b, [&x](const QString &y) { return x == y; }); });
}

inline bool sameScale(qint64 a, qint64 b)
{
    return ((quint64(a) ^ quint64(b)) & decimal::scaleMask) == 0;
}

inline bool sameDecimal(qint64 a, qint64 b)
{
    if (a == b || sameScale(a, b))
        return a == b;
    return decimal::fromWord(a).compare(decimal::fromWord(b)) == 0;
}

/// Whether two present values are equal.
inline bool sameValue(const Field &a, const Field &b)
{
    const FieldType::Type type = a.def->type;
    if (type != b.def->type)
        return isText(type) && isText(b.def->type) && sameText(a, b);
    switch (type) {
    case FieldType::Int:
        return a.value<qint32>() == b.value<qint32>();
    case FieldType::Int64:
    case FieldType::DateTime:
        return a.value<qint64>() == b.value<qint64>();
    case FieldType::Double: {
        // A NaN equals every double.
        const auto x = a.value<double>();
        const auto y = b.value<double>();
        return !(x < y) && !(x > y);
    }
    case FieldType::Decimal:
        return sameDecimal(a.value<qint64>(), b.value<qint64>());
    case FieldType::XDecimal:
        return xdecimal::fromData(a.data).compare(xdecimal::fromData(b.data)) == 0;
    case FieldType::VarChar:
        return a.asStaticString() == b.asStaticString();
    case FieldType::String:
        return stringAt(a) == stringAt(b);
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    return true;
}

/// Whether two fields are equal: both absent, or both present with equal values.
inline bool sameField(const Field &a, const Field &b)
{
    const bool present = a.isPresent();
    return present == b.isPresent() && (!present || sameValue(a, b));
}

/// The bits of \a value, such that equal numbers have equal bits; not for a NaN.
inline quint64 doubleBits(double value)
{
    const double unsignedZero = value + 0.0;
    quint64 bits;
    static_assert(sizeof bits == sizeof unsignedZero);
    std::memcpy(&bits, &unsignedZero, sizeof bits);
    return bits;
}

/// The word of the number \a word at the scale of \a model, or nothing where that scale cannot hold it.
std::optional<qint64> decimalAtScaleOf(qint64 model, qint64 word);

} // namespace keycompare
