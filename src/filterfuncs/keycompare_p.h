// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>
#include <data/record.h>
#include <data/table.h>

#include <QList>
#include <QString>

#include <optional>

/// Equality of fields for the key predicates, and what they derive from a value before it is compared. Whole
/// values are compared by Field::compare(); what is derived before relies on the stated layouts alone.
namespace keycompare {

/// The QString of a String field, in place.
inline const QString &stringAt(const Field &field)
{
    return *reinterpret_cast<const QString *>(field.data);
}

/// Calls \a take with the text by which a present text field is compared with one of the same type; \a take
/// must not keep it.
template <typename Take>
inline decltype(auto) withText(const Field &field, Take take)
{
    if (field.def->type == FieldType::String)
        return take(stringAt(field));
    return take(field.asStaticString());
}

/// Whether Field::compare() is 0; without its copies of the texts of String fields.
inline bool sameField(const Field &a, const Field &b)
{
    if (a.def->type != FieldType::String || b.def->type != FieldType::String)
        return a.compare(b) == 0;
    const bool present = a.isPresent();
    return present == b.isPresent() && (!present || stringAt(a) == stringAt(b));
}

/// Whether two rows are equal in \a columns, each read through its own table. No column is read behind one
/// that differs.
bool sameKey(const Record &record, const Record &key, const QList<int> &columns);

/// Whether \a record equals one of \a keys in \a columns; for a row of any table, which may lack the columns
/// behind one that differs.
bool equalsAny(const Record &record, const QList<Record> &keys, const QList<int> &columns);

/// The field of \a column, defined by \a def, in \a row, a row of \a table. Saves a call where the column
/// admits no absent values: its value lies where the definition says.
inline Field fieldAt(const Table *table, const ColumnDef *def, int column, unsigned char *row)
{
    return def->nullable ? table->dataPtr(row, column)
                         : Field(def, row + sizeof(RowHeader) + def->offset, row, 0);
}

inline bool sameScale(qint64 a, qint64 b)
{
    return ((quint64(a) ^ quint64(b)) & decimal::scaleMask) == 0;
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

/// The word of the number \a word without trailing zeros, as far as the scale goes: equal numbers have equal
/// ones.
quint64 shortestDecimal(qint64 word);

} // namespace keycompare
