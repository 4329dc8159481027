// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace sito {

/// Memory that large lists have given back, kept for the next ones: the system clears each page that it gives
/// out, which takes several times as long as to fill it.
///
/// **Threads.** Used from any thread.
class SpareBlocks
{
    Q_DISABLE_COPY_MOVE(SpareBlocks)
public:
    SpareBlocks();
    ~SpareBlocks();

    /// Throws std::bad_alloc.
    void *allocate(size_t bytes);
    /// \a bytes as they were given to allocate().
    void deallocate(void *block, size_t bytes) noexcept;

private:
    struct Block
    {
        void *memory = nullptr;
        size_t bytes = 0;
    };

    std::mutex m_mutex;
    /// The oldest first.
    std::vector<Block> m_spare;
};

/// Takes memory from SpareBlocks, or, without any, from the heap.
template <typename Value>
class SpareAllocator
{
public:
    using value_type = Value;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;
    using is_always_equal = std::false_type;

    SpareAllocator() = default;
    SpareAllocator(std::shared_ptr<SpareBlocks> blocks) : m_blocks(std::move(blocks)) {}
    template <typename Other>
    SpareAllocator(const SpareAllocator<Other> &other) : m_blocks(other.blocks())
    {
    }

    Value *allocate(size_t count)
    {
        const size_t bytes = count * sizeof(Value);
        return static_cast<Value *>(m_blocks ? m_blocks->allocate(bytes) : ::operator new(bytes));
    }
    void deallocate(Value *values, size_t count) noexcept
    {
        if (m_blocks)
            m_blocks->deallocate(values, count * sizeof(Value));
        else
            ::operator delete(values);
    }

    const std::shared_ptr<SpareBlocks> &blocks() const { return m_blocks; }
    bool operator==(const SpareAllocator &other) const { return m_blocks == other.m_blocks; }

private:
    std::shared_ptr<SpareBlocks> m_blocks;
};

} // namespace sito
