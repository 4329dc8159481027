// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcereport_p.h>

#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/task.h>

#include <functional>
#include <mutex>
#include <optional>

namespace sito {

/// One connection to one source, from the attempt to open it to its end. It has a thread of the pool to
/// itself for that long: only the thread that made a QSqlDatabase may use it.
///
/// Made, used and deleted in one thread that has an event loop; the reports come from the session's own.
class SourceSession
{
    Q_DISABLE_COPY_MOVE(SourceSession)
public:
    using Reporter = std::function<void(SourceReport &&)>;

    /// Opens \a location at once, as \a operation. Tables are loaded as TableLoader::setStrict() says.
    /// \a report is called in the session's thread, and must stay
    /// callable until the session is destroyed. \a ended is called by the event loop when the thread has
    /// ended by itself or after stop(); it may delete the session.
    SourceSession(const SourceLocation &location, bool isStrict, quint64 operation, Reporter report,
                  const std::function<void()> &ended);
    /// Stops and waits.
    ~SourceSession();

    const SourceLocation &location() const { return m_location; }

    /// Begins to load; a load that is under way must have been cancelled.
    void load(quint64 operation, const QStringList &tables);
    void cancelLoad();
    /// Makes the thread end as soon as it can; when hasEnded(), the destructor need not wait any more.
    void stop();
    bool hasEnded() const { return !m_task.isRunning(); }

private:
    struct Order
    {
        quint64 operation = 0;
        QStringList tables;
        parallel::StopToken stop;
    };

    void serve(quint64 operation);
    /// The next order; nothing when the session is stopped.
    std::optional<Order> takeOrder();

    const SourceLocation m_location;
    const bool m_isStrict;
    const Reporter m_report;
    const parallel::StopSource m_stop;
    parallel::StopSource m_loadStop;
    std::mutex m_mutex;
    /// Guarded by the mutex.
    std::optional<Order> m_order;
    /// Last, so that everything else is there while it runs.
    parallel::Task m_task;
};

} // namespace sito
