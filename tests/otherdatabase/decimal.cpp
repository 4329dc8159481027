// SPDX-License-Identifier: MIT
#include <data/decimal.h>

#include <data/exception.h>

#include "decimalkernel_p.h"

namespace {

constexpr int bits = 56;

DecimalKernel number(const decimal &value)
{
    const qint64 unscaled = value.unscaled();
    return {unscaled < 0, DecimalKernel::Magnitude(unscaled < 0 ? -unscaled : unscaled), value.scale()};
}

decimal stored(const DecimalKernel &value)
{
    const auto magnitude = qint64(value.magnitude);
    const quint64 unscaled = quint64(value.negative ? -magnitude : magnitude) & decimal::valueMask;
    return decimal::fromWord(qint64(unscaled | (quint64(value.scale) << 56 & decimal::scaleMask)));
}

[[noreturn]] void refuse(const QString &text)
{
    throw Exception(QStringLiteral("no decimal64: %1").arg(text));
}

} // namespace

decimal::decimal(const QString &text) : decimal(QStringView(text)) {}

decimal::decimal(const QStringView &text)
{
    const std::optional<decimal> value = fromString(text);
    if (!value)
        refuse(text.toString());
    *this = *value;
}

std::optional<decimal> decimal::fromString(QStringView text)
{
    DecimalKernel value;
    if (value.read(text, bits) != DecimalKernel::Result::Good)
        return std::nullopt;
    return stored(value);
}

decimal decimal::fromDouble(double value, short scale)
{
    DecimalKernel result;
    if (!result.assign(value, scale, bits))
        refuse(QString::number(value));
    return stored(result);
}

decimal decimal::fromUnscaled(qint64 unscaled, short scale)
{
    const bool negative = unscaled < 0;
    const DecimalKernel value{negative, negative ? 0 - quint64(unscaled) : quint64(unscaled), scale};
    if (!value.fits(bits))
        refuse(value.toExactText());
    return stored(value);
}

void decimal::setScale(short scale)
{
    DecimalKernel value = number(*this);
    if (!value.rescale(scale, bits))
        refuse(value.toExactText());
    *this = stored(value);
}

int decimal::compare(const decimal &other) const
{
    return number(*this).compare(number(other));
}

double decimal::toDouble() const
{
    return number(*this).toDouble();
}

QString decimal::toString() const
{
    return number(*this).toString();
}
