// SPDX-License-Identifier: MIT
#pragma once

#include <database/columnspec.h>

#include <QString>

#include <optional>

namespace sito {

/// The most that a VarChar column holds.
inline constexpr int maxVarChar = 32767;

/// What a declared type says of a column.
struct DeclaredType
{
    /// Without a name. Decimals have the type Decimal, however many their digits.
    ColumnSpec spec;
    /// Decimals: the digits, all of them.
    int digits = 0;
    /// A decimal that was declared without digits.
    bool isOpen = false;
    /// A date without a time.
    bool isDate = false;

    /// Reads "numeric(10, 2)"; nothing for a type that has no place in a table.
    static std::optional<DeclaredType> read(const QString &text);
};

} // namespace sito
