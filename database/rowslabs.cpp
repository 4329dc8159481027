// SPDX-License-Identifier: MIT
#include <database/rowslabs_p.h>

#include <algorithm>
#include <cstring>

namespace {
// Small tables start with little memory. Large ones grow in steps so large that rounding to memory pages
// costs little.
constexpr qsizetype firstSlabSize = 4096;
constexpr qsizetype largestSlabSize = 1 << 20;
} // namespace

unsigned char *RowSlabs::allocate()
{
    unsigned char *block = nullptr;
    {
        const std::lock_guard guard(m_mutex);
        if (m_freed) {
            block = m_freed;
            std::memcpy(&m_freed, block, sizeof m_freed);
        } else {
            if (m_fresh == m_freshEnd)
                addSlab();
            block = m_fresh;
            m_fresh += m_blockSize;
        }
        ++m_live;
    }
    std::memset(block, 0, size_t(m_blockSize));
    return block;
}

void RowSlabs::free(unsigned char *block)
{
    const std::lock_guard guard(m_mutex);
    std::memcpy(block, &m_freed, sizeof m_freed);
    m_freed = block;
    if (--m_live == 0 && m_slabs.size() > 1) {
        m_slabs.clear();
        m_slabBytes = 0;
        m_fresh = m_freshEnd = m_freed = nullptr;
    }
}

void RowSlabs::addSlab()
{
    const qsizetype wanted = std::min(largestSlabSize, firstSlabSize << std::min<size_t>(m_slabs.size(), 8));
    const qsizetype bytes = std::max<qsizetype>(1, wanted / m_blockSize) * m_blockSize;
    m_slabs.push_back(std::make_unique_for_overwrite<unsigned char[]>(size_t(bytes)));
    m_slabBytes += bytes;
    m_fresh = m_slabs.back().get();
    m_freshEnd = m_fresh + bytes;
}

qint64 RowSlabs::liveBlocks() const
{
    const std::lock_guard guard(m_mutex);
    return m_live;
}

qint64 RowSlabs::memoryUsage() const
{
    const std::lock_guard guard(m_mutex);
    return m_slabBytes;
}
