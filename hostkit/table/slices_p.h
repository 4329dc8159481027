// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/context.h>
#include <hostkit/parallel/parallel_p.h>
#include <hostkit/parallel/tablelock.h>

#include <QElapsedTimer>
#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

class Table;

namespace sito {

/// As parallel::forRanges(), under the lock of \a table, for a table that is written meanwhile: the lock is
/// released every few milliseconds, and sooner while \a readers, who wait to read a cell, are more than none.
template <typename Work>
void inSlices(const Table &table, const parallel::Context &context, size_t size,
              const std::atomic<int> &readers, const Work &work)
{
    // For how long the lock is held, and for how long others may then have it: longer for readers of cells,
    // who mostly want many.
    constexpr qint64 sliceNanoseconds = 2'000'000;
    constexpr std::chrono::microseconds pause(200);
    constexpr std::chrono::microseconds pauseForReaders(1000);
    constexpr size_t rowsOfAThread = 1 << 9;

    const size_t step = rowsOfAThread * size_t(std::max(1, context.threads));
    bool isWaitedFor = false;
    size_t next = 0;
    while (next < size) {
        if (next > 0)
            std::this_thread::sleep_for(isWaitedFor ? pauseForReaders : pause);
        parallel::underLock(table, context.stop, [&] {
            QElapsedTimer timer;
            timer.start();
            do {
                const size_t begin = next;
                next = std::min(size, begin + step);
                parallel::forRanges(context, next - begin, rowsOfAThread,
                                    [&](size_t first, size_t last) { work(begin + first, begin + last); });
                isWaitedFor = readers.load(std::memory_order_relaxed) > 0;
            } while (next < size && !isWaitedFor && timer.nsecsElapsed() < sliceNanoseconds);
        });
    }
}

} // namespace sito
