// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

/// An exact decimal number of at least 36 significant digits in 16 bytes: an unscaled value between -2^120
/// and 2^120 - 1 and a scale of -64 to 63 digits after the point. The number is unscaled / 10^scale.
///
/// Text forms, doubles, rounding and errors are those of decimal, with "XDecimal" in the messages, and as
/// much the database library's choice. The 16 bytes are copied into rows as they are.
///
/// **Threads.** A plain value: copies are independent and may be used from any thread.
///
/// **Cost.** Sixteen bytes; else as decimal.
class DATABASE_EXPORT xdecimal
{
public:
    /// The range of the scale.
    static constexpr short minScale = -64;
    static constexpr short maxScale = 63;

    /// Zero with scale 0.
    constexpr xdecimal() = default;
    /// The number value / 10^scale. Throws Exception "XDecimal overflow: '%1'" when the scale is out of
    /// range.
    xdecimal(long long value, short scale);
    /// Reads \a text by the rules of decimal. Throws Exception "Can't convert from '%1' to XDecimal" for a
    /// text that is no number, and "XDecimal overflow: '%1'" for a number that cannot be held exactly.
    explicit xdecimal(const QStringView &text);

    /// As the constructor from text, but returns nothing where that would throw.
    static std::optional<xdecimal> fromString(QStringView text);
    /// \a value rounded to \a scale digits after the point, half away from zero. Throws Exception as
    /// decimal::fromDouble does.
    static xdecimal fromDouble(double value, short scale);
    /// The value stored in the 16 bytes at \a data, which need not be aligned.
    static xdecimal fromData(const void *data);

    /// As decimal::setScale().
    void setScale(short scale);
    /// Digits after the point, -64 to 63.
    short scale() const;
    /// The 16 stored bytes; valid as long as this object.
    const unsigned char *data() const { return m_bytes.data(); }

    /// As decimal::compare().
    int compare(const xdecimal &other) const;
    /// The nearest double.
    double toDouble() const;
    /// As decimal::toString().
    QString toString() const;

private:
    alignas(8) std::array<unsigned char, 16> m_bytes = {};
};

static_assert(sizeof(xdecimal) == 16);
Q_DECLARE_TYPEINFO(xdecimal, Q_PRIMITIVE_TYPE);
