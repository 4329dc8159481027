// SPDX-License-Identifier: MIT
#include <sources/sqldialect_p.h>

#include <sources/genericdialect_p.h>
#include <sources/mysqldialect_p.h>
#include <sources/portion_p.h>
#include <sources/postgresdialect_p.h>
#include <sources/sourcelocation.h>
#include <sources/sqlitedialect_p.h>
#include <sources/tableloader.h>

#include <data/exception.h>

#include <QElapsedTimer>
#include <QSqlError>
#include <QSqlQuery>

#include <utility>

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

QHash<QString, TableSource::KnownCount> SqlDialect::knownCounts(const QList<Table> &) const
{
    return {};
}

std::optional<qint64> SqlDialect::rowCount(const Table &table, const CountLimits &limits) const
{
    return limits.isBrief ? -1 : countInPortions(table, {}, limits);
}

std::optional<qint64> SqlDialect::countInPortions(const Table &table, const QString &key,
                                                  const CountLimits &limits) const
{
    qint64 counted = 0;
    QString where;
    Portion portion;
    // Where there are so many rows, and the first one after them.
    while (!limits.stop.isStopRequested() && !key.isEmpty()) {
        if (limits.end.hasExpired())
            return -1;
        portion.begin();
        QSqlQuery query(m_connection);
        query.setForwardOnly(true);
        if (!query.exec(u"SELECT "_s + key + u" FROM "_s + table.quotedName + where + u" ORDER BY "_s + key +
                        u" LIMIT 1 OFFSET "_s + QString::number(portion.size())))
            fail(query.lastError(), table.name);
        if (!query.next())
            break;
        counted += portion.size();
        // Digits and a sign.
        where = u" WHERE "_s + key + u" >= "_s + query.value(0).toString();
        portion.end();
    }
    if (limits.stop.isStopRequested())
        return std::nullopt;
    if (key.isEmpty() && limits.isBrief)
        counted = countBriefly(table, limits);
    else
        counted += number(u"SELECT count(*) FROM "_s + table.quotedName + where, table.name);
    return limits.stop.isStopRequested() ? std::nullopt : std::optional(counted);
}

/// Counts the first rows, and more of them as long as that takes a moment.
qint64 SqlDialect::countBriefly(const Table &table, const CountLimits &limits) const
{
    constexpr qint64 moment = 60;
    QElapsedTimer timer;
    for (qint64 most = 4096; !limits.stop.isStopRequested(); most *= 4) {
        timer.start();
        const qint64 counted = number(u"SELECT count(*) FROM (SELECT 1 FROM %1 LIMIT %2) t"_s.arg(
                                          table.quotedName, QString::number(most)),
                                      table.name);
        if (counted < most)
            return counted;
        if (timer.elapsed() > moment)
            break;
    }
    return -1;
}

RowMark SqlDialect::rowMark(const Table &table, const QList<Column> &declared, int growing) const
{
    if (growing < 0)
        return {};
    const Column &column = declared.at(growing);
    QString value = growth(table, declared, growing);
    return {.identity = u"%1 %2"_s.arg(QString::number(table.number), column.name),
            .value = std::move(value),
            .isPromised = true};
}

QString SqlDialect::changedSince(const RowMark &before, const RowMark &now) const
{
    return before.identity == now.identity ? before.value : QString();
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

QString SqlDialect::serverName() const
{
    SourceLocation location;
    location.host = m_connection.hostName();
    location.port = m_connection.port();
    location.database = m_connection.databaseName();
    location.user = m_connection.userName();
    return location.displayName();
}

void SqlDialect::execute(QSqlQuery &query, const QString &statement) const
{
    if (!query.exec(statement))
        fail(query.lastError());
}

qint64 SqlDialect::number(const QString &statement, const QString &table) const
{
    return text(statement, table).toLongLong();
}

QString SqlDialect::text(const QString &statement, const QString &table) const
{
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    if (!query.exec(statement) || !query.next())
        fail(query.lastError(), table);
    return query.value(0).toString();
}

} // namespace sito
