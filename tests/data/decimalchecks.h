// SPDX-License-Identifier: MIT
#pragma once

#include <support/exceptions.h>
#include <support/seed.h>

#include <data/decimal.h>
#include <data/xdecimal.h>

#include <QTest>

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

/// What decimal and xdecimal promise alike, tested against integers without limits. The layout of both words
/// is read and written here once more, by its own description.
template <typename Number>
class DecimalChecks
{
public:
    using Integer = boost::multiprecision::cpp_int;
    using Rational = boost::multiprecision::cpp_rational;

    /// Bits of the unscaled value without its sign; the scale takes the seven above, the sign the topmost.
    static constexpr int bits = int(sizeof(Number)) * 8 - 8;

    struct Parts
    {
        Integer unscaled;
        int scale = 0;

        bool operator==(const Parts &other) const
        {
            return unscaled == other.unscaled && scale == other.scale;
        }
    };

    static Integer power(int exponent) { return boost::multiprecision::pow(Integer(10), unsigned(exponent)); }

    static bool fits(const Integer &unscaled)
    {
        return unscaled >= -(Integer(1) << bits) && unscaled < (Integer(1) << bits);
    }

    static Integer highest() { return (Integer(1) << bits) - 1; }
    static Integer lowest() { return -(Integer(1) << bits); }

    static Number make(const Integer &unscaled, int scale)
    {
        Integer word = unscaled < 0 ? unscaled + (Integer(1) << bits) : unscaled;
        word += Integer(scale & 127) << bits;
        if (unscaled < 0)
            word += Integer(1) << (bits + 7);
        unsigned char bytes[sizeof(Number)];
        for (unsigned char &byte : bytes) {
            byte = static_cast<unsigned char>(word & 0xFF);
            word >>= 8;
        }
        return fromBytes(bytes);
    }

    static Number make(const Parts &parts) { return make(parts.unscaled, parts.scale); }

    static Parts parts(const Number &number)
    {
        unsigned char bytes[sizeof(Number)];
        std::memcpy(bytes, &number, sizeof(Number));
        Integer word;
        for (size_t i = sizeof(Number); i-- > 0;)
            word = (word << 8) + bytes[i];
        Parts result;
        result.unscaled = word & highest();
        if ((word >> (bits + 7)) != 0)
            result.unscaled -= Integer(1) << bits;
        result.scale = int((word >> bits) & 127);
        if (result.scale > 63)
            result.scale -= 128;
        return result;
    }

    static QString digits(const Integer &number) { return QString::fromStdString(number.str()); }

    static QString text(const Parts &parts)
    {
        return digits(parts.unscaled) + QStringLiteral(" / 10^") + QString::number(parts.scale);
    }

    /// Tells whether \a operation throws an Exception of exactly this message.
    template <typename Operation>
    static bool throwsException(const QString &message, const Operation &operation)
    {
        return exceptionMessage(operation) == message;
    }

    explicit DecimalChecks(const QString &typeName) : m_typeName(typeName) {}

    QString overflowMessage(const QString &number) const
    {
        return m_typeName + QStringLiteral(" overflow: '") + number + u'\'';
    }

    QString conversionMessage(const QString &number) const
    {
        return QStringLiteral("Can't convert from '") + number + QStringLiteral("' to ") + m_typeName;
    }

    void storesEveryPartWithoutLoss()
    {
        for (int i = 0; i < 5000; ++i) {
            const Parts expected = randomParts();

            const Number number = make(expected);

            verify(parts(number) == expected && number.scale() == expected.scale, text(expected));
        }
    }

    void writesWhatItReads()
    {
        for (int i = 0; i < 20000; ++i) {
            const Parts given = randomParts();
            const Number number = make(given);

            const QString written = number.toString();

            verify(written == expectedText(given), written);
            const std::optional<Number> read = Number::fromString(written);
            verify(read && parts(*read) == given, written);
            verify(parts(Number(QStringView(written))) == given, written);
        }
    }

