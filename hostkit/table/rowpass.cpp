// SPDX-License-Identifier: MIT
#include <hostkit/table/rowpass_p.h>

#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/rowset_p.h>
#include <hostkit/text/exceptiontext.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>

#include <QElapsedTimer>

#include <numeric>

namespace sito {

namespace {
constexpr size_t chunkSize = 1 << 12;
/// How many rows a thread asks the predicates about before it looks whether it is to stop.
constexpr size_t stopInterval = 64;
} // namespace

ShownRows ShownRows::all(std::shared_ptr<RowSet> rows)
{
    ShownRows result;
    result.ids.resize(rows->size());
    std::iota(result.ids.begin(), result.ids.end(), quint32(0));
    result.places = result.ids;
    result.rows = std::move(rows);
    return result;
}

void RowPass::run() noexcept
{
    QElapsedTimer timer;
    timer.start();
    try {
        work();
    } catch (const parallel::Stopped &) {
        m_isStopped = true;
    } catch (...) {
        m_error = currentExceptionText();
    }
    m_nanoseconds = timer.nsecsElapsed();
}

int RowPass::percent() const
{
    return m_progress.percent();
}

void RowPass::work()
{
    const parallel::Context context{threads, m_stop.token(), &m_progress};
    std::vector<quint8> visible;
    parallel::underLock(m_table, context.stop, [&] { visible = readRows(context); });
    if (reload)
        translateBefore();
    compareWithBefore(visible);
    context.stop.throwIfStopped();
}

/// Lists and sorts the rows as far as that is needed; for each listed row whether it is shown.
std::vector<quint8> RowPass::readRows(const parallel::Context &context)
{
    m_result.rows = reload ? std::make_shared<RowSet>(RowSet::list(m_table)) : m_before->rows;
    const RowSet &rows = *m_result.rows;
    const bool isSorted = keys.empty() || (order && order->rows == m_result.rows && order->keys == keys);
    const qint64 count = rows.listedCount();
    m_progress.total.store(count + (isSorted ? 0 : sortorder::units(count, qint64(keys.size()))) + 1,
                           std::memory_order_relaxed);

    if (!isSorted) {
        order = std::make_shared<RowOrder>(
            RowOrder{m_result.rows, keys, sortorder::sorted(context, m_table, rows, keys)});
    } else if (keys.empty()) {
        order.reset();
    }
    return filtered(context);
}

/// For each listed row whether it is shown.
std::vector<quint8> RowPass::filtered(const parallel::Context &context) const
{
    const RowSet &rows = *m_result.rows;
    std::vector<quint8> visible(rows.listedCount(), quint8(1));
    if (predicates.empty())
        return visible;

    const auto isExcluded = [this](const Record &row) {
        return std::any_of(predicates.begin(), predicates.end(),
                           [&row](const auto &predicate) { return predicate->filter(row); });
    };
    parallel::forRanges(context, visible.size(), chunkSize, [&](size_t first, size_t last) {
        for (size_t id = first; id < last; ++id) {
            if (id % stopInterval == 0)
                context.stop.throwIfStopped();
            visible[id] = isExcluded(rows[quint32(id)]) ? 0 : 1;
        }
        context.advance(qint64(last - first));
    });
    return visible;
}

/// Finds the rows that were shown before among those that were listed anew.
void RowPass::translateBefore()
{
    const RowSet &old = *m_before->rows;
    RowSet &rows = *m_result.rows;
    std::vector<quint32> newIds(old.size(), RowSet::none);
    // Rows mostly follow each other as they did.
    quint32 next = 0;
    for (quint32 id = 0; id < old.size(); ++id) {
        if (m_before->places[id] >= m_before->ids.size())
            continue;
        const Record &row = old[id];
        const quint32 listed = rows.listedCount();
        quint32 found = next < listed && rows[next] == row ? next : rows.find(row.row());
        if (found != RowSet::none)
            next = found + 1;
        else
            found = rows.addDeparted(row);
        newIds[id] = found;
    }
    m_result.before.reserve(m_before->ids.size());
    for (const quint32 id : m_before->ids)
        m_result.before.push_back(newIds[id]);
}

void RowPass::compareWithBefore(const std::vector<quint8> &visible)
{
    Result &result = m_result;
    const std::vector<quint32> &old = before();
    const size_t size = result.rows->size();

    result.after.reserve(std::max(visible.size(), old.size()));
    if (order) {
        for (const quint32 id : order->ids) {
            if (visible[id])
                result.after.push_back(id);
        }
    } else {
        for (quint32 id = 0; id < visible.size(); ++id) {
            if (visible[id])
                result.after.push_back(id);
        }
    }
    result.shownCount = quint32(result.after.size());

    std::vector<quint8> wasShown(size, quint8(0));
    size_t kept = 0;
    for (const quint32 id : old) {
        wasShown[id] = 1;
        if (id < visible.size() && visible[id])
            ++kept;
        else
            result.after.push_back(id);
    }
    if (kept < result.shownCount) {
        for (size_t place = 0; place < result.shownCount; ++place) {
            if (!wasShown[result.after[place]])
                result.added.push_back(result.after[place]);
        }
    }

    result.places.assign(size, ShownRows::nowhere);
    for (quint32 place = 0; place < result.after.size(); ++place)
        result.places[result.after[place]] = place;

    const auto middle = result.after.begin() + qptrdiff(old.size());
    result.isMoved = !std::equal(old.begin(), old.end(), result.after.begin()) ||
                     !std::equal(result.added.begin(), result.added.end(), middle);
}

PassWorker::PassWorker(std::function<void()> finished)
    : m_finished(std::move(finished)), m_thread([this](const std::stop_token &stop) { loop(stop); })
{
}

PassWorker::~PassWorker()
{
    m_thread.request_stop();
    {
        const std::lock_guard lock(m_mutex);
        if (m_running)
            m_running->requestStop();
    }
    m_thread.join();
}

void PassWorker::start(const std::shared_ptr<RowPass> &pass)
{
    const std::lock_guard lock(m_mutex);
    if (m_next) {
        m_next->m_isStopped = true;
        m_next->m_isFinished = true;
    }
    m_next = pass;
    m_changed.notify_all();
}

bool PassWorker::isFinished(const RowPass &pass) const
{
    const std::lock_guard lock(m_mutex);
    return pass.m_isFinished;
}

void PassWorker::wait(const RowPass &pass) const
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&pass] { return pass.m_isFinished; });
}

void PassWorker::dispose(std::shared_ptr<const void> object)
{
    if (!object)
        return;
    const std::lock_guard lock(m_mutex);
    m_disposed.push_back(std::move(object));
    m_changed.notify_all();
}

void PassWorker::loop(const std::stop_token &stop)
{
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return m_next || !m_disposed.empty(); })) {
        if (stop.stop_requested())
            return;
        if (m_next) {
            std::shared_ptr<RowPass> pass = std::move(m_next);
            m_running = pass.get();
            lock.unlock();
            pass->run();
            lock.lock();
            m_running = nullptr;
            pass->m_isFinished = true;
            // The predicates are to be let go in the GUI thread: it keeps the pass until it is finished.
            pass.reset();
            m_changed.notify_all();
            lock.unlock();
            m_finished();
            lock.lock();
        } else {
            auto disposed = std::move(m_disposed);
            m_disposed.clear();
            lock.unlock();
            disposed.clear();
            lock.lock();
        }
    }
}

} // namespace sito
