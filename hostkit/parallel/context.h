// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stoptoken.h>

#include <QtGlobal>

#include <algorithm>
#include <atomic>

namespace sito {

namespace parallel {

/// How far work has come, in units of its own.
///
/// **Threads.** Written and read by any thread.
///
/// **Cost.** Two atomic numbers.
struct Progress
{
    std::atomic<qint64> done = 0;
    /// Always above 0.
    std::atomic<qint64> total = 1;

    /// 0 to 100.
    int percent() const
    {
        const qint64 all = total.load(std::memory_order_relaxed);
        return int(std::clamp<qint64>(done.load(std::memory_order_relaxed) * 100 / all, 0, 100));
    }
};

/// How work is done: by how many threads at most, until when, and how far it has come.
///
/// **Threads.** Handed to the threads of the work by reference; only what it points at changes.
///
/// **Cost.** advance() is one atomic addition: call it for some thousand rows, not for each.
struct Context
{
    int threads = 1;
    StopToken stop = {};
    /// May be null.
    Progress *progress = nullptr;

    /// Adds \a units to what is done.
    void advance(qint64 units) const
    {
        if (progress)
            progress->done.fetch_add(units, std::memory_order_relaxed);
    }
};

} // namespace parallel

} // namespace sito
