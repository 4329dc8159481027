// SPDX-License-Identifier: MIT
#include <sources/postgressession_p.h>

#include <data/exception.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace sito {

using namespace Qt::StringLiterals;

namespace PostgresSession {

namespace {

/// The options that the service file \a fileName gives for \a service; null when it does not have the
/// service.
QString optionsOfService(const QString &fileName, const QString &service)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString options;
    bool isInside = false;
    while (!file.atEnd()) {
        const QString line = QString::fromLocal8Bit(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            if (isInside)
                break;
            isInside = line == u'[' + service + u']';
            if (isInside)
                options = u""_s;
        } else if (isInside && options.isEmpty() && line.startsWith("options="_L1)) {
            options = line.sliced(8);
        }
    }
    return options;
}

/// What libpq would send without options of ours: those of the service before those of PGOPTIONS. A service
/// file in the directory that libpq was built for is not found.
QString optionsOfUser()
{
    const QString service = qEnvironmentVariable("PGSERVICE");
    if (!service.isEmpty()) {
        QString options = optionsOfService(
            qEnvironmentVariable("PGSERVICEFILE", QDir::home().filePath(u".pg_service.conf"_s)), service);
        if (options.isNull() && qEnvironmentVariableIsSet("PGSYSCONFDIR"))
            options = optionsOfService(qEnvironmentVariable("PGSYSCONFDIR") + u"/pg_service.conf"_s, service);
        if (!options.isEmpty())
            return options;
    }
    return qEnvironmentVariable("PGOPTIONS");
}

/// \a value as it stands behind "=" in the text from which libpq connects.
QString quoted(QString value)
{
    value.replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s);
    return u'\'' + value + u'\'';
}

} // namespace

QString connectOptions(const SourceLocation &location, int connectSeconds, int lockMilliseconds)
{
    // The driver takes every one for the end of an option.
    const QString certificate = location.rootCertificate.isEmpty()
                                    ? QString()
                                    : QFileInfo(location.rootCertificate).absoluteFilePath();
    if (certificate.contains(u';')) {
        throw Exception(QCoreApplication::translate("PostgresSession",
                                                    "В имени файла с сертификатом «%1» не может быть «;»")
                            .arg(certificate));
    }
    // The last word counts, so that of the user stands before what keeps the session safe.
    QString options = u"-c lock_timeout=%1 "_s.arg(lockMilliseconds) + optionsOfUser() +
                      u" -c search_path= -c default_transaction_read_only=on -c row_security=off"_s;
    // A server that falls silent is given up after some twenty seconds.
    QString result = u"connect_timeout=%1;keepalives_idle=10;keepalives_interval=5;keepalives_count=2;"
                     "tcp_user_timeout=20000;options="_s.arg(connectSeconds) +
                     quoted(options);
    if (!location.tlsMode.isEmpty())
        result += u";sslmode="_s + quoted(location.tlsMode);
    if (!certificate.isEmpty())
        result += u";sslrootcert="_s + quoted(certificate);
    return result;
}

QStringList statements()
{
    return {
        u"SELECT pg_catalog.set_config('search_path', '', false)"_s,
        u"SET default_transaction_read_only = on"_s, u"SET row_security = off"_s,
        // Where the server can: nobody puts a view, with functions in it, in the place of a table that was
        // listed.
        u"SELECT pg_catalog.set_config(name, 'view', false) FROM pg_catalog.pg_settings "
        "WHERE name OPERATOR(pg_catalog.=) 'restrict_nonsystem_relation_kind'"_s,
        // The path that the user would have: of the role, of the database, or else the usual one. It holds
        // for this statement only.
        u"SELECT pg_catalog.set_config('sito.schemas', CASE WHEN pg_catalog.set_config('search_path', "
        u"COALESCE(("
        "SELECT pg_catalog.substr(s.entry, 13) FROM (SELECT setrole, setdatabase, "
        "pg_catalog.unnest(setconfig) AS entry FROM pg_catalog.pg_db_role_setting) s "
        "LEFT JOIN pg_catalog.pg_roles r ON r.oid OPERATOR(pg_catalog.=) s.setrole "
        "LEFT JOIN pg_catalog.pg_database d ON d.oid OPERATOR(pg_catalog.=) s.setdatabase "
        "WHERE pg_catalog.left(s.entry, 12) OPERATOR(pg_catalog.=) 'search_path=' "
        "AND (s.setrole OPERATOR(pg_catalog.=) 0 OR r.rolname OPERATOR(pg_catalog.=) SESSION_USER) "
        "AND (s.setdatabase OPERATOR(pg_catalog.=) 0 "
        "OR d.datname OPERATOR(pg_catalog.=) pg_catalog.current_database()) "
        "ORDER BY s.setrole OPERATOR(pg_catalog.=) 0, s.setdatabase OPERATOR(pg_catalog.=) 0 LIMIT 1), "
        "'\"$user\", public'), true) IS NOT NULL THEN pg_catalog.current_schemas(true)::pg_catalog.text END, false)"_s};
}

QString schemas()
{
    return u"COALESCE(pg_catalog.current_setting('sito.schemas', true)::pg_catalog.name[], "
           "pg_catalog.current_schemas(true))"_s;
}

} // namespace PostgresSession

} // namespace sito
