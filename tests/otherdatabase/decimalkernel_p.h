// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

/// A number as sign, magnitude and scale: what decimal and xdecimal have in common here. Digits that are
/// given up are cut off, never rounded.
struct DecimalKernel
{
    using Magnitude = unsigned __int128;
    enum class Result { Good, NotANumber, Overflow };

    static constexpr int minScale = -64;
    static constexpr int maxScale = 63;

    /// Reads "-12.50", "15e3" and the like; the unscaled value has \a bits bits and a sign.
    Result read(QStringView text, int bits);
    /// The value to \a newScale digits, half to even; false when it does not fit.
    bool assign(double value, int newScale, int bits);
    /// False, and nothing is changed, when the number has no room at that scale.
    bool rescale(int newScale, int bits);
    bool fits(int bits) const;

    int compare(const DecimalKernel &other) const;
    /// The product of two doubles, so equal numbers of different scales may have different doubles.
    double toDouble() const;
    /// Plain digits, without an exponent and without zeros at the end of the fraction: it keeps the number,
    /// but not its scale.
    QString toString() const;
    /// As many digits behind the point as the scale says, or the zeros of a negative scale as "e3".
    QString toExactText() const;

    bool negative = false;
    Magnitude magnitude = 0;
    int scale = 0;
};