    void readsTextsExactly()
    {
        int good = 0;
        int overflows = 0;
        for (int i = 0; i < 30000; ++i) {
            const QString whole = randomDigits(m_random() % 4 == 0 ? 45 : 12);
            const QString fraction = randomDigits(m_random() % 4 == 0 ? 80 : 12);
            const bool negative = m_random() % 2 == 0;
            const bool hasExponent = m_random() % 2 == 0;
            const int exponent = hasExponent ? int(m_random() % 181) - 90 : 0;
            QString given = negative              ? QStringLiteral("-")
                            : m_random() % 4 == 0 ? QStringLiteral("+")
                                                  : QString();
            given += whole;
            if (!fraction.isEmpty() || m_random() % 4 == 0)
                given += u'.' + fraction;
            if (hasExponent) {
                given += m_random() % 2 == 0 ? u'e' : u'E';
                given += exponent < 0          ? QString()
                         : m_random() % 2 == 0 ? QStringLiteral("+")
                                               : QStringLiteral("0");
                given += QString::number(exponent);
            }
            if (m_random() % 8 == 0)
                given = QStringLiteral(" \t") + given + QChar(QChar::Nbsp);

            const std::optional<Number> number = Number::fromString(given);

            if (whole.isEmpty() && fraction.isEmpty()) {
                verify(!number, given);
                continue;
            }
            Integer unscaled;
            for (const QChar digit : whole + fraction)
                unscaled = unscaled * 10 + digit.digitValue();
            if (negative)
                unscaled = -unscaled;
            const std::optional<Parts> expected = nearestForm(unscaled, int(fraction.size()) - exponent);
            verify(number.has_value() == expected.has_value(), given);
            if (expected)
                verify(parts(*number) == *expected, given);
            (expected ? good : overflows)++;
        }
        QVERIFY(good > 1000);
        QVERIFY(overflows > 1000);
    }

    void comparesExactly()
    {
        int equal = 0;
        for (int i = 0; i < 40000; ++i) {
            const Parts a = randomParts();
            const Parts b = m_random() % 2 == 0 ? randomParts() : neighbour(a);

            const int order = make(a).compare(make(b));

            // Both numbers at the scale 63.
            const Integer left = a.unscaled * power(63 - a.scale);
            const Integer right = b.unscaled * power(63 - b.scale);
            const int expected = left < right ? -1 : left > right ? 1 : 0;
            verify(sign(order) == expected, text(a) + u' ' + text(b));
            verify(sign(make(b).compare(make(a))) == -expected, text(b) + u' ' + text(a));
            equal += expected == 0 ? 1 : 0;
        }
        QVERIFY(equal > 100);
    }

    void ordersLikeItsWordAtOneScale()
    {
        for (int i = 0; i < 10000; ++i) {
            const Parts a = randomParts();
            const Parts b{randomParts().unscaled, a.scale};

            const bool before = signedWord(make(a)) < signedWord(make(b));

            verify(before == (a.unscaled < b.unscaled), text(a) + u' ' + text(b));
        }
    }

    void rescalesExactly()
    {
        int good = 0;
        int overflows = 0;
        for (int i = 0; i < 20000; ++i) {
            const Parts given = randomParts();
            const auto scale =
                short(m_random() % 4 == 0 ? int(m_random() % 200) - 100
                                          : std::clamp(given.scale + int(m_random() % 25) - 12, -64, 63));
            Number number = make(given);
            const Integer rounded = scale >= given.scale
                                        ? Integer(given.unscaled * power(scale - given.scale))
                                        : divide(given.unscaled, power(given.scale - scale));

            if (scale < -64 || scale > 63 || !fits(rounded)) {
                verify(throwsException(overflowMessage(expectedText(given)), [&] { number.setScale(scale); }),
                       text(given) + QStringLiteral(" to ") + QString::number(scale));
                verify(parts(number) == given, text(given));
                ++overflows;
                continue;
            }
            number.setScale(scale);
            verify(parts(number) == Parts{rounded, scale},
                   text(given) + QStringLiteral(" to ") + QString::number(scale));
            ++good;
        }
        QVERIFY(good > 1000);
        QVERIFY(overflows > 100);
    }

