// SPDX-License-Identifier: MIT
#include <sources/sourcesession_p.h>

#include <sources/messageof_p.h>
#include <sources/tablecounts_p.h>
#include <sources/tableloader.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <QDateTime>

#include <utility>

namespace sito {

SourceSession::SourceSession(const SourceLocation &location, bool isStrict, quint64 operation,
                             Reporter report, const std::function<void()> &ended)
    : m_location(location), m_isStrict(isStrict), m_report(std::move(report))
{
    m_task.start([this, operation](const parallel::Context &) { serve(operation); }, ended,
                 [ended](const std::exception_ptr &) { ended(); });
}

SourceSession::~SourceSession()
{
    stop();
}

void SourceSession::load(quint64 operation, const QStringList &tables, SourceConnection::Extent extent)
{
    give({.operation = operation, .tables = tables, .extent = extent});
}

void SourceSession::refresh(quint64 operation, const SourceRefresh::Order &tables)
{
    give({.operation = operation, .refreshed = tables});
}

void SourceSession::fetchBytes(quint64 operation, const SourceCell &cell)
{
    give({.operation = operation, .cell = cell});
}

void SourceSession::give(Order order)
{
    m_loadStop = parallel::StopSource();
    order.stop = m_loadStop.token();
    {
        const std::lock_guard lock(m_mutex);
        m_order = std::move(order);
        m_countStop.requestStop();
    }
    m_stop.token().wake();
}

void SourceSession::cancelLoad()
{
    m_loadStop.requestStop();
    const std::lock_guard lock(m_tableMutex);
}

void SourceSession::stop()
{
    m_stop.requestStop();
    setCounting(false);
    cancelLoad();
}

void SourceSession::leaveUncounted(const QString &table)
{
    {
        const std::lock_guard lock(m_mutex);
        m_uncounted.append(table);
        m_countStop.requestStop();
    }
    m_stop.token().wake();
}

void SourceSession::setCounting(bool isCounting)
{
    {
        const std::lock_guard lock(m_mutex);
        m_isCounting = isCounting;
        if (!isCounting)
            m_countStop.requestStop();
    }
    m_stop.token().wake();
}

/// The connection, and what works over it; used in the session's thread.
struct SourceSession::Connected
{
    void connect()
    {
        refresh.noteConnection();
        loader.emplace(session.m_location, session.m_stop.token());
        loader->setStrict(session.m_isStrict);
        loader->setDigits(TableLoader::Digits::AsNeeded);
    }

