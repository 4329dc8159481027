// SPDX-License-Identifier: MIT
#include <sources/writtenvalue_p.h>

#include <sources/isodate_p.h>

#include <QString>

#include <algorithm>

namespace sito {

namespace {

constexpr qsizetype dateLength = 10;
/// The most digits for which every number has 64 bits.
constexpr qsizetype safeDigits = 18;

bool isAsciiDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

qsizetype digitsAtFront(QStringView text)
{
    return std::find_if_not(text.begin(), text.end(), isAsciiDigit) - text.begin();
}

/// Whether \a text has the digits and marks of a date where they belong.
bool looksLikeDate(QStringView text)
{
    return text.size() >= dateLength && digitsAtFront(text) == 4 && text[4] == u'-' && text[7] == u'-' &&
           digitsAtFront(text.sliced(5)) == 2 && digitsAtFront(text.sliced(8)) == 2;
}

/// The same for what follows a date.
bool looksLikeTime(QStringView text)
{
    return text.size() >= 6 && (text[0] == u' ' || text[0] == u'T') && digitsAtFront(text.sliced(1)) == 2 &&
           text[3] == u':' && digitsAtFront(text.sliced(4)) == 2 &&
           (text.size() == 6 || text[6] == u'Z' ||
            (text.size() >= 9 && text[6] == u':' && digitsAtFront(text.sliced(7)) == 2));
}

} // namespace

std::optional<WrittenNumber> WrittenNumber::read(QStringView text)
{
    const bool isNegative = text.startsWith(u'-');
    const QStringView digits = isNegative ? text.sliced(1) : text;
    WrittenNumber number{.whole = digitsAtFront(digits), .scale = 0, .unscaled = {}};
    if (number.whole == 0 || (number.whole > 1 && digits[0] == u'0'))
        return std::nullopt;
    if (number.whole < digits.size()) {
        number.scale = digits.size() - number.whole - 1;
        const QStringView fraction = digits.last(number.scale);
        if (digits[number.whole] != u'.' || number.scale == 0 || digitsAtFront(fraction) != number.scale)
            return std::nullopt;
    }
    qint64 unscaled = 0;
    bool isZero = true;
    const bool isShort = number.whole + number.scale <= safeDigits;
    for (const QChar character : digits) {
        if (character == u'.')
            continue;
        isZero = isZero && character == u'0';
        if (isShort)
            unscaled = unscaled * 10 + (character.unicode() - u'0');
    }
    // No number but a floating one keeps the sign of zero.
    if (isZero && isNegative)
        return std::nullopt;
    if (isShort)
        number.unscaled = isNegative ? -unscaled : unscaled;
    return number;
}

std::optional<qint64> writtenInteger(QStringView text)
{
    const auto number = WrittenNumber::read(text);
    if (!number || number->scale > 0)
        return std::nullopt;
    if (number->unscaled)
        return number->unscaled;
    bool isGood = false;
    const qint64 value = text.toLongLong(&isGood);
    return isGood ? std::optional(value) : std::nullopt;
}

bool hasWrittenZone(QStringView text)
{
    return text.endsWith(u'Z');
}

WrittenKind writtenKind(QStringView text)
{
    if (const auto number = WrittenNumber::read(text))
        return writtenInteger(text) ? WrittenKind::Integer : WrittenKind::Decimal;
    if (!looksLikeDate(text))
        return WrittenKind::Text;
    const bool isDate = text.size() == dateLength;
    qint64 milliseconds = 0;
    if ((!isDate && !looksLikeTime(text.sliced(dateLength))) ||
        readIsoDate(text, false, milliseconds) == CellProblem::Date)
        return WrittenKind::Text;
    return isDate ? WrittenKind::Date : WrittenKind::DateTime;
}

} // namespace sito