    void takesDoublesExactly()
    {
        int good = 0;
        int overflows = 0;
        for (int i = 0; i < 20000; ++i) {
            const auto scale = short(m_random() % 2 == 0 ? m_random() % 24 : m_random() % 132 - 66);
            const double value = randomDouble();
            int exponent = 0;
            const auto significand = qint64(std::ldexp(std::frexp(value, &exponent), 53));
            exponent -= 53;
            Integer numerator = significand;
            Integer denominator = 1;
            (exponent >= 0 ? numerator : denominator) <<= unsigned(std::abs(exponent));
            (scale >= 0 ? numerator : denominator) *= power(std::abs(scale));
            const Integer rounded = divide(numerator, denominator);
            const QString shortest = QString::number(value, 'g', QLocale::FloatingPointShortest);
            const QString about = shortest + QStringLiteral(" at ") + QString::number(scale);

            if (scale < -64 || scale > 63 || !fits(rounded)) {
                verify(throwsException(overflowMessage(shortest), [&] { Number::fromDouble(value, scale); }),
                       about);
                ++overflows;
                continue;
            }
            verify(parts(Number::fromDouble(value, scale)) == Parts{rounded, scale}, about);
            ++good;
        }
        QVERIFY(good > 1000);
        QVERIFY(overflows > 1000);
    }

    void givesTheNearestDouble()
    {
        for (int i = 0; i < 4000; ++i) {
            const Parts given = randomParts();
            const Rational exact = given.scale >= 0 ? Rational(given.unscaled, power(given.scale))
                                                    : Rational(given.unscaled * power(-given.scale));

            const double result = make(given).toDouble();

            const Rational distance = abs(exact - exactly(result));
            for (const double direction : {-HUGE_VAL, HUGE_VAL}) {
                const double other = std::nextafter(result, direction);
                const Rational otherDistance = abs(exact - exactly(other));
                verify(distance < otherDistance || (distance == otherDistance && isEven(result)),
                       text(given));
            }
        }
    }

private:
    static int sign(int value) { return (value > 0) - (value < 0); }

    static Number fromBytes(const unsigned char *bytes)
    {
        if constexpr (std::is_same_v<Number, decimal>) {
            qint64 word = 0;
            std::memcpy(&word, bytes, sizeof(word));
            return decimal::fromWord(word);
        } else {
            return Number::fromData(bytes);
        }
    }

    static Integer signedWord(const Number &number)
    {
        const Parts all = parts(number);
        const Integer scaleBits = Integer(all.scale & 127) << bits;
        return all.unscaled < 0 ? all.unscaled - (Integer(127) << bits) + scaleBits
                                : all.unscaled + scaleBits;
    }

    /// The quotient rounded half away from zero.
    static Integer divide(const Integer &numerator, const Integer &denominator)
    {
        const Integer magnitude = (abs(numerator) * 2 + denominator) / (denominator * 2);
        return numerator < 0 ? Integer(-magnitude) : magnitude;
    }

    /// The form of unscaled / 10^scale whose scale is closest to the given one, if there is any.
    static std::optional<Parts> nearestForm(const Integer &unscaled, int scale)
    {
        for (int candidate = std::clamp(scale, -64, 63); candidate >= -64; --candidate) {
            const int difference = candidate - scale;
            const Integer divisor = difference < 0 ? power(-difference) : Integer(1);
            if (unscaled % divisor != 0)
                return std::nullopt;
            const Integer result =
                difference < 0 ? Integer(unscaled / divisor) : Integer(unscaled * power(difference));
            if (fits(result))
                return Parts{result, candidate};
        }
        return std::nullopt;
    }

