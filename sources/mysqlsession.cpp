// SPDX-License-Identifier: MIT
#include <sources/mysqlsession_p.h>

#include <data/exception.h>

#include <QCoreApplication>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace MysqlSession {

QString connectOptions(const SourceLocation &location, int connectSeconds)
{
    if (location.tlsMode.startsWith("verify-"_L1) || !location.rootCertificate.isEmpty()) {
        throw Exception(
            QCoreApplication::translate("MysqlSession",
                                        "Драйвер Qt SQL для MariaDB и MySQL не проверяет сертификат сервера, "
                                        "поэтому «%1» не открыт (sslmode может быть %2)")
                .arg(location.displayName(), u"disable, allow, prefer, require"_s));
    }
    // A server that falls silent is given up.
    QString options =
        u"MYSQL_OPT_CONNECT_TIMEOUT=%1;MYSQL_OPT_READ_TIMEOUT=300;MYSQL_OPT_WRITE_TIMEOUT=20"_s.arg(
            connectSeconds);
    // The driver encrypts when it is told anything about how.
    if (isEncryptionRequired(location))
        options += u";SSL_CIPHER=HIGH"_s;
    return options;
}

QStringList statements(int lockMilliseconds)
{
    return {
        u"SET NAMES utf8mb4"_s,
        // Backquotes quote names and nothing else, whatever the server is used to.
        u"SET SESSION sql_mode = ''"_s,
        u"SET SESSION time_zone = '+00:00'"_s,
        u"SET SESSION lock_wait_timeout = %1"_s.arg(std::max(1, lockMilliseconds / 1000)),
        // Otherwise a count or a view ends with the first rows that the server's owner thinks enough.
        u"SET SESSION sql_select_limit = DEFAULT"_s,
        u"SET SESSION TRANSACTION ISOLATION LEVEL REPEATABLE READ"_s,
        u"SET SESSION TRANSACTION READ ONLY"_s,
    };
}

bool isEncryptionRequired(const SourceLocation &location)
{
    return location.tlsMode == "require"_L1;
}

QString encryptionStatement()
{
    return u"SHOW SESSION STATUS WHERE Variable_name = 'Ssl_cipher' AND Value <> ''"_s;
}

} // namespace MysqlSession

} // namespace sito
