// SPDX-License-Identifier: MIT
#pragma once

#include <data/decimal.h>

#include <QStringView>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace sito {

/// Words that sort as the values that they are made of, as far as a word goes.
namespace sortwords {

inline constexpr quint64 signBit = quint64(1) << 63;
inline constexpr quint64 highest = ~quint64(0);

inline quint64 ordered(qint64 value)
{
    return quint64(value) ^ signBit;
}

/// A word that sorts as \a value does; NaN is the highest one, and 0 is left free.
inline quint64 ordered(double value)
{
    if (std::isnan(value))
        return highest;
    const auto bits = std::bit_cast<quint64>(value == 0 ? 0.0 : value);
    return bits & signBit ? ~bits : bits | signBit;
}

/// The nearest double. toDouble() need not give that, nor the same for equal numbers.
inline double nearestDouble(decimal number)
{
    constexpr qint64 exactInteger = qint64(1) << 53;
    constexpr auto exactPowers = [] {
        std::array<double, 23> result = {1};
        for (size_t i = 1; i < result.size(); ++i)
            result[i] = result[i - 1] * 10;
        return result;
    }();
    const qint64 unscaled = number.unscaled();
    const int scale = number.scale();
    const auto power = size_t(std::abs(scale));
    // Both operands are exact here, so the operation rounds just once.
    if (unscaled >= -exactInteger && unscaled <= exactInteger && power < exactPowers.size())
        return scale < 0 ? double(unscaled) * exactPowers[power] : double(unscaled) / exactPowers[power];

    std::array<char, 32> text;
    char *end = std::to_chars(text.data(), text.data() + 20, unscaled).ptr;
    *end++ = 'e';
    end = std::to_chars(end, text.data() + text.size(), -scale).ptr;
    double result = 0;
    std::from_chars(text.data(), end, result);
    return result;
}

inline bool isNarrow(QChar unit)
{
    return unit.unicode() < 0xFF;
}

/// Eight units of a byte each; the first one that is no byte, and all behind it, count as the highest.
inline quint64 narrow(QStringView text)
{
    quint64 word = 0;
    const qsizetype units = std::min<qsizetype>(text.size(), 8);
    for (qsizetype i = 0; i < units; ++i) {
        if (!isNarrow(text[i]))
            return word | highest >> (8 * i);
        word |= quint64(text[i].unicode()) << (56 - 8 * i);
    }
    return word;
}

} // namespace sortwords

} // namespace sito
