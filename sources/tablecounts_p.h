// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourceconnection.h>
#include <sources/tablesource_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QList>
#include <QString>

#include <chrono>
#include <optional>

namespace sito {

class TableLoader;

/// Lists the tables of a source without counting, and counts the rows of one after the other later. Used in
/// the thread of the source's session.
class TableCounts
{
public:
    struct Counted
    {
        QString table;
        qint64 rows;
    };

    /// Nothing when \a stop was requested.
    std::optional<QList<SourceConnection::TableInfo>> look(const TableLoader &loader,
                                                           const parallel::StopToken &stop);
    /// Whether no table is left to be counted.
    bool isEmpty() const { return m_waiting.isEmpty(); }
    /// Counts the next table. Nothing when that would burden the source, or \a stop was requested; then the
    /// table stays the next one, and so when this throws.
    std::optional<Counted> countNext(const TableLoader &loader, const parallel::StopToken &stop);
    /// Leaves the next table out.
    void skip() { remove(m_waiting.constFirst().name); }
    /// Leaves \a table out, since its rows are known.
    void remove(const QString &table);

private:
    static constexpr std::chrono::milliseconds longest{30'000};

    QList<SourceTable> m_waiting;
    /// Of the time that the next table may be counted.
    std::chrono::milliseconds m_left = longest;
};

} // namespace sito
