// SPDX-License-Identifier: MIT
#pragma once

#include <data/columndef.h>
#include <data/database_export.h>
#include <data/decimal.h>
#include <data/xdecimal.h>

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstring>

/// A typed view of one cell. It owns nothing and is valid only as long as the row it was taken from.
///
/// The layout is compiled into hosts.
///
/// **Threads.** It is as safe between threads as the row itself.
///
/// **Cost.** Integers, doubles, date-times, and decimals of one scale are read and compared without a call of
/// the database library. Comparing texts takes time in proportion to what they have in common at their
/// beginning.
class DATABASE_EXPORT Field
{
public:
    Field() = default;
    Field(const ColumnDef *columnDef, unsigned char *value, unsigned char *flags, quint32 mask)
        : def(columnDef), data(value), nullFlags(flags), nullMask(mask)
    {
    }

    /// Whether the cell holds a value. A mask of 0, that of a column without absent values, always does.
    bool isPresent() const { return (*nullFlags & nullMask) == nullMask; }
    /// Sets the presence bit and leaves the value as it is; has no effect where the mask is 0.
    void setPresent() { *nullFlags = static_cast<unsigned char>(*nullFlags | nullMask); }
    /// Clears the presence bit; has no effect where the mask is 0.
    void setAbsent() { *nullFlags = static_cast<unsigned char>((*nullFlags | nullMask) ^ nullMask); }

    /// The value, read as \a T; the caller must know that the type is right.
    template <typename T>
    T value() const
    {
        T result;
        std::memcpy(&result, data, sizeof(T));
        return result;
    }

    /// Negative, zero or positive as this field sorts before, with or after \a other; only the sign counts.
    ///
    /// Absent sorts before every value and equals absent. Different types sort by their codes, except that
    /// VarChar and String compare as texts. Raw, Block and unknown types are never ordered: all are equal. A
    /// NaN equals every double. Texts compare by UTF-16 code units. Numbers of different types are
    /// deliberately not compared by value.
    inline int compare(const Field &other) const;

    /// The value as text, for any type; for a String field the QString it holds. Empty when absent.
    QString toString() const;
    /// The text of a present VarChar field, for comparison with other VarChars. It may share the row's
    /// memory: it is valid only as long as the row and until the field is written. It need not be the same
    /// as toString().
    QString asStaticString() const;
    /// Stores \a text into a String field; does not touch the presence bit.
    void storeString(const QStringView &text);

    const ColumnDef *def = nullptr;
    unsigned char *data = nullptr;
    /// The byte that holds the presence bit.
    unsigned char *nullFlags = nullptr;
    /// The presence bit within *nullFlags; 0 for a column that admits no absent values.
    quint32 nullMask = 0;

private:
    template <typename T>
    static int order(T a, T b)
    {
        return a < b ? -1 : a > b ? 1 : 0;
    }
    inline int compareOther(const Field &other) const;
};

static_assert(offsetof(Field, def) == 0);
static_assert(offsetof(Field, data) == 8);
static_assert(offsetof(Field, nullFlags) == 16);
static_assert(offsetof(Field, nullMask) == 24);
static_assert(sizeof(Field) == 32);

inline int Field::compare(const Field &other) const
{
    const bool present = isPresent();
    const bool otherPresent = other.isPresent();
    if (!present || !otherPresent)
        return int(present) - int(otherPresent);
    if (def->type != other.def->type)
        return compareOther(other);

    switch (def->type) {
    case FieldType::Int:
        return order(value<qint32>(), other.value<qint32>());
    case FieldType::Int64:
    case FieldType::DateTime:
        return order(value<qint64>(), other.value<qint64>());
    case FieldType::Double: {
        const double difference = value<double>() - other.value<double>();
        return difference < 0 ? -1 : difference > 0 ? 1 : 0;
    }
    case FieldType::Decimal: {
        const auto a = value<qint64>();
        const auto b = other.value<qint64>();
        if (((quint64(a) ^ quint64(b)) & decimal::scaleMask) == 0)
            return order(a, b);
        return decimal::fromWord(a).compare(decimal::fromWord(b));
    }
    case FieldType::XDecimal:
        return xdecimal::fromData(data).compare(xdecimal::fromData(other.data));
    case FieldType::VarChar:
        return QString::compare(asStaticString(), other.asStaticString(), Qt::CaseSensitive);
    case FieldType::String:
        return QString::compare(toString(), other.toString(), Qt::CaseSensitive);
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    return 0;
}

inline int Field::compareOther(const Field &other) const
{
    const bool texts = (def->type == FieldType::VarChar && other.def->type == FieldType::String) ||
                       (def->type == FieldType::String && other.def->type == FieldType::VarChar);
    if (texts)
        return QString::compare(toString(), other.toString(), Qt::CaseSensitive);
    return def->type - other.def->type;
}
