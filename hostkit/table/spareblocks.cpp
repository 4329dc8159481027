// SPDX-License-Identifier: MIT
#include <hostkit/table/spareblocks_p.h>

#include <algorithm>
#include <bit>

namespace sito {

namespace {

/// Smaller blocks are quickly had from the heap.
constexpr size_t smallest = size_t(1) << 16;
/// What a pass over changes takes and gives back.
constexpr size_t mostSpare = 12;

/// The size of a block for \a bytes: there are few sizes, so that the lists of a table that grows fit.
size_t blockSize(size_t bytes)
{
    if (bytes < smallest)
        return bytes;
    const size_t step = std::bit_floor(bytes) / 8;
    return (bytes + step - 1) / step * step;
}

} // namespace

SpareBlocks::SpareBlocks()
{
    m_spare.reserve(mostSpare);
}

SpareBlocks::~SpareBlocks()
{
    for (const Block &block : m_spare)
        ::operator delete(block.memory);
}

void *SpareBlocks::allocate(size_t bytes)
{
    const size_t size = blockSize(bytes);
    if (size >= smallest) {
        const std::lock_guard lock(m_mutex);
        const auto found = std::find_if(m_spare.begin(), m_spare.end(),
                                        [size](const Block &block) { return block.bytes == size; });
        if (found != m_spare.end()) {
            void *memory = found->memory;
            m_spare.erase(found);
            return memory;
        }
    }
    return ::operator new(size);
}

void SpareBlocks::deallocate(void *block, size_t bytes) noexcept
{
    const size_t size = blockSize(bytes);
    void *unwanted = block;
    if (size >= smallest) {
        const std::lock_guard lock(m_mutex);
        unwanted = nullptr;
        if (m_spare.size() == mostSpare) {
            unwanted = m_spare.front().memory;
            m_spare.erase(m_spare.begin());
        }
        m_spare.push_back({block, size});
    }
    ::operator delete(unwanted);
}

} // namespace sito
