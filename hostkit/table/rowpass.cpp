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

RowPass::RowPass(const Table &table, std::shared_ptr<const ShownRows> before,
                 std::shared_ptr<SpareBlocks> spares)
    : m_table(table),
      m_before(std::move(before)),
      m_spares(std::move(spares)),
      m_rows(m_before->rows),
      m_count(m_rows->listedCount()),
      m_present(m_rows->present(m_spares)),
      m_beforeIds(m_spares)
{
}

void RowPass::run(const parallel::Context &given)
{
    QElapsedTimer timer;
    timer.start();
    parallel::Context context = given;
    if (threads > 0)
        context.threads = threads;

    RowFlags visible(m_spares);
    if (changes) {
        visible = readChanges(context);
        if (isCompacting)
            compact(visible);
    } else if (queue) {
        visible = readInSlices(context);
    } else {
        parallel::underLock(m_table, context.stop, [&] { visible = readRows(context); });
    }
    if (m_isRenumbered)
        translateBefore();
    compareWithBefore(std::move(visible));
    context.stop.throwIfStopped();
    m_nanoseconds = timer.nsecsElapsed();
}

const quint32 *RowPass::before() const
{
    return m_beforeIds.empty() ? m_before->ids.data() : m_beforeIds.data();
}

std::shared_ptr<const void> RowPass::takeFormer()
{
    struct Former
    {
        std::shared_ptr<const ShownRows> before;
        RowFlags present;
        RowIds beforeIds;
        std::vector<quint32> newIds;
        Changes changes;
    };
    auto former = std::make_shared<Former>();
    former->before = std::move(m_before);
    former->present = std::move(m_present);
    former->beforeIds = std::move(m_beforeIds);
    former->newIds = std::move(m_newIds);
    if (changes)
        former->changes = std::move(*changes);
    return former;
}

