// SPDX-License-Identifier: MIT
#include <sources/sourcesession_p.h>

#include <sources/tableloader.h>

#include <hostkit/text/exceptiontext.h>

#include <database/memorytable.h>

#include <data/exception.h>

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
    m_loadStop = parallel::StopSource();
    {
        const std::lock_guard lock(m_mutex);
        m_order = Order{operation, tables, m_loadStop.token()};
    }
    m_stop.token().wake();
}

void SourceSession::cancelLoad()
{
    m_loadStop.requestStop();
}

void SourceSession::stop()
{
    m_loadStop.requestStop();
    m_stop.requestStop();
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

void SourceSession::serve(quint64 operation)
{
    const parallel::StopToken &stop = m_stop.token();
    std::optional<TableLoader> loader;
    const auto connect = [&] {
        loader.emplace(m_location, stop);
        loader->setStrict(m_isStrict);
        loader->setDigits(TableLoader::Digits::AsNeeded);
    };

    SourceReport report{.kind = SourceReport::Opened, .operation = operation};
    const auto error = messageOf([&] {
        connect();
        if (auto tables = tablesOf(*loader, stop))
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
        SourceReport answer{.kind = SourceReport::Loaded, .operation = order->operation};
        bool isComplete = false;
        const auto failure = messageOf([&] {
            if (!loader)
                connect();
            loader->setProgress([this, &order](const TableLoader::Progress &state) {
                if (order->stop.isStopRequested())
                    return false;
                m_report({.kind = SourceReport::Progress,
                          .operation = order->operation,
                          .text = state.table,
                          .rowsRead = state.rowsRead,
                          .rowsTotal = state.rowsTotal});
                return true;
            });
            auto tables = loader->loadAll(order->tables, order->stop);
            if (!tables)
                return;
            for (auto &table : *tables) {
                const QStringList notes = loader->columnNotes(table->name());
                answer.loaded.push_back({std::move(table), notes});
            }
            isComplete = true;
        });
        if (failure) {
            answer.kind = SourceReport::Failed;
            answer.text = *failure;
            answer.loaded.clear();
            // A connection that was lost is made anew by the next order.
            if (loader && !loader->isAlive())
                loader.reset();
        }
        if ((failure || isComplete) && !order->stop.isStopRequested())
            m_report(std::move(answer));
    }
}

} // namespace sito
