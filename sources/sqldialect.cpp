// SPDX-License-Identifier: MIT
#include <sources/sqldialect_p.h>

#include <sources/genericdialect_p.h>
#include <sources/mysqldialect_p.h>
#include <sources/postgresdialect_p.h>
#include <sources/sqlitedialect_p.h>
#include <sources/tableloader.h>

#include <data/exception.h>

#include <QSqlError>
#include <QSqlQuery>

namespace sito {

using namespace Qt::StringLiterals;

std::unique_ptr<SqlDialect> SqlDialect::create(const QSqlDatabase &connection)
{
    switch (connection.isValid() ? connection.driver()->dbmsType() : QSqlDriver::UnknownDbms) {
    case QSqlDriver::SQLite:
        return std::make_unique<SqliteDialect>(connection);
    case QSqlDriver::PostgreSQL:
        return std::make_unique<PostgresDialect>(connection);
    case QSqlDriver::MySqlServer:
        return std::make_unique<MysqlDialect>(connection);
    default:
        return std::make_unique<GenericDialect>(connection);
    }
}

SqlDialect::SqlDialect(const QSqlDatabase &connection) : m_connection(connection) {}

SqlDialect::~SqlDialect() = default;

void SqlDialect::fail(const QSqlError &error, const QString &table) const
{
    throw Exception(errorText(SqlRows::textOf(error), table));
}

QString SqlDialect::errorText(const QString &error, const QString &table) const
{
    return table.isEmpty()
               ? TableLoader::tr("База данных «%1»: %2").arg(sourceName(), error)
               : TableLoader::tr("База данных «%1», таблица «%2»: %3").arg(sourceName(), table, error);
}

bool SqlDialect::isAlive() const
{
    return m_connection.isOpen() && QSqlQuery(m_connection).exec(u"SELECT 1"_s);
}

std::optional<SourceColumn> SqlDialect::sourceColumn(const Column &column, bool isStrict) const
{
    if (!isStrict)
        return SourceColumn::shown(column.name, column.declaredType, column.nullable);
    return SourceColumn::fromDeclaredType(column.name, column.declaredType, column.nullable);
}

std::optional<qint64> SqlDialect::rowCount(const Table &table, const parallel::StopToken &stop) const
{
    if (stop.isStopRequested())
        return std::nullopt;
    const qint64 count = number(u"SELECT count(*) FROM "_s + table.quotedName, table.name);
    if (stop.isStopRequested())
        return std::nullopt;
    return count;
}

std::function<void()> SqlDialect::beginSnapshot() const
{
    QSqlDatabase connection = m_connection;
    if (!connection.isOpen() || !connection.transaction())
        return [] {};
    return [connection]() mutable {
        // A connection that was lost takes its transaction with it.
        if (connection.isOpen())
            connection.rollback();
    };
}

QString SqlDialect::sourceName() const
{
    return m_connection.databaseName();
}

void SqlDialect::execute(QSqlQuery &query, const QString &statement) const
{
    if (!query.exec(statement))
        fail(query.lastError());
}

qint64 SqlDialect::number(const QString &statement, const QString &table) const
{
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    if (!query.exec(statement) || !query.next())
        fail(query.lastError(), table);
    return query.value(0).toLongLong();
}

} // namespace sito
