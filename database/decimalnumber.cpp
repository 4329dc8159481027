// SPDX-License-Identifier: MIT
#include <database/decimalnumber_p.h>

#include <QChar>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {

/// The largest number of 128 bits.
constexpr int largestPower = 38;
/// The largest number of 64 bits.
constexpr int wordDigits = 19;

constexpr auto powers = [] {
    std::array<UInt128, largestPower + 1> result = {1};
    for (size_t i = 1; i < result.size(); ++i)
        result[i] = result[i - 1] * 10;
    return result;
}();

constexpr auto wordPowers = [] {
    std::array<quint64, wordDigits + 1> result = {};
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = quint64(powers[i]);
    return result;
}();

/// As many as are exact doubles.
constexpr auto doublePowers = [] {
    std::array<double, 23> result = {1};
    for (size_t i = 1; i < result.size(); ++i)
        result[i] = result[i - 1] * 10;
    return result;
}();

constexpr UInt128 power(qint64 exponent)
{
    return powers[size_t(exponent)];
}

constexpr UInt128 magnitudeOf(Int128 value)
{
    return value < 0 ? -UInt128(value) : UInt128(value);
}

constexpr int sign(Int128 value)
{
    return (value > 0) - (value < 0);
}

/// Writes the digits of \a value so that they end before \a end; returns their start. Zero has no digits.
template <typename Char>
Char *writeDigits(Char *end, UInt128 value)
{
    const auto write = [](Char *to, quint64 part) {
        for (; part != 0; part /= 10)
            *--to = Char('0' + int(part % 10));
        return to;
    };
    if (value < powers[wordDigits])
        return write(end, quint64(value));

    Char *const middle = end - wordDigits;
    std::fill(middle, end, Char('0'));
    write(end, quint64(value % powers[wordDigits]));
    return writeDigits(middle, value / powers[wordDigits]);
}

/// The digits of a number, from the first to the last that is not 0.
struct Digits
{
    /// Their value, in one word while they fit there.
    quint64 word = 0;
    UInt128 wide = 0;
    qint64 count = 0;
    /// The zeros behind them.
    qint64 zeros = 0;
    /// How many digits there are behind the point, including zeros.
    qint64 fraction = 0;
    bool any = false;

    UInt128 value() const { return count <= wordDigits ? UInt128(word) : wide; }
};

/// Reads digits with at most one point among them, and moves \a at behind them.
Digits readDigits(const char16_t *&at, const char16_t *end)
{
    Digits digits;
    bool point = false;
    for (; at != end; ++at) {
        const unsigned digit = unsigned(*at) - u'0';
        if (digit > 9) {
            if (*at != u'.' || point)
                break;
            point = true;
            continue;
        }
        digits.any = true;
        digits.fraction += point ? 1 : 0;
        if (digit == 0) {
            digits.zeros += digits.count != 0 ? 1 : 0;
            continue;
        }
        const qint64 before = digits.count;
        digits.count += digits.zeros + 1;
        if (digits.count <= wordDigits)
            digits.word = digits.word * wordPowers[size_t(digits.zeros + 1)] + digit;
        else if (digits.count <= largestPower)
            digits.wide =
                (before <= wordDigits ? UInt128(digits.word) : digits.wide) * power(digits.zeros + 1) + digit;
        digits.zeros = 0;
    }
    return digits;
}

/// Reads a sign, if there is one, and moves \a at behind it; returns whether it is a minus.
bool readSign(const char16_t *&at, const char16_t *end)
{
    const bool negative = at != end && *at == u'-';
    if (negative || (at != end && *at == u'+'))
        ++at;
    return negative;
}

/// Reads an exponent, if there is one, and moves \a at behind it; returns whether it has digits.
bool readExponent(const char16_t *&at, const char16_t *end, qint64 &exponent)
{
    if (at == end || (*at != u'e' && *at != u'E'))
        return true;
    ++at;
    const bool negative = readSign(at, end);
    if (at == end)
        return false;
    // Larger than the number of digits in any text, and small enough for a sum with it.
    constexpr qint64 enough = 100'000'000'000'000'000;
    for (; at != end && *at >= u'0' && *at <= u'9'; ++at)
        exponent = std::min(exponent * 10 + (*at - u'0'), enough);
    if (negative)
        exponent = -exponent;
    return true;
}

} // namespace

