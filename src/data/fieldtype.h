// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>
#include <QStringView>

/// The type codes of columns and values, with the operations that need nothing but a code.
class DATABASE_EXPORT FieldType
{
public:
    /// A column's type. The numbers are fixed: they are compiled into hosts and ordered by Field::compare().
    /// An unknown code is treated like Raw: all values equal, none convertible.
    enum Type : qint32 {
        Raw = 0,      ///< ColumnDef::size bytes; never ordered
        Int = 1,      ///< signed, 32 bits
        Int64 = 2,    ///< signed, 64 bits
        Double = 3,   ///< IEEE-754 binary64
        Decimal = 4,  ///< decimal, one 64-bit word
        XDecimal = 5, ///< xdecimal, 16 bytes
        VarChar = 6,  ///< text of limited length, stored inside the row
        DateTime = 7, ///< datetime: milliseconds since 1970-01-01T00:00:00 UTC, 0 for no date
        String = 8,   ///< a QString object
        Block = 9,    ///< an opaque value of blockSize bytes; never ordered
    };

    /// The width of a Block value in bytes.
    static constexpr int blockSize = 404;

    /// The display name of \a type, as messages show it. It is the database library's choice; the in-memory
    /// library gives the name above, "Unknown" for any other code.
    static QString typeName(Type type);

    /// Stores \a text into the storage of a VarChar value, which holds \a size UTF-16 units, and fills the
    /// rest with bytes that are always the same (zeros in the in-memory library). A longer text is cut, never
    /// in the middle of a surrogate pair. \a buffer must be aligned for 16-bit units.
    static void stringToVarChar(unsigned char *buffer, int size, const QStringView &text);
};
