// SPDX-License-Identifier: MIT
#pragma once

#include <data/table.h>

#include <atomic>
#include <chrono>
#include <thread>

/// Holds a table's lock in another thread for some time, from the constructor on.
class HeldLock
{
public:
    HeldLock(const Table &table, std::chrono::milliseconds time)
        : m_thread([this, &table, time] {
              table.lock();
              m_isTaken = true;
              m_isTaken.notify_all();
              std::this_thread::sleep_for(time);
              m_isReleased = true;
              table.unlock();
          })
    {
        m_isTaken.wait(false);
    }
    HeldLock(const HeldLock &) = delete;
    HeldLock &operator=(const HeldLock &) = delete;
    ~HeldLock() { m_thread.join(); }

    bool isReleased() const { return m_isReleased; }

private:
    std::atomic<bool> m_isTaken = false;
    std::atomic<bool> m_isReleased = false;
    std::thread m_thread;
};
