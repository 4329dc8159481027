// SPDX-License-Identifier: MIT
#include <hostkit/table/rowpass_p.h>

#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/changequeue_p.h>
#include <hostkit/table/rowset_p.h>
#include <hostkit/table/shownrows_p.h>
#include <hostkit/table/slices_p.h>
#include <hostkit/table/sortvalues_p.h>

#include <data/indexlist.h>
#include <data/table.h>
#include <filterfuncs/filterfunc.h>

#include <QElapsedTimer>
#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace sito {

namespace {
constexpr size_t rowsAtOnce = 1 << 12;
/// How many rows a thread asks the predicates about before it looks whether it is to stop.
constexpr size_t stopInterval = 64;
} // namespace

RowPass::RowPass(const Table &table, std::shared_ptr<const ShownRows> before)
    : m_table(table),
      m_before(std::move(before)),
      m_rows(m_before->rows),
      m_count(m_rows->listedCount()),
      m_present(m_rows->present())
{
}

void RowPass::run(const parallel::Context &given)
{
    QElapsedTimer timer;
    timer.start();
    parallel::Context context = given;
    if (threads > 0)
        context.threads = threads;

    std::vector<quint8> visible;
    if (changes)
        visible = readChanges(context);
    else if (queue)
        visible = readInSlices(context);
    else
        parallel::underLock(m_table, context.stop, [&] { visible = readRows(context); });
    if (reload)
        translateBefore();
    compareWithBefore(visible);
    if (queue)
        m_visible = std::make_shared<const std::vector<quint8>>(std::move(visible));
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
    if (reload)
        use(std::make_shared<RowSet>(RowSet::list(m_table)));
    const bool isSorted = keys.empty() || (order && order->rows == m_rows && order->keys == keys);
    announceUnits(context, isSorted);
    if (!isSorted) {
        order = std::make_shared<Order>(
            Order{m_rows, keys, sortorder::sorted(context, m_table, *m_rows, keys), nullptr});
    } else if (keys.empty()) {
        order.reset();
    }
    return filtered(context);
}

void RowPass::use(std::shared_ptr<RowSet> rows)
{
    m_rows = std::move(rows);
    m_count = m_rows->listedCount();
    m_present = m_rows->present();
}

void RowPass::announceUnits(const parallel::Context &context, bool isSorted) const
{
    if (!context.progress)
        return;
    const qint64 sorting = isSorted ? 0 : sortorder::units(m_count, qint64(keys.size()));
    context.progress->total.store(m_count + sorting + 1, std::memory_order_relaxed);
}

bool RowPass::isExcluded(const Record &row) const
{
    return std::any_of(predicates.begin(), predicates.end(),
                       [&row](const auto &predicate) { return predicate->filter(row); });
}

/// For each listed row whether it is shown.
std::vector<quint8> RowPass::filtered(const parallel::Context &context) const
{
    const RowSet &rows = *m_rows;
    std::vector<quint8> visible = m_present;
    if (predicates.empty())
        return visible;

    parallel::forRanges(context, visible.size(), rowsAtOnce, [&](size_t first, size_t last) {
        for (size_t id = first; id < last; ++id) {
            if (id % stopInterval == 0)
                context.stop.throwIfStopped();
            visible[id] = visible[id] && !isExcluded(rows[quint32(id)]) ? 1 : 0;
        }
        context.advance(qint64(last - first));
    });
    return visible;
}

/// As readRows(), for a table that is followed. What is written to a row after it was read is told, and read
/// again after this pass; so the rows need not be read at one moment.
std::vector<quint8> RowPass::readInSlices(const parallel::Context &context)
{
    if (reload)
        list(context);
    const RowSet &rows = *m_rows;
    const bool isSorted =
        keys.empty() || (order && order->rows == m_rows && order->keys == keys && order->values);
    announceUnits(context, isSorted);
    std::shared_ptr<SortValues> values;
    if (!isSorted) {
        values = std::make_shared<SortValues>(m_table, keys);
        values->resize(m_count);
    }

    std::vector<quint8> visible = m_present;
    if (values || !predicates.empty()) {
        inSlices(m_table, context, m_count, queue->waitingReaders(), [&](size_t first, size_t last) {
            for (size_t id = first; id < last; ++id) {
                if (id % stopInterval == 0)
                    context.stop.throwIfStopped();
                if (!visible[id])
                    continue;
                const Record &row = rows[quint32(id)];
                if (values)
                    values->read(quint32(id), row.row());
                visible[id] = isExcluded(row) ? 0 : 1;
            }
            context.advance(qint64(last - first));
        });
    }
    if (values)
        order = std::make_shared<Order>(Order{m_rows, keys, values->sorted(context, m_count), values});
    else if (keys.empty())
        order.reset();
    return visible;
}

/// Lists the rows of a table that is followed. Under the lock it only copies where they are: those that leave
/// the table until there is a handle on each are kept alive by the queue.
void RowPass::list(const parallel::Context &context)
{
    std::vector<unsigned char *> blocks;
    ChangeQueue::Changes before;
    blocks.reserve(m_count + m_count / 8);
    bool isListing = false;
    const auto end = qScopeGuard([&] {
        if (isListing)
            queue->endListing();
    });
    parallel::underLock(m_table, context.stop, [&] {
        // A pass that was given up must not take what the next one is to be told.
        context.stop.throwIfStopped();
        toldCount = queue->beginListing(before);
        isListing = true;
        for (unsigned char *row : *m_table.masterIndex())
            blocks.push_back(row);
    });
    use(std::make_shared<RowSet>(RowSet::of(blocks)));
    m_rows->prepareSearch();
}

