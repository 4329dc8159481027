// SPDX-License-Identifier: MIT
#include <sources/sourcelocation.h>

#include <data/exception.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString sqlite = u"QSQLITE"_s;
const QString postgresql = u"QPSQL"_s;
const QString tlsModeParameter = u"sslmode"_s;
const QString rootCertificateParameter = u"sslrootcert"_s;

QString encoded(const QString &text, const QByteArray &asTheyAre = {})
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text, asTheyAre));
}

/// The text that \a part stands for.
QString decoded(const QString &part)
{
    static const QRegularExpression broken(u"%(?![0-9A-Fa-f]{2})"_s);
    const QByteArray bytes = QByteArray::fromPercentEncoding(part.toUtf8());
    QString text = QString::fromUtf8(bytes);
    if (part.contains(broken) || text.toUtf8() != bytes || bytes.contains('\0')) {
        throw Exception(QCoreApplication::translate(
            "SourceLocation", "В адресе базы данных после «%» должны стоять две цифры кода символа"));
    }
    return text;
}

/// Reads what stands behind the "?" of an address into \a location.
void readParameters(const QString &text, SourceLocation &location)
{
    const QStringList parameters = text.split(u'&');
    for (const QString &parameter : parameters) {
        const QString name = parameter.section(u'=', 0, 0);
        const QString value = decoded(parameter.section(u'=', 1));
        if (name == tlsModeParameter && SourceLocation::tlsModes().contains(value)) {
            location.tlsMode = value;
        } else if (name == rootCertificateParameter && !value.isEmpty()) {
            location.rootCertificate = value;
        } else if (name == tlsModeParameter) {
            throw Exception(QCoreApplication::translate("SourceLocation",
                                                        "В адресе базы данных sslmode может быть только %1")
                                .arg(SourceLocation::tlsModes().join(u", "_s)));
        } else {
            // Not even the name is shown: it may well be the end of a password.
            throw Exception(QCoreApplication::translate(
                "SourceLocation",
                "В адресе базы данных есть параметры, а поддерживаются только sslmode и sslrootcert («?» в "
                "имени или пароле пишется %3F)"));
        }
    }
}

SourceLocation fromServerAddress(QString rest)
{
    if (!rest.startsWith("//"_L1)) {
        throw Exception(
            QCoreApplication::translate("SourceLocation", "В адресе базы данных нет «//» перед сервером"));
    }
    rest.remove(0, 2);
    SourceLocation result{.driver = postgresql};
    if (const qsizetype mark = rest.indexOf(u'?'); mark >= 0) {
        readParameters(rest.sliced(mark + 1), result);
        rest.truncate(mark);
    }
    if (rest.contains(u'#')) {
        throw Exception(QCoreApplication::translate(
            "SourceLocation", "В адресе базы данных стоит «#»: в имени или пароле он пишется %23"));
    }
    const qsizetype slash = rest.indexOf(u'/');
    QString authority = slash < 0 ? rest : rest.first(slash);
    const QString database = slash < 0 ? QString() : rest.sliced(slash + 1);
    if (database.contains(u'/') || database.contains(u'@')) {
        // What comes before may well be the beginning of a password, which would be shown.
        throw Exception(QCoreApplication::translate(
            "SourceLocation", "В адресе базы данных после сервера стоит «@» или «/»: в имени или пароле они "
                              "пишутся %40 и %2F"));
    }
    result.database = decoded(database);
    const qsizetype at = authority.lastIndexOf(u'@');
    if (at >= 0) {
        const QString account = authority.first(at);
        const qsizetype colon = account.indexOf(u':');
        result.user = decoded(colon < 0 ? account : account.first(colon));
        if (colon >= 0)
            result.password = decoded(account.sliced(colon + 1));
        authority.remove(0, at + 1);
    }
    QString port;
    if (authority.startsWith(u'[')) {
        const qsizetype end = authority.indexOf(u']');
        if (end < 0 || (end + 1 < authority.size() && authority.at(end + 1) != u':')) {
            throw Exception(
                QCoreApplication::translate("SourceLocation", "В адресе базы данных не закрыта скобка «[»"));
        }
        result.host = decoded(authority.sliced(1, end - 1));
        port = authority.sliced(end + 1);
    } else {
        const qsizetype colon = authority.indexOf(u':');
        result.host = decoded(colon < 0 ? authority : authority.first(colon));
        port = colon < 0 ? QString() : authority.sliced(colon);
    }
    if (port.size() > 1) {
        static const QRegularExpression digits(u"^:[0-9]{1,5}$"_s);
        result.port = port.sliced(1).toInt();
        if (!port.contains(digits) || result.port < 1 || result.port > SourceLocation::lastPort) {
            throw Exception(QCoreApplication::translate(
                "SourceLocation",
                "В адресе базы данных порт - не число от 1 до 65535 («@», «:» и «/» в имени "
                "или пароле пишутся %40, %3A и %2F)"));
        }
    }
    return result;
}

