// SPDX-License-Identifier: MIT
#include <hostkit/table/rowpasses_p.h>

#include <hostkit/table/rowset_p.h>
#include <hostkit/table/shownrows_p.h>
#include <hostkit/text/exceptiontext.h>

#include <filterfuncs/filterfunc.h>

#include <QCoreApplication>
#include <QEvent>
#include <QTimerEvent>

#include <algorithm>
#include <new>
#include <utility>

namespace sito {

namespace {

/// Milliseconds from the beginning of a batch to that of the next one, at least.
constexpr int batchInterval = 50;

/// The table has told of changes.
QEvent::Type toldEvent()
{
    static const int type = QEvent::registerEventType();
    return QEvent::Type(type);
}

} // namespace

RowPasses::RowPasses(const Table &table, std::shared_ptr<const ShownRows> shown, Show show)
    : m_table(table), m_show(std::move(show)), m_shown(std::move(shown))
{
    connect(&m_task, &parallel::Task::progressed, this, &RowPasses::progressed);
}

RowPasses::~RowPasses()
{
    if (m_queue)
        m_queue->stop();
}

void RowPasses::reload()
{
    // What runs is shown first, and followed by this.
    if (!m_pass)
        post();
    m_isReloadWanted = true;
    m_isPending = true;
    m_isUpToDate = false;
}

void RowPasses::setFilters(FilterList *filters)
{
    if (filters == m_filters)
        return;

    change();
    if (m_filters)
        disconnect(m_filters, nullptr, this, nullptr);
    m_filters = filters;
    if (filters) {
        connect(filters, &FilterList::changed, this, &RowPasses::change);
        connect(filters, &QObject::destroyed, this, &RowPasses::change);
    }
}

void RowPasses::setKeys(std::vector<sortorder::Key> keys)
{
    change();
    m_keys = std::move(keys);
}

void RowPasses::follow(TableChanges *changes)
{
    if (changes == followed())
        return;
    std::shared_ptr<ChangeQueue> queue;
    if (changes) {
        queue = std::make_shared<ChangeQueue>(
            *changes, [this] { QCoreApplication::postEvent(this, new QEvent(toldEvent())); });
    }
    // A pass that runs knows nothing of the queue; a batch ends first.
    if (queue)
        change();
    if (m_queue)
        m_queue->stop();
    m_queue = std::move(queue);
    m_spares = m_queue ? std::make_shared<SpareBlocks>() : nullptr;
    m_shownCount = 0;
    m_takenCount = 0;
    m_isReloadWanted = m_isReloadWanted || m_queue;
}

/// What runs would show something older than what is wanted now. Only a batch ends first: it changes what
/// later ones need.
void RowPasses::change()
{
    post();
    if (m_pass && !m_pass->changes)
        abandon();
    m_isPending = true;
    m_isUpToDate = false;
}

void RowPasses::post()
{
    if (m_isPosted)
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isPosted = false;
            startPending();
        },
        Qt::QueuedConnection);
    m_isPosted = true;
}

void RowPasses::startPending()
{
    // A pass compares with the rows that are shown; while these change, it has to wait.
    if (!m_isPending || m_isShowing || m_pass)
        return;

    m_isPending = false;
    QString error;
    try {
        start();
    } catch (...) {
        error = currentExceptionText();
    }
    if (m_pass)
        Q_EMIT started();
    else
        Q_EMIT failed(error);
}

void RowPasses::start()
{
    const auto next = std::make_shared<RowPass>(m_table, m_shown, m_spares);
    next->reload = m_isReloadWanted;
    next->threads = threads;
    next->keys = m_keys;
    next->order = m_order;
    if (m_filters)
        next->predicates = m_filters->createFilterFuncs();

    next->queue = m_queue;
    next->toldCount = m_takenCount;
    launch(next);
    m_isReloadWanted = false;
}

void RowPasses::launch(const std::shared_ptr<RowPass> &next)
{
    m_task.start([next](const parallel::Context &context) { next->run(context); },
                 [this, next] { end(*next); },
                 [this, next](const std::exception_ptr &error) {
                     m_pass.reset();
                     fail(*next, exceptionText(error));
                 });
    m_pass = next;
}

/// Gives up the running pass, if any. Its predicates live on until its thread has let go of it.
void RowPasses::abandon()
{
    if (!m_pass)
        return;
    m_isReloadWanted = m_isReloadWanted || m_pass->reload;
    m_pass.reset();
    m_task.cancel();
}

