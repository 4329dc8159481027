// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldtype.h>

/// The types by their short names, for tests that are full of them.
namespace fieldtypes {

inline constexpr FieldType::Type Raw = FieldType::Raw;
inline constexpr FieldType::Type Int = FieldType::Int;
inline constexpr FieldType::Type Int64 = FieldType::Int64;
inline constexpr FieldType::Type Double = FieldType::Double;
inline constexpr FieldType::Type Decimal = FieldType::Decimal;
inline constexpr FieldType::Type XDecimal = FieldType::XDecimal;
inline constexpr FieldType::Type VarChar = FieldType::VarChar;
inline constexpr FieldType::Type DateTime = FieldType::DateTime;
inline constexpr FieldType::Type String = FieldType::String;
inline constexpr FieldType::Type Block = FieldType::Block;

} // namespace fieldtypes
