// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>

/// What lies \a offset bytes into \a object, read as a \a T: a look at the binary layout that hosts were
/// compiled with.
template <typename T, typename Object>
T memberAt(const Object &object, size_t offset)
{
    T result;
    std::memcpy(&result, reinterpret_cast<const unsigned char *>(&object) + offset, sizeof(T));
    return result;
}

/// The number of the virtual table slot that \a member is called through, by the common C++ ABI; -1 for a
/// member function that is not virtual.
template <typename Member>
std::ptrdiff_t virtualSlot(Member member)
{
    std::ptrdiff_t code = 0;
    static_assert(sizeof member >= sizeof code);
    std::memcpy(&code, &member, sizeof code);
    return code & 1 ? (code - 1) / std::ptrdiff_t(sizeof(void *)) : -1;
}