/// Lists and sorts the rows as far as that is needed; for each listed row whether it is shown.
RowFlags RowPass::readRows(const parallel::Context &context)
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
    m_isRenumbered = true;
    m_count = m_rows->listedCount();
    m_present = m_rows->present(m_spares);
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
RowFlags RowPass::filtered(const parallel::Context &context) const
{
    const RowSet &rows = *m_rows;
    RowFlags visible = m_present;
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
RowFlags RowPass::readInSlices(const parallel::Context &context)
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

    RowFlags visible = m_present;
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
RowFlags RowPass::readChanges(const parallel::Context &context)
{
    const RowSet &rows = *m_rows;
    RowFlags visible(m_count, 0, m_spares);
    for (quint32 id = 0; id < m_count; ++id)
        visible[id] = m_present[id] && m_before->isShown(id) ? 1 : 0;

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

    RowFlags stays = m_present;
    RowIds coming;
    coming.reserve(changed.size());
    for (const Changes::Row &row : changed) {
        stays[row.id] = 0;
        coming.push_back(row.id);
    }
    order = std::make_shared<Order>(
        Order{m_rows, keys, values->merged(order->ids, stays, coming), order->values});
    return visible;
}

/// Makes a new set without the rows that have gone; neither filters nor sorts again.
void RowPass::compact(RowFlags &visible)
{
    use(std::make_shared<RowSet>(m_rows->compacted(m_newIds)));
    m_rows->prepareSearch();
    for (size_t id = 0; id < m_newIds.size(); ++id) {
        if (m_newIds[id] != RowSet::none)
            visible[m_newIds[id]] = visible[id];
    }
    visible.resize(m_count);
    for (Changes::Row &row : changes->rows)
        row.id = m_newIds[row.id];
    if (!order)
        return;
    RowIds ids = order->ids;
    for (quint32 &id : ids)
        id = m_newIds[id];
    order->values->compact(m_newIds, m_count);
    order = std::make_shared<Order>(Order{m_rows, keys, std::move(ids), order->values});
}

/// Finds the rows that were shown before among those of the new set.
void RowPass::translateBefore()
{
    const RowSet &old = *m_before->rows;
    // The set may have grown by rows that were never shown.
    const auto known = quint32(m_before->places.size());
    std::vector<quint32> newIds(known, RowSet::none);
    // Rows mostly follow each other as they did.
    quint32 next = 0;
    for (quint32 id = 0; id < known; ++id) {
        if (!m_before->isShown(id))
            continue;
        const Record &row = old[id];
        const quint32 listed = m_rows->listedCount();
        quint32 found = 0;
        if (!m_newIds.empty())
            found = m_newIds[id];
        else
            found = next < listed && (*m_rows)[next] == row ? next : m_rows->find(row.row());
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

void RowPass::compareWithBefore(RowFlags visible)
{
    const auto shown = std::make_shared<ShownRows>();
    const size_t size = m_isRenumbered ? m_rows->size() : m_count;
    // Rows that have left the table are not shown.
    visible.resize(size);
    const RowFlags wasShown = shownBefore(size);
    RowIds going(m_spares);
    RowIds coming(m_spares);
    for (quint32 id = 0; id < size; ++id) {
        if (visible[id] != wasShown[id])
            (visible[id] ? coming : going).push_back(id);
    }
    if (!changes && !going.empty()) {
        // In the order in which they stood, so that the rows at the end need no move. Of changes the steps
        // tell that.
        const RowIds &old = m_isRenumbered ? m_beforeIds : m_before->ids;
        std::copy_if(old.begin(), old.begin() + qptrdiff(m_before->count), going.begin(),
                     [&visible](quint32 id) { return !visible[id]; });
    }

    shown->rows = m_rows;
    shown->count = quint32(rowlists::count(visible));
    RowIds after(m_spares);
    after.reserve(shown->count + going.size() + 1);
    if (order) {
        rowlists::append(after, shown->count, order->ids, visible);
    } else {
        for (quint32 id = 0; id < size; ++id) {
            if (visible[id])
                after.push_back(id);
        }
    }
    after.insert(after.end(), going.begin(), going.end());

    m_result.addedCount = quint32(coming.size());
    if (!coming.empty()) {
        m_beforeIds.reserve(m_before->count + coming.size());
        if (!m_isRenumbered)
            m_beforeIds.assign(before(), before() + m_before->count);
        m_beforeIds.insert(m_beforeIds.end(), coming.begin(), coming.end());
    }
    if (shown->count > coming.size()) {
        m_result.lastKept = shown->count - 1;
        for (m_result.firstKept = 0; !wasShown[after[m_result.firstKept]];)
            ++m_result.firstKept;
        while (!wasShown[after[m_result.lastKept]])
            --m_result.lastKept;
    }

    m_result.isMoved = !std::equal(after.begin(), after.end(), before());
    RowIds places(size, ShownRows::nowhere, m_spares);
    for (quint32 place = 0; place < after.size(); ++place)
        places[after[place]] = place;
    shown->ids = std::move(after);
    shown->places = std::move(places);
    m_result.shown = shown;
    if (changes) {
        findSteps(wasShown);
        findWritten(wasShown);
    }
}

/// For each id below \a size whether its row was shown before.
RowFlags RowPass::shownBefore(size_t size) const
{
    RowFlags result(size, 0, m_spares);
    if (m_isRenumbered) {
        for (const quint32 id : m_beforeIds)
            result[id] = 1;
    } else {
        for (quint32 id = 0; id < size; ++id)
            result[id] = m_before->isShown(id) ? 1 : 0;
    }
    return result;
}

/// Tells whether few runs of rows come and go, and which.
void RowPass::findSteps(const RowFlags &wasShown)
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
        while (from < oldCount && !now.isShown(old[from]))
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

void RowPass::findWritten(const RowFlags &wasShown)
{
    constexpr size_t mostRuns = 256;
    const ShownRows &now = *m_result.shown;
    std::vector<Run> &written = m_result.written;
    for (const Changes::Row &row : changes->rows) {
        const quint32 place = now.places[row.id];
        if (row.columns != 0 && now.isShown(row.id) && wasShown[row.id])
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
