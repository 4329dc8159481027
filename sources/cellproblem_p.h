// SPDX-License-Identifier: MIT
#pragma once

namespace sito {

/// Why a value of a database cannot be held by its field.
enum class CellProblem {
    None,
    Absent,     ///< no value where one is required
    WrongKind,  ///< of a kind that the field's type does not hold at all
    OutOfRange, ///< a whole number beyond the type
    NotExact,   ///< a number that the type holds only rounded
    Digits,     ///< more digits than declared
    TextLength, ///< more UTF-16 units than declared
    NulInText,  ///< a NUL character where texts end at one
    Date,       ///< not a date
    EpochDate,  ///< the date that stands for none
    Fraction,   ///< a time finer than milliseconds
    ByteCount,  ///< not exactly the width of the field
    Encoding,   ///< bytes that are no valid text
};

} // namespace sito
