// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqldialect_p.h>

namespace sito {

/// PostgreSQL. Every statement qualifies all its names, so that nothing that others planted in the database
/// is run in its place, whatever the search path.
class PostgresDialect : public SqlDialect
{
public:
    explicit PostgresDialect(const QSqlDatabase &connection) : SqlDialect(connection) {}

    QList<Table> tables() const override;
    QList<Column> columns(const Table &table) const override;
    std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const override;
    std::optional<qint64> rowCount(const Table &table, const parallel::StopToken &stop) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    QString changeMark() const override;
    std::function<void()> beginSnapshot() const override;

protected:
    QString sourceName() const override;

private:
    void checkObstacle(const Table &table) const;
    bool isLarge(const Table &table) const;
    bool lockView(const Table &table) const;
};

} // namespace sito
