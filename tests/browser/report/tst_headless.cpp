// SPDX-License-Identifier: MIT
#include <support/program.h>

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString connectionName = u"tst_headless"_s;

/// Rows shown and hidden, as the program says in English; -1 where it does not.
struct Counts
{
    qint64 shown = -1;
    qint64 hidden = -1;
};

Counts counts(const QString &output)
{
    static const QRegularExpression pattern(
        u"^Rows shown: (\\d+)\\nRows hidden: (\\d+)\\nTime of the pass: \\d+\\.\\d{3} ms$"_s,
        QRegularExpression::MultilineOption);
    const auto match = pattern.match(output);
    if (!match.hasMatch())
        return {};
    return {match.captured(1).toLongLong(), match.captured(2).toLongLong()};
}

/// The lines of a CSV file; an absent value is NULL.
QList<QStringList> readCsv(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(file.readAll());
    QList<QStringList> lines;
    QStringList line;
    qsizetype i = 0;
    while (i < text.size()) {
        QString field;
        if (text.at(i) == u'"') {
            for (++i; text.at(i) != u'"' || (i + 1 < text.size() && text.at(i + 1) == u'"'); ++i) {
                field += text.at(i);
                i += text.at(i) == u'"' ? 1 : 0;
            }
            ++i;
        } else {
            while (text.at(i) != u',' && text.at(i) != u'\r')
                field += text.at(i++);
            if (field.isEmpty())
                field = u"NULL"_s;
        }
        line.append(field);
        if (text.at(i) == u',') {
            ++i;
            continue;
        }
        if (!QStringView(text).sliced(i).startsWith(u"\r\n"_s))
            return {};
        i += 2;
        lines.append(line);
        line.clear();
    }
    return line.isEmpty() ? lines : QList<QStringList>();
}

} // namespace

class tst_Headless : public QObject
{
    Q_OBJECT
private:
    /// The answer of SQLite on the sample.
    qint64 ask(const QString &condition, const QString &table = u"quotes"_s) const
    {
        QSqlQuery query(QSqlDatabase::database(connectionName));
        if (!query.exec(u"SELECT count(*) FROM %1 WHERE %2"_s.arg(table, condition)) || !query.next())
            qWarning("%s", qPrintable(query.lastError().text()));
        return query.value(0).toLongLong();
    }
    QString makeDatabase(const QStringList &statements)
    {
        const QString name = m_directory.filePath(u"made%1.sqlite"_s.arg(++m_made));
        {
            auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"made"_s);
            database.setDatabaseName(name);
            if (database.open()) {
                QSqlQuery query(database);
                for (const QString &statement : statements) {
                    if (!query.exec(statement))
                        qWarning("%s", qPrintable(query.lastError().text()));
                }
            }
        }
        QSqlDatabase::removeDatabase(u"made"_s);
        return name;
    }

    QTemporaryDir m_directory;
    int m_made = 0;

