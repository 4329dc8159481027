// SPDX-License-Identifier: MIT
#include <hostkit/table/rowpass_p.h>

#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/rowset_p.h>
#include <hostkit/table/shownrows_p.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>

#include <QElapsedTimer>

#include <algorithm>

namespace sito {

namespace {
constexpr size_t rowsAtOnce = 1 << 12;
/// How many rows a thread asks the predicates about before it looks whether it is to stop.
constexpr size_t stopInterval = 64;
} // namespace

void RowPass::run(const parallel::Context &given)
{
    QElapsedTimer timer;
    timer.start();
    parallel::Context context = given;
    if (threads > 0)
        context.threads = threads;

    std::vector<quint8> visible;
    parallel::underLock(m_table, context.stop, [&] { visible = readRows(context); });
    if (reload)
        translateBefore();
    compareWithBefore(visible);
    context.stop.throwIfStopped();
    m_nanoseconds = timer.nsecsElapsed();
}

const quint32 *RowPass::before() const
{
    return m_beforeIds.empty() ? m_before->ids.data() : m_beforeIds.data();
}

/// Lists and sorts the rows as far as that is needed; for each listed row whether it is shown.
std::vector<quint8> RowPass::readRows(const parallel::Context &context)
{
    m_rows = reload ? std::make_shared<RowSet>(RowSet::list(m_table)) : m_before->rows;
    const RowSet &rows = *m_rows;
    const bool isSorted = keys.empty() || (order && order->rows == m_rows && order->keys == keys);
    const qint64 count = rows.listedCount();
    if (context.progress) {
        context.progress->total.store(count + (isSorted ? 0 : sortorder::units(count, qint64(keys.size()))) +
                                          1,
                                      std::memory_order_relaxed);
    }

    if (!isSorted)
        order = std::make_shared<Order>(Order{m_rows, keys, sortorder::sorted(context, m_table, rows, keys)});
    else if (keys.empty())
        order.reset();
    return filtered(context);
}

/// For each listed row whether it is shown.
std::vector<quint8> RowPass::filtered(const parallel::Context &context) const
{
    const RowSet &rows = *m_rows;
    std::vector<quint8> visible(rows.listedCount(), quint8(1));
    if (predicates.empty())
        return visible;

    const auto isExcluded = [this](const Record &row) {
        return std::any_of(predicates.begin(), predicates.end(),
                           [&row](const auto &predicate) { return predicate->filter(row); });
    };
    parallel::forRanges(context, visible.size(), rowsAtOnce, [&](size_t first, size_t last) {
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
    std::vector<quint32> newIds(old.size(), RowSet::none);
    // Rows mostly follow each other as they did.
    quint32 next = 0;
    for (quint32 id = 0; id < old.size(); ++id) {
        if (m_before->places[id] >= m_before->count)
            continue;
        const Record &row = old[id];
        const quint32 listed = m_rows->listedCount();
        quint32 found = next < listed && (*m_rows)[next] == row ? next : m_rows->find(row.row());
        if (found != RowSet::none)
            next = found + 1;
        else
            found = m_rows->addDeparted(row);
        newIds[id] = found;
    }
    m_beforeIds.reserve(m_before->count);
    for (quint32 place = 0; place < m_before->count; ++place)
        m_beforeIds.push_back(newIds[m_before->ids[place]]);
}

void RowPass::compareWithBefore(const std::vector<quint8> &visible)
{
    const auto shown = std::make_shared<ShownRows>();
    const quint32 *old = before();
    const size_t oldCount = m_before->count;
    const size_t size = m_rows->size();

    std::vector<quint32> &after = shown->ids;
    after.reserve(std::max(visible.size(), oldCount));
    if (order) {
        for (const quint32 id : order->ids) {
            if (visible[id])
                after.push_back(id);
        }
    } else {
        for (quint32 id = 0; id < visible.size(); ++id) {
            if (visible[id])
                after.push_back(id);
        }
    }
    shown->rows = m_rows;
    shown->count = quint32(after.size());

    std::vector<quint8> wasShown(size, quint8(0));
    size_t kept = 0;
    for (size_t place = 0; place < oldCount; ++place) {
        const quint32 id = old[place];
        wasShown[id] = 1;
        if (id < visible.size() && visible[id])
            ++kept;
        else
            after.push_back(id);
    }
    m_result.addedCount = quint32(shown->count - kept);
    if (m_result.addedCount > 0) {
        if (!reload)
            m_beforeIds.assign(old, old + oldCount);
        for (size_t place = 0; place < shown->count; ++place) {
            if (!wasShown[after[place]])
                m_beforeIds.push_back(after[place]);
        }
    }
    if (kept > 0) {
        m_result.lastKept = shown->count - 1;
        for (m_result.firstKept = 0; !wasShown[after[m_result.firstKept]];)
            ++m_result.firstKept;
        while (!wasShown[after[m_result.lastKept]])
            --m_result.lastKept;
    }

    shown->places.assign(size, ShownRows::nowhere);
    for (quint32 place = 0; place < after.size(); ++place)
        shown->places[after[place]] = place;

    m_result.isMoved = !std::equal(after.begin(), after.end(), before());
    m_result.shown = shown;
}

} // namespace sito
