// SPDX-License-Identifier: MIT
#include <sources/sourcedatabase.h>

#include <sources/mysqlsession_p.h>
#include <sources/postgressession_p.h>

#include <data/exception.h>

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

#include <atomic>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

QString nextName()
{
    static std::atomic<quint64> number = 0;
    return u"sito-source-%1"_s.arg(number.fetch_add(1, std::memory_order_relaxed));
}

/// How every SQLite database begins.
constexpr char header[] = "SQLite format 3";

} // namespace

SourceDatabase::SourceDatabase(const SourceLocation &location, int connectSeconds, int lockMilliseconds)
    : m_name(nextName())
{
    if (location.isFile())
        checkFile(location.file);
    if (!QSqlDatabase::isDriverAvailable(location.driver))
        throw Exception(tr("Не удалось открыть «%1»: драйвер Qt SQL «%2» не установлен")
                            .arg(location.displayName(), location.driver));
    try {
        open(location, connectSeconds, lockMilliseconds);
    } catch (...) {
        QSqlDatabase::removeDatabase(m_name);
        throw;
    }
}

SourceDatabase::~SourceDatabase()
{
    QSqlDatabase::removeDatabase(m_name);
}

QSqlDatabase SourceDatabase::connection() const
{
    return QSqlDatabase::database(m_name, false);
}

void SourceDatabase::checkFile(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (!info.exists())
        throw Exception(tr("Файла «%1» нет").arg(fileName));
    if (info.isDir())
        throw Exception(tr("«%1» - каталог, а не база данных").arg(fileName));
    // To open a pipe could last until somebody writes into it.
    if (!info.isFile())
        throw Exception(tr("«%1» - не обычный файл").arg(fileName));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw Exception(tr("Не удалось открыть «%1»: %2").arg(fileName, file.errorString()));
    const QByteArray start = file.read(sizeof(header));
    if (start.isEmpty() && file.error() == QFileDevice::NoError)
        throw Exception(tr("Файл «%1» пуст").arg(fileName));
    if (start != QByteArray(header, sizeof(header)))
        throw Exception(tr("«%1» - не база данных SQLite").arg(fileName));
}

void SourceDatabase::open(const SourceLocation &location, int connectSeconds, int lockMilliseconds) const
{
    auto connection = QSqlDatabase::addDatabase(location.driver, m_name);
    const bool isPostgres = location.driver == "QPSQL"_L1;
    const bool isMysql = location.driver == "QMYSQL"_L1;
    if (location.isFile()) {
        connection.setConnectOptions(u"QSQLITE_OPEN_READONLY"_s);
        connection.setDatabaseName(QFileInfo(location.file).absoluteFilePath());
    } else {
        connection.setHostName(location.host);
        connection.setPort(location.port);
        connection.setDatabaseName(location.database);
        connection.setUserName(location.user);
        connection.setPassword(location.password);
        if (isPostgres)
            connection.setConnectOptions(
                PostgresSession::connectOptions(location, connectSeconds, lockMilliseconds));
        else if (isMysql)
            connection.setConnectOptions(MysqlSession::connectOptions(location, connectSeconds));
    }
    const auto fail = [&location](const QSqlError &error) {
        const QString text = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
        throw Exception(tr("Не удалось открыть «%1»: %2").arg(location.displayName(), text.simplified()));
    };
    if (!connection.open())
        fail(connection.lastError());
    if (location.isFile()) {
        // Views, columns and indexes of the file call no function, and no virtual table, that could do harm.
        QSqlQuery query(connection);
        query.exec(u"PRAGMA trusted_schema = OFF"_s);
    }
    QStringList statements;
    if (isPostgres)
        statements = PostgresSession::statements();
    else if (isMysql)
        statements = MysqlSession::statements(lockMilliseconds);
    for (const QString &statement : statements) {
        QSqlQuery query(connection);
        if (!query.exec(statement))
            fail(query.lastError());
    }
    if (isMysql && MysqlSession::isEncryptionRequired(location)) {
        QSqlQuery query(connection);
        if (!query.exec(MysqlSession::encryptionStatement()) || !query.next())
            throw Exception(
                tr("Не удалось открыть «%1»: соединение не зашифровано").arg(location.displayName()));
    }
}

} // namespace sito