void RowPasses::end(RowPass &pass)
{
    m_pass.reset();
    m_lastNanoseconds = pass.nanoseconds();
    QString error;
    m_isShowing = true;
    try {
        m_show(pass);
    } catch (...) {
        error = currentExceptionText();
    }
    m_isShowing = false;
    if (!error.isNull()) {
        fail(pass, error);
        return;
    }

    if (pass.queue == m_queue)
        m_shownCount = std::max(m_shownCount, pass.toldCount);
    Former former;
    former.order = std::exchange(m_order, pass.order);
    former.shown = std::exchange(m_shown, pass.result().shown);
    letGo(pass, std::move(former));
    if (pass.changes) {
        // The longer a batch waited for its turn, the more there is to do for others, as for many views.
        const int elapsed = int(m_batchTime.elapsed());
        const int waited = elapsed - int(m_lastNanoseconds / 1'000'000);
        m_pause.start(std::max(batchInterval - elapsed, 2 * waited), this);
        Q_EMIT changesShown();
    } else {
        m_predicates = pass.predicates;
        // Whoever was told of the changes may have asked for more.
        m_isUpToDate = !m_isPending;
        Q_EMIT finished();
    }
    startPending();
    takeChanges();
}

/// Once the rows of a batch were not shown, only a pass over all rows is sure to be right.
void RowPasses::fail(const RowPass &pass, const QString &message)
{
    if (pass.changes) {
        m_order.reset();
        m_isUpToDate = false;
    }
    fail(pass.reload, message);
}

void RowPasses::fail(bool wasReload, const QString &message)
{
    m_isReloadWanted = m_isReloadWanted || wasReload;
    Q_EMIT failed(message);
    startPending();
}

/// Lets go of \a former and of what \a pass needs no more, which takes time, in another thread, unless there
/// is no memory for that.
void RowPasses::letGo(RowPass &pass, Former former) noexcept
{
    try {
        former.pass = pass.takeFormer();
        former.departed = m_shown->rows->takeDeparted();
        m_task.startAside([object = std::make_shared<const Former>(std::move(former))] {});
    } catch (const std::bad_alloc &) {
        // Departed rows stay until the next listing.
    }
}

void RowPasses::cancel()
{
    if (!isRunning())
        return;
    m_isPending = false;
    if (m_pass && !m_pass->changes)
        abandon();
    Q_EMIT cancelled();
}

void RowPasses::wait()
{
    const quint64 told = m_queue ? m_queue->toldCount() : 0;
    while (!m_isShowing && (isRunning() || (m_queue && m_isUpToDate && m_shownCount < told))) {
        if (!m_pass && !m_isPending)
            startBatch();
        startPending();
        m_task.wait();
    }
}

bool RowPasses::event(QEvent *event)
{
    if (event->type() != toldEvent())
        return QObject::event(event);
    takeChanges();
    return true;
}

void RowPasses::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_pause.timerId()) {
        QObject::timerEvent(event);
        return;
    }
    m_pause.stop();
    takeChanges();
}

/// Begins a batch if there is something to show and it is time.
void RowPasses::takeChanges()
{
    if (m_queue && m_isUpToDate && !m_pass && !m_isPending && !m_isShowing && !m_pause.isActive() &&
        !m_queue->isEmpty())
        startBatch();
}

void RowPasses::startBatch()
{
    QString error;
    try {
        m_batchTime.start();
        RowPass::Changes changes;
        if (!collectChanges(changes)) {
            reload();
            return;
        }
        const auto next = std::make_shared<RowPass>(m_table, m_shown, m_spares);
        next->threads = threads;
        next->keys = m_keys;
        next->order = m_order;
        next->predicates = m_predicates;
        next->queue = m_queue;
        next->changes = std::move(changes);
        next->isCompacting = m_shown->rows->isWorn();
        next->toldCount = m_takenCount;
        launch(next);
    } catch (...) {
        error = currentExceptionText();
    }
    if (!m_pass) {
        // What was taken is lost.
        m_isUpToDate = false;
        fail(true, error);
    }
}

/// Takes queued changes and updates the set of rows; \a changes get those that a batch must read. Returns
/// false when the rows must be listed again instead.
bool RowPasses::collectChanges(RowPass::Changes &changes)
{
    ChangeQueue::Changes told;
    RowSet &set = *m_shown->rows;
    if (!m_queue->take(told, m_takenCount) || !set.mayGrow())
        return false;
    changes.rows.reserve(told.size());
    for (const ChangeQueue::Change &change : told) {
        if (change.kind == TableChange::Appended) {
            changes.rows.push_back({set.append(change.row), 0});
            continue;
        }
        const quint32 id = set.find(change.row.row());
        if (id == RowSet::none || set.isGone(id))
            continue;
        if (change.kind == TableChange::Removed)
            set.markGone(id);
        else
            changes.rows.push_back({id, change.columns});
    }
    return true;
}

} // namespace sito
