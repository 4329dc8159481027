// SPDX-License-Identifier: MIT
#include <data/xdecimal.h>

#include <database/decimalnumber_p.h>

#include <data/exception.h>

#include <QLocale>
#include <QtEndian>

#include <cstring>

namespace {

// The 16 bytes are one little-endian word of 128 bits: bits 0 to 119 and 127 are the unscaled value in two's
// complement, bits 120 to 126 the scale. It is the layout of decimal, twice as wide.
constexpr DecimalNumber::Room xdecimalRoom(120);
constexpr quint64 upperScaleMask = 0x7F00000000000000u;

quint64 upperWord(const xdecimal &value)
{
    return qFromLittleEndian<quint64>(value.data() + sizeof(quint64));
}

short scaleOf(quint64 upper)
{
    return short(qint64(upper << 1) >> 57);
}

DecimalNumber number(const xdecimal &value)
{
    const quint64 upper = upperWord(value);
    const quint64 valuePart = upper & ~upperScaleMask;
    const quint64 extended = qint64(upper) < 0 ? valuePart | upperScaleMask : valuePart;
    const auto lower = qFromLittleEndian<quint64>(value.data());
    return {Int128((UInt128(extended) << 64) | lower), scaleOf(upper)};
}

/// The stored form of a number that fits.
xdecimal storedXdecimal(const DecimalNumber &value)
{
    const quint64 scale = (quint64(value.scale) << 56) & upperScaleMask;
    const auto upper = quint64(UInt128(value.unscaled) >> 64);
    unsigned char bytes[sizeof(xdecimal)];
    qToLittleEndian(quint64(UInt128(value.unscaled)), bytes);
    qToLittleEndian((upper & ~upperScaleMask) | scale, bytes + sizeof(quint64));
    return xdecimal::fromData(bytes);
}

[[noreturn]] void throwXdecimalOverflow(const QString &text)
{
    throw Exception(QStringLiteral("XDecimal overflow: '%1'").arg(text));
}

} // namespace

xdecimal::xdecimal(long long value, short scale)
{
    const DecimalNumber given{value, scale};
    if (!given.fits(xdecimalRoom))
        throwXdecimalOverflow(given.toExponentText());
    *this = storedXdecimal(given);
}

xdecimal::xdecimal(const QStringView &text)
{
    DecimalNumber value;
    switch (value.read(text, xdecimalRoom)) {
    case DecimalNumber::Result::Good:
        *this = storedXdecimal(value);
        return;
    case DecimalNumber::Result::NotANumber:
        throw Exception(QStringLiteral("Can't convert from '%1' to XDecimal").arg(text));
    case DecimalNumber::Result::Overflow:
        break;
    }
    throwXdecimalOverflow(text.toString());
}

std::optional<xdecimal> xdecimal::fromString(QStringView text)
{
    DecimalNumber value;
    if (value.read(text, xdecimalRoom) != DecimalNumber::Result::Good)
        return std::nullopt;
    return storedXdecimal(value);
}

xdecimal xdecimal::fromDouble(double value, short scale)
{
    DecimalNumber result;
    if (!result.assign(value, scale, xdecimalRoom))
        throwXdecimalOverflow(QString::number(value, 'g', QLocale::FloatingPointShortest));
    return storedXdecimal(result);
}

xdecimal xdecimal::fromData(const void *data)
{
    xdecimal result;
    std::memcpy(result.m_bytes.data(), data, sizeof(xdecimal));
    return result;
}

void xdecimal::setScale(short scale)
{
    DecimalNumber value = number(*this);
    if (!value.rescale(scale, xdecimalRoom))
        throwXdecimalOverflow(toString());
    *this = storedXdecimal(value);
}

short xdecimal::scale() const
{
    return scaleOf(upperWord(*this));
}

int xdecimal::compare(const xdecimal &other) const
{
    const quint64 upper = upperWord(*this);
    const quint64 otherUpper = upperWord(other);
    if (((upper ^ otherUpper) & upperScaleMask) != 0)
        return number(*this).compare(number(other));
    // Numbers of one scale sort as their words.
    if (upper != otherUpper)
        return qint64(upper) < qint64(otherUpper) ? -1 : 1;
    const auto lower = qFromLittleEndian<quint64>(data());
    const auto otherLower = qFromLittleEndian<quint64>(other.data());
    return (lower > otherLower) - (lower < otherLower);
}

double xdecimal::toDouble() const
{
    return number(*this).toDouble();
}

QString xdecimal::toString() const
{
    return number(*this).toString();
}