    SourceSession &session;
    SourceRefresh refresh{session.m_location, session.m_isStrict, session.m_tableMutex};
    std::optional<TableLoader> loader = {};
    TableCounts counts = {};
    /// The operation that opened the source.
    quint64 opening = 0;
};

std::optional<SourceSession::Order> SourceSession::takeOrder(Connected &source)
{
    std::optional<Order> order;
    bool counts = true;
    while (counts) {
        counts = false;
        parallel::StopToken countStop;
        m_stop.token().wait([&] {
            const std::lock_guard lock(m_mutex);
            order.swap(m_order);
            for (const QString &table : std::exchange(m_uncounted, {}))
                source.counts.remove(table);
            counts = !order && m_isCounting && source.loader && !source.counts.isEmpty();
            if (counts) {
                m_countStop = parallel::StopSource();
                countStop = m_countStop.token();
            }
            return order || counts;
        });
        if (counts)
            count(source, countStop);
    }
    return order;
}

/// Counts the rows of one table, unless \a stop is requested.
void SourceSession::count(Connected &source, const parallel::StopToken &stop)
{
    std::optional<TableCounts::Counted> counted;
    const auto error = messageOf([&] { counted = source.counts.countNext(*source.loader, stop); });
    // A connection that was lost is made again by the next order; then the counts go on.
    if (error && !source.loader->isAlive())
        source.loader.reset();
    else if (error)
        source.counts.skip();
    if (counted)
        m_report({.kind = SourceReport::Counted,
                  .operation = source.opening,
                  .text = counted->table,
                  .rowsTotal = counted->rows});
}

/// Whether \a order was carried out and not cancelled.
bool SourceSession::carryOut(const Order &order, Connected &source, SourceReport &answer)
{
    const auto report = [this, &order](const QString &table, qint64 rowsRead, qint64 rowsTotal) {
        m_report({.kind = SourceReport::Progress,
                  .operation = order.operation,
                  .text = table,
                  .rowsRead = rowsRead,
                  .rowsTotal = rowsTotal});
    };
    // What was not asked for long may be gone, or another one by now.
    const bool isOfLoaded = order.refreshed || order.cell;
    if (isOfLoaded && source.loader && (source.refresh.isFileChanged() || !source.loader->isAlive()))
        source.loader.reset();
    if (!source.loader)
        source.connect();
    if (isOfLoaded) {
        try {
            if (order.cell) {
                answer.text = order.cell->table;
                answer.column = order.cell->column;
                answer.bytes = source.refresh.bytes(*source.loader, *order.cell, order.stop);
                return true;
            }
            answer.refreshed = source.refresh.refresh(*source.loader, *order.refreshed, order.stop, report);
            for (const SourceConnection::RefreshedTable &table : std::as_const(answer.refreshed))
                answer.refreshedNotes.append(source.refresh.notes(*source.loader, table.name));
            return true;
        } catch (const parallel::Stopped &) {
            return false;
        }
    }
    source.loader->setProgress([&report, &order](const TableLoader::Progress &state) {
        if (order.stop.isStopRequested())
            return false;
        report(state.table, state.rowsRead, state.rowsTotal);
        return true;
    });
    source.loader->setRowLimit(order.extent == SourceConnection::Extent::Beginning
                                   ? std::optional(SourceConnection::rowsOfBeginning)
                                   : std::nullopt);
    source.refresh.beginLoad(*source.loader);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    auto tables = source.loader->loadAll(order.tables, order.stop);
    if (!tables)
        return false;
    source.refresh.endLoad(*source.loader, order.tables);
    for (auto &table : *tables) {
        const QString name = table->name();
        answer.loaded.push_back({std::move(table), source.refresh.notes(*source.loader, name), now,
                                 source.loader->isComplete(name)});
    }
    return true;
}

void SourceSession::serve(quint64 operation)
{
    const parallel::StopToken &stop = m_stop.token();
    Connected source{.session = *this, .opening = operation};

    SourceReport report{.kind = SourceReport::Opened, .operation = operation};
    const auto error = messageOf([&] {
        source.connect();
        if (auto tables = source.counts.look(*source.loader, stop))
            report.tables = std::move(*tables);
        if (report.tables.isEmpty() && !stop.isStopRequested())
            throw Exception(
                SourceConnection::tr("В базе данных «%1» нет таблиц").arg(m_location.displayName()));
    });
    if (error) {
        report.kind = SourceReport::Failed;
        report.text = *error;
    }
    if (!stop.isStopRequested())
        m_report(std::move(report));
    if (error)
        return;

    while (const std::optional<Order> order = takeOrder(source)) {
        SourceReport answer{.kind = order->refreshed ? SourceReport::Refreshed
                                    : order->cell    ? SourceReport::BytesFetched
                                                     : SourceReport::Loaded,
                            .operation = order->operation};
        bool isComplete = false;
        const auto failure = messageOf([&] { isComplete = carryOut(*order, source, answer); });
        if (failure) {
            answer.kind = SourceReport::Failed;
            answer.text = *failure;
            answer.loaded.clear();
            // A connection that was lost is made again by the next order.
            if (source.loader && !source.loader->isAlive())
                source.loader.reset();
        }
        if ((failure || isComplete) && !order->stop.isStopRequested())
            m_report(std::move(answer));
    }
}

} // namespace sito
