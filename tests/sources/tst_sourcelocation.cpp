// SPDX-License-Identifier: MIT
#include <sources/sourcelocation.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QRandomGenerator>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

SourceLocation server(const QString &host, int port = -1, const QString &database = {},
                      const QString &user = {}, const QString &password = {})
{
    SourceLocation result;
    result.driver = u"QPSQL"_s;
    result.host = host;
    result.port = port;
    result.database = database;
    result.user = user;
    result.password = password;
    return result;
}

} // namespace

class tst_SourceLocation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void readsAddresses_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<SourceLocation>("location");
        const auto row = [](const char *url, const SourceLocation &location) {
            QTest::newRow(url) << QString::fromUtf8(url) << location;
        };
        row("sqlite:/a/b.sqlite", SourceLocation::fromFile(u"/a/b.sqlite"_s));
        row("sqlite:///a/b.sqlite", SourceLocation::fromFile(u"/a/b.sqlite"_s));
        row("SQLite:b", SourceLocation::fromFile(u"b"_s));
        row("sqlite:/%D1%8F%20%25?x#y", SourceLocation::fromFile(u"/я %?x#y"_s));
        SourceLocation maria = server(u"h"_s, 3306, u"d"_s, u"u"_s, u"p"_s);
        maria.driver = u"QMYSQL"_s;
        row("mysql://u:p@h:3306/d", maria);
        row("mariadb://u:p@h:3306/d", maria);
        row("csv:/a/b", {.driver = u"CSV"_s, .file = u"/a/b"_s});
        row("CSV:///a/b%3F.csv?separator=;",
            {.driver = u"CSV"_s, .file = u"/a/b?.csv"_s, .separator = u";"_s});
        row("csv:b?header=NO&separator=Tab&encoding=Windows-1251", {.driver = u"CSV"_s,
                                                                    .file = u"b"_s,
                                                                    .separator = u"\t"_s,
                                                                    .header = u"no"_s,
                                                                    .encoding = u"windows-1251"_s});
        row("postgresql://", server({}));
        row("postgresql://h", server(u"h"_s));
        row("postgres://h/", server(u"h"_s));
        row("postgresql://h:/d", server(u"h"_s, -1, u"d"_s));
        row("postgresql:///d", server({}, -1, u"d"_s));
        row("postgresql://u@h:1/d", server(u"h"_s, 1, u"d"_s, u"u"_s));
        row("postgresql://u:p@h:65535/d%2Fe%40f", server(u"h"_s, 65535, u"d/e@f"_s, u"u"_s, u"p"_s));
        row("postgresql://u:p:q@r@h", server(u"h"_s, -1, {}, u"u"_s, u"p:q@r"_s));
        row("postgresql://a%40b:%3A%2F%3f@[::1]:5432/%d1%8f",
            server(u"::1"_s, 5432, u"я"_s, u"a@b"_s, u":/?"_s));
        row("postgresql://[fe80::1]", server(u"fe80::1"_s));
        SourceLocation encrypted = server(u"h"_s, -1, u"d"_s);
        encrypted.tlsMode = u"verify-full"_s;
        row("postgresql://h/d?sslmode=verify-full", encrypted);
        encrypted.rootCertificate = u"/a b/я?&=.crt"_s;
        row("postgresql://h/d?sslrootcert=/a%20b/%D1%8F%3F%26=.crt&sslmode=verify-full", encrypted);
    }
    void readsAddresses()
    {
        QFETCH(QString, url);
        QFETCH(SourceLocation, location);

        QVERIFY(SourceLocation::isUrl(url));
        QCOMPARE(SourceLocation::fromUrl(url), location);
        QCOMPARE(SourceLocation::fromText(url), location);
    }

    void refusesOtherTexts_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *url, const char *message) {
            QTest::newRow(*url ? url : "empty") << QString::fromUtf8(url) << QString::fromUtf8(message);
        };
        const char *neither = "Адрес базы данных начинается с sqlite:, csv:, postgresql:// или mysql://";
        row("", neither);
        row("file.sqlite", neither);
        row(":secret", neither);
        row("other://u:secret@h/d",
            "Адреса вида «other» неизвестны, только sqlite:, csv:, postgresql:// и mysql://");
        row("sqlite:", "В адресе базы данных нет имени файла");
        row("sqlite://", "В адресе файла базы данных не может быть сервера (нужно sqlite:/путь)");
        row("sqlite://host/file", "В адресе файла базы данных не может быть сервера (нужно sqlite:/путь)");
        const char *percent = "В адресе базы данных после «%» должны стоять две цифры кода символа";
        row("sqlite:/100%", percent);
        row("sqlite:/%zz", percent);
        row("sqlite:/%ff", percent);
        row("sqlite:/%00", percent);
        row("postgresql://u:secret%@h", percent);
        const char *ofCsv =
            "После имени файла CSV могут стоять только separator (запятая, «;» или tab), header "
            "(yes или no) и encoding (utf-8, utf-16le, utf-16be, windows-1251)";
        row("csv:a?", ofCsv);
        row("csv:a?separator=ab", ofCsv);
        row("csv:a?header=1", ofCsv);
        row("csv:a?header=no&encoding=latin1", ofCsv);
        row("postgresql:u:secret@h", "В адресе базы данных нет «//» перед сервером");
        const char *parameters =
            "В адресе базы данных есть параметры, а поддерживаются только sslmode и sslrootcert («?» в имени "
            "или пароле пишется %3F)";
        row("postgresql://u:pass?secret@h", parameters);
        row("postgresql://h/d?", parameters);
        row("postgresql://h/d?sslmode=require&", parameters);
        row("postgresql://h/d?sslrootcert=", parameters);
        row("postgresql://h/d?SSLMODE=require", parameters);
        const char *mode = "В адресе базы данных sslmode может быть только disable, allow, prefer, require, "
                           "verify-ca, verify-full";
        row("postgresql://h/d?sslmode=on", mode);
        row("postgresql://h/d?sslmode", mode);
        row("postgresql://u:sec#ret@h", "В адресе базы данных стоит «#»: в имени или пароле он пишется %23");
        const char *port =
            "В адресе базы данных порт - не число от 1 до 65535 («@», «:» и «/» в имени или пароле "
            "пишутся %40, %3A и %2F)";
        row("postgresql://h:0/d", port);
        row("postgresql://h:65536", port);
        row("postgresql://h:+1", port);
        const char *separator =
            "В адресе базы данных после сервера стоит «@» или «/»: в имени или пароле они "
            "пишутся %40 и %2F";
        row("postgresql://u:sec/ret@h", separator);
        row("postgresql://ann:12/secret@host/db", separator);
        row("postgresql://ann:12/secret@host", separator);
        row("postgresql://h/a/b", separator);
        row("postgresql://[::1/d", "В адресе базы данных не закрыта скобка «[»");
        row("postgresql://[::1]5432", "В адресе базы данных не закрыта скобка «[»");
    }
    void refusesOtherTexts()
    {
        QFETCH(QString, url);
        QFETCH(QString, message);

        const QString thrown = exceptionMessage([&] { SourceLocation::fromUrl(url); });

        QCOMPARE(thrown, message);
        QVERIFY(!thrown.contains("secret"_L1));
    }

    void tellsAddressesFromFiles()
    {
        for (const QString &file : {u"/a/b.sqlite"_s, u"b.sqlite"_s, u"C:/a"_s, u"a:b"_s, QString(),
                                    u"postgresql"_s, u"./sqlite:a"_s}) {
            QVERIFY2(!SourceLocation::isUrl(file), qPrintable(file));
            QCOMPARE(SourceLocation::fromText(file), SourceLocation::fromFile(file));
        }
        for (const QString &url : {u"sqlite:a"_s, u"postgresql:a"_s, u"POSTGRES://h"_s, u"other://h"_s})
            QVERIFY2(SourceLocation::isUrl(url), qPrintable(url));
    }

    void tellsCsvFilesByTheirEnding()
    {
        for (const QString &file : {u"a.csv"_s, u"/a b/c.CSV"_s, u"a.tsv"_s, u"a.tab"_s, u"a.txt"_s})
            QVERIFY2(SourceLocation::fromFile(file).isCsv(), qPrintable(file));
        for (const QString &file : {u"csv"_s, u"a.csv.sqlite"_s, u"a.csv?x"_s, QString()})
            QVERIFY2(!SourceLocation::fromText(file).isCsv(), qPrintable(file));
        SourceLocation expected = SourceLocation::fromFile(u"a%20?b.csv"_s);
        expected.separator = u";"_s;
        expected.header = u"no"_s;
        QCOMPARE(SourceLocation::fromText(u"a%20?b.csv?separator=%3B&header=no"_s), expected);
        QVERIFY(expected.isFile());
        QCOMPARE(expected.displayName(), u"a%20?b.csv"_s);
    }

    void writesAddressesWithoutThePassword()
    {
        QCOMPARE(SourceLocation::fromFile(u"/a b/я.sqlite"_s).toUrl(), u"sqlite:/a%20b/%D1%8F.sqlite"_s);
        QCOMPARE(SourceLocation::fromFile(u"//a"_s).toUrl(), u"sqlite:/%2Fa"_s);
        QCOMPARE(server(u"::1"_s, 5432, u"a/b"_s, u"u@x:y"_s, u"secret"_s).toUrl(),
                 u"postgresql://u%40x%3Ay@[::1]:5432/a%2Fb"_s);
        QCOMPARE(server({}).toUrl(), u"postgresql://"_s);
    }

    void showsNoPassword()
    {
        QCOMPARE(SourceLocation::fromFile(u"a b.sqlite"_s).displayName(), u"a b.sqlite"_s);
        QCOMPARE(server(u"h"_s, 5432, u"d"_s, u"u"_s, u"secret"_s).displayName(), u"u@h:5432/d"_s);
        QCOMPARE(server(u"::1"_s, -1, u"d"_s).displayName(), u"[::1]/d"_s);
    }

    void addressesGiveTheSameLocationAgain()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ (seed >> 32)));
        const QString alphabet = u"aZ09/:@[]?#%&=+ .~-_\\'\"<>{}|^`\u044F\u20AC"_s;
        const auto text = [&random, &alphabet] {
            QString result;
            for (int i = random.bounded(6); i > 0; --i)
                result += alphabet.at(random.bounded(int(alphabet.size())));
            return result;
        };
        for (int i = 0; i < 5000; ++i) {
            QString host = text();
            host.remove(u'[').remove(u']');
            SourceLocation location =
                random.bounded(2) == 0 ? SourceLocation::fromFile(u'f' + text())
                                       : server(host, random.bounded(2) == 0 ? -1 : random.bounded(1, 65536),
                                                text(), text(), text());
            if (!location.isFile() && random.bounded(2) == 0)
                location.driver = u"QMYSQL"_s;
            if (!location.isFile() && random.bounded(2) == 0) {
                location.tlsMode =
                    SourceLocation::tlsModes().at(random.bounded(int(SourceLocation::tlsModes().size())));
                location.rootCertificate = text();
            }
            if (location.isFile() && random.bounded(2) == 0) {
                location.driver = u"CSV"_s;
                location.separator = QStringList{{}, u","_s, u";"_s, u"\t"_s}.at(random.bounded(4));
                location.header = QStringList{{}, u"yes"_s, u"no"_s}.at(random.bounded(3));
                location.encoding = (SourceLocation::encodings() << QString()).at(random.bounded(5));
            }
            if (location.isFile() && random.bounded(2) == 0)
                location.file = u'/' + location.file.sliced(1);
            const QString url = location.toUrl();
            const QByteArray about = seedMessage(seed, url);

            const SourceLocation again = SourceLocation::fromUrl(url);

            location.password.clear();
            QVERIFY2(again == location, about.constData());
        }
    }
};

QTEST_GUILESS_MAIN(tst_SourceLocation)
#include "tst_sourcelocation.moc"
