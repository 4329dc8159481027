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
    bool areTextsDistinct(const Column &column) const override;
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    QString changeMark() const override;
    void hold(const QList<Table> &tables) const override;
    RowMark rowMark(const Table &table, const QList<Column> &declared, int growing) const override;
    QString changedSince(const RowMark &before, const RowMark &now) const override;
    std::function<void()> beginSnapshot() const override;

protected:
    QString sourceName() const override;
    QString growth(const Table &table, const QList<Column> &declared, int column) const override;
    BytesTexts bytesTexts(const TableShape &shape, int column) const override;
    QString keyCondition(const TableShape &shape, int column, const CellValue &value,
                         QVariantList &bound) const override;

private:
    void checkObstacle(const Table &table) const;
    bool isPresent(const Table &table) const;
    bool isLarge(const Table &table) const;
    bool holdsAnyBytes() const;
    bool lockView(const Table &table) const;
    void admit(const Table &table) const;
    bool attempt(QSqlQuery &query, const QString &statement) const;
};

} // namespace sito
