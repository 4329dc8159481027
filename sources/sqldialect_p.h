// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sqlrows_p.h>
#include <sources/tablesource_p.h>

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QSqlError;
class QSqlQuery;

namespace sito {

/// How one kind of database is asked for its tables and their rows by SQL.
class SqlDialect : public TableSource
{
public:
    /// The dialect of the database behind \a connection, which need not be open.
    static std::unique_ptr<SqlDialect> create(const QSqlDatabase &connection);
    ~SqlDialect() override;

    /// Throws what \a error of the connection says, about \a table if there is one.
    [[noreturn]] void fail(const QSqlError &error, const QString &table = {}) const;

    QString errorText(const QString &error, const QString &table) const override;
    bool isAlive() const override;
    std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const override;
    /// Nothing that costs nothing.
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    /// Of the dialect that other databases have, too, which knows no way to count for a moment only.
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    /// That of a growing column.
    RowMark rowMark(const Table &table, const QList<Column> &declared, int growing) const override;
    QString changedSince(const RowMark &before, const RowMark &now) const override;
    /// Leaves a connection alone that is inside a transaction already and so does it itself.
    std::function<void()> beginSnapshot() const override;

protected:
    explicit SqlDialect(const QSqlDatabase &connection);

    const QSqlDatabase &connection() const { return m_connection; }
    /// The connection as messages name it.
    virtual QString sourceName() const;
    /// The database and the server of the connection, for sourceName().
    QString serverName() const;
    /// Carries out \a statement, or fails.
    void execute(QSqlQuery &query, const QString &statement) const;
    /// The condition, as rows() takes it, that the value of \a column is not below the largest one now; empty
    /// when there is no value or the dialect knows no such condition. Throws when \a table cannot be read.
    virtual QString growth(const Table &, const QList<Column> &, int) const { return {}; }
    /// The first value that \a statement about \a table gives, as a text.
    QString text(const QString &statement, const QString &table) const;
    /// The number that \a statement about \a table gives.
    qint64 number(const QString &statement, const QString &table) const;
    /// Counts \a table by many statements, since no driver lets one interrupt a statement. \a key is the
    /// quoted name of a column of whole numbers, no two alike, in whose order rows are found quickly; without
    /// one, all rows are counted by one statement, and in brief only those of a table that is small.
    std::optional<qint64> countInPortions(const Table &table, const QString &key,
                                          const CountLimits &limits) const;

private:
    qint64 countBriefly(const Table &table, const CountLimits &limits) const;

    const QSqlDatabase m_connection;
};

} // namespace sito
