// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqldialect_p.h>

namespace sito {

/// MariaDB and MySQL.
class MysqlDialect : public SqlDialect
{
public:
    explicit MysqlDialect(const QSqlDatabase &connection) : SqlDialect(connection) {}

    QList<Table> tables() const override;
    QList<Column> columns(const Table &table) const override;
    std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const override;
    bool areTextsDistinct(const Column &column) const override;
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    bool hasRowsAtOnce(const Table &table) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    std::function<void()> beginSnapshot() const override;

protected:
    QString sourceName() const override;
    QString growth(const Table &table, const QList<Column> &declared, int column) const override;
    BytesTexts bytesTexts(const TableShape &shape, int column) const override;
    QString keyCondition(const TableShape &shape, int column, const CellValue &value,
                         QVariantList &bound) const override;

private:
    void checkView(const Table &table) const;
    QString keyOf(const Table &table) const;
};

} // namespace sito
