// SPDX-License-Identifier: MIT
#include <sources/sourcedatabase.h>
#include <sources/tableloader.h>

#include <hostkit/parallel/stopsource.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/fetchedbytes.h>
#include <support/foundtables.h>
#include <support/loadedtables.h>
#include <support/mariadbserver.h>
#include <support/sourcereader.h>

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

QByteArray backquoted(const QString &name)
{
    return '`' + QString(name).replace(u'`', u"``"_s).toUtf8() + '`';
}

/// What the client prints for a value, undone.
QString unescaped(const QByteArray &field)
{
    QByteArray result;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] != '\\') {
            result += field[i];
            continue;
        }
        const char next = field[++i];
        result += next == 'n' ? '\n' : next == 't' ? '\t' : next == '0' ? '\0' : next;
    }
    // A decoder would take the character at the start for a mark of the encoding.
    return QString::fromUtf8(result.prepend('=')).sliced(1);
}

} // namespace

/// Against a real server, which has another time zone and another idea of quotation marks.
class tst_MariaDb : public QObject
{
    Q_OBJECT
private:
    void execute(const QByteArray &script) const
    {
        const QString error = m_server.execute("USE test; " + script);
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }
    /// The texts in \a table that are not those that the server's client prints, as "table.column: text".
    QStringList differences(const MemoryTable &table) const
    {
        QByteArrayList values;
        for (int i = 0; i < table.columnCount(); ++i) {
            const QByteArray name = backquoted(table.columnName(i));
            const bool isBytes = table.name() == "bytes"_L1 || table.name() == "places"_L1;
            values.append(isBytes ? "CONCAT(LENGTH(" + name + "), ':', HEX(SUBSTRING(" + name + ", 1, 16)))"
                          : table.name() == "bits"_L1 ? name + " + 0"
                                                      : name);
        }
        QByteArray output;
        const QString error =
            m_server.ask("USE test; SET time_zone = '+00:00'; SELECT " + values.join(", ") + " FROM " +
                             backquoted(table.name()) + (table.name() == "large"_L1 ? " ORDER BY n" : ""),
                         output);
        if (!error.isEmpty())
            return {error};
        QByteArrayList lines = output.split('\n');
        lines.removeLast();
        if (lines.size() != table.rowCount())
            return {u"%1: %2 rows"_s.arg(table.name()).arg(table.rowCount())};
        QStringList result;
        for (qint64 row = 0; row < table.rowCount(); ++row) {
            const QByteArrayList fields = lines.at(row).split('\t');
            for (int i = 0; i < table.columnCount(); ++i) {
                QString expected = unescaped(fields.at(i));
                if (values.at(i).startsWith("CONCAT") && expected != "NULL"_L1)
                    expected =
                        foundtables::bytesText(expected.section(u':', 0, 0).toInt(),
                                               QByteArray::fromHex(expected.section(u':', 1).toLatin1()));
                const QString text = cellText(table, row, i);
                if (text != expected)
                    result.append(u"%1.%2: %3"_s.arg(table.name(), table.columnName(i), text));
            }
        }
        return result;
    }

    MariadbServer m_server;

private Q_SLOTS:
    void initTestCase()
    {
        SITO_START_MARIADB(m_server);
        QFile script(QFINDTESTDATA("foundtables-mariadb.sql"));
        QVERIFY(script.open(QIODevice::ReadOnly));
        execute(script.readAll());
    }
    void init() { failOnAnyWarning(); }

    void everyCellIsShown()
    {
        // Numbers and date-times have one form.
        const QStringList expected{
            u"numbers.d: 1e+300"_s,
            u"times.t: 2017.01.31 14:30:00.000"_s,
            u"times.f: 2017.01.31 14:30:00.125"_s,
            u"times.s: 2017.01.31 17:30:00.000"_s,
        };
        const TableLoader loader(m_server.location());
        const QStringList names = loader.tableNames();
        QCOMPARE(names.size(), 19);
        QStringList found;
        for (const QString &name : names) {
            QString failure = exceptionMessage([&] { found += differences(*loader.load(name)); });
            if (!failure.isEmpty())
                found.append(failure);
        }

        for (qsizetype i = 0; i < std::min(found.size(), expected.size()); ++i)
            QCOMPARE(found.at(i), expected.at(i));
        QCOMPARE(found.mid(expected.size()), expected.mid(found.size()));
    }