/// As readRows(), for the rows that have changed alone.
std::vector<quint8> RowPass::readChanges(const parallel::Context &context)
{
    const RowSet &rows = *m_rows;
    std::vector<quint8> visible = *changes->visible;
    visible.resize(m_count);
    std::transform(visible.begin(), visible.end(), m_present.begin(), visible.begin(),
                   [](quint8 shown, quint8 present) { return quint8(shown & present); });

    // Each row once.
    std::vector<Changes::Row> &changed = changes->rows;
    std::sort(changed.begin(), changed.end(),
              [](const Changes::Row &a, const Changes::Row &b) { return a.id < b.id; });
    size_t kept = 0;
    for (const Changes::Row &row : changed) {
        if (!m_present[row.id])
            continue;
        if (kept > 0 && changed[kept - 1].id == row.id)
            changed[kept - 1].columns |= row.columns;
        else
            changed[kept++] = row;
    }
    changed.resize(kept);

    SortValues *values = order ? order->values.get() : nullptr;
    if (values)
        values->resize(m_count);
    inSlices(m_table, context, changed.size(), queue->waitingReaders(), [&](size_t first, size_t last) {
        for (size_t i = first; i < last; ++i) {
            const quint32 id = changed[i].id;
            if (values)
                values->read(id, rows[id].row());
            visible[id] = isExcluded(rows[id]) ? 0 : 1;
        }
    });
    if (!values)
        return visible;

    std::vector<quint8> leaves(m_count);
    std::transform(m_present.begin(), m_present.end(), leaves.begin(),
                   [](quint8 present) { return quint8(!present); });
    std::vector<quint32> coming;
    for (const Changes::Row &row : changed) {
        leaves[row.id] = 1;
        coming.push_back(row.id);
    }
    order = std::make_shared<Order>(
        Order{m_rows, keys, values->merged(order->ids, leaves, std::move(coming)), order->values});
    return visible;
}

/// Finds the rows that were shown before among those that were listed anew.
void RowPass::translateBefore()
{
    const RowSet &old = *m_before->rows;
    // The set may have grown by rows that were never shown.
    const auto known = quint32(m_before->places.size());
    std::vector<quint32> newIds(known, RowSet::none);
    // Rows mostly follow each other as they did.
    quint32 next = 0;
    for (quint32 id = 0; id < known; ++id) {
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
    const size_t size = reload ? m_rows->size() : m_count;

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
    if (changes) {
        findSteps(wasShown);
        findWritten(wasShown);
    }
}

/// Tells whether few runs of rows come and go, and which.
void RowPass::findSteps(const std::vector<quint8> &wasShown)
{
    // Each run moves, in the GUI thread, the ids of the rows behind it.
    constexpr size_t mostMoved = size_t(1) << 22;
    constexpr size_t mostRuns = 32;
    const ShownRows &now = *m_result.shown;
    const size_t oldCount = m_before->count;
    const quint32 *old = before();
    const size_t runs = std::clamp<size_t>(mostMoved / (oldCount + now.count + 1), 1, mostRuns);
    const auto add = [](std::vector<Run> &list, size_t place) {
        if (!list.empty() && list.back().last + 1 == place)
            list.back().last = quint32(place);
        else
            list.push_back({quint32(place), quint32(place)});
    };

    size_t from = 0;
    size_t to = 0;
    for (;;) {
        while (from < oldCount && now.places[old[from]] >= now.count)
            add(m_result.going, from++);
        while (to < now.count && !wasShown[now.ids[to]])
            add(m_result.coming, to++);
        if (m_result.going.size() + m_result.coming.size() > runs)
            return;
        if (from == oldCount && to == now.count)
            break;
        if (from == oldCount || to == now.count || old[from++] != now.ids[to++])
            return;
    }
    m_result.isStepwise = true;
}

void RowPass::findWritten(const std::vector<quint8> &wasShown)
{
    constexpr size_t mostRuns = 256;
    const ShownRows &now = *m_result.shown;
    std::vector<Run> &written = m_result.written;
    for (const Changes::Row &row : changes->rows) {
        const quint32 place = now.places[row.id];
        if (row.columns != 0 && place < now.count && wasShown[row.id])
            written.push_back({place, place, row.columns});
    }
    std::sort(written.begin(), written.end(), [](const Run &a, const Run &b) { return a.first < b.first; });
    size_t kept = 0;
    for (const Run &run : written) {
        if (kept > 0 && (written[kept - 1].last + 1 == run.first)) {
            written[kept - 1].last = run.last;
            written[kept - 1].columns |= run.columns;
        } else {
            written[kept++] = run;
        }
    }
    written.resize(kept);
    if (kept <= mostRuns)
        return;
    // A view is quicker with one announcement about too much than with thousands.
    for (const Run &run : written)
        written.front().columns |= run.columns;
    written.front().last = written.back().last;
    written.resize(1);
}

} // namespace sito
