// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>

/// Who runs a database server for a test: the test's own user, but for root, who cannot: then another one.
class ServerUser
{
public:
    /// In a test of root the user \a name, or else "nobody".
    explicit ServerUser(const char *name)
    {
        if (::geteuid() != 0)
            return;
        const passwd *entry = ::getpwnam(name);
        if (!entry)
            entry = ::getpwnam("nobody");
        if (entry)
            m_other = {entry->pw_uid, entry->pw_gid};
    }

    /// Makes the file or directory \a path belong to the user; returns whether it does.
    bool give(const QString &path) const
    {
        return !m_other || ::chown(QFile::encodeName(path).constData(), m_other->user, m_other->group) == 0;
    }
    /// Starts \a program as the user in \a directory; when the test program ends, it gets \a lastSignal.
    void run(QProcess &process, const QString &directory, const QString &program,
             const QStringList &arguments, const QString &lastSignal) const
    {
        process.setWorkingDirectory(directory);
        process.setProcessChannelMode(QProcess::MergedChannels);
        QStringList all{QStringLiteral("--pdeathsig"), lastSignal};
        if (m_other) {
            all += {QStringLiteral("--reuid"), QString::number(m_other->user), QStringLiteral("--regid"),
                    QString::number(m_other->group), QStringLiteral("--clear-groups")};
        }
        process.start(QStringLiteral("setpriv"),
                      all + QStringList{QStringLiteral("--"), program} + arguments);
    }

    /// A port of the loopback interface that nobody has; 0 when there is none.
    static int freePort()
    {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto *plain = reinterpret_cast<sockaddr *>(&address);
        const bool isGood = ::bind(socket, plain, size) == 0 && ::getsockname(socket, plain, &size) == 0;
        ::close(socket);
        return isGood ? ntohs(address.sin_port) : 0;
    }

private:
    struct Other
    {
        uid_t user;
        gid_t group;
    };
    std::optional<Other> m_other;
};
