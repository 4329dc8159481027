// SPDX-License-Identifier: MIT
#pragma once

#include <data/table.h>

#include <chrono>
#include <future>

/// Another thread that locks a table, and unlocks it at once.
class OtherLocker
{
public:
    explicit OtherLocker(const Table &table)
        : m_done(std::async(std::launch::async, [&table] {
              table.lock();
              table.unlock();
          }))
    {
    }

    /// Whether it gets the lock within \a time; the destructor waits until it does.
    bool gets(std::chrono::milliseconds time) { return m_done.wait_for(time) == std::future_status::ready; }

private:
    std::future<void> m_done;
};
