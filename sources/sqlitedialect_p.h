// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqldialect_p.h>

namespace sito {

class SqliteDialect : public SqlDialect
{
public:
    explicit SqliteDialect(const QSqlDatabase &connection) : SqlDialect(connection) {}

    QList<Table> tables() const override;
    QList<Column> columns(const Table &table) const override;
    std::optional<qint64> rowCount(const Table &table, const parallel::StopToken &stop) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    QString changeMark() const override;

private:
    /// Whether the database keeps its texts as UTF-8.
    bool isUtf8() const;
    /// What SQLite calls the number of a row of \a table; empty when columns have taken the names.
    QString rowNumberName(const Table &table) const;
};

} // namespace sito