SourceLocation fromFileAddress(QString rest)
{
    if (rest.startsWith("//"_L1)) {
        if (!rest.startsWith("///"_L1)) {
            throw Exception(QCoreApplication::translate(
                "SourceLocation", "В адресе файла базы данных не может быть сервера (нужно sqlite:/путь)"));
        }
        rest.remove(0, 2);
    }
    if (rest.isEmpty())
        throw Exception(
            QCoreApplication::translate("SourceLocation", "В адресе базы данных нет имени файла"));
    return SourceLocation::fromFile(decoded(rest));
}

} // namespace

QStringList SourceLocation::tlsModes()
{
    return {u"disable"_s, u"allow"_s, u"prefer"_s, u"require"_s, u"verify-ca"_s, u"verify-full"_s};
}

SourceLocation SourceLocation::fromFile(const QString &fileName)
{
    return {.driver = sqlite, .file = fileName};
}

bool SourceLocation::isUrl(const QString &text)
{
    static const QRegularExpression address(u"^(?:sqlite|postgres(?:ql)?):|^[A-Za-z][A-Za-z0-9+.-]+://"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return text.contains(address);
}

SourceLocation SourceLocation::fromUrl(const QString &url)
{
    const QString scheme = url.first(std::max<qsizetype>(url.indexOf(u':'), 0)).toLower();
    const QString rest = url.sliced(std::min(scheme.size() + 1, url.size()));
    if (scheme == "sqlite"_L1)
        return fromFileAddress(rest);
    if (scheme == "postgresql"_L1 || scheme == "postgres"_L1)
        return fromServerAddress(rest);
    if (!isUrl(url)) {
        throw Exception(QCoreApplication::translate(
            "SourceLocation", "Адрес базы данных начинается с sqlite: или postgresql://"));
    }
    throw Exception(QCoreApplication::translate("SourceLocation",
                                                "Адреса вида «%1» неизвестны, только sqlite: и postgresql://")
                        .arg(scheme));
}

SourceLocation SourceLocation::fromText(const QString &text)
{
    return isUrl(text) ? fromUrl(text) : fromFile(text);
}

bool SourceLocation::isFile() const
{
    return driver == sqlite;
}

QString SourceLocation::toUrl() const
{
    if (isFile()) {
        QString path = encoded(file, "/");
        // Two slashes would announce a server.
        if (path.startsWith("//"_L1))
            path.replace(1, 1, u"%2F"_s);
        return u"sqlite:"_s + path;
    }
    QString url = u"postgresql://"_s;
    if (!user.isEmpty())
        url += encoded(user) + u'@';
    url += host.contains(u':') ? u'[' + encoded(host, ":") + u']' : encoded(host);
    if (port >= 0)
        url += u':' + QString::number(port);
    if (!database.isEmpty())
        url += u'/' + encoded(database);
    QStringList parameters;
    if (!tlsMode.isEmpty())
        parameters.append(tlsModeParameter + u'=' + encoded(tlsMode));
    if (!rootCertificate.isEmpty())
        parameters.append(rootCertificateParameter + u'=' + encoded(rootCertificate));
    return parameters.isEmpty() ? url : url + u'?' + parameters.join(u'&');
}

QString SourceLocation::displayName() const
{
    if (isFile())
        return file;
    QString name;
    if (!user.isEmpty())
        name += user + u'@';
    name += host.contains(u':') ? u'[' + host + u']' : host;
    if (port >= 0)
        name += u':' + QString::number(port);
    if (!database.isEmpty())
        name += u'/' + database;
    return name;
}

} // namespace sito
