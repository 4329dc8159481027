// SPDX-License-Identifier: MIT
#include <hostkit/table/rowpasses_p.h>

#include <hostkit/table/rowset_p.h>
#include <hostkit/table/shownrows_p.h>
#include <hostkit/text/exceptiontext.h>

#include <filterfuncs/filterfunc.h>

#include <new>
#include <utility>

namespace sito {

RowPasses::RowPasses(const Table &table, std::shared_ptr<const ShownRows> shown, Show show)
    : m_table(table), m_show(std::move(show)), m_shown(std::move(shown))
{
    connect(&m_task, &parallel::Task::progressed, this, &RowPasses::progressed);
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

/// What runs would show something older than what is wanted now.
void RowPasses::change()
{
    post();
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
    const auto next = std::make_shared<RowPass>(m_table, m_shown);
    next->reload = m_isReloadWanted;
    next->threads = threads;
    next->keys = m_keys;
    next->order = m_order;
    if (m_filters)
        next->predicates = m_filters->createFilterFuncs();

    m_task.start([next](const parallel::Context &context) { next->run(context); },
                 [this, next] { end(*next); },
                 [this, next](const std::exception_ptr &error) {
                     m_pass.reset();
                     fail(next->reload, exceptionText(error));
                 });
    m_pass = next;
    m_isReloadWanted = false;
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
        fail(pass.reload, error);
        return;
    }

    m_order = pass.order;
    const std::shared_ptr<const ShownRows> before = std::exchange(m_shown, pass.result().shown);
    pass.forgetBefore();
    if (pass.reload)
        letGo(before);
    try {
        letGo(m_shown->rows->takeDeparted());
    } catch (const std::bad_alloc &) {
        // They stay until the next listing.
    }
    // Whoever was told of the changes may have asked for more.
    m_isUpToDate = !m_isPending;
    Q_EMIT finished();
    startPending();
}

void RowPasses::fail(bool wasReload, const QString &message)
{
    m_isReloadWanted = m_isReloadWanted || wasReload;
    Q_EMIT failed(message);
    startPending();
}

/// Lets go of \a object, which takes time, in another thread, unless there is no memory for that.
void RowPasses::letGo(std::shared_ptr<const void> object) noexcept
{
    try {
        m_task.startAside([object = std::move(object)] {});
    } catch (const std::bad_alloc &) {
    }
}

void RowPasses::cancel()
{
    if (!isRunning())
        return;
    m_isPending = false;
    abandon();
    Q_EMIT cancelled();
}

void RowPasses::wait()
{
    while (isRunning() && !m_isShowing) {
        startPending();
        m_task.wait();
    }
}

} // namespace sito
