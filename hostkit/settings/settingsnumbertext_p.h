// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <system_error>
#include <type_traits>

namespace sito::SettingsText {

/// Writes \a number so that reading gives it back exactly.
template <typename Number>
QString numberText(Number number)
{
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number))
            return QStringLiteral("nan");
    }
    std::array<char, 64> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return error == std::errc() ? QString::fromLatin1(buffer.data(), end - buffer.data()) : QString();
}

/// What is wrong with a text that is no number.
QString noNumber(bool whole);
/// What is wrong with a number that the type of the value does not hold.
QString outOfRange();
QString outOfRange(const QString &least, const QString &most);

/// Reads a number from \a least to \a most, with a point or a comma. Returns nothing, and why in \a problem,
/// when \a text is no such number.
template <typename Number>
std::optional<Number> numberBetween(Number least, Number most, const QString &text, QString *problem)
{
    constexpr bool whole = !std::is_floating_point_v<Number>;
    QByteArray digits = text.trimmed().toLatin1();
    if (digits.startsWith('+') && !digits.startsWith("+-"))
        digits.remove(0, 1);
    if (!whole && !digits.contains('.') && digits.count(',') == 1)
        digits.replace(',', '.');
    Number number{};
    const char *end = digits.constData() + digits.size();
    const auto [stop, error] = std::from_chars(digits.constData(), end, number);
    const bool read = error == std::errc() && stop == end;
    if (read && (!whole || (number >= least && number <= most)))
        return number;
    const bool negative = std::is_unsigned_v<Number> && digits.startsWith('-');
    if ((stop != end || digits.isEmpty()) && !negative)
        *problem = noNumber(whole);
    else
        *problem = whole ? outOfRange(numberText(least), numberText(most)) : outOfRange();
    return std::nullopt;
}

template <typename Number>
std::optional<Number> numberOf(const QString &text, QString *problem)
{
    using Limits = std::numeric_limits<Number>;
    return numberBetween<Number>(Limits::lowest(), Limits::max(), text, problem);
}

/// Splits \a text into \a count parts at commas, semicolons, blanks, "x" or "×".
std::optional<QStringList> partsOf(const QString &text, qsizetype count, QString *problem);

/// Reads as many numbers as the array has.
template <typename Number, std::size_t count>
std::optional<std::array<Number, count>> numbersOf(const QString &text, QString *problem)
{
    const auto parts = partsOf(text, count, problem);
    if (!parts)
        return std::nullopt;
    std::array<Number, count> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = numberOf<Number>(parts->at(int(i)), problem);
        if (!number)
            return std::nullopt;
        numbers[i] = *number;
    }
    return numbers;
}

template <typename Point>
QString pointText(const Point &point)
{
    return numberText(point.x()) + QStringLiteral(", ") + numberText(point.y());
}

template <typename Size>
QString sizeText(const Size &size)
{
    return numberText(size.width()) + QStringLiteral(" × ") + numberText(size.height());
}

/// Reads a point or a size of two numbers.
template <typename Pair, typename Number>
std::optional<Pair> pairOf(const QString &text, QString *problem)
{
    const auto numbers = numbersOf<Number, 2>(text, problem);
    return numbers ? std::optional(Pair((*numbers)[0], (*numbers)[1])) : std::nullopt;
}

QString rectText(const QRect &rect);
QString exactRectText(const QRectF &rect);
std::optional<QRect> rectOf(const QString &text, QString *problem);
std::optional<QRectF> exactRectOf(const QString &text, QString *problem);

} // namespace sito::SettingsText
