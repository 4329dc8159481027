// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcecolumn_p.h>
#include <sources/sqlrows_p.h>

#include <hostkit/parallel/stoptoken.h>

#include <QList>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QSqlError;
class QSqlQuery;

namespace sito {

/// How one kind of database is asked for its tables and their rows. What fails throws Exception.
class SqlDialect
{
    Q_DISABLE_COPY_MOVE(SqlDialect)
public:
    struct Table
    {
        QString name;
        /// As statements name it; empty when they cannot.
        QString quotedName;
        /// PostgreSQL: of the object. SQLite: of the first page; virtual tables have none.
        qint64 number = 0;
        /// A view or a foreign table, whose rows are not counted: that would compute or fetch them all.
        bool isView = false;
    };
    struct Column
    {
        QString name;
        QString declaredType;
        bool nullable = true;
    };

    /// The dialect of the database behind \a connection, which need not be open.
    static std::unique_ptr<SqlDialect> create(const QSqlDatabase &connection);
    virtual ~SqlDialect();

    /// Throws what \a error of the connection says, about \a table if there is one.
    [[noreturn]] void fail(const QSqlError &error, const QString &table = {}) const;

    /// With views, without the database's own tables, in any order.
    virtual QList<Table> tables() const = 0;
    virtual QList<Column> columns(const Table &table) const = 0;
    /// What \a column becomes; nothing, where \a isStrict, for a type that has no place in a table.
    virtual std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const;
    /// Nothing when \a stop was requested. Not for views.
    virtual std::optional<qint64> rowCount(const Table &table, const parallel::StopToken &stop) const;
    /// The values of \a columns in all rows of \a table; \a declared is what columns() gave.
    virtual std::unique_ptr<SqlRows> rows(const Table &table, const QList<Column> &declared,
                                          const std::vector<SourceColumn> &columns) const = 0;
    /// From now on several statements see the same rows, unless the connection is inside a transaction
    /// already and does so itself. The function that is returned ends that, and must be called.
    virtual std::function<void()> beginSnapshot() const;

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
