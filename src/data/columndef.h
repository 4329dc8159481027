// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldtype.h>

#include <cstddef>

/// The definition of a column: where its value lies in a row and how it is read. Owned by its table and
/// valid as long as the table. The layout is compiled into hosts.
struct ColumnDef
{
    FieldType::Type type = FieldType::Raw;
    /// Decimal and XDecimal: digits after the point. VarChar: the capacity in UTF-16 units. Raw: the width of
    /// a value in bytes. Else 0.
    qint32 length = 0;
    /// Not 0 when the column admits absent values.
    quint8 nullable = 0;
    /// Where the value begins, in bytes from the start of the row's data area.
    quint64 offset = 0;
    /// The width of the value in bytes.
    quint64 size = 0;
};

static_assert(offsetof(ColumnDef, type) == 0 && sizeof(FieldType::Type) == 4);
static_assert(offsetof(ColumnDef, length) == 4);
static_assert(offsetof(ColumnDef, nullable) == 8);
static_assert(offsetof(ColumnDef, offset) == 16);
static_assert(offsetof(ColumnDef, size) == 24);
static_assert(sizeof(ColumnDef) == 32);