DecimalNumber::Result DecimalNumber::read(QStringView text, const Room &room)
{
    const char16_t *at = text.utf16();
    const char16_t *end = at + text.size();
    while (at != end && QChar::isSpace(*at))
        ++at;
    while (at != end && QChar::isSpace(end[-1]))
        --end;

    const bool negative = readSign(at, end);
    const Digits digits = readDigits(at, end);
    qint64 exponent = 0;
    if (!digits.any || !readExponent(at, end, exponent) || at != end)
        return Result::NotANumber;

    const qint64 wanted = digits.fraction - exponent;
    const qint64 nearest = std::clamp<qint64>(wanted, minScale, maxScale);
    if (digits.count == 0) {
        unscaled = 0;
        scale = int(nearest);
        return Result::Good;
    }
    // The scale of the digits without trailing zeros; a lower one would lose digits.
    const qint64 least = wanted - digits.zeros;
    if (digits.count > largestPower || nearest < least)
        return Result::Overflow;

    UInt128 magnitude = digits.value();
    qint64 reached = least;
    while (reached < nearest && magnitude <= room.tenth) {
        magnitude *= 10;
        ++reached;
    }
    if (reached < minScale)
        return Result::Overflow;
    return assignMagnitude(magnitude, negative, int(reached), room) ? Result::Good : Result::Overflow;
}

bool DecimalNumber::assign(double value, int newScale, const Room &room)
{
    if (!std::isfinite(value) || !isScale(newScale))
        return false;

    const bool negative = std::signbit(value);
    const double magnitude = std::abs(value);
    // Up to here the product with a significand of 53 bits fits into 128 bits.
    constexpr int largestFactor = 22;
    if (newScale < 0 || newScale > largestFactor)
        return assignDigits(magnitude, negative, newScale, room);

    int exponent = 0;
    const double significand = std::frexp(magnitude, &exponent);
    const UInt128 product = UInt128(quint64(std::ldexp(significand, 53))) * power(newScale);
    const int shift = exponent - 53;
    if (shift >= 0) {
        if (product > (room.highest >> std::min(shift, 127)) + 1)
            return false;
        return assignMagnitude(product << shift, negative, newScale, room);
    }
    if (shift <= -128)
        return assignMagnitude(0, negative, newScale, room);
    const UInt128 half = product >> (-shift - 1);
    return assignMagnitude((half >> 1) + (half & 1), negative, newScale, room);
}

/// As assign(), for every scale.
bool DecimalNumber::assignDigits(double magnitude, bool negative, int newScale, const Room &room)
{
    if (magnitude == 0)
        return assignMagnitude(0, negative, newScale, room);

    // This many digits are always exact: no double has more.
    constexpr int digitsOfDouble = 767;
    std::array<char, digitsOfDouble + 16> text;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), magnitude,
                                       std::chars_format::scientific, digitsOfDouble - 1);
    const char *const exponentMark = std::find(text.data(), written.ptr, 'e');
    int exponent = 0;
    std::from_chars(exponentMark + (exponentMark[1] == '+' ? 2 : 1), written.ptr, exponent);
    // From here on the digits follow one another.
    text[1] = text[0];
    const char *const digits = text.data() + 1;

    const int kept = exponent + 1 + newScale;
    if (kept > largestPower)
        return false;
    if (kept < 0)
        return assignMagnitude(0, negative, newScale, room);
    UInt128 result = 0;
    for (int i = 0; i < kept; ++i)
        result = result * 10 + unsigned(digits[i] - '0');
    return assignMagnitude(result + (digits[kept] >= '5' ? 1 : 0), negative, newScale, room);
}

