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
    std::optional<qint64> rowCount(const Table &table, const parallel::StopToken &stop) const override;
    /// Leaves a connection alone that is inside a transaction already and so does it itself.
    std::function<void()> beginSnapshot() const override;

protected:
    explicit SqlDialect(const QSqlDatabase &connection);

    const QSqlDatabase &connection() const { return m_connection; }
    /// The connection as messages name it.
    virtual QString sourceName() const;
    /// Carries out \a statement, or fails.
    void execute(QSqlQuery &query, const QString &statement) const;
    /// The number that \a statement about \a table gives.
    qint64 number(const QString &statement, const QString &table) const;

private:
    const QSqlDatabase m_connection;
};

} // namespace sito
