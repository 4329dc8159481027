// SPDX-License-Identifier: MIT
#include <sources/sourcesession_p.h>

#include <sources/tableloader.h>

#include <hostkit/text/exceptiontext.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <QDateTime>

#include <utility>

namespace sito {

namespace {

/// Calls \a function; the message of what it threw, if anything. What was thrown is gone by then.
template <typename Function>
std::optional<QString> messageOf(Function &&function)
{
    try {
        function();
        return std::nullopt;
    } catch (...) {
        return currentExceptionText().simplified();
    }
}

/// Nothing when \a stop was requested.
std::optional<QList<SourceConnection::TableInfo>> tablesOf(const TableLoader &loader,
                                                           const parallel::StopToken &stop)
{
    QList<SourceConnection::TableInfo> result;
    const QStringList names = loader.tableNames();
    for (const QString &name : names) {
        if (stop.isStopRequested())
            return std::nullopt;
        SourceConnection::TableInfo info{.name = name};
        bool isStopped = false;
        const auto error = messageOf([&] {
            info.columns = loader.columns(name);
            const std::optional<qint64> count = loader.rowCount(name, stop);
            isStopped = !count;
            info.rowCount = count.value_or(-1);
        });
        if (isStopped)
            return std::nullopt;
        if (error) {
            info.columns.clear();
            info.error = *error;
        }
        result.append(info);
    }
    return result;
}

} // namespace

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

void SourceSession::load(quint64 operation, const QStringList &tables)
{
    give({.operation = operation, .tables = tables});
}

void SourceSession::refresh(quint64 operation, const SourceRefresh::Order &tables)
{
    give({.operation = operation, .refreshed = tables});
}

void SourceSession::give(Order order)
{
    m_loadStop = parallel::StopSource();
    order.stop = m_loadStop.token();
    {
        const std::lock_guard lock(m_mutex);
        m_order = std::move(order);
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
    cancelLoad();
}

std::optional<SourceSession::Order> SourceSession::takeOrder()
{
    std::optional<Order> order;
    m_stop.token().wait([this, &order] {
        const std::lock_guard lock(m_mutex);
        order.swap(m_order);
        return order.has_value();
    });
    return order;
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
};

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
    if (order.refreshed && source.loader && (source.refresh.isFileChanged() || !source.loader->isAlive()))
        source.loader.reset();
    if (!source.loader)
        source.connect();
    if (order.refreshed) {
        try {
            answer.refreshed = source.refresh.refresh(
                *source.loader, *order.refreshed, order.stop,
                [&report](const QString &table, qint64 rowsRead) { report(table, rowsRead, -1); });
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
    source.refresh.beginLoad(*source.loader);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    auto tables = source.loader->loadAll(order.tables, order.stop);
    if (!tables)
        return false;
    source.refresh.endLoad(*source.loader, order.tables);
    for (auto &table : *tables) {
        const QStringList notes = source.loader->columnNotes(table->name());
        answer.loaded.push_back({std::move(table), notes, now});
    }
    return true;
}

void SourceSession::serve(quint64 operation)
{
    const parallel::StopToken &stop = m_stop.token();
    Connected source{*this};

    SourceReport report{.kind = SourceReport::Opened, .operation = operation};
    const auto error = messageOf([&] {
        source.connect();
        if (auto tables = tablesOf(*source.loader, stop))
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

    while (const std::optional<Order> order = takeOrder()) {
        SourceReport answer{.kind = order->refreshed ? SourceReport::Refreshed : SourceReport::Loaded,
                            .operation = order->operation};
        bool isComplete = false;
        const auto failure = messageOf([&] { isComplete = carryOut(*order, source, answer); });
        if (failure) {
            answer.kind = SourceReport::Failed;
            answer.text = *failure;
            answer.loaded.clear();
            // A connection that was lost is made anew by the next order.
            if (source.loader && !source.loader->isAlive())
                source.loader.reset();
        }
        if ((failure || isComplete) && !order->stop.isStopRequested())
            m_report(std::move(answer));
    }
}

} // namespace sito
