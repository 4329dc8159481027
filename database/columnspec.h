// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldtype.h>

#include <QString>

/// The definition of a column that a host gives to create a table.
struct ColumnSpec
{
    /// Not empty; unique within the table, case-sensitive.
    QString name;
    FieldType::Type type = FieldType::Int;
    /// Whether the column admits absent values.
    bool nullable = false;
    /// Decimal and XDecimal: digits after the point, -64 to 63. VarChar: capacity in UTF-16 units, 1 to
    /// 32767. Raw: its width in bytes, 1 to 65535. 0 for every other type.
    int length = 0;
    /// VarChar and Raw only: the storage in bytes, when it is larger than the length needs; otherwise 0.
    qint64 size = 0;

    bool operator==(const ColumnSpec &) const = default;
};
