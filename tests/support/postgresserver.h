// SPDX-License-Identifier: MIT
#pragma once

#include <support/serveruser.h>

#include <sources/sourcelocation.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

using namespace sito;

/// A PostgreSQL server for one test, on a free port of the loopback interface, with an empty cluster in a
/// temporary directory. It ends with this object, and at the latest with the test program.
///
/// Root cannot run the server; a test of root runs it as the user "postgres", or else "nobody".
class PostgresServer
{
    Q_DISABLE_COPY_MOVE(PostgresServer)
public:
    PostgresServer() = default;
    ~PostgresServer() { stop(); }

    /// Whether tests fail, instead of being skipped, when there is no server.
    static bool isRequired() { return !qEnvironmentVariableIsEmpty("SITO_REQUIRE_POSTGRESQL"); }

    /// Why no server can run here; empty when one can.
    static QString whatIsMissing()
    {
        if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL")))
            return QStringLiteral("the Qt SQL driver for PostgreSQL is not installed");
        if (program(QStringLiteral("initdb")).isEmpty() || program(QStringLiteral("postgres")).isEmpty())
            return QStringLiteral("the PostgreSQL server is not installed");
        return {};
    }

    /// Makes the cluster and starts the server; returns an error message, or an empty text.
    QString start()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        const QString passwordFile = m_directory->filePath(QStringLiteral("password"));
        QFile file(passwordFile);
        if (!file.open(QIODevice::WriteOnly) || file.write(password().toUtf8()) < 0)
            return file.errorString();
        file.close();
        if (!m_user.give(m_directory->path()) || !m_user.give(passwordFile))
            return QStringLiteral("cannot give the directory to the server's user");
        QProcess initdb;
        run(initdb, QStringLiteral("initdb"),
            {QStringLiteral("-D"), cluster(), QStringLiteral("-U"), user(), QStringLiteral("-E"),
             QStringLiteral("UTF8"), QStringLiteral("--locale=C"), QStringLiteral("--no-sync"),
             QStringLiteral("--auth=scram-sha-256"), QStringLiteral("--pwfile=") + passwordFile});
        if (!initdb.waitForFinished(60'000) || initdb.exitCode() != 0)
            return QStringLiteral("initdb: ") + QString::fromLocal8Bit(initdb.readAll());
        QString error;
        // Another program may take the port between the question and the start.
        for (int attempt = 0; attempt < 5; ++attempt) {
            m_port = ServerUser::freePort();
            error = restart();
            if (error.isEmpty())
                break;
        }
        return error;
    }

    /// Starts the server again, after stop() or while it runs; returns an error message, or an empty text.
    QString restart() { return restartWith({}); }

    /// As restart(), with encryption by a certificate() for the address of location().
    QString restartWithTls()
    {
        QProcess openssl;
        const QString key = m_directory->filePath(QStringLiteral("server.key"));
        openssl.setProcessChannelMode(QProcess::MergedChannels);
        openssl.start(QStringLiteral("openssl"),
                      {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                       QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"),
                       QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=sito"),
                       QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1"),
                       QStringLiteral("-keyout"), key, QStringLiteral("-out"), certificate()});
        if (!openssl.waitForFinished(60'000) || openssl.exitCode() != 0)
            return QStringLiteral("openssl: ") + QString::fromLocal8Bit(openssl.readAll());
        QFile::setPermissions(key, QFile::ReadOwner | QFile::WriteOwner);
        if (!m_user.give(key))
            return QStringLiteral("cannot give the key to the server's user");
        return restartWith({QStringLiteral("-c"), QStringLiteral("ssl=on"), QStringLiteral("-c"),
                            QStringLiteral("ssl_key_file=") + key, QStringLiteral("-c"),
                            QStringLiteral("ssl_cert_file=") + certificate()});
    }
    QString certificate() const { return m_directory->filePath(QStringLiteral("server.crt")); }

    /// Stops the server immediately, and cuts off its connections.
    void stop()
    {
        if (!m_server)
            return;
        if (m_server->state() != QProcess::NotRunning) {
            ::kill(pid_t(m_server->processId()), SIGQUIT);
            if (!m_server->waitForFinished(10'000))
                m_server->kill();
            m_server->waitForFinished(5'000);
        }
        m_server.reset();
    }

    bool isRunning() const { return m_server && m_server->state() == QProcess::Running; }

    /// Freezes all processes of the server, like a network that has become silent, or continues them.
    void freeze(bool frozen)
    {
        const auto signal = frozen ? SIGSTOP : SIGCONT;
        QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(m_server->processId()));
        if (children.open(QIODevice::ReadOnly)) {
            const auto ids = children.readAll().simplified().split(' ');
            for (const QByteArray &id : ids) {
                if (id.toInt() > 0)
                    ::kill(id.toInt(), signal);
            }
        }
        ::kill(pid_t(m_server->processId()), signal);
    }

    SourceLocation location(const QString &database = QStringLiteral("postgres")) const
    {
        SourceLocation result;
        result.driver = QStringLiteral("QPSQL");
        result.host = QStringLiteral("127.0.0.1");
        result.port = m_port;
        result.database = database;
        result.user = user();
        result.password = password();
        return result;
    }

    static QString user() { return QStringLiteral("trader"); }
    static QString password() { return QStringLiteral("p w'd\\@%:/"); }

private:
    QString restartWith(const QStringList &options)
    {
        stop();
        // A server that was killed has left the file behind, which would say that it is ready.
        QFile::remove(cluster() + QStringLiteral("/postmaster.pid"));
        m_server = std::make_unique<QProcess>();
        run(*m_server, QStringLiteral("postgres"),
            QStringList{QStringLiteral("-D"), cluster(), QStringLiteral("-p"), QString::number(m_port),
                        QStringLiteral("-c"), QStringLiteral("listen_addresses=127.0.0.1"),
                        QStringLiteral("-c"), QStringLiteral("unix_socket_directories="),
                        QStringLiteral("-c"), QStringLiteral("fsync=off"), QStringLiteral("-c"),
                        QStringLiteral("autovacuum=off"), QStringLiteral("-c"),
                        QStringLiteral("max_connections=20"), QStringLiteral("-c"),
                        QStringLiteral("shared_buffers=16MB"), QStringLiteral("-c"),
                        QStringLiteral("dynamic_shared_memory_type=mmap"), QStringLiteral("-c"),
                        // A zone with a gap at midnight, and a server that would round what it writes.
                        QStringLiteral("timezone=America/Sao_Paulo"), QStringLiteral("-c"),
                        QStringLiteral("extra_float_digits=-5")} +
                options);
        QElapsedTimer timer;
        timer.start();
        while (m_server->state() != QProcess::NotRunning && timer.elapsed() < 30'000) {
            QFile status(cluster() + QStringLiteral("/postmaster.pid"));
            if (status.open(QIODevice::ReadOnly) && status.readAll().contains("ready"))
                return {};
            m_server->waitForFinished(10);
        }
        const QString output = QString::fromLocal8Bit(m_server->readAll());
        stop();
        return QStringLiteral("postgres: ") + output;
    }

    static QString program(const QString &name)
    {
        // Debian keeps the programs outside the search path, by version.
        QDir versions(QStringLiteral("/usr/lib/postgresql"));
        QStringList directories;
        const auto found = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::Reversed);
        for (const QString &version : found)
            directories.append(versions.filePath(version + QStringLiteral("/bin")));
        const QString path = QStandardPaths::findExecutable(name, directories);
        return path.isEmpty() ? QStandardPaths::findExecutable(name) : path;
    }

    /// Starts one of the server's programs as its user; it ends with this program at the latest.
    void run(QProcess &process, const QString &name, const QStringList &arguments) const
    {
        m_user.run(process, m_directory->path(), program(name), arguments, QStringLiteral("QUIT"));
    }

    QString cluster() const { return m_directory->filePath(QStringLiteral("cluster")); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QProcess> m_server;
    const ServerUser m_user{"postgres"};
    int m_port = 0;
};

/// For initTestCase(): starts \a server. Without a server the whole program is skipped, or fails where one is
/// required.
#define SITO_START_POSTGRES(server)                                                                          \
    do {                                                                                                     \
        const QString missing = PostgresServer::whatIsMissing();                                             \
        if (!missing.isEmpty()) {                                                                            \
            QVERIFY2(!PostgresServer::isRequired(), qPrintable(missing));                                    \
            QSKIP(qPrintable(missing));                                                                      \
        }                                                                                                    \
        const QString error = (server).start();                                                              \
        QVERIFY2(error.isEmpty(), qPrintable(error));                                                        \
    } while (false)
