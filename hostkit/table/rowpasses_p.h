// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/task.h>
#include <hostkit/table/changequeue_p.h>
#include <hostkit/table/rowpass_p.h>

#include <data/table.h>

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace sito {

/// Brings what is shown to what is wanted: knows the filters, the order and whether the rows are to be listed
/// again, and sees to it that a pass runs after each change of them.
///
/// A pass begins when control returns to the event loop. A change of the filters or the order supersedes the
/// running pass; a reload waits until it has been shown, so that frequent ones cannot keep all passes from
/// ending.
///
/// When a table is followed, what has changed in it is put into what is shown by passes over the changed rows
/// alone, called batches here. A batch is not superseded, since it is short, and none begins while what is
/// shown is not up to date. Used from the GUI thread.
class RowPasses : public QObject
{
    Q_OBJECT
public:
    /// Shows the result of a pass. What it throws is reported as a failure of the pass.
    using Show = std::function<void(const RowPass &)>;

    RowPasses(const Table &table, std::shared_ptr<const ShownRows> shown, Show show);
    ~RowPasses() override;

    const std::shared_ptr<const ShownRows> &shown() const { return m_shown; }
    FilterList *filters() const { return m_filters; }
    const std::vector<sortorder::Key> &keys() const { return m_keys; }
    bool isRunning() const { return m_isPending || (m_pass && !m_pass->changes); }
    bool isUpToDate() const { return m_isUpToDate; }
    bool hasChangesToShow() const { return m_queue && m_shownCount < m_queue->toldCount(); }
    /// Whether a result is being shown; no pass begins meanwhile.
    bool isShowing() const { return m_isShowing; }
    qint64 lastNanoseconds() const { return m_lastNanoseconds; }

    /// Calls \a read, under the lock of the table if it is followed.
    template <typename Read>
    auto readCells(const Read &read) const
    {
        if (!m_queue)
            return read();
        std::atomic<int> &readers = m_queue->waitingReaders();
        readers.fetch_add(1, std::memory_order_relaxed);
        const std::lock_guard lock(m_table);
        readers.fetch_sub(1, std::memory_order_relaxed);
        return read();
    }

    // Each throws std::bad_alloc when there is no memory to begin with, and has changed nothing then.
    void reload();
    void setFilters(FilterList *filters);
    void setKeys(std::vector<sortorder::Key> keys);
    void follow(TableChanges *changes);

    /// Null for none.
    TableChanges *followed() const { return m_queue ? &m_queue->followed() : nullptr; }
    /// 0 for as many as the pool has.
    int threads = 0;
    void cancel();
    /// Waits for passes, then for what was told of the table before.
    void wait();

Q_SIGNALS:
    void started();
    void progressed(int percent);
    void finished();
    void failed(const QString &message);
    void cancelled();
    /// A batch is shown.
    void changesShown();

protected:
    bool event(QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    /// What was shown before.
    struct Former
    {
        std::shared_ptr<const ShownRows> shown = {};
        std::shared_ptr<const RowPass::Order> order = {};
        std::shared_ptr<const void> pass = {};
        std::shared_ptr<const std::vector<Record>> departed = {};
    };

    void change();
    void post();
    void startPending();
    void start();
    void abandon();
    void end(RowPass &pass);
    void fail(const RowPass &pass, const QString &message);
    void fail(bool wasReload, const QString &message);
    void takeChanges();
    void startBatch();
    bool collectChanges(RowPass::Changes &changes);
    void launch(const std::shared_ptr<RowPass> &next);
    void letGo(RowPass &pass, Former former) noexcept;

    const Table &m_table;
    const Show m_show;
    std::shared_ptr<const ShownRows> m_shown;
    QPointer<FilterList> m_filters;
    std::vector<sortorder::Key> m_keys;
    std::shared_ptr<const RowPass::Order> m_order;
    // Null unless the table is followed.
    std::shared_ptr<ChangeQueue> m_queue;
    std::shared_ptr<SpareBlocks> m_spares;
    /// Up to where what was told is in the set of rows; and is shown.
    quint64 m_takenCount = 0;
    quint64 m_shownCount = 0;
    /// Of the last pass that was shown.
    std::vector<std::shared_ptr<const FilterFunc>> m_predicates;
    /// Runs until the next batch may begin.
    QBasicTimer m_pause;
    /// Since the last batch began.
    QElapsedTimer m_batchTime;

    /// Whether startPending() will be called by the event loop.
    bool m_isPosted = false;
    /// Whether a pass is wanted that has not begun.
    bool m_isPending = false;
    bool m_isReloadWanted = false;
    bool m_isShowing = false;
    bool m_isUpToDate = true;
    qint64 m_lastNanoseconds = 0;
    /// The pass whose result is to be shown; null when none runs.
    std::shared_ptr<RowPass> m_pass;
    /// Last, so that its threads end before anything that they use.
    parallel::Task m_task;
};

} // namespace sito
