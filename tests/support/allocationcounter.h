// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <cstdlib>
#include <new>

// Counts what the calling thread allocates on the heap, in all libraries of the program. Include it in
// exactly one source of a test program: it replaces the allocation functions, or listens to those of a
// sanitizer.

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SITO_SANITIZED_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SITO_SANITIZED_HEAP
#endif

inline thread_local qint64 heapAllocations = 0;

#ifdef SITO_SANITIZED_HEAP

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, size_t),
                                                         void (*)(const volatile void *));

inline const bool heapHooksInstalled = [] {
    return __sanitizer_install_malloc_and_free_hooks([](const volatile void *, size_t) { ++heapAllocations; },
                                                     [](const volatile void *) {}) != 0;
}();

#else

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

// operator new calls it, too.
void *malloc(size_t size) noexcept
{
    ++heapAllocations;
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size) noexcept
{
    ++heapAllocations;
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) noexcept
{
    ++heapAllocations;
    return __libc_realloc(block, size);
}
}

#endif

/// Counts the allocations of the calling thread since this object was made.
class AllocationCounter
{
public:
    qint64 count() const { return heapAllocations - m_before; }

private:
    const qint64 m_before = heapAllocations;
};
