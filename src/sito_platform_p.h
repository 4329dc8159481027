// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <cstdlib>
#include <cstring>

// What compilers differ in; no other file of the libraries asks for the compiler. Each of these has a form in
// standard C++20, which a compiler takes that lacks the quicker one. With SITO_PORTABLE all of them take it.
// Both forms give the same answers. No public header includes this file, so that the binary interface is the
// same, too.
#if defined(__GNUC__) && !defined(SITO_PORTABLE)
#define SITO_HAS_VECTORS 1
#define SITO_HAS_PREFETCH 1
#else
#define SITO_HAS_VECTORS 0
#define SITO_HAS_PREFETCH 0
#endif
#if defined(__SIZEOF_INT128__) && !defined(SITO_PORTABLE)
#define SITO_HAS_INT128 1
#else
#define SITO_HAS_INT128 0
#endif

#if defined(__GLIBC__) && !defined(SITO_PORTABLE)
#define SITO_HAS_TRIM 1
#include <malloc.h>
#else
#define SITO_HAS_TRIM 0
#endif

namespace sito::platform {

/// Gives memory that was freed back to the system, where the C library would keep it for the program.
inline void returnFreedMemory()
{
#if SITO_HAS_TRIM
    malloc_trim(0);
#endif
}

/// Eight 16-bit words side by side, compared at once. What equal() makes can be combined by | and &.
#if SITO_HAS_VECTORS
typedef quint16 Lanes __attribute__((vector_size(16)));

inline Lanes lanesOf(quint16 word)
{
    return Lanes{word, word, word, word, word, word, word, word};
}

/// Bits in every lane in which \a a and \a b are equal, none in the others.
inline Lanes equal(Lanes a, Lanes b)
{
    return Lanes(a == b);
}
#else
struct Lanes
{
    quint64 halves[2];
};

inline Lanes operator|(Lanes a, Lanes b)
{
    return {{a.halves[0] | b.halves[0], a.halves[1] | b.halves[1]}};
}
inline Lanes operator&(Lanes a, Lanes b)
{
    return {{a.halves[0] & b.halves[0], a.halves[1] & b.halves[1]}};
}

inline Lanes lanesOf(quint16 word)
{
    const quint64 four = word * 0x0001'0001'0001'0001u;
    return {{four, four}};
}

inline Lanes equal(Lanes a, Lanes b)
{
    // The highest bit of a lane remains where no bit differs. No sum reaches the next lane.
    const auto zeros = [](quint64 difference) {
        constexpr quint64 lower = 0x7FFF'7FFF'7FFF'7FFFu;
        return ~(((difference & lower) + lower) | difference | lower);
    };
    return {{zeros(a.halves[0] ^ b.halves[0]), zeros(a.halves[1] ^ b.halves[1])}};
}
#endif

inline Lanes loadLanes(const quint16 *words)
{
    Lanes lanes;
    std::memcpy(&lanes, words, sizeof lanes);
    return lanes;
}

inline bool isAnySet(Lanes lanes)
{
    quint64 halves[2];
    std::memcpy(halves, &lanes, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

/// Asks for the memory at \a address, which is about to be read.
inline void prefetch([[maybe_unused]] const void *address)
{
#if SITO_HAS_PREFETCH
    __builtin_prefetch(address);
#endif
}

} // namespace sito::platform