    void typesHoldAllValues_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("columns");
        const auto row = [](const char *table, const char *columns) {
            QTest::newRow(table) << QString::fromLatin1(table) << QString::fromUtf8(columns);
        };
        row("integers", "t Int(0)?, tu Int64(0)?, b Int(0)?, s Int(0)?, m Int(0)?, i Int(0)?, iu Int64(0)?, "
                        "l Int64(0)?, k Int64(0)");
        row("large_unsigned", "n String(0)?");
        row("numbers", "f Double(0)?, d Double(0)?, p Decimal(2)?, q String(0)?, u Decimal(1)?");
        row("bits", "b Int64(0)?, c Int64(0)?");
        row("times",
            "d VarChar(10)?, t DateTime(0)?, f DateTime(0)?, s DateTime(0)?, c String(0)?, y Int(0)?");
        row("zero_dates", "d VarChar(10)?, t String(0)?, s String(0)?");
        row("microseconds", "t String(0)?");
        row("texts",
            "c VarChar(5)?, v VarChar(10)?, l VarChar(10)?, u VarChar(10)?, t String(0)?, m String(0)?, "
            "j String(0)?, e VarChar(4)?, s VarChar(3)?");
        row("bytes", "b String(0)?, v String(0)?, t String(0)?, %2 String(0)?");
        row("hidden", "a Int(0)?, b Int(0)?, c Int(0)?");
        row("a_view", "i Int(0)?, t VarChar(12)?, q Decimal(4)?");
    }
    void typesHoldAllValues()
    {
        QFETCH(QString, table);
        QFETCH(QString, columns);
        const auto loaded = TableLoader(m_server.location()).load(table);

        QStringList types;
        for (int column = 0; column < loaded->columnCount(); ++column)
            types.append(typeText(loaded->columnSpec(column)));
        QCOMPARE(types.join(u", "_s), columns);
    }

    void theSessionOnlyReads()
    {
        const SourceDatabase database(m_server.location());
        QSqlQuery query(database.connection());

        QVERIFY(!query.exec(u"INSERT INTO integers (k) VALUES (7)"_s));
        QVERIFY2(query.lastError().text().contains("READ ONLY"_L1), qPrintable(query.lastError().text()));
        QVERIFY(!query.exec(u"CREATE TABLE t (a INT)"_s));
    }

    void severalTablesAreOfOneMoment()
    {
        TableLoader loader(m_server.location());
        bool isWritten = false;
        loader.setProgress([this, &isWritten](const TableLoader::Progress &) {
            if (!std::exchange(isWritten, true))
                execute("INSERT INTO empty VALUES (1)");
            return true;
        });

        const auto tables = loader.loadAll({u"integers"_s, u"empty"_s});

        QCOMPARE(tables->at(1)->rowCount(), 0);
        QCOMPARE(loader.load(u"empty"_s)->rowCount(), 1);
        execute("DELETE FROM empty");
    }

    void tablesWithAKeyAreReadInPortions()
    {
        execute("CREATE TABLE large (n BIGINT UNSIGNED PRIMARY KEY, t VARCHAR(10));"
                "INSERT INTO large SELECT 18446744073709551615 - 7 * seq, seq FROM seq_1_to_65536;"
                "INSERT INTO large VALUES (0, 'x')");
        TableLoader loader(m_server.location());

        const auto table = loader.load(u"large"_s);

        QCOMPARE(table->rowCount(), 65537);
        QCOMPARE(differences(*table), QStringList());
        loader.setProgress([](const TableLoader::Progress &state) { return state.rowsRead < 40000; }, 1000);
        QVERIFY(!loader.load(u"large"_s));
        loader.setProgress({});
        QCOMPARE(texts(*loader.load(u"Case"_s)), QStringList(u"1"_s));
        execute("DROP TABLE large");
    }

    void countsTablesAfterItHasOpened()
    {
        execute("CREATE DATABASE counted; USE counted; "
                "CREATE TABLE many (id bigint unsigned PRIMARY KEY); "
                "INSERT INTO many SELECT seq + 18446744073709500000 FROM seq_1_to_40000; "
                "CREATE TABLE keyless (c int) ENGINE = MyISAM; INSERT INTO keyless VALUES (1), (1), (2); "
                "CREATE TABLE pairs (a int, b int, PRIMARY KEY (a, b)); INSERT INTO pairs VALUES (1, 2); "
                "CREATE VIEW v AS SELECT * FROM pairs");
        const auto removed = qScopeGuard([this] { execute("DROP DATABASE counted"); });
        SourceReader reader;

        QVERIFY(reader.read(m_server.location(u"counted"_s)));

        QVERIFY2(QRegularExpression(u"^keyless ≈3,many ≈[0-9]+,pairs( ≈1)?,v$"_s)
                     .match(reader.recorder.countsAtOpening)
                     .hasMatch(),
                 qPrintable(reader.recorder.countsAtOpening));
        QTRY_COMPARE(reader.recorder.counts, (QStringList{u"keyless 3"_s, u"many 40000"_s, u"pairs 1"_s}));
        QVERIFY(reader.recorder.isConsistent);
    }
    void aCountThatWaitsForALockKeepsNobodyWaiting()
    {
        execute("CREATE DATABASE counted; USE counted; CREATE TABLE a (c int PRIMARY KEY); "
                "CREATE TABLE locked (c int PRIMARY KEY); CREATE TABLE y (c int); "
                "CREATE TABLE z (c int) ENGINE = MyISAM; INSERT INTO z VALUES (1)");
        const auto removed = qScopeGuard([this] { execute("DROP DATABASE counted"); });
        const SourceLocation location = m_server.location(u"counted"_s);
        {
            auto locker = QSqlDatabase::addDatabase(location.driver, u"locker"_s);
            locker.setHostName(location.host);
            locker.setPort(location.port);
            locker.setDatabaseName(location.database);
            locker.setUserName(location.user);
            locker.setPassword(location.password);
            QVERIFY(locker.open());
            QVERIFY(QSqlQuery(locker).exec(u"LOCK TABLES locked WRITE"_s));
        }
        const auto unlocked = qScopeGuard([] { QSqlDatabase::removeDatabase(u"locker"_s); });
        SourceReader reader;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: База данных «.*«locked»: "_s));

        QVERIFY(reader.read(location));
        QTRY_VERIFY(reader.recorder.counts.contains(u"a 0"_s));
        // Now the count of the table that is locked is under way.
        reader.connection.load({u"z"_s});

        QTRY_COMPARE(reader.recorder.events, (QStringList{u"opened a,locked,y,z"_s, u"loaded z"_s}));
        QTRY_COMPARE(SourceRecorder::countsOf(reader.connection.tables()), u"a 0,locked,y 0,z 1"_s);
        QCOMPARE(reader.connection.tables().at(1).error, QString());
        QVERIFY(reader.recorder.isConsistent);
        reader.connection.closeTables();
    }

    void viewsWithTheRightsOfTheReaderAreRefused()
    {
        execute("CREATE SQL SECURITY INVOKER VIEW others_view AS SELECT i FROM integers");
        const TableLoader loader(m_server.location());

        QCOMPARE(exceptionMessage([&] { loader.load(u"others_view"_s); }),
                 u"Таблица «others_view»: чтение выполнило бы с правами текущего пользователя представление "
                 "другого"_s);

        execute("DROP VIEW others_view");
    }

    void errorsTellNoPassword()
    {
        SourceLocation location = m_server.location();
        location.password = u"secret"_s;

        const QString message = exceptionMessage([&] { const TableLoader loader(location); });

        QVERIFY2(message.startsWith(u"Не удалось открыть «%1»: Access denied"_s.arg(location.displayName())),
                 qPrintable(message));
        QVERIFY(!message.contains("secret"_L1));
    }

    void thePasswordMayComeFromTheEnvironment()
    {
        SourceLocation location = m_server.location();
        qputenv("MYSQL_PWD", location.password.toUtf8());
        const auto forget = qScopeGuard([] { qunsetenv("MYSQL_PWD"); });
        location.password.clear();

        QVERIFY(TableLoader(location).isAlive());
    }

    void refreshesByThePrimaryKey()
    {
        execute("CREATE TABLE fresh (t text, a int, b varchar(5), PRIMARY KEY (b, a)); "
                "INSERT INTO fresh VALUES ('x', 1, 'b'), ('y', 2, 'b'), ('z', 1, 'c');");
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"fresh"_s}));
        const auto refreshed = [&reader] {
            reader.recorder.take();
            reader.connection.refresh({u"fresh"_s}, true);
            return reader.settle() ? reader.recorder.take().join(u'\n') : QString();
        };
        QCOMPARE(refreshed(), u"refreshed fresh +0 -0 ~0"_s);

        execute("UPDATE fresh SET t = NULL WHERE a = 2; DELETE FROM fresh WHERE t = 'x'; "
                "INSERT INTO fresh VALUES ('new', 7, 'd');");

        QCOMPARE(refreshed(), u"refreshed fresh +1 -1 ~1"_s);
        QCOMPARE(texts(*MemoryDatabase::instance().table(u"fresh"_s)),
                 (QStringList{u"NULL | 2 | b"_s, u"z | 1 | c"_s, u"new | 7 | d"_s}));
        reader.connection.closeTables();
        execute("DROP TABLE fresh;");
    }
    void refreshesByDates()
    {
        execute("CREATE TABLE days (d date, at time(3), m datetime(6), t text, PRIMARY KEY (d, at, m)); "
                "INSERT INTO days VALUES ('2026-01-05', '10:00:00.5', '2026-01-05 10:00:00.000001', 'x'), "
                "('2026-01-05', '10:00:00.501', '2026-01-05 10:00:00.000002', 'y');");
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"days"_s}));
        reader.recorder.take();
        execute("UPDATE days SET t = 'z' WHERE t = 'y';");

        reader.connection.refresh({u"days"_s});

        QVERIFY(reader.settle());
        QCOMPARE(reader.recorder.take(), QStringList(u"refreshed days +0 -0 ~1"_s));
        reader.connection.closeTables();
        execute("DROP TABLE days;");
    }

    void readsOnlyRowsOfAColumnThatGrows_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("whole numbers") << u"bigint"_s << u"1"_s << u"9007199254740993"_s;
        QTest::newRow("decimals") << u"decimal(20,4)"_s << u"-1.5"_s << u"1.5"_s;
        QTest::newRow("moments") << u"timestamp(6) NULL"_s << u"'2026-01-01 00:00:00.001'"_s
                                 << u"'2026-01-01 00:00:00.002'"_s;
    }
    void readsOnlyRowsOfAColumnThatGrows()
    {
        QFETCH(const QString, type);
        QFETCH(const QString, first);
        QFETCH(const QString, second);
        // More than one portion; the key is not the column that grows.
        execute(u"CREATE OR REPLACE TABLE grown (id int PRIMARY KEY, v %1, t text); "
                "INSERT INTO grown SELECT seq, %2, 'old' FROM seq_1_to_40000; "
                "INSERT INTO grown VALUES (50000, %3, 'largest');"_s.arg(type, first, second)
                    .toUtf8());
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"grown"_s}));
        reader.connection.setGrowingColumn(u"grown"_s, u"v"_s);
        qint64 read = -1;
        connect(&reader.connection, &SourceConnection::refreshed, &reader.connection,
                [&read](const auto &tables) { read = tables.first().rowsRead; });
        const auto refreshed = [&] {
            reader.recorder.take();
            reader.connection.refresh({u"grown"_s});
            const QString events = reader.settle() ? reader.recorder.take().join(u'\n') : QString();
            return events + u" of "_s + QString::number(read);
        };
        QCOMPARE(refreshed(), u"refreshed grown +0 -0 ~0 of 40001"_s);

        execute(u"UPDATE grown SET t = 'new', v = %1 WHERE id < 4; "
                "UPDATE grown SET t = 'none', v = NULL WHERE id = 4"_s.arg(second)
                    .toUtf8());

        QCOMPARE(refreshed(), u"refreshed grown +0 -0 ~4 of 5"_s);
        reader.connection.closeTables();
        execute("DROP TABLE grown;");
    }

    void fetchesAllBytesOfACell_data()
    {
        QTest::addColumn<QByteArray>("columns");
        QTest::addColumn<QString>("key");
        QTest::newRow("numbers") << "`id` int PRIMARY KEY, b longblob"_ba << u"%1"_s;
        QTest::newRow("texts") << "id varchar(9) CHARACTER SET latin1 PRIMARY KEY, b longblob"_ba
                               << u"'it\\'s\\\\ %1'"_s;
        QTest::newRow("long decimals") << "id decimal(40,0) PRIMARY KEY, b longblob"_ba
                                       << u"900719925474099300000000000000000000000%1"_s;
        QTest::newRow("more") << "b longblob, x datetime(3) DEFAULT '2017-01-31 14:30:00.125', "
                                 "y date DEFAULT '2017-01-31', z bit(9) DEFAULT 300, "
                                 "id decimal(9,2), PRIMARY KEY (id, x, y, z)"_ba
                              << u"0.25 + %1"_s;
    }
    void fetchesAllBytesOfACell()
    {
        QFETCH(const QByteArray, columns);
        QFETCH(const QString, key);
        const QList<QByteArray> values = bytesOfManySizes();
        execute("CREATE TABLE fetched (" + columns + "); " +
                insertions(u"fetched"_s, values, u"x'%1'"_s, key).join(u"; "_s).toUtf8());
        const auto drop = qScopeGuard([this] {
            MemoryDatabase::instance().clear();
            execute("DROP TABLE fetched;");
        });
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"fetched"_s}));

        QCOMPARE(reader.connection.bytesColumns(u"fetched"_s).size(), 1);
        QCOMPARE(wrongBytes(reader, u"fetched"_s, values), QString());
        execute("DELETE FROM fetched;");
        const QString gone = u"Строки уже нет в таблице «fetched»: она удалена, или её ключ изменён"_s;
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + gone));
        QCOMPARE(fetchError(reader, u"fetched"_s, 0, u"b"_s), u"failed "_s + gone);
    }

    void loadsTheBeginningOnlyOfWhatComesInPortions()
    {
        execute("CREATE TABLE p (id int PRIMARY KEY); INSERT INTO p SELECT seq FROM seq_1_to_12000; "
                "CREATE TABLE w (id int); INSERT INTO w SELECT seq FROM seq_1_to_12000;");
        SourceReader reader;
        QVERIFY(reader.read(m_server.location()));
        reader.recorder.take();

        reader.connection.load({u"p"_s, u"w"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(reader.settle());
        QVERIFY(!reader.connection.isComplete(u"p"_s));
        QVERIFY(reader.connection.isComplete(u"w"_s));
        reader.connection.refresh({u"p"_s, u"w"_s});
        QVERIFY(reader.settle());

        QCOMPARE(reader.recorder.take(),
                 QStringList({u"loaded p,w"_s, u"refreshed p +2000 -0 ~0,w +0 -0 ~0"_s}));
        reader.connection.closeTables();
        execute("DROP TABLE p, w;");
    }

    /// Last: it starts the server again.
    void encryptionIsInsistedOn()
    {
        SourceLocation location = m_server.location();
        location.tlsMode = u"verify-full"_s;
        QVERIFY(!exceptionMessage([&] { const TableLoader loader(location); }).isEmpty());
        location.tlsMode = u"require"_s;
        // Later servers make a certificate by themselves, and then there is nothing to refuse.
        QByteArray hasTls;
        QCOMPARE(m_server.ask("SELECT @@have_ssl", hasTls), QString());
        QCOMPARE(exceptionMessage([&] { const TableLoader loader(location); }).isEmpty(),
                 hasTls.trimmed() == "YES");

        const QString error = m_server.restartWithTls();
        QVERIFY2(error.isEmpty(), qPrintable(error));

        const SourceDatabase database(location);
        QSqlQuery query(database.connection());
        QVERIFY(query.exec(u"SHOW STATUS LIKE 'Ssl_cipher'"_s) && query.next());
        QVERIFY(!query.value(1).toString().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_MariaDb)
#include "tst_mariadb.moc"
