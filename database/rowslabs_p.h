// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <memory>
#include <mutex>
#include <vector>

/// Memory for the row blocks of one table: blocks of equal size from slabs. Freed blocks are used again.
/// May be used from any thread.
class RowSlabs
{
public:
    explicit RowSlabs(qsizetype blockSize) : m_blockSize(blockSize) {}

    qsizetype blockSize() const { return m_blockSize; }
    /// A block filled with zeros.
    unsigned char *allocate();
    /// Frees \a block; the slabs are returned to the system with the last block.
    void free(unsigned char *block);
    qint64 liveBlocks() const;
    qint64 memoryUsage() const;

private:
    void addSlab();

    const qsizetype m_blockSize;
    mutable std::mutex m_mutex;
    std::vector<std::unique_ptr<unsigned char[]>> m_slabs;
    qint64 m_slabBytes = 0;
    qint64 m_live = 0;
    /// The rest of the newest slab.
    unsigned char *m_fresh = nullptr;
    unsigned char *m_freshEnd = nullptr;
    /// Freed blocks, chained through their first words.
    unsigned char *m_freed = nullptr;
};
