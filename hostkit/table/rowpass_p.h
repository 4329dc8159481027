// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/parallel/stopsource.h>
#include <hostkit/table/sortorder_p.h>

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

class FilterFunc;
class Table;

namespace sito {

class RowSet;

/// The ids of all rows of a set in the order of some keys.
struct RowOrder
{
    std::shared_ptr<const RowSet> rows;
    std::vector<sortorder::Key> keys;
    std::vector<quint32> ids;
};

/// The rows that a model shows: their ids, and for each id its place among them.
struct ShownRows
{
    static constexpr quint32 nowhere = ~quint32(0);

    /// All listed rows of \a rows, in their order.
    static ShownRows all(std::shared_ptr<RowSet> rows);

    std::shared_ptr<RowSet> rows;
    std::vector<quint32> ids;
    /// By id; a row that is not shown is nowhere or behind the last shown one.
    std::vector<quint32> places;
};

/// One pass over the rows: which of them are shown, and in what order, beside what was shown before.
///
/// Made in the GUI thread, run in the worker, read in the GUI thread when it is finished.
class RowPass
{
public:
    /// What leads from the rows that were shown before to those that are shown now.
    struct Result
    {
        std::shared_ptr<RowSet> rows;
        /// The rows shown before, as ids of \c rows; empty when \c rows are those from before.
        std::vector<quint32> before;
        /// The rows shown now that were not shown before.
        std::vector<quint32> added;
        /// The rows shown now in their order, and behind them those that were shown before and are not now.
        std::vector<quint32> after;
        quint32 shownCount = 0;
        /// By id: the place in \c after.
        std::vector<quint32> places;
        /// Whether before and added together differ in order from after.
        bool isMoved = false;
    };

    RowPass(const Table &table, std::shared_ptr<const ShownRows> before)
        : m_table(table), m_before(std::move(before))
    {
    }

    // To be set before the pass runs.
    bool reload = false;
    int threads = 1;
    std::vector<sortorder::Key> keys;
    /// Used, and replaced when it does not fit any more.
    std::shared_ptr<const RowOrder> order;
    std::vector<std::shared_ptr<const FilterFunc>> predicates;

    /// Does the work, holding the table's lock while it reads rows. Throws nothing.
    void run() noexcept;
    void requestStop() { m_stop.requestStop(); }
    /// How far it has come, 0 to 100; from any thread.
    int percent() const;

    // To be read when it is finished.
    bool isStopped() const { return m_isStopped; }
    /// Why it failed; null when it did not.
    const QString &error() const { return m_error; }
    Result &result() { return m_result; }
    /// The rows shown before, as ids of the result's rows.
    const std::vector<quint32> &before() const { return reload ? m_result.before : m_before->ids; }
    qint64 nanoseconds() const { return m_nanoseconds; }

private:
    friend class PassWorker;

    void work();
    std::vector<quint8> readRows(const parallel::Context &context);
    std::vector<quint8> filtered(const parallel::Context &context) const;
    void translateBefore();
    void compareWithBefore(const std::vector<quint8> &visible);

    const Table &m_table;
    const std::shared_ptr<const ShownRows> m_before;
    parallel::StopSource m_stop;
    parallel::Progress m_progress;
    Result m_result;
    QString m_error;
    bool m_isStopped = false;
    qint64 m_nanoseconds = 0;
    /// Guarded by the worker's mutex.
    bool m_isFinished = false;
};

/// A thread that runs passes, one after the other. Used from the GUI thread.
class PassWorker
{
    Q_DISABLE_COPY_MOVE(PassWorker)
public:
    /// Calls \a finished in its own thread whenever a pass that it ran is finished.
    explicit PassWorker(std::function<void()> finished);
    /// Stops what is running and waits for it.
    ~PassWorker();

    /// Runs \a pass as soon as the running one is finished; one that still waits is never run, but finished.
    void start(const std::shared_ptr<RowPass> &pass);
    bool isFinished(const RowPass &pass) const;
    void wait(const RowPass &pass) const;
    /// Lets go of \a object, which takes time, in the thread.
    void dispose(std::shared_ptr<const void> object);

private:
    void loop(const std::stop_token &stop);

    const std::function<void()> m_finished;
    mutable std::mutex m_mutex;
    mutable std::condition_variable_any m_changed;
    std::shared_ptr<RowPass> m_next;
    RowPass *m_running = nullptr;
    std::vector<std::shared_ptr<const void>> m_disposed;
    std::jthread m_thread;
};

} // namespace sito
