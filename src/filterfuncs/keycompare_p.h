// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>

#include <QString>

/// Equality of fields for the key predicates: exactly Field::compare() == 0, but without a temporary text.
namespace keycompare {

inline bool isText(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String;
}

/// The text of a present String or VarChar field, valid as long as the row.
inline QString textOf(const Field &field)
{
    return field.def->type == FieldType::String ? *reinterpret_cast<const QString *>(field.data)
                                                : field.asStaticString();
}

inline bool sameDecimal(qint64 a, qint64 b)
{
    if (a == b)
        return true;
    if (((quint64(a) ^ quint64(b)) & decimal::scaleMask) == 0)
        return false;
    return decimal::fromWord(a).compare(decimal::fromWord(b)) == 0;
}

/// Whether two present values are equal.
inline bool sameValue(const Field &a, const Field &b)
{
    const FieldType::Type type = a.def->type;
    if (type != b.def->type)
        return isText(type) && isText(b.def->type) && textOf(a) == textOf(b);
    switch (type) {
    case FieldType::Int:
        return a.value<qint32>() == b.value<qint32>();
    case FieldType::Int64:
    case FieldType::DateTime:
        return a.value<qint64>() == b.value<qint64>();
    case FieldType::Double: {
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
        return *reinterpret_cast<const QString *>(a.data) == *reinterpret_cast<const QString *>(b.data);
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

} // namespace keycompare
