// SPDX-License-Identifier: MIT
#include <sources/tablecounts_p.h>

#include <sources/messageof_p.h>
#include <sources/tableloader.h>

#include <QDeadlineTimer>

#include <algorithm>

namespace sito {

std::optional<QList<SourceConnection::TableInfo>> TableCounts::look(const TableLoader &loader,
                                                                    const parallel::StopToken &stop)
{
    QList<SourceTable> tables = loader.origin().tables();
    std::sort(tables.begin(), tables.end(),
              [](const SourceTable &a, const SourceTable &b) { return a.name < b.name; });
    const auto known = loader.origin().knownCounts(tables);
    QList<SourceConnection::TableInfo> result;
    for (const SourceTable &table : std::as_const(tables)) {
        if (stop.isStopRequested())
            return std::nullopt;
        SourceConnection::TableInfo info{.name = table.name, .isView = table.isView};
        if (const auto error = messageOf([&] { info.columns = loader.specs(table); })) {
            info.error = *error;
        } else {
            const TableSource::KnownCount count = known.value(table.name);
            info.rowCount = count.rows;
            info.isEstimate = count.rows >= 0 && count.isEstimate;
            if (!table.isView && count.isEstimate)
                m_waiting.append(table);
        }
        result.append(info);
    }
    return result;
}

std::optional<TableCounts::Counted> TableCounts::countNext(const TableLoader &loader,
                                                           const parallel::StopToken &stop)
{
    const SourceTable table = m_waiting.constFirst();
    const QDeadlineTimer end(m_left);
    const std::optional<qint64> rows =
        loader.origin().rowCount(table, {.stop = stop, .isBrief = true, .end = end});
    if (!rows) {
        m_left = std::chrono::milliseconds(end.remainingTime());
        return std::nullopt;
    }
    skip();
    return *rows < 0 ? std::nullopt : std::optional(Counted{table.name, *rows});
}

void TableCounts::remove(const QString &table)
{
    if (!m_waiting.isEmpty() && m_waiting.constFirst().name == table)
        m_left = longest;
    m_waiting.removeIf([&table](const SourceTable &waiting) { return waiting.name == table; });
}

} // namespace sito
