// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>
#include <QStringView>

#include <optional>

/// An exact decimal number in one 64-bit word: an unscaled value of 57 bits, two's complement, and a scale of
/// -64 to 63 digits after the point (a negative scale stands for trailing zeros). The number is
/// unscaled / 10^scale; 1.5 and 1.50 are equal numbers with different words.
///
/// Numbers that do not fit are reported as an Exception; nothing is rounded except where a scale is asked
/// for. How it is rounded, which double is returned, the text of a number and the words of the messages are
/// the database library's choice: what is said of them below holds for the in-memory library, and is
/// recommended. It rounds half away from zero, as traders round prices.
///
/// **Threads.** A plain value: copies are independent and may be used from any thread.
///
/// **Cost.** Eight bytes. In the in-memory library the time of an operation is bounded; that of reading a
/// text grows with its length.
class DATABASE_EXPORT decimal
{
public:
    /// Bits 0 to 55 and 63 of the word: the unscaled value.
    static constexpr quint64 valueMask = 0x80FFFFFFFFFFFFFFu;
    /// Bits 56 to 62 of the word: the scale, two's complement.
    static constexpr quint64 scaleMask = 0x7F00000000000000u;
    /// The ranges of the unscaled value and of the scale.
    static constexpr qint64 minUnscaled = -(qint64(1) << 56);
    static constexpr qint64 maxUnscaled = (qint64(1) << 56) - 1;
    static constexpr short minScale = -64;
    static constexpr short maxScale = 63;

    /// Zero with scale 0.
    constexpr decimal() = default;

    /// The whole number \a value. One of 2^56 and above is divided by 10, truncating, with the scale lowered
    /// by one each time, until it fits. One below -2^56 loses its bits 56 to 62 without notice: this is
    /// required of integers that are stored into decimal columns.
    constexpr explicit decimal(qint64 value);

    /// Reads \a text: an optional sign, digits with at most one point, an optional exponent ("e" or "E",
    /// optional sign, digits), white space around all of it. The scale is the number of digits after the
    /// point less the exponent, so "1.50" has scale 2 and "15e3" scale -3; trailing zeros are given up only
    /// where the number would not fit otherwise.
    ///
    /// Throws Exception "Can't convert from '%1' to Decimal" for a text that is no number, and
    /// "Decimal overflow: '%1'" for a number that cannot be held exactly; %1 is the text as it came.
    explicit decimal(const QString &text);
    explicit decimal(const QStringView &text);

    /// As the constructor from text, but returns nothing where that would throw.
    static std::optional<decimal> fromString(QStringView text);

    /// \a value rounded to \a scale digits after the point, half away from zero; the rounding sees the exact
    /// binary value. Throws Exception "Decimal overflow: '%1'" when it does not fit, is infinite or a NaN.
    static decimal fromDouble(double value, short scale);

    /// The number unscaled / 10^scale. Throws Exception when either is out of range.
    static decimal fromUnscaled(qint64 unscaled, short scale);

    /// The value stored in \a word.
    static constexpr decimal fromWord(qint64 word);

    /// Changes the scale and keeps the number, rounding half away from zero when digits are given up.
    /// Throws Exception "Decimal overflow: '%1'" when the number has no room at that scale or the scale is
    /// out of range, and changes nothing then.
    void setScale(short scale);
    /// Digits after the point, -64 to 63.
    constexpr short scale() const;
    /// The number times 10^scale.
    constexpr qint64 unscaled() const;
    /// The word as it is stored in rows; fromWord() takes it back.
    constexpr qint64 word() const { return m_word; }

    /// Negative, zero or positive as this number is less than, equal to or greater than \a other. Exact for
    /// all scales and values.
    int compare(const decimal &other) const;

    /// The nearest double.
    double toDouble() const;

    /// The number without loss, its scale included: plain digits with as many after the point as the scale
    /// says, or the unscaled value followed by "e" and the number of zeros when the scale is negative.
    QString toString() const;

private:
    qint64 m_word = 0;
};

constexpr decimal decimal::fromWord(qint64 word)
{
    decimal result;
    result.m_word = word;
    return result;
}

constexpr decimal::decimal(qint64 value)
{
    if ((value >> 56) <= 0) {
        m_word = qint64(quint64(value) & valueMask);
        return;
    }
    quint64 rest = quint64(value);
    int scale = 0;
    while ((rest >> 56) != 0 && scale > minScale) {
        rest /= 10;
        --scale;
    }
    m_word = qint64((rest & valueMask) | ((quint64(scale) << 56) & scaleMask));
}

constexpr short decimal::scale() const
{
    return short(qint64(quint64(m_word) << 1) >> 57);
}

constexpr qint64 decimal::unscaled() const
{
    const quint64 low = quint64(m_word) & valueMask;
    return m_word < 0 ? qint64(low | scaleMask) : qint64(low);
}

static_assert(sizeof(decimal) == 8);
Q_DECLARE_TYPEINFO(decimal, Q_PRIMITIVE_TYPE);
