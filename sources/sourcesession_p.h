// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcereport_p.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace sito {

/// One connection to one source in one thread, from the attempt to open it to its end.
///
/// Made and used by one thread; the reports come from the session's own.
class SourceSession
{
    Q_DISABLE_COPY_MOVE(SourceSession)
public:
    using Reporter = std::function<void(SourceReport &&)>;

    /// Opens \a location at once, as \a operation. \a report is called in the session's thread, and must stay
    /// callable until the session is destroyed; \a ended likewise, as the last thing that the thread does.
    SourceSession(const SourceLocation &location, quint64 operation, Reporter report,
                  std::function<void()> ended);
    /// Stops and waits.
    ~SourceSession();

    const SourceLocation &location() const { return m_location; }

    /// Begins to load; a load that is under way must have been cancelled.
    void load(quint64 operation, const QStringList &tables);
    void cancelLoad();
    /// Makes the thread end as soon as it can; hasEnded() tells when the destructor need not wait any more.
    void stop();
    bool hasEnded() const;

private:
    struct Order
    {
        quint64 operation = 0;
        QStringList tables;
        std::stop_token stop;
    };

    void run(const std::stop_token &stop, quint64 operation);
    void serve(const std::stop_token &stop, quint64 operation);

    const SourceLocation m_location;
    const Reporter m_report;
    const std::function<void()> m_ended;
    std::stop_source m_loadStop;
    mutable std::mutex m_mutex;
    std::condition_variable_any m_wanted;
    std::optional<Order> m_order;
    bool m_hasEnded = false;
    /// Last, so that everything else is there while it runs.
    std::jthread m_thread;
};

} // namespace sito