private Q_SLOTS:
    void initTestCase()
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName);
        database.setDatabaseName(QStringLiteral(SITO_SAMPLE));
        database.setConnectOptions(u"QSQLITE_OPEN_READONLY"_s);
        QVERIFY(database.open());
    }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanupTestCase() { QSqlDatabase::removeDatabase(connectionName); }

    void sampleHasTheShapeOfRealData()
    {
        QVERIFY(QFileInfo(QStringLiteral(SITO_SAMPLE)).size() < 1000000);
        QVERIFY(ask(u"1"_s, u"securities"_s) >= 200);
        QVERIFY(ask(u"1"_s) >= 5000);
        QCOMPARE(ask(u"1"_s, u"sessions"_s), ask(u"1"_s));
        QVERIFY(ask(u"name GLOB '*[а-я]*'"_s, u"securities"_s) > 0);
        QVERIFY(ask(u"listed < '1970-01-01'"_s, u"securities"_s) > 0);
        QVERIFY(ask(u"listed IS NULL"_s, u"securities"_s) > 0);
        QVERIFY(ask(u"change < 0"_s) > 0);
        QVERIFY(ask(u"open IS NULL"_s) > 0);
        QVERIFY(ask(u"volume > 2147483647"_s) > 0);
    }

    void listsTables()
    {
        const ProgramRun run = runBrowser({u"--list"_s});

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output,
                 u"quotes: %1 rows\n"
                 "    stock_id  Int\n"
                 "    sess_id   Int\n"
                 "    open      Decimal(2), NULL\n"
                 "    high      Decimal(2), NULL\n"
                 "    low       Decimal(2), NULL\n"
                 "    close     Decimal(2)\n"
                 "    change    Decimal(2), NULL\n"
                 "    volume    Int64\n"
                 "securities: %2 rows\n"
                 "    stock_id  Int\n"
                 "    ticker    VarChar(12)\n"
                 "    name      String\n"
                 "    listed    DateTime, NULL\n"
                 "    nominal   Decimal(4), NULL\n"
                 "    note      VarChar(60), NULL\n"
                 "sessions: %1 rows\n"
                 "    stock_id    Int\n"
                 "    sess_id     Int\n"
                 "    trade_date  DateTime\n"_s.arg(QString::number(ask(u"1"_s)),
                                                    QString::number(ask(u"1"_s, u"securities"_s))));
    }

    void listsTablesThatCannotBeLoaded()
    {
        const QString file =
            makeDatabase({u"CREATE VIEW a AS SELECT * FROM gone"_s, u"CREATE TABLE b (id INTEGER)"_s,
                          u"CREATE VIEW c AS SELECT id FROM b"_s});

        const ProgramRun run = runBrowser({file, u"--list"_s});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, QString());
        QCOMPARE(run.output, u"Database '%1', table 'a': no such table: main.gone\n"
                             "b: 0 rows\n    id  Int, NULL\n"
                             "c: number of rows unknown\n    id  Int, NULL\n"_s.arg(file));
    }

    void countsRows_data()
    {
        QTest::addColumn<QStringList>("filters");
        QTest::addColumn<QString>("condition");
        QTest::newRow("no filter") << QStringList() << u"1"_s;
        QTest::newRow("one key") << QStringList{u"--exclude"_s, u"stock_id=1"_s} << u"stock_id <> 1"_s;
        QTest::newRow("value attached") << QStringList{u"--exclude=stock_id=1"_s} << u"stock_id <> 1"_s;
        QTest::newRow("several keys")
            << QStringList{u"--exclude"_s, u"stock_id=1|7|7|100000"_s} << u"stock_id NOT IN (1, 7)"_s;
        QTest::newRow("two columns")
            << QStringList{u"--exclude"_s, u"stock_id,sess_id=12,3|15,1"_s}
            << u"NOT (stock_id = 12 AND sess_id = 3 OR stock_id = 15 AND sess_id = 1)"_s;
        QTest::newRow("columns in another order") << QStringList{u"--exclude"_s, u"sess_id,stock_id=3,12"_s}
                                                  << u"NOT (stock_id = 12 AND sess_id = 3)"_s;
        QTest::newRow("exclusions add up") << QStringList{u"--exclude"_s, u"stock_id=1"_s, u"--exclude"_s,
                                                          u"sess_id=1"_s, u"--exclude"_s,  u"stock_id=2"_s}
                                           << u"stock_id NOT IN (1, 2) AND sess_id <> 1"_s;
        QTest::newRow("keep") << QStringList{u"--keep"_s, u"stock_id=1|2"_s} << u"stock_id IN (1, 2)"_s;
        QTest::newRow("keeps over the same columns add up")
            << QStringList{u"--keep"_s, u"stock_id=1"_s, u"--keep"_s, u"stock_id=2"_s}
            << u"stock_id IN (1, 2)"_s;
        QTest::newRow("keeps over different columns must all match")
            << QStringList{u"--keep"_s, u"stock_id=1|2"_s, u"--keep"_s, u"sess_id=3|4"_s}
            << u"stock_id IN (1, 2) AND sess_id IN (3, 4)"_s;
        QTest::newRow("hidden stays hidden")
            << QStringList{u"--keep"_s, u"stock_id=1|2"_s, u"--exclude"_s, u"sess_id=3|4"_s}
            << u"stock_id IN (1, 2) AND sess_id NOT IN (3, 4)"_s;
        QTest::newRow("absent decimal") << QStringList{u"--keep"_s, u"open=|"_s} << u"open IS NULL"_s;
        QTest::newRow("decimal in another scale")
            << QStringList{u"--keep"_s, u"change=-1.490|0|1"_s} << u"change IN (-1.49, 0, 1)"_s;
        QTest::newRow("64 bits") << QStringList{u"--exclude"_s, u"volume=2150000000"_s}
                                 << u"volume <> 2150000000"_s;
        QTest::newRow("last sessions")
            << QStringList{u"--session-filter"_s, u"stock_id,sess_id"_s}
            << u"sess_id <> (SELECT max(sess_id) FROM sessions s WHERE s.stock_id = quotes.stock_id)"_s;
        QTest::newRow("last sessions and keys")
            << QStringList{u"--session-filter"_s, u"stock_id,sess_id"_s, u"--keep"_s, u"sess_id=30"_s}
            << u"sess_id = 30 AND sess_id <> (SELECT max(sess_id) FROM sessions s WHERE s.stock_id = quotes.stock_id)"_s;
    }
    void countsRows()
    {
        QFETCH(QStringList, filters);
        QFETCH(QString, condition);

        const ProgramRun run = runBrowser(QStringList{u"--table"_s, u"quotes"_s, u"--count"_s} + filters);

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        const Counts result = counts(run.output);
        QCOMPARE(result.shown, ask(condition));
        QCOMPARE(result.hidden, ask(u"1"_s) - ask(condition));
        QCOMPARE(run.output.count(u'\n'), 3);
    }

    void findsTextsAndDates_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("condition");
        QTest::newRow("Cyrillic") << u"name=АО «Ветреный Колос»"_s << u"name = 'АО «Ветреный Колос»'"_s;
        QTest::newRow("date") << u"listed=1996-04-09|1933.10.03"_s
                              << u"listed IN ('1996-04-09', '1933-10-03')"_s;
        QTest::newRow("absent text") << u"note=␀"_s << u"note IS NULL"_s;
        QTest::newRow("empty text") << u"note=|"_s << u"note = ''"_s;
        QTest::newRow("absent date") << u"listed=␀"_s << u"listed IS NULL"_s;
        QTest::newRow("equals sign in a key") << u"note=a=b"_s << u"note = 'a=b'"_s;
    }
    void findsTextsAndDates()
    {
        QFETCH(QString, filter);
        QFETCH(QString, condition);

        const ProgramRun run = runBrowser({u"--table"_s, u"securities"_s, u"--keep"_s, filter});

        QCOMPARE(run.errors, QString());
        QCOMPARE(counts(run.output).shown, ask(condition, u"securities"_s));
    }

    void agreesWithSqliteOnRandomFilters()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        const QList<QStringList> columnLists{{u"stock_id"_s},
                                             {u"sess_id"_s},
                                             {u"stock_id"_s, u"sess_id"_s},
                                             {u"sess_id"_s, u"stock_id"_s},
                                             {u"close"_s}};
        for (int round = 0; round < 40; ++round) {
            QStringList arguments{u"--table"_s, u"quotes"_s};
            QStringList hidden{u"0"_s};
            QHash<QString, QStringList> kept;
            const int options = random.bounded(1, 5);
            for (int option = 0; option < options; ++option) {
                const QStringList columns = columnLists.at(random.bounded(int(columnLists.size())));
                QStringList keys;
                QStringList matches;
                const int keyCount = random.bounded(1, 30);
                for (int key = 0; key < keyCount; ++key) {
                    QStringList values;
                    QStringList conditions;
                    for (const QString &column : columns) {
                        values.append(column == "stock_id"_L1 ? QString::number(random.bounded(250))
                                      : column == "sess_id"_L1
                                          ? QString::number(random.bounded(35))
                                          : u"%1.%2"_s.arg(random.bounded(200))
                                                .arg(random.bounded(100), 2, 10, QChar(u'0')));
                        conditions.append(column + u" = "_s + values.constLast());
                    }
                    keys.append(values.join(u','));
                    matches.append(u'(' + conditions.join(u" AND "_s) + u')');
                }
                const bool keep = random.bounded(3) == 0;
                arguments << (keep ? u"--keep"_s : u"--exclude"_s)
                          << columns.join(u',') + u'=' + keys.join(u'|');
                if (keep)
                    kept[columns.join(u',')] += matches;
                else
                    hidden += matches;
            }
            QString condition = u"NOT (%1)"_s.arg(hidden.join(u" OR "_s));
            for (const QStringList &matches : std::as_const(kept))
                condition += u" AND (%1)"_s.arg(matches.join(u" OR "_s));

            const Counts result = counts(runBrowser(arguments).output);

            const qint64 expected = ask(condition);
            QVERIFY2(result.shown == expected && result.hidden == ask(u"1"_s) - expected,
                     qPrintable(u"seed %1: %2: %3, not %4"_s.arg(QString::number(seed), arguments.join(u' '),
                                                                 QString::number(result.shown),
                                                                 QString::number(expected))));
        }
    }

    void showsTheFirstRows()
    {
        const QString file = makeDatabase(
            {u"CREATE TABLE t (id INTEGER NOT NULL, name TEXT, price DECIMAL(6,2), day DATE)"_s,
             u"INSERT INTO t VALUES (1, 'Ясный' || char(10) || char(27) || '[31m', -1.5, '1969-12-31'), "
             "(10, NULL, NULL, NULL), (2, 'hidden', 1, NULL), "
             "(3, 'abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz', 1234.56, ''), (4, 'last', 0, NULL)"_s});

        const ProgramRun run =
            runBrowser({file, u"--table"_s, u"t"_s, u"--exclude"_s, u"id=2"_s, u"--head"_s, u"3"_s});

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.output.section(u"Time"_s, 0, 0),
                 u"id  name                                        price  day\n"
                 " 1  Ясный\uFFFD\uFFFD[31m                                 -1.50  1969-12-31\n"
                 "10  NULL                                         NULL  NULL\n"
                 " 3  abcdefghijklmnopqrstuvwxyzabcdefghijklm…  1234.56\n"
                 "\n"
                 "Rows shown: 4\n"
                 "Rows hidden: 1\n"_s);
    }

    void showsNoRowsWhereNoneAreWanted()
    {
        const ProgramRun run = runBrowser({u"--table"_s, u"quotes"_s, u"--head"_s, u"0"_s});

        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.output.startsWith(
            u"stock_id  sess_id  open  high  low  close  change  volume\n\nRows shown: "_s));
    }

    void exportsToTheStandardOutput()
    {
        const QString file = makeDatabase(
            {u"CREATE TABLE t (a INTEGER, b TEXT)"_s, u"INSERT INTO t VALUES (1, 'x,y'), (2, NULL)"_s});

        const ProgramRun run =
            runBrowser({file, u"--table"_s, u"t"_s, u"--exclude"_s, u"a=3"_s, u"--export"_s, u"-"_s});

        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, u"a,b\r\n1,\"x,y\"\r\n2,\r\n"_s);
        QVERIFY2(run.errors.startsWith(u"Rows shown: 2\nRows hidden: 0\n"_s), qPrintable(run.errors));
    }

    void exportsWholeBytes()
    {
        const QString file =
            makeDatabase({u"CREATE TABLE t (a INTEGER PRIMARY KEY, b BLOB)"_s,
                          u"INSERT INTO t VALUES (1, zeroblob(40)), (2, NULL), (3, x''), (4, 'word')"_s,
                          u"CREATE TABLE plain (b BLOB)"_s, u"INSERT INTO plain VALUES (zeroblob(40))"_s});
        const auto exported = [&](const QString &table, const QStringList &more) {
            return runBrowser(QStringList{file, u"--table"_s, table, u"--export"_s, u"-"_s} + more);
        };

        const ProgramRun run = exported(u"t"_s, {u"--bytes"_s});

        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.output, u"a,b\r\n1,"_s + QString(80, u'0') + u"\r\n2,\r\n3,\"\"\r\n4,word\r\n"_s);
        QVERIFY2(exported(u"t"_s, {}).output.startsWith(u"a,b\r\n1,40 bytes: 00 00 "_s),
                 qPrintable(exported(u"t"_s, {}).output));
        const ProgramRun refused = exported(u"plain"_s, {u"--bytes"_s});
        QCOMPARE(refused.exitCode, 2);
        QCOMPARE(refused.output, QString());
        QCOMPARE(refused.errors,
                 u"sito-browser: The table 'plain' has no primary key by which the row could be "
                 "found to read the whole value\n"_s);
    }

    void exportsWhatIsShown()
    {
        const QString file = m_directory.filePath(u"quotes.csv"_s);

        const ProgramRun run =
            runBrowser({u"--table"_s, u"quotes"_s, u"--exclude"_s, u"sess_id=1|2|3"_s, u"--export"_s, file});

        QCOMPARE(run.errors, QString());
        QCOMPARE(run.exitCode, 0);
        const QList<QStringList> lines = readCsv(file);
        QCOMPARE(lines.size(), counts(run.output).shown + 1);
        QCOMPARE(lines.first().join(u','), u"stock_id,sess_id,open,high,low,close,change,volume"_s);
        QSqlQuery query(QSqlDatabase::database(connectionName));
        QVERIFY(query.exec(u"SELECT stock_id, sess_id, open, high, low, close, change, volume FROM quotes "
                           "WHERE sess_id NOT IN (1, 2, 3)"_s));
        qsizetype line = 1;
        while (query.next()) {
            QStringList expected;
            for (int column = 0; column < 8; ++column) {
                const QVariant value = query.value(column);
                const bool isPrice = column >= 2 && column <= 6;
                expected.append(value.isNull() ? u"NULL"_s
                                : isPrice      ? QString::number(value.toDouble(), 'f', 2)
                                               : value.toString());
            }
            QCOMPARE(lines.value(line++), expected);
        }
        QCOMPARE(line, lines.size());
    }

    void quotesExportedFields()
    {
        const QString database = makeDatabase(
            {u"CREATE TABLE t (\"a,b\" TEXT, c TIMESTAMP)"_s,
             u"INSERT INTO t VALUES ('plain', '1969-12-31 23:59:59'), ('a,b', NULL), ('say \"no\"', ''), "
             u"('', NULL), "
             "('two' || char(13) || char(10) || 'lines', NULL), (' edge', NULL), ('Ясно', NULL), (NULL, NULL)"_s});
        const QString file = m_directory.filePath(u"quoted.csv"_s);

        const ProgramRun run = runBrowser({database, u"--table"_s, u"t"_s, u"--export"_s, file});

        QCOMPARE(run.exitCode, 0);
        QFile written(file);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QCOMPARE(
            QString::fromUtf8(written.readAll()),
            u"\"a,b\",c\r\nplain,1969.12.31 23:59:59.000\r\n\"a,b\",\r\n\"say \"\"no\"\"\",\"\"\r\n\"\",\r\n"
            "\"two\r\nlines\",\r\n\" edge\",\r\nЯсно,\r\n,\r\n"_s);
    }

    void exportsTheSameInEveryTimeZone()
    {
        // In Berlin that night has no 02:30.
        const QString database = makeDatabase(
            {u"CREATE TABLE t (c TIMESTAMP)"_s, u"INSERT INTO t VALUES ('2024-03-31 02:30:00')"_s});
        qputenv("TZ", "Europe/Berlin");

        const ProgramRun run = runBrowser({database, u"--table"_s, u"t"_s, u"--head"_s, u"1"_s});

        qunsetenv("TZ");
        QVERIFY2(run.output.startsWith(u"c\n2024.03.31 02:30:00.000\n"_s), qPrintable(run.output));
    }

    void saysWhichDecimalsNeedMoreDigitsThanDeclared()
    {
        const QString database = makeDatabase({u"CREATE TABLE t (a DECIMAL(5,2) NOT NULL, b DECIMAL(5,2))"_s,
                                               u"INSERT INTO t VALUES (1.5, 1), (0.5999, 2)"_s});

        const ProgramRun run =
            runBrowser({database, u"--table"_s, u"t"_s, u"--keep"_s, u"a=0.5999"_s, u"--head"_s, u"9"_s});

        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.startsWith(u"     a     b\n0.5999  2.00\n\nRows shown: 1\n"_s),
                 qPrintable(run.output));
        QVERIFY2(run.output.endsWith(
                     u" ms\nColumn 'a' is wider than declared ('DECIMAL(5,2)'): value 0.5999 in row 2\n"_s),
                 qPrintable(run.output));
    }

    void refusesInOneLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QStringList &arguments, const char *message) {
            QTest::newRow(name) << arguments << QString::fromUtf8(message);
        };
        const QStringList quotes{u"--table"_s, u"quotes"_s};
        row("nothing", {}, "nothing to do: give --list, --table NAME or --help");
        row("unknown option", {u"--frobnicate"_s}, "unknown option --frobnicate");
        row("unknown short option", {u"-x"_s}, "unknown option -x");
        row("two databases", {u"a"_s, u"b"_s, u"--list"_s}, "surplus argument 'b'");
        row("empty name of a database", {u""_s, u"--list"_s}, "the name of the database is empty");
        row("value of an option without one", {u"--list=x"_s}, "option --list takes no value");
        row("no value", {u"--table"_s}, "a value is missing after --table");
        row("table twice", quotes + quotes, "option --table is given twice");
        row("list and table", quotes + QStringList{u"--list"_s},
            "options --list and --table exclude each other");
        row("list and filter", {u"--list"_s, u"--keep"_s, u"a=1"_s}, "filters need --table");
        row("count and head", quotes + QStringList{u"--count"_s, u"--head"_s, u"1"_s},
            "options --count and --head exclude each other");
        row("count without table", {u"--count"_s}, "no table is given (--table)");
        row("filter without table", {u"--exclude"_s, u"a=1"_s}, "no table is given (--table)");
        row("negative number of rows", quotes + QStringList{u"--head"_s, u"-1"_s},
            "option --head takes a number of rows, not '-1'");
        row("no number of rows", quotes + QStringList{u"--head"_s, u"x"_s},
            "option --head takes a number of rows, not 'x'");
        row("bytes without export", quotes + QStringList{u"--bytes"_s}, "option --bytes needs --export");
        row("export without name", quotes + QStringList{u"--export="_s},
            "option --export takes the name of a file");
        row("filter without keys", quotes + QStringList{u"--exclude"_s, u"stock_id"_s},
            "option --exclude takes COLUMNS=KEYS, not 'stock_id'");
        row("filter without columns", quotes + QStringList{u"--keep"_s, u"=1"_s},
            "option --keep takes COLUMNS=KEYS, not '=1'");
        row("no key", quotes + QStringList{u"--keep"_s, u"stock_id="_s},
            "option --keep: 'stock_id=' gives no key (the empty value of one column is written '|')");
        row("unknown table", {u"--table"_s, u"Quotes"_s}, "The database has no table 'Quotes'");
        row("unknown column", quotes + QStringList{u"--exclude"_s, u"stock_id,nope=1,2"_s},
            "Table 'quotes' has no column 'nope'");
        row("key of too many values", quotes + QStringList{u"--exclude"_s, u"stock_id=1,2"_s},
            "Key '1,2': the number of values (2) is not the number of columns (1)");
        row("key of too few values", quotes + QStringList{u"--exclude"_s, u"stock_id,sess_id=1,2|3"_s},
            "Key '3': the number of values (1) is not the number of columns (2)");
        row("no number", quotes + QStringList{u"--exclude"_s, u"stock_id=abc"_s},
            "Key 'abc': 'abc' cannot be a value of column 'stock_id' of type Int");
        row("one bad key of several", quotes + QStringList{u"--exclude"_s, u"stock_id=1|2|3000000000"_s},
            "Key '3000000000': '3000000000' cannot be a value of column 'stock_id' of type Int");
        row("absent value where required", quotes + QStringList{u"--exclude"_s, u"stock_id=1|"_s},
            "Key '': column 'stock_id' admits no absent values");
        row("control characters", quotes + QStringList{u"--exclude"_s, u"stock_id=\033[31m\n"_s},
            "Key '\uFFFD[31m ': '\uFFFD[31m ' cannot be a value of column 'stock_id' of type Int");
        row("decimal out of range", quotes + QStringList{u"--exclude"_s, u"close=99999999999999999"_s},
            "Key '99999999999999999': '99999999999999999' cannot be a value of column 'close' of type "
            "Decimal");
        row("session filter of one column", quotes + QStringList{u"--session-filter"_s, u"stock_id"_s},
            "option --session-filter takes two columns with a comma between them, not 'stock_id'");
        row("session filter of unknown columns", quotes + QStringList{u"--session-filter"_s, u"stock_id,x"_s},
            "Table 'quotes' has no column 'x'");
        row("column twice", quotes + QStringList{u"--exclude"_s, u"stock_id,stock_id=1,2"_s},
            "Column 'stock_id' is named twice");
        row("missing file", {u"/nonexistent/a.sqlite"_s, u"--list"_s},
            "There is no file '/nonexistent/a.sqlite'");
        row("directory", {u"/"_s, u"--list"_s}, "'/' is a directory, not a database");
        row("foreign file", {QStringLiteral(SITO_BROWSER), u"--list"_s},
            "'" SITO_BROWSER "' is not an SQLite database");
        row("export to a directory", quotes + QStringList{u"--export"_s, u"/"_s},
            "'/' is not a regular file");
        row("export to nowhere", quotes + QStringList{u"--export"_s, u"/nonexistent/a.csv"_s}, nullptr);
    }
    void refusesInOneLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);

        const ProgramRun run = runBrowser(arguments);

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.output, QString());
        if (message.isEmpty())
            QVERIFY2(QRegularExpression(u"^sito-browser: Cannot write '/.*': .+\\n$"_s)
                         .match(run.errors)
                         .hasMatch(),
                     qPrintable(run.errors));
        else
            QCOMPARE(run.errors, u"sito-browser: %1\n"_s.arg(message));
    }

    void refusesDamagedDatabases()
    {
        const QString name = m_directory.filePath(u"damaged.sqlite"_s);
        QVERIFY(QFile::copy(QStringLiteral(SITO_SAMPLE), name));
        QVERIFY(QFile::setPermissions(name, QFile::ReadOwner | QFile::WriteOwner));
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.resize(file.size() / 2));
        file.close();

        const ProgramRun run = runBrowser({name, u"--table"_s, u"quotes"_s});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, u"sito-browser: Database '%1': database disk image is malformed\n"_s.arg(name));
    }

    void showsValuesThatDoNotFit()
    {
        const QString name =
            makeDatabase({u"CREATE TABLE t (id INTEGER)"_s, u"INSERT INTO t VALUES (1), ('two')"_s});

        const ProgramRun run = runBrowser({name, u"--table"_s, u"t"_s, u"--head"_s, u"2"_s});

        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.startsWith(u"id\n1\ntwo\n\nRows shown: 2\n"_s), qPrintable(run.output));
        QVERIFY2(
            run.output.endsWith(u" ms\nColumn 'id' ('INTEGER') is shown as text: value 'two' in row 2\n"_s),
            qPrintable(run.output));
    }

    void refusesASessionFilterWithoutSessions()
    {
        const QString none = makeDatabase({u"CREATE TABLE t (a INTEGER, b INTEGER)"_s});
        const QString noColumn = makeDatabase(
            {u"CREATE TABLE t (a INTEGER, b INTEGER)"_s, u"CREATE TABLE sessions (stock_id INTEGER)"_s});
        const QStringList rest{u"--table"_s, u"t"_s, u"--session-filter"_s, u"a,b"_s};

        const ProgramRun first = runBrowser(QStringList(none) + rest);
        const ProgramRun second = runBrowser(QStringList(noColumn) + rest);

        QCOMPARE(first.exitCode, 2);
        QCOMPARE(first.errors, u"sito-browser: The database has no table 'sessions'\n"_s);
        QCOMPARE(second.exitCode, 2);
        QVERIFY2(second.errors.contains(u"sess_id"_s) && second.errors.count(u'\n') == 1,
                 qPrintable(second.errors));
    }

    void opensWhatItExported()
    {
        const auto written = [this](const QStringList &source, const QString &file) {
            const QString name = m_directory.filePath(file);
            const ProgramRun run = runBrowser(source + QStringList{u"--export"_s, name});
            QFile result(name);
            return run.exitCode == 0 && result.open(QIODevice::ReadOnly) ? result.readAll() : QByteArray();
        };
        const QByteArray first = written({u"--table"_s, u"quotes"_s}, u"a.csv"_s);
        QVERIFY(!first.isEmpty());

        const QByteArray again =
            written({m_directory.filePath(u"a.csv"_s), u"--table"_s, u"a"_s}, u"b.csv"_s);

        QVERIFY(again == first);
        const ProgramRun list = runBrowser({m_directory.filePath(u"a.csv?header=no"_s), u"--list"_s});
        QVERIFY2(list.output.startsWith(u"a: %1 rows\n    c1 "_s.arg(first.count('\n'))),
                 qPrintable(list.output));
    }

    void doesNotExportOverItsDatabase()
    {
        const QString name = makeDatabase({u"CREATE TABLE t (a INTEGER)"_s});
        const qint64 size = QFileInfo(name).size();

        const ProgramRun run = runBrowser({name, u"--table"_s, u"t"_s, u"--export"_s, name});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, u"sito-browser: '%1' is the database itself\n"_s.arg(name));
        QCOMPARE(QFileInfo(name).size(), size);
    }

    void doesNotExportOverAPipe()
    {
        const QTemporaryDir directory;
        const QString name = directory.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(name).constData(), 0600), 0);

        const ProgramRun run = runBrowser({u"--table"_s, u"quotes"_s, u"--export"_s, name});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.errors, u"sito-browser: '%1' is not a regular file\n"_s.arg(name));
        QVERIFY(!QFileInfo(name).isFile());
    }

    void reportsOutputThatCannotBeWritten_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("a list") << QStringList{u"--list"_s};
        QTest::newRow("an export") << QStringList{u"--table"_s, u"quotes"_s, u"--export"_s, u"-"_s};
        QTest::newRow("a short export")
            << QStringList{u"--table"_s, u"quotes"_s, u"--keep"_s, u"stock_id=1"_s, u"--export"_s, u"-"_s};
    }
    void reportsOutputThatCannotBeWritten()
    {
        if (!QFileInfo::exists(u"/dev/full"_s))
            QSKIP("no device that is always full");
        QFETCH(const QStringList, arguments);
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LC_ALL"_s, u"C"_s);
        process.setProcessEnvironment(environment);
        process.setStandardOutputFile(u"/dev/full"_s);
        process.start(QStringLiteral(SITO_BROWSER), arguments);

        QVERIFY(process.waitForFinished());

        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(QString::fromUtf8(process.readAllStandardError()),
                 u"sito-browser: Cannot write the output: No space left on device\n"_s);
    }

    void takesOddFileNames()
    {
        const QString name = m_directory.filePath(u"-имя с ;пробелом %1?mode=memory.sqlite"_s);
        QVERIFY(QFile::rename(makeDatabase({u"CREATE TABLE t (a INTEGER)"_s}), name));

        QCOMPARE(runBrowser({name, u"--list"_s}).output, u"t: 0 rows\n    a  Int, NULL\n"_s);
        QCOMPARE(runBrowser({u"--list"_s, u"--"_s, u"--x"_s}).errors,
                 u"sito-browser: There is no file '--x'\n"_s);
    }

    void speaksTheLanguageOfTheLocale_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<bool>("russian");
        QTest::newRow("C") << u"C"_s << false;
        QTest::newRow("POSIX") << u"POSIX"_s << false;
        QTest::newRow("C.UTF-8") << u"C.UTF-8"_s << false;
        QTest::newRow("English") << u"en_GB.UTF-8"_s << false;
        QTest::newRow("German") << u"de_DE.UTF-8"_s << false;
        QTest::newRow("Russian") << u"ru_RU.UTF-8"_s << true;
        QTest::newRow("Russian in another encoding") << u"ru_RU.KOI8-R"_s << true;
        QTest::newRow("Russian alone") << u"ru"_s << true;
    }
    void speaksTheLanguageOfTheLocale()
    {
        QFETCH(QString, locale);
        QFETCH(bool, russian);
        static const QRegularExpression cyrillic(u"[А-Яа-я]"_s);

        const ProgramRun help = runBrowser({u"--help"_s}, locale);
        const ProgramRun shortHelp = runBrowser({u"-h"_s}, locale);
        const ProgramRun count = runBrowser({u"--table"_s, u"quotes"_s}, locale);
        const ProgramRun error = runBrowser({u"--table"_s, u"quotes"_s, u"--keep"_s, u"x=1"_s}, locale);

        QCOMPARE(help.exitCode, 0);
        QCOMPARE(help.errors, QString());
        QCOMPARE(help.output.contains(cyrillic), russian);
        QVERIFY(
            help.output.startsWith(russian ? u"ИМЯ\n    sito-browser - "_s : u"NAME\n    sito-browser - "_s));
        for (const char *option :
             {"--list", "--table", "--exclude", "--keep", "--session-filter", "--count", "--head", "--export",
              "--bytes", "--settings", "--set ", "--remove", "--strategy", "--version"})
            QVERIFY2(help.output.contains(QString::fromLatin1(option)), option);
        QCOMPARE(shortHelp.exitCode, 0);
        QCOMPARE(shortHelp.output.contains(cyrillic), russian);
        QCOMPARE(count.errors, QString());
        QVERIFY(count.output.startsWith(russian ? u"Показано строк: "_s : u"Rows shown: "_s));
        QCOMPARE(error.errors, russian ? u"sito-browser: В таблице «quotes» нет столбца «x»\n"_s
                                       : u"sito-browser: Table 'quotes' has no column 'x'\n"_s);
    }

    void tellsItsVersion()
    {
        const ProgramRun run = runBrowser({u"--version"_s});

        QCOMPARE(run.exitCode, 0);
        QVERIFY(QRegularExpression(u"^sito-browser \\d+\\.\\d+\\.\\d+\\n$"_s).match(run.output).hasMatch());
    }
};

QTEST_GUILESS_MAIN(tst_Headless)
#include "tst_headless.moc"
