// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QUuid>

using namespace sito;

/// A plain connection to a server, as other programs have, to make what a test then reads.
class PostgresConnection
{
    Q_DISABLE_COPY_MOVE(PostgresConnection)
public:
    explicit PostgresConnection(const SourceLocation &location)
    {
        auto connection = QSqlDatabase::addDatabase(location.driver, m_name);
        connection.setHostName(location.host);
        connection.setPort(location.port);
        connection.setDatabaseName(location.database);
        connection.setUserName(location.user);
        connection.setPassword(location.password);
        connection.open();
        // What the server remarks would go to the standard error channel.
        execute(QStringLiteral("SET client_min_messages = error"));
    }
    ~PostgresConnection() { QSqlDatabase::removeDatabase(m_name); }

    QSqlDatabase connection() const { return QSqlDatabase::database(m_name, false); }
    /// Runs \a statement; returns the error message, or an empty text.
    QString execute(const QString &statement) const
    {
        QSqlQuery query(connection());
        return query.exec(statement) ? QString()
                                     : statement + QStringLiteral(": ") + query.lastError().text();
    }

private:
    const QString m_name = QUuid::createUuid().toString();
};
