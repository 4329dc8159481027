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
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    QString changeMark() const override;

protected:
    QString growth(const Table &table, const QList<Column> &declared, int column) const override;
    BytesTexts bytesTexts(const TableShape &shape, int column) const override;
    QString keyCondition(const TableShape &shape, int column, const CellValue &value,
                         QVariantList &bound) const override;

private:
    /// Whether the database keeps its texts as UTF-8.
    bool isUtf8() const;
    /// What SQLite calls the number of a row of \a table; empty when columns have taken the names.
    QString rowNumberName(const Table &table) const;
};

} // namespace sito
