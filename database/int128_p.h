// SPDX-License-Identifier: MIT
#pragma once

#include <sito_platform_p.h>

#include <bit>
#include <compare>
#include <utility>

namespace sito {

/// An unsigned number of 128 bits in two words, for compilers that have none. Arithmetic wraps, as with every
/// unsigned type; the divisor is not 0, and a shift is of 0 to 127 bits.
class UInt128
{
public:
    constexpr UInt128() = default;
    constexpr UInt128(quint64 low) : m_low(low) {}
    constexpr UInt128(quint64 high, quint64 low) : m_high(high), m_low(low) {}

    constexpr quint64 high() const { return m_high; }
    constexpr quint64 low() const { return m_low; }
    constexpr explicit operator quint64() const { return m_low; }

    friend constexpr bool operator==(UInt128 a, UInt128 b) = default;
    // Written out: clang-tidy takes the zero of a defaulted one for a pointer.
    friend constexpr std::strong_ordering operator<=>(UInt128 a, UInt128 b)
    {
        return a.m_high != b.m_high ? a.m_high <=> b.m_high : a.m_low <=> b.m_low;
    }

    friend constexpr UInt128 operator&(UInt128 a, UInt128 b)
    {
        return {a.m_high & b.m_high, a.m_low & b.m_low};
    }
    friend constexpr UInt128 operator|(UInt128 a, UInt128 b)
    {
        return {a.m_high | b.m_high, a.m_low | b.m_low};
    }
    friend constexpr UInt128 operator<<(UInt128 a, int bits)
    {
        if (bits == 0)
            return a;
        if (bits >= 64)
            return {a.m_low << (bits - 64), 0};
        return {(a.m_high << bits) | (a.m_low >> (64 - bits)), a.m_low << bits};
    }
    friend constexpr UInt128 operator>>(UInt128 a, int bits)
    {
        if (bits == 0)
            return a;
        if (bits >= 64)
            return {0, a.m_high >> (bits - 64)};
        return {a.m_high >> bits, (a.m_low >> bits) | (a.m_high << (64 - bits))};
    }

    friend constexpr UInt128 operator+(UInt128 a, UInt128 b)
    {
        const quint64 low = a.m_low + b.m_low;
        return {a.m_high + b.m_high + (low < a.m_low), low};
    }
    friend constexpr UInt128 operator-(UInt128 a, UInt128 b)
    {
        return {a.m_high - b.m_high - (a.m_low < b.m_low), a.m_low - b.m_low};
    }
    constexpr UInt128 operator-() const { return UInt128() - *this; }
    friend constexpr UInt128 operator*(UInt128 a, UInt128 b)
    {
        UInt128 result = product(a.m_low, b.m_low);
        result.m_high += a.m_high * b.m_low + a.m_low * b.m_high;
        return result;
    }
    constexpr UInt128 &operator*=(UInt128 other) { return *this = *this * other; }
    friend constexpr UInt128 operator/(UInt128 a, UInt128 b) { return divided(a, b).first; }
    friend constexpr UInt128 operator%(UInt128 a, UInt128 b) { return divided(a, b).second; }

private:
    static constexpr UInt128 product(quint64 a, quint64 b)
    {
        constexpr quint64 half = 0xFFFF'FFFFu;
        const quint64 lowest = (a & half) * (b & half);
        const quint64 one = (a >> 32) * (b & half) + (lowest >> 32);
        const quint64 other = (a & half) * (b >> 32) + (one & half);
        return {(a >> 32) * (b >> 32) + (one >> 32) + (other >> 32), (other << 32) | (lowest & half)};
    }
    constexpr int leadingZeros() const
    {
        return m_high != 0 ? std::countl_zero(m_high) : 64 + std::countl_zero(m_low);
    }
    /// Quotient and rest.
    static constexpr std::pair<UInt128, UInt128> divided(UInt128 a, UInt128 b)
    {
        if ((a.m_high | b.m_high) == 0)
            return {a.m_low / b.m_low, a.m_low % b.m_low};
        UInt128 quotient;
        for (int bit = b.leadingZeros() - a.leadingZeros(); bit >= 0; --bit) {
            const UInt128 part = b << bit;
            quotient = quotient << 1;
            if (a >= part) {
                a = a - part;
                quotient.m_low |= 1;
            }
        }
        return {quotient, a};
    }

    quint64 m_high = 0;
    quint64 m_low = 0;
};

/// A signed number of 128 bits, two's complement: UInt128 with a sign. Division truncates towards zero.
class Int128
{
public:
    constexpr Int128() = default;
    constexpr Int128(qint64 value) : m_bits(value < 0 ? ~quint64(0) : 0, quint64(value)) {}
    constexpr explicit Int128(UInt128 bits) : m_bits(bits) {}

    constexpr explicit operator UInt128() const { return m_bits; }
    constexpr explicit operator qint64() const { return qint64(m_bits.low()); }
    constexpr explicit operator quint64() const { return m_bits.low(); }

    friend constexpr bool operator==(Int128 a, Int128 b) = default;
    friend constexpr std::strong_ordering operator<=>(Int128 a, Int128 b)
    {
        // With the highest bit turned over they sort like numbers without a sign.
        constexpr UInt128 sign(quint64(1) << 63, 0);
        return a.m_bits + sign <=> b.m_bits + sign;
    }

    constexpr Int128 operator-() const { return Int128(-m_bits); }
    friend constexpr Int128 operator<<(Int128 a, int bits) { return Int128(a.m_bits << bits); }
    friend constexpr Int128 operator*(Int128 a, Int128 b) { return Int128(a.m_bits * b.m_bits); }
    friend constexpr Int128 operator/(Int128 a, Int128 b)
    {
        const Int128 quotient(a.magnitude() / b.magnitude());
        return (a < 0) == (b < 0) ? quotient : -quotient;
    }
    friend constexpr Int128 operator%(Int128 a, Int128 b)
    {
        const Int128 rest(a.magnitude() % b.magnitude());
        return a < 0 ? -rest : rest;
    }

private:
    constexpr UInt128 magnitude() const { return *this < 0 ? -m_bits : m_bits; }

    UInt128 m_bits;
};

} // namespace sito

#if SITO_HAS_INT128
__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;
#else
using sito::Int128;
using sito::UInt128;
#endif
