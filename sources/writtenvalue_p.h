// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>
#include <QtGlobal>

#include <optional>

namespace sito {

/// What a text stands for in a file that declares no types.
enum class WrittenKind {
    Integer,  ///< of 64 bits
    Decimal,  ///< also a whole number beyond 64 bits
    Date,     ///< "2017-01-31"
    DateTime, ///< "2017-01-31 14:30", with or without seconds, a fraction, "T" and "Z"
    Text,
};

/// A number, without zeros in front, a plus sign or an exponent: one that would be printed as it was written.
struct WrittenNumber
{
    /// The digits before and after the point.
    qsizetype whole = 0;
    qsizetype scale = 0;
    /// All digits as one number; nothing beyond 18 of them.
    std::optional<qint64> unscaled;

    static std::optional<WrittenNumber> read(QStringView text);
};

/// The number that \a text is, if it is a WrittenNumber without a point and has 64 bits.
std::optional<qint64> writtenInteger(QStringView text);

/// A date-time that ends in "Z" is one of UTC; one that does not is of a zone that nobody told.
bool hasWrittenZone(QStringView text);

WrittenKind writtenKind(QStringView text);

} // namespace sito
