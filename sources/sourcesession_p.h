// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcerefresh_p.h>
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

    /// Begins to load; what is under way must have been cancelled.
    void load(quint64 operation, const QStringList &tables, SourceConnection::Extent extent);
    /// As load(), for tables that are loaded.
    void refresh(quint64 operation, const SourceRefresh::Order &tables);
    /// As load(), for a cell of a loaded table.
    void fetchBytes(quint64 operation, const SourceCell &cell);
    /// Also ends a refresh; when this returns, it touches no table any more.
    void cancelLoad();
    /// Makes the thread end as soon as it can; when hasEnded(), the destructor need not wait any more.
    void stop();
    /// Whether the rows of tables may be counted while there is no order; not until it is set.
    void setCounting(bool isCounting);
    /// The rows of \a table are known and need not be counted.
    void leaveUncounted(const QString &table);
    bool hasEnded() const { return !m_task.isRunning(); }

private:
    struct Order
    {
        quint64 operation = 0;
        QStringList tables = {};
        SourceConnection::Extent extent = SourceConnection::Extent::Whole;
        /// What to refresh, in place of loading tables.
        std::optional<SourceRefresh::Order> refreshed = {};
        /// The cell whose bytes are wanted, in place of loading tables.
        std::optional<SourceCell> cell = {};
        parallel::StopToken stop = {};
    };
    struct Connected;

    void give(Order order);
    void serve(quint64 operation);
    bool carryOut(const Order &order, Connected &source, SourceReport &answer);
    /// The next order; nothing when the session is stopped. Rows of tables are counted until it comes.
    std::optional<Order> takeOrder(Connected &source);
    void count(Connected &source, const parallel::StopToken &stop);

    const SourceLocation m_location;
    const bool m_isStrict;
    const Reporter m_report;
    const parallel::StopSource m_stop;
    parallel::StopSource m_loadStop;
    /// Held by the thread while it touches tables that are loaded.
    std::mutex m_tableMutex;
    std::mutex m_mutex;
    /// Guarded by the mutex.
    std::optional<Order> m_order;
    bool m_isCounting = false;
    QStringList m_uncounted;
    /// Of the count under way.
    parallel::StopSource m_countStop;
    /// Last, so that everything else is there while it runs.
    parallel::Task m_task;
};

} // namespace sito