bool DecimalNumber::assignMagnitude(UInt128 magnitude, bool negative, int newScale, const Room &room)
{
    if (magnitude > room.highest + (negative ? 1 : 0))
        return false;
    unscaled = negative ? -Int128(magnitude) : Int128(magnitude);
    scale = newScale;
    return true;
}

bool DecimalNumber::rescale(int newScale, const Room &room)
{
    if (!isScale(newScale))
        return false;

    const UInt128 magnitude = magnitudeOf(unscaled);
    const bool negative = unscaled < 0;
    const int difference = newScale - scale;
    if (magnitude == 0 || difference == 0) {
        scale = newScale;
        return true;
    }
    if (difference > 0) {
        if (difference > largestPower || magnitude > (room.highest + 1) / power(difference))
            return false;
        return assignMagnitude(magnitude * power(difference), negative, newScale, room);
    }
    // No magnitude reaches half of the largest power, so that a larger divisor leaves nothing.
    if (-difference > largestPower)
        return assignMagnitude(0, negative, newScale, room);
    const UInt128 divisor = power(-difference);
    const UInt128 quotient = magnitude / divisor;
    const UInt128 rest = magnitude % divisor;
    return assignMagnitude(quotient + (rest >= divisor - rest ? 1 : 0), negative, newScale, room);
}

bool DecimalNumber::fits(const Room &room) const
{
    return isScale(scale) && magnitudeOf(unscaled) <= room.highest + (unscaled < 0 ? 1 : 0);
}

int DecimalNumber::compare(const DecimalNumber &other) const
{
    if (scale < other.scale)
        return -other.compare(*this);

    const int difference = scale - other.scale;
    // Without a division where the other number has room for the digits: 2^63 * 10^wordDigits is below 2^127.
    if (difference <= wordDigits && other.unscaled == qint64(other.unscaled)) {
        const Int128 raised = other.unscaled * Int128(power(difference));
        return (unscaled > raised) - (unscaled < raised);
    }
    Int128 whole = 0;
    Int128 rest = unscaled;
    if (difference <= largestPower) {
        const auto divisor = Int128(power(difference));
        whole = unscaled / divisor;
        rest = unscaled % divisor;
    }
    if (whole != other.unscaled)
        return whole < other.unscaled ? -1 : 1;
    return sign(rest);
}

double DecimalNumber::toDouble() const
{
    // Both operands are exact doubles here, so the operation rounds just once.
    constexpr Int128 exactInteger = Int128(1) << 53;
    const auto size = size_t(std::abs(scale));
    if (unscaled >= -exactInteger && unscaled <= exactInteger && size < doublePowers.size()) {
        const auto number = double(qint64(unscaled));
        const double factor = doublePowers[size];
        return scale < 0 ? number * factor : number / factor;
    }

    if (unscaled == 0)
        return 0;
    std::array<char, 48> text;
    char *const exponentMark = text.data() + text.size() - 8;
    char *begin = writeDigits(exponentMark, magnitudeOf(unscaled));
    if (unscaled < 0)
        *--begin = '-';
    *exponentMark = 'e';
    const auto written = std::to_chars(exponentMark + 1, text.data() + text.size(), -scale);
    double result = 0;
    std::from_chars(begin, written.ptr, result);
    return result;
}

QString DecimalNumber::toString() const
{
    if (scale < 0)
        return toExponentText();

    std::array<char16_t, 80> text;
    char16_t *const end = text.data() + text.size();
    char16_t *begin = writeDigits(end, magnitudeOf(unscaled));
    while (end - begin <= scale)
        *--begin = u'0';
    if (scale > 0) {
        char16_t *const point = end - scale - 1;
        std::move(begin, end - scale, begin - 1);
        --begin;
        *point = u'.';
    }
    if (unscaled < 0)
        *--begin = u'-';
    return QStringView(begin, end).toString();
}

QString DecimalNumber::toExponentText() const
{
    return DecimalNumber{unscaled, 0}.toString() + u'e' + QString::number(-scale);
}