    static QString expectedText(const Parts &parts)
    {
        if (parts.scale < 0)
            return digits(parts.unscaled) + u'e' + QString::number(-parts.scale);
        QString result = digits(abs(parts.unscaled)).rightJustified(parts.scale + 1, u'0');
        if (parts.scale > 0)
            result.insert(result.size() - parts.scale, u'.');
        return parts.unscaled < 0 ? u'-' + result : result;
    }

    static Rational exactly(double value)
    {
        int exponent = 0;
        const auto significand = qint64(std::ldexp(std::frexp(value, &exponent), 53));
        exponent -= 53;
        const Integer factor = Integer(1) << unsigned(std::abs(exponent));
        return exponent < 0 ? Rational(Integer(significand), factor)
                            : Rational(Integer(significand) * factor);
    }

    static bool isEven(double value)
    {
        quint64 word = 0;
        std::memcpy(&word, &value, sizeof(word));
        return word % 2 == 0;
    }

    Integer randomUnscaled()
    {
        Integer result;
        switch (m_random() % 8) {
        case 0:
            return m_random() % 2 == 0 ? highest() - m_random() % 3 : lowest() + m_random() % 3;
        case 1:
            result = Integer(m_random() % 3);
            break;
        case 2: // halves and their neighbours
            result = Integer(5 + 10 * (m_random() % 1000)) * power(int(m_random() % 14)) +
                     Integer(m_random() % 3) - 1;
            break;
        case 3: // trailing zeros
            result = Integer(m_random() % 100000) * power(int(m_random() % 12));
            break;
        default: {
            const int width = int(m_random() % unsigned(bits + 1));
            result = ((Integer(m_random()) << 64) + m_random()) & ((Integer(1) << width) - 1);
        }
        }
        return m_random() % 2 == 0 ? result : Integer(-result);
    }

    Parts randomParts()
    {
        Parts result;
        do
            result.unscaled = randomUnscaled();
        while (!fits(result.unscaled));
        result.scale = m_random() % 2 == 0 ? int(m_random() % 128) - 64 : int(m_random() % 13) - 4;
        return result;
    }

    /// The same number at another scale, or one a unit away.
    Parts neighbour(const Parts &number)
    {
        for (;;) {
            Parts result;
            result.scale = std::clamp(number.scale + int(m_random() % 31) - 15, -64, 63);
            const int difference = result.scale - number.scale;
            result.unscaled = difference >= 0 ? Integer(number.unscaled * power(difference))
                                              : Integer(number.unscaled / power(-difference));
            result.unscaled += Integer(m_random() % 3) - 1;
            if (fits(result.unscaled))
                return result;
        }
    }

    QString randomDigits(int most)
    {
        QString result;
        const bool mostlyZeros = m_random() % 2 == 0;
        for (auto left = int(m_random() % unsigned(most + 1)); left > 0; --left)
            result += QChar(u'0' + (mostlyZeros && m_random() % 8 != 0 ? 0 : int(m_random() % 10)));
        return result;
    }

    double randomDouble()
    {
        double result = 0;
        switch (m_random() % 4) {
        case 0: { // any pattern of bits, denormals among them
            quint64 word = m_random();
            if (m_random() % 4 == 0)
                word &= 0x800FFFFFFFFFFFFFu;
            std::memcpy(&result, &word, sizeof(word));
            break;
        }
        case 1: // many ties
            result = std::ldexp(double(m_random() % 100000), -int(m_random() % 8));
            break;
        case 2: // a price
            result = double(m_random() % 100000000) / 1000.0;
            break;
        default:
            result = std::ldexp(double(m_random() >> 11), int(m_random() % 220) - 150);
        }
        if (!std::isfinite(result))
            return 0.5;
        return m_random() % 2 == 0 ? result : -result;
    }

    void verify(bool condition, const QString &about)
    {
        if (!condition) {
            const QByteArray message = seedMessage(m_seed, about);
            QFAIL(message.constData());
        }
    }

    const QString m_typeName;
    const quint64 m_seed = testSeed();
    std::mt19937_64 m_random{m_seed};
};
