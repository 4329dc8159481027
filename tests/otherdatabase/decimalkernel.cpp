// SPDX-License-Identifier: MIT
#include "decimalkernel_p.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

using Magnitude = DecimalKernel::Magnitude;

Magnitude limit(bool negative, int bits)
{
    return (Magnitude(1) << bits) - (negative ? 0 : 1);
}

/// Appends \a digit to \a number unless that exceeds \a most.
bool appendDigit(Magnitude &number, unsigned digit, Magnitude most)
{
    if (number > (most - digit) / 10)
        return false;
    number = number * 10 + digit;
    return true;
}

QString digitsOf(Magnitude number)
{
    QString digits;
    do {
        digits.prepend(QChar(char16_t(u'0' + unsigned(number % 10))));
        number /= 10;
    } while (number != 0);
    return digits;
}

/// Takes "e-12" or the like off the end of \a text; tells whether what stands there is one, if anything does.
bool takeExponent(QStringView &text, int &exponent)
{
    const qsizetype mark = std::max(text.lastIndexOf(u'e'), text.lastIndexOf(u'E'));
    if (mark < 0)
        return true;
    QStringView digits = text.sliced(mark + 1);
    const bool negative = digits.startsWith(u'-');
    if (negative || digits.startsWith(u'+'))
        digits = digits.sliced(1);
    text = text.first(mark);
    for (const QChar digit : digits) {
        if (digit < u'0' || digit > u'9')
            return false;
        exponent = std::min(exponent * 10 + digit.unicode() - u'0', 100'000'000);
    }
    exponent = negative ? -exponent : exponent;
    return !digits.isEmpty();
}

} // namespace

DecimalKernel::Result DecimalKernel::read(QStringView text, int bits)
{
    *this = {};
    text = text.trimmed();
    int exponent = 0;
    if (!takeExponent(text, exponent))
        return Result::NotANumber;
    negative = text.startsWith(u'-');
    if (negative || text.startsWith(u'+'))
        text = text.sliced(1);

    const Magnitude most = limit(negative, bits);
    bool hasPoint = false;
    bool hasDigits = false;
    bool isTooLarge = false;
    qint64 fraction = -qint64(exponent);
    qint64 zeros = 0; // read, but not yet part of the magnitude
    for (const QChar character : text) {
        if (character == u'.' && !hasPoint) {
            hasPoint = true;
            continue;
        }
        if (character < u'0' || character > u'9')
            return Result::NotANumber;
        hasDigits = true;
        fraction += hasPoint ? 1 : 0;
        if (character == u'0') {
            zeros += magnitude != 0 ? 1 : 0;
            continue;
        }
        for (; zeros > 0 && !isTooLarge; --zeros)
            isTooLarge = !appendDigit(magnitude, 0, most);
        isTooLarge = isTooLarge || !appendDigit(magnitude, unsigned(character.unicode() - u'0'), most);
    }
    if (!hasDigits)
        return Result::NotANumber;
    if (isTooLarge)
        return Result::Overflow;
    if (magnitude == 0) {
        negative = false;
        scale = int(std::clamp<qint64>(fraction, minScale, maxScale));
        return Result::Good;
    }
    // Zeros at the end are kept as far as there is room.
    fraction -= zeros;
    while ((zeros > 0 && fraction < maxScale) || fraction < minScale) {
        if (!appendDigit(magnitude, 0, most))
            break;
        ++fraction;
        --zeros;
    }
    if (fraction < minScale || fraction > maxScale)
        return Result::Overflow;
    scale = int(fraction);
    return Result::Good;
}

bool DecimalKernel::assign(double value, int newScale, int bits)
{
    if (!std::isfinite(value) || newScale < minScale || newScale > maxScale)
        return false;
    char buffer[512];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, std::max(newScale, 0));
    return read(QString::fromLatin1(buffer, end.ptr - buffer), bits) == Result::Good &&
           rescale(newScale, bits);
}

bool DecimalKernel::rescale(int newScale, int bits)
{
    if (newScale < minScale || newScale > maxScale)
        return false;
    DecimalKernel result = *this;
    for (; result.scale < newScale; ++result.scale) {
        if (!appendDigit(result.magnitude, 0, limit(negative, bits)))
            return false;
    }
    for (; result.scale > newScale; --result.scale)
        result.magnitude /= 10;
    result.negative = negative && result.magnitude != 0;
    *this = result;
    return true;
}

bool DecimalKernel::fits(int bits) const
{
    return scale >= minScale && scale <= maxScale && magnitude <= limit(negative, bits);
}

int DecimalKernel::compare(const DecimalKernel &other) const
{
    if (negative != other.negative)
        return negative ? -1 : 1;
    // No magnitude exceeds 2^120, so one that does after some zeros more is the larger.
    constexpr Magnitude most = Magnitude(1) << 124;
    DecimalKernel a = *this;
    DecimalKernel b = other;
    while (a.scale < b.scale && a.magnitude != 0 && a.magnitude < most) {
        a.magnitude *= 10;
        ++a.scale;
    }
    while (b.scale < a.scale && b.magnitude != 0 && b.magnitude < most) {
        b.magnitude *= 10;
        ++b.scale;
    }
    const int order = a.magnitude < b.magnitude ? -1 : a.magnitude > b.magnitude ? 1 : 0;
    return negative ? -order : order;
}

double DecimalKernel::toDouble() const
{
    const double result = double(magnitude) * std::pow(10.0, -scale);
    return negative ? -result : result;
}

QString DecimalKernel::toString() const
{
    if (scale <= 0)
        return (negative ? QStringLiteral("-") : QString()) + digitsOf(magnitude) +
               (magnitude != 0 ? QString(-scale, u'0') : QString());
    QString text = toExactText();
    while (text.endsWith(u'0'))
        text.chop(1);
    if (text.endsWith(u'.'))
        text.chop(1);
    return text;
}

QString DecimalKernel::toExactText() const
{
    QString digits = digitsOf(magnitude);
    if (scale < 0)
        digits += u'e' + QString::number(-scale);
    if (scale > 0)
        digits = digits.rightJustified(scale + 1, u'0').insert(qMax(digits.size(), scale + 1) - scale, u'.');
    return negative ? u'-' + digits : digits;
}
