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
const QString csv = u"CSV"_s;
const QString postgresql = u"QPSQL"_s;
const QString mysql = u"QMYSQL"_s;
const QString tlsModeParameter = u"sslmode"_s;
const QString rootCertificateParameter = u"sslrootcert"_s;
const QString separatorParameter = u"separator"_s;
const QString headerParameter = u"header"_s;
const QString encodingParameter = u"encoding"_s;
const QString tab = u"tab"_s;

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

/// The same for a CSV file.
void readCsvParameters(const QString &text, SourceLocation &location)
{
    const QStringList parameters = text.split(u'&');
    for (const QString &parameter : parameters) {
        const QString name = parameter.section(u'=', 0, 0);
        const QString value = decoded(parameter.section(u'=', 1));
        const QString separator = value.toLower() == tab ? u"\t"_s : value;
        if (name == separatorParameter && QStringList{u","_s, u";"_s, u"\t"_s}.contains(separator)) {
            location.separator = separator;
        } else if (name == headerParameter && QStringList{u"yes"_s, u"no"_s}.contains(value.toLower())) {
            location.header = value.toLower();
        } else if (name == encodingParameter && SourceLocation::encodings().contains(value.toLower())) {
            location.encoding = value.toLower();
        } else {
            throw Exception(QCoreApplication::translate(
                                "SourceLocation",
                                "После имени файла CSV могут стоять только separator (запятая, «;» или tab), "
                                "header (yes или no) и encoding (%1)")
                                .arg(SourceLocation::encodings().join(u", "_s)));
        }
    }
}

QString withParameters(const QString &url, const QStringList &parameters)
{
    return parameters.isEmpty() ? url : url + u'?' + parameters.join(u'&');
}

/// The path that \a rest of an address of a file names.
QString pathOf(QString rest)
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
    return decoded(rest);
}

SourceLocation fromCsvAddress(const QString &rest)
{
    const qsizetype question = rest.indexOf(u'?');
    SourceLocation result{.driver = csv, .file = pathOf(question < 0 ? rest : rest.first(question))};
    if (question >= 0)
        readCsvParameters(rest.sliced(question + 1), result);
    return result;
}

SourceLocation fromServerAddress(QString rest, const QString &driver)
{
    if (!rest.startsWith("//"_L1)) {
        throw Exception(
            QCoreApplication::translate("SourceLocation", "В адресе базы данных нет «//» перед сервером"));
    }
    rest.remove(0, 2);
    SourceLocation result{.driver = driver};
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

} // namespace

QStringList SourceLocation::tlsModes()
{
    return {u"disable"_s, u"allow"_s, u"prefer"_s, u"require"_s, u"verify-ca"_s, u"verify-full"_s};
}

QStringList SourceLocation::encodings()
{
    return {u"utf-8"_s, u"utf-16le"_s, u"utf-16be"_s, u"windows-1251"_s};
}

SourceLocation SourceLocation::fromFile(const QString &fileName)
{
    static const QRegularExpression ending(u"\\.(?:csv|tsv|tab|txt)$"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    return {.driver = fileName.contains(ending) ? csv : sqlite, .file = fileName};
}

bool SourceLocation::isUrl(const QString &text)
{
    static const QRegularExpression address(
        u"^(?:sqlite|csv|postgres(?:ql)?|mysql|mariadb):|^[A-Za-z][A-Za-z0-9+.-]+://"_s,
        QRegularExpression::CaseInsensitiveOption);
    return text.contains(address);
}

SourceLocation SourceLocation::fromUrl(const QString &url)
{
    const QString scheme = url.first(std::max<qsizetype>(url.indexOf(u':'), 0)).toLower();
    const QString rest = url.sliced(std::min(scheme.size() + 1, url.size()));
    if (scheme == "sqlite"_L1)
        return {.driver = sqlite, .file = pathOf(rest)};
    if (scheme == "csv"_L1)
        return fromCsvAddress(rest);
    if (scheme == "postgresql"_L1 || scheme == "postgres"_L1)
        return fromServerAddress(rest, postgresql);
    if (scheme == "mysql"_L1 || scheme == "mariadb"_L1)
        return fromServerAddress(rest, mysql);
    if (!isUrl(url)) {
        throw Exception(QCoreApplication::translate(
            "SourceLocation", "Адрес базы данных начинается с sqlite:, csv:, postgresql:// или mysql://"));
    }
    throw Exception(
        QCoreApplication::translate(
            "SourceLocation", "Адреса вида «%1» неизвестны, только sqlite:, csv:, postgresql:// и mysql://")
            .arg(scheme));
}

SourceLocation SourceLocation::fromText(const QString &text)
{
    if (isUrl(text))
        return fromUrl(text);
    static const QRegularExpression described(
        u"^(.*\\.(?:csv|tsv|tab|txt))\\?((?:separator|header|encoding)=.*)$"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const auto match = described.match(text);
    SourceLocation result = fromFile(match.hasMatch() ? match.captured(1) : text);
    if (match.hasMatch())
        readCsvParameters(match.captured(2), result);
    return result;
}

bool SourceLocation::isFile() const
{
    return driver == sqlite || isCsv();
}

bool SourceLocation::isCsv() const
{
    return driver == csv;
}

QString SourceLocation::toUrl() const
{
    if (isFile()) {
        QString path = encoded(file, "/");
        // Two slashes would announce a server.
        if (path.startsWith("//"_L1))
            path.replace(1, 1, u"%2F"_s);
        if (!isCsv())
            return u"sqlite:"_s + path;
        QStringList parameters;
        if (!separator.isEmpty())
            parameters.append(separatorParameter + u'=' + (separator == u"\t"_s ? tab : encoded(separator)));
        if (!header.isEmpty())
            parameters.append(headerParameter + u'=' + header);
        if (!encoding.isEmpty())
            parameters.append(encodingParameter + u'=' + encoding);
        return withParameters(u"csv:"_s + path, parameters);
    }
    QString url = driver == mysql ? u"mysql://"_s : u"postgresql://"_s;
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
    return withParameters(url, parameters);
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
