// SPDX-License-Identifier: MIT
#pragma once

#include <support/serveruser.h>

#include <sources/sourcelocation.h>

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

using namespace sito;

/// A MariaDB server for one test, on a free port of the loopback interface, with an empty database "test" in
/// a temporary directory. It ends with this object, and at the latest with the test program.
///
/// Root cannot run the server; a test of root runs it as the user "mysql", or else "nobody".
class MariadbServer
{
    Q_DISABLE_COPY_MOVE(MariadbServer)
public:
    MariadbServer() = default;
    ~MariadbServer() { stop(); }

    /// Whether tests fail, instead of being skipped, when there is no server.
    static bool isRequired() { return !qEnvironmentVariableIsEmpty("SITO_REQUIRE_MARIADB"); }

    /// Why no server can run here; empty when one can.
    static QString whatIsMissing()
    {
        if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QMYSQL")))
            return QStringLiteral("the Qt SQL driver for MariaDB is not installed");
        for (const char *name : {"mariadbd", "mariadb-install-db", "mariadb"}) {
            if (program(QString::fromLatin1(name)).isEmpty())
                return QStringLiteral("%1 is not installed").arg(QLatin1String(name));
        }
        return {};
    }

    /// Makes the directory of data and starts the server; returns an error message, or an empty text.
    QString start()
    {
        if (!m_user.give(m_directory.path()))
            return QStringLiteral("cannot give the directory to the server's user");
        QProcess install;
        run(install, QStringLiteral("mariadb-install-db"),
            {QStringLiteral("--no-defaults"), QStringLiteral("--datadir=") + data(),
             QStringLiteral("--auth-root-authentication-method=normal"),
             QStringLiteral("--skip-name-resolve"), QStringLiteral("--skip-test-db")});
        if (!install.waitForFinished(120'000) || install.exitCode() != 0)
            return QStringLiteral("mariadb-install-db: ") + QString::fromLocal8Bit(install.readAll());
        QString error;
        // Another program may take the port between the question and the start.
        for (int attempt = 0; attempt < 5; ++attempt) {
            m_port = ServerUser::freePort();
            error = startServer({});
            if (error.isEmpty())
                break;
        }
        if (!error.isEmpty())
            return error;
        return execute("CREATE DATABASE test; CREATE USER trader@'127.0.0.1' IDENTIFIED BY 'p w''d\\\\@%:/'; "
                       "GRANT ALL ON *.* TO trader@'127.0.0.1'");
    }

    /// Starts the server again, with encryption; returns an error message, or an empty text.
    QString restartWithTls()
    {
        stop();
        QProcess openssl;
        const QString key = m_directory.filePath(QStringLiteral("server.key"));
        const QString certificate = m_directory.filePath(QStringLiteral("server.crt"));
        openssl.setProcessChannelMode(QProcess::MergedChannels);
        openssl.start(QStringLiteral("openssl"),
                      {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                       QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"),
                       QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=sito"),
                       QStringLiteral("-keyout"), key, QStringLiteral("-out"), certificate});
        if (!openssl.waitForFinished(60'000) || openssl.exitCode() != 0)
            return QStringLiteral("openssl: ") + QString::fromLocal8Bit(openssl.readAll());
        if (!m_user.give(key))
            return QStringLiteral("cannot give the key to the server's user");
        return startServer({QStringLiteral("--ssl-key=") + key, QStringLiteral("--ssl-cert=") + certificate});
    }

    void stop()
    {
        if (m_server.state() == QProcess::NotRunning)
            return;
        ::kill(pid_t(m_server.processId()), SIGKILL);
        m_server.waitForFinished(10'000);
    }

    /// Has the server's own client carry out \a script, as its administrator; returns an error message, or an
    /// empty text.
    QString execute(const QByteArray &script) const
    {
        QByteArray output;
        return ask(script, output);
    }
    /// The same; \a output is what the client prints, a row a line, with tabs between the columns.
    QString ask(const QByteArray &script, QByteArray &output, const QStringList &options = {}) const
    {
        QProcess client;
        client.start(program(QStringLiteral("mariadb")),
                     QStringList{QStringLiteral("--no-defaults"), QStringLiteral("--socket=") + socket(),
                                 QStringLiteral("--user=root"), QStringLiteral("--batch"),
                                 QStringLiteral("--skip-column-names"),
                                 QStringLiteral("--default-character-set=utf8mb4")} +
                         options);
        client.write(script);
        client.closeWriteChannel();
        if (!client.waitForFinished(60'000) || client.exitCode() != 0)
            return QStringLiteral("mariadb: ") + QString::fromLocal8Bit(client.readAllStandardError());
        output = client.readAllStandardOutput();
        return {};
    }

    SourceLocation location(const QString &database = QStringLiteral("test")) const
    {
        SourceLocation result;
        result.driver = QStringLiteral("QMYSQL");
        result.host = QStringLiteral("127.0.0.1");
        result.port = m_port;
        result.database = database;
        result.user = QStringLiteral("trader");
        result.password = QStringLiteral("p w'd\\@%:/");
        return result;
    }

private:
    QString startServer(const QStringList &options)
    {
        QFile::remove(socket());
        run(m_server, QStringLiteral("mariadbd"),
            QStringList{
                QStringLiteral("--no-defaults"), QStringLiteral("--datadir=") + data(),
                QStringLiteral("--socket=") + socket(), QStringLiteral("--port=%1").arg(m_port),
                QStringLiteral("--bind-address=127.0.0.1"), QStringLiteral("--skip-name-resolve"),
                QStringLiteral("--innodb-buffer-pool-size=16M"), QStringLiteral("--innodb-log-file-size=16M"),
                QStringLiteral("--innodb-flush-log-at-trx-commit=0"),
                // A zone and a mode that sessions of the library must not be led astray by.
                QStringLiteral("--default-time-zone=-03:00"), QStringLiteral("--sql-mode=ANSI_QUOTES")} +
                options);
        QElapsedTimer timer;
        timer.start();
        while (m_server.state() != QProcess::NotRunning && timer.elapsed() < 60'000) {
            if (QFile::exists(socket()) && execute("SELECT 1").isEmpty())
                return {};
            m_server.waitForFinished(20);
        }
        const QString output = QString::fromLocal8Bit(m_server.readAll());
        stop();
        return QStringLiteral("mariadbd: ") + output;
    }

    static QString program(const QString &name)
    {
        const QString found = QStandardPaths::findExecutable(name);
        return found.isEmpty() ? QStandardPaths::findExecutable(name, {QStringLiteral("/usr/sbin")}) : found;
    }

    /// Starts one of the server's programs as its user; it ends with this program at the latest.
    void run(QProcess &process, const QString &name, const QStringList &arguments) const
    {
        m_user.run(process, m_directory.path(), program(name), arguments, QStringLiteral("KILL"));
    }

    QString data() const { return m_directory.filePath(QStringLiteral("data")); }
    QString socket() const { return m_directory.filePath(QStringLiteral("socket")); }

    const QTemporaryDir m_directory;
    QProcess m_server;
    const ServerUser m_user{"mysql"};
    int m_port = 0;
};

/// For initTestCase(): starts \a server. Without a server the whole program is skipped, or fails where one is
/// required.
#define SITO_START_MARIADB(server)                                                                           \
    do {                                                                                                     \
        const QString missing = MariadbServer::whatIsMissing();                                              \
        if (!missing.isEmpty()) {                                                                            \
            QVERIFY2(!MariadbServer::isRequired(), qPrintable(missing));                                     \
            QSKIP(qPrintable(missing));                                                                      \
        }                                                                                                    \
        const QString error = (server).start();                                                              \
        QVERIFY2(error.isEmpty(), qPrintable(error));                                                        \
    } while (false)
