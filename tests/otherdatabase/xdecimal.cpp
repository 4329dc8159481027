// SPDX-License-Identifier: MIT
#include <data/xdecimal.h>

#include <data/exception.h>

#include "xdecimalbytes_p.h"

#include <cstring>

namespace {

constexpr int bits = 120;

xdecimal stored(const DecimalKernel &value)
{
    unsigned char bytes[sizeof(xdecimal)];
    DecimalKernel::Magnitude rest = value.magnitude;
    for (size_t i = sizeof bytes - 1; i > 0; --i, rest >>= 8)
        bytes[i] = static_cast<unsigned char>(rest & 0xFF);
    bytes[0] = static_cast<unsigned char>((value.scale & 0x7F) << 1 | (value.negative ? 1 : 0));
    return xdecimal::fromData(bytes);
}

[[noreturn]] void refuse(const QString &text)
{
    throw Exception(QStringLiteral("no decimal128: %1").arg(text));
}

} // namespace

DecimalKernel numberOf(const xdecimal &value)
{
    const unsigned char *bytes = value.data();
    DecimalKernel result;
    for (size_t i = 1; i < sizeof(xdecimal); ++i)
        result.magnitude = result.magnitude << 8 | bytes[i];
    result.negative = (bytes[0] & 1) != 0;
    result.scale = static_cast<signed char>(bytes[0]) >> 1;
    return result;
}

xdecimal::xdecimal(long long value, short scale)
{
    const bool negative = value < 0;
    const DecimalKernel given{negative, negative ? 0 - quint64(value) : quint64(value), scale};
    if (!given.fits(bits))
        refuse(given.toExactText());
    *this = stored(given);
}

xdecimal::xdecimal(const QStringView &text)
{
    const std::optional<xdecimal> value = fromString(text);
    if (!value)
        refuse(text.toString());
    *this = *value;
}

std::optional<xdecimal> xdecimal::fromString(QStringView text)
{
    DecimalKernel value;
    // A magnitude of 2^120 would have no room in 15 bytes.
    if (value.read(text, bits) != DecimalKernel::Result::Good || value.magnitude >> bits != 0)
        return std::nullopt;
    return stored(value);
}

xdecimal xdecimal::fromDouble(double value, short scale)
{
    DecimalKernel result;
    if (!result.assign(value, scale, bits) || result.magnitude >> bits != 0)
        refuse(QString::number(value));
    return stored(result);
}

xdecimal xdecimal::fromData(const void *data)
{
    xdecimal result;
    std::memcpy(result.m_bytes.data(), data, sizeof(xdecimal));
    return result;
}

void xdecimal::setScale(short scale)
{
    DecimalKernel value = numberOf(*this);
    if (!value.rescale(scale, bits) || value.magnitude >> bits != 0)
        refuse(value.toExactText());
    *this = stored(value);
}

short xdecimal::scale() const
{
    return short(numberOf(*this).scale);
}

int xdecimal::compare(const xdecimal &other) const
{
    return numberOf(*this).compare(numberOf(other));
}

double xdecimal::toDouble() const
{
    return numberOf(*this).toDouble();
}

QString xdecimal::toString() const
{
    return numberOf(*this).toString();
}
