// SPDX-License-Identifier: MIT
#pragma once

#include <database/int128_p.h>

#include <QString>
#include <QStringView>

/// The number unscaled / 10^scale, converted between a stored form, a text and a double: the common part of
/// decimal and xdecimal. Both have scales of -64 to 63 and differ in the width of the unscaled value.
struct DecimalNumber
{
    /// The range of unscaled values in a stored form: -2^bits to 2^bits - 1.
    struct Room
    {
        constexpr explicit Room(int bits) : highest((UInt128(1) << bits) - 1), tenth(highest / 10) {}

        /// The largest unscaled value; the magnitude of a negative value may be larger by 1.
        UInt128 highest;
        /// The largest magnitude that can take another digit, whatever the sign: no power of two above 1 ends
        /// in 0.
        UInt128 tenth;
    };

    enum class Result { Good, NotANumber, Overflow };

    static constexpr int minScale = -64;
    static constexpr int maxScale = 63;

    static constexpr bool isScale(int scale) { return scale >= minScale && scale <= maxScale; }

    /// Reads \a text by the rules stated for the constructor of decimal; allocates nothing.
    Result read(QStringView text, const Room &room);
    /// Takes \a value rounded to \a scale, half away from zero; returns whether it fits.
    bool assign(double value, int scale, const Room &room);
    /// Changes the scale, rounding half away from zero; returns whether the number fits, and changes nothing
    /// if not.
    bool rescale(int newScale, const Room &room);

    /// Whether unscaled value and scale can be stored.
    bool fits(const Room &room) const;
    /// Exact order of the numbers.
    int compare(const DecimalNumber &other) const;
    /// The nearest double.
    double toDouble() const;
    /// The text of a number that fits, without loss.
    QString toString() const;
    /// The unscaled value, "e" and the exponent: for messages about numbers that may not fit.
    QString toExponentText() const;

    Int128 unscaled = 0;
    int scale = 0;

private:
    bool assignDigits(double magnitude, bool negative, int newScale, const Room &room);
    bool assignMagnitude(UInt128 magnitude, bool negative, int newScale, const Room &room);
};
