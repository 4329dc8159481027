// SPDX-License-Identifier: MIT
#include <data/decimal.h>

#include <database/decimalnumber_p.h>

#include <data/exception.h>

#include <QLocale>

namespace {

constexpr DecimalNumber::Room decimalRoom(56);

DecimalNumber number(const decimal &value)
{
    return {value.unscaled(), value.scale()};
}

/// The stored form of a number that fits.
decimal stored(const DecimalNumber &value)
{
    const quint64 scale = (quint64(value.scale) << 56) & decimal::scaleMask;
    return decimal::fromWord(qint64((quint64(value.unscaled) & decimal::valueMask) | scale));
}

[[noreturn]] void throwOverflow(const QString &text)
{
    throw Exception(QStringLiteral("Decimal overflow: '%1'").arg(text));
}

} // namespace

decimal::decimal(const QString &text) : decimal(QStringView(text)) {}

decimal::decimal(const QStringView &text)
{
    DecimalNumber value;
    switch (value.read(text, decimalRoom)) {
    case DecimalNumber::Result::Good:
        *this = stored(value);
        return;
    case DecimalNumber::Result::NotANumber:
        throw Exception(QStringLiteral("Can't convert from '%1' to Decimal").arg(text));
    case DecimalNumber::Result::Overflow:
        break;
    }
    throwOverflow(text.toString());
}

std::optional<decimal> decimal::fromString(QStringView text)
{
    DecimalNumber value;
    if (value.read(text, decimalRoom) != DecimalNumber::Result::Good)
        return std::nullopt;
    return stored(value);
}

decimal decimal::fromDouble(double value, short scale)
{
    DecimalNumber result;
    if (!result.assign(value, scale, decimalRoom))
        throwOverflow(QString::number(value, 'g', QLocale::FloatingPointShortest));
    return stored(result);
}

decimal decimal::fromUnscaled(qint64 unscaled, short scale)
{
    const DecimalNumber value{unscaled, scale};
    if (!value.fits(decimalRoom))
        throwOverflow(value.toExponentText());
    return stored(value);
}

void decimal::setScale(short scale)
{
    DecimalNumber value = number(*this);
    if (!value.rescale(scale, decimalRoom))
        throwOverflow(toString());
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
