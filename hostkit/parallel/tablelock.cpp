// SPDX-License-Identifier: MIT
#include <hostkit/parallel/tablelock.h>

#include <hostkit/parallel/startthread_p.h>
#include <hostkit/parallel/stopsource.h>

#include <data/table.h>

#include <sito_platform_p.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace sito {

namespace {

constexpr std::chrono::milliseconds grace(100);

/// Work that waits for a lock, shared by the caller and the thread that waits.
struct Request
{
    enum State { Waiting, Running, Done, GivenUp };

    std::atomic<State> state = Waiting;
    /// Owned by the caller; valid until the state is GivenUp or Done.
    const std::function<void()> *work = nullptr;
    std::exception_ptr error;
    parallel::StopToken stop;
};

/// The threads that wait for the locks of tables, at most one for each.
class Waiters
{
public:
    static Waiters &instance()
    {
        // Never deleted: a thread may come back from a lock after main() has returned.
        static auto *const waiters = new Waiters;
        return *waiters;
    }

    void add(const Table &table, const std::shared_ptr<Request> &request)
    {
        const std::lock_guard lock(m_mutex);
        const auto [place, isNew] = m_requests.try_emplace(&table);
        try {
            place->second.push_back(request);
            if (isNew)
                parallel::startThread([this, &table] { serve(table); });
        } catch (...) {
            if (isNew)
                m_requests.erase(place);
            throw;
        }
    }

    /// Waits, but not for long, until no thread uses the table for calls that have given up.
    void leave(const Table &table)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, grace, [&] {
            const auto place = m_requests.find(&table);
            return place == m_requests.end() ||
                   std::any_of(place->second.begin(), place->second.end(), isWanted);
        });
    }

    void waitUntilUnused(const Table &table)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_requests.contains(&table); });
    }

private:
    static bool isWanted(const std::shared_ptr<Request> &request)
    {
        return request->state.load() != Request::GivenUp;
    }

    /// Runs in a thread of its own, until no call waits for the lock of \a table.
    void serve(const Table &table) noexcept
    {
        while (isAnyWanted(table)) {
            std::exception_ptr error;
            try {
                table.lock();
            } catch (...) {
                error = std::current_exception();
            }
            const std::shared_ptr<Request> request = take(table);
            if (request && !error) {
                try {
                    (*request->work)();
                } catch (...) {
                    request->error = std::current_exception();
                }
            }
            if (!error)
                table.unlock();
            else if (request)
                request->error = std::exchange(error, nullptr);
            if (request) {
                request->state.store(Request::Done);
                request->state.notify_all();
                request->stop.wake();
            }
        }
    }

    /// Forgets \a table when nobody waits for it.
    bool isAnyWanted(const Table &table)
    {
        const std::lock_guard lock(m_mutex);
        const auto place = m_requests.find(&table);
        std::erase_if(place->second, [](const auto &request) { return !isWanted(request); });
        if (!place->second.empty())
            return true;
        m_requests.erase(place);
        m_changed.notify_all();
        return false;
    }

    /// The next call that waits, now marked as running; null when all have given up.
    std::shared_ptr<Request> take(const Table &table)
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::shared_ptr<Request>> &requests = m_requests.find(&table)->second;
        while (!requests.empty()) {
            std::shared_ptr<Request> first = std::move(requests.front());
            requests.erase(requests.begin());
            Request::State state = Request::Waiting;
            if (first->state.compare_exchange_strong(state, Request::Running))
                return first;
        }
        return nullptr;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    /// A table that has an entry has a thread.
    std::map<const Table *, std::vector<std::shared_ptr<Request>>> m_requests;
};

} // namespace

void parallel::underLock(const Table &table, const StopToken &stop, const std::function<void()> &work)
{
    const StopSource never;
    const auto request = std::make_shared<Request>();
    request->work = &work;
    request->stop = stop.canStop() ? stop : never.token();
    request->stop.throwIfStopped();
    Waiters::instance().add(table, request);

    request->stop.wait([&request] { return request->state.load() == Request::Done; });
    Request::State state = Request::Waiting;
    if (request->state.compare_exchange_strong(state, Request::GivenUp)) {
        Waiters::instance().leave(table);
        throw Stopped();
    }
    // The work looks at the token itself.
    request->state.wait(Request::Running);
    if (request->error)
        std::rethrow_exception(std::exchange(request->error, nullptr));
}

void parallel::waitForWaiters(const Table &table)
{
    Waiters::instance().waitUntilUnused(table);
}

void parallel::deleteAside(std::shared_ptr<const Table> table) noexcept
{
    if (!table)
        return;
    const auto work = [](std::shared_ptr<const Table> &last) {
        waitForWaiters(*last);
        last.reset();
        platform::returnFreedMemory();
    };
    // The thread lets go of the table, whoever lets go of the thread's work last.
    std::shared_ptr<std::shared_ptr<const Table>> held;
    try {
        held = std::make_shared<std::shared_ptr<const Table>>();
        held->swap(table);
        startThread([held, work] { work(*held); });
    } catch (const std::bad_alloc &) {
        work(table ? table : *held);
    }
}

} // namespace sito
