// SPDX-License-Identifier: MIT
#include <sources/sourceconnection.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/fieldvalue.h>

#include <support/exceptions.h>
#include <support/fetchedbytes.h>
#include <support/seed.h>
#include <support/sourcereader.h>
#include <support/waitedtables.h>

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace sito;
using namespace Qt::StringLiterals;

static_assert(!std::is_copy_constructible_v<SourceConnection>);

namespace {

/// Announces what an exception with this message reports when it is destroyed in a thread.
void announceText(const QString &message)
{
    QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + message));
}

} // namespace

class tst_SourceConnection : public QObject
{
    Q_OBJECT
private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    /// Makes an SQLite file of that name by \a statements.
    QString makeFile(const QString &name, const QStringList &statements) const
    {
        const QString fileName = path(name);
        {
            auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"made"_s);
            database.setDatabaseName(fileName);
            if (!database.open())
                qFatal("%s", qPrintable(database.lastError().text()));
            QSqlQuery(database).exec(u"PRAGMA synchronous = OFF"_s);
            for (const QString &statement : statements) {
                QSqlQuery query(database);
                if (!query.exec(statement))
                    qFatal("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
            }
        }
        QSqlDatabase::removeDatabase(u"made"_s);
        return fileName;
    }
    /// A file with tables a (two rows), b (three rows) and, of so many rows, big.
    QString makeSource(const QString &name, int bigRows = 10) const
    {
        return makeFile(
            name,
            {u"CREATE TABLE a (id INTEGER NOT NULL, t TEXT)"_s, u"INSERT INTO a VALUES (1, 'x'), (2, NULL)"_s,
             u"CREATE TABLE b (p DECIMAL(5,2))"_s, u"INSERT INTO b VALUES (1.5), (2.25), (3.125)"_s,
             u"CREATE TABLE big (id BIGINT)"_s,
             u"INSERT INTO big WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
             "SELECT i FROM n"_s.arg(bigRows)});
    }
    QString writeFile(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("%s", qPrintable(file.errorString()));
        return file.fileName();
    }
    static QStringList names() { return MemoryDatabase::instance().tableNames(); }

    std::unique_ptr<QTemporaryDir> m_directory;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_directory = std::make_unique<QTemporaryDir>();
        QVERIFY(m_directory->isValid());
    }
    void cleanup()
    {
        MemoryDatabase::instance().clear();
        QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
    }

    void isClosedAtFirst()
    {
        const SourceConnection connection;

        QVERIFY(!connection.isOpen());
        QVERIFY(!connection.isBusy());
        QCOMPARE(connection.location(), SourceLocation());
        QVERIFY(connection.tables().isEmpty());
    }

    void opensAFile()
    {
        const auto location = SourceLocation::fromFile(makeSource(u"s.sqlite"_s));
        SourceConnection connection;
        SourceRecorder recorder(connection);

        connection.open(location);

        QVERIFY(connection.isBusy());
        QVERIFY(!connection.isOpen());
        QCOMPARE(recorder.take(), QStringList());
        QTRY_VERIFY(!connection.isBusy());
        QCOMPARE(recorder.take(), QStringList({u"opened a,b,big"_s}));
        QVERIFY(connection.isOpen());
        QCOMPARE(connection.location(), location);
        QCOMPARE(
            connection.tables().at(0).columns,
            QList<ColumnSpec>({ColumnSpec{.name = u"id"_s, .type = FieldType::Int},
                               ColumnSpec{.name = u"t"_s, .type = FieldType::String, .nullable = true}}));
        QVERIFY(recorder.isConsistent);
        QVERIFY(names().isEmpty());
    }

    void countsTablesAfterItHasOpened()
    {
        SourceReader reader;

        QVERIFY(reader.read(SourceLocation::fromFile(makeSource(u"s.sqlite"_s, 40'000))));

        QCOMPARE(reader.recorder.countsAtOpening, u"a,b,big"_s);
        QTRY_COMPARE(reader.recorder.counts, (QStringList{u"a 2"_s, u"b 3"_s, u"big 40000"_s}));
        QCOMPARE(SourceRecorder::countsOf(reader.connection.tables()), u"a 2,b 3,big 40000"_s);
        QVERIFY(reader.recorder.isConsistent);
        QVERIFY(!reader.connection.isBusy());
    }
    void estimatesComeFirst()
    {
        const QString file = makeFile(
            u"s.sqlite"_s,
            {u"CREATE TABLE a (id INTEGER)"_s, u"CREATE INDEX part ON a (id) WHERE id > 1"_s,
             u"INSERT INTO a VALUES (1), (2), (3)"_s, u"CREATE TABLE empty (id INTEGER)"_s,
             u"CREATE TABLE wrong (id INTEGER PRIMARY KEY)"_s, u"INSERT INTO wrong VALUES (7), (8)"_s,
             u"CREATE TABLE keyed (k TEXT PRIMARY KEY) WITHOUT ROWID"_s,
             u"INSERT INTO keyed VALUES ('x'), ('y')"_s, u"CREATE VIEW v AS SELECT * FROM a"_s, u"ANALYZE"_s,
             u"UPDATE sqlite_stat1 SET stat = '1200000 1' WHERE tbl = 'wrong'"_s});
        SourceReader reader;

        QVERIFY(reader.read(SourceLocation::fromFile(file)));

        QCOMPARE(reader.recorder.countsAtOpening, u"a ≈3,empty,keyed ≈2,v,wrong ≈1200000"_s);
        QTRY_COMPARE(reader.recorder.counts,
                     (QStringList{u"a 3"_s, u"empty 0"_s, u"keyed 2"_s, u"wrong 2"_s}));
        // Nobody counts a view, but the rows of a loaded one are there.
        QVERIFY(reader.connection.tables().at(3).isView);
        reader.connection.load({u"v"_s});
        QTRY_COMPARE(SourceRecorder::countsOf(reader.connection.tables()),
                     u"a 3,empty 0,keyed 2,v 3,wrong 2"_s);
        QCOMPARE(reader.recorder.counts.constLast(), u"v 3"_s);
        QVERIFY(reader.recorder.isConsistent);
    }
    void theRowsOfLoadedTablesAreKnown()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connect(&connection, &SourceConnection::opened, this, [&] { connection.load({u"big"_s, u"b"_s}); });

        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s)));

        QTRY_COMPARE(recorder.counts.size(), 3);
        recorder.counts.sort();
        QCOMPARE(recorder.counts, (QStringList{u"a 2"_s, u"b 3"_s, u"big 10"_s}));
        QVERIFY(recorder.isConsistent);
    }
    void theRowsOfRefreshedTablesAreKnown()
    {
        const auto location = SourceLocation::fromFile(makeSource(u"s.sqlite"_s));
        SourceReader reader;
        QVERIFY(reader.read(location, {u"b"_s}));
        QTRY_COMPARE(reader.recorder.counts.size(), 3);
        makeFile(u"s.sqlite"_s, {u"INSERT INTO b VALUES (9)"_s, u"INSERT INTO a VALUES (9, 'y')"_s});

        reader.connection.refresh({u"b"_s});

        QTRY_COMPARE(reader.recorder.counts.size(), 4);
        QCOMPARE(reader.recorder.counts.constLast(), u"b 4"_s);
        QCOMPARE(SourceRecorder::countsOf(reader.connection.tables()), u"a 2,b 4,big 10"_s);
    }

    void countsEndWithTheirSource_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("another source") << u"two.sqlite"_s;
        QTest::newRow("one that cannot be opened") << u"none"_s;
        QTest::newRow("one whose opening is cancelled") << QString();
    }
    void countsEndWithTheirSource()
    {
        QFETCH(QString, file);
        const auto made = [](const QString &prefix) {
            QStringList statements;
            for (int i = 10; i < 40; ++i)
                statements.append(u"CREATE TABLE %1%2 (id INTEGER)"_s.arg(prefix).arg(i));
            return statements;
        };
        const auto expected = [](const QString &prefix) {
            QStringList result;
            for (int i = 10; i < 40; ++i)
                result.append(u"%1%2 0"_s.arg(prefix).arg(i));
            return result;
        };
        const auto first = SourceLocation::fromFile(makeFile(u"one.sqlite"_s, made(u"o"_s)));
        makeFile(u"two.sqlite"_s, made(u"t"_s));
        if (file == "none"_L1)
            announceText(u"Файла «%1» нет"_s.arg(path(file)));
        SourceConnection connection;
        SourceRecorder recorder(connection);
        QStringList before;
        connect(&connection, &SourceConnection::counted, this, [&] {
            if (!before.isEmpty())
                return;
            before = std::exchange(recorder.counts, {});
            connection.open(file.isEmpty() ? first : SourceLocation::fromFile(path(file)));
            if (file.isEmpty())
                connection.cancel();
        });

        connection.open(first);

        QTRY_COMPARE(recorder.counts.size(), file == "two.sqlite"_L1 ? 30 : 29);
        QCOMPARE(before, QStringList(u"o10 0"_s));
        if (file == "two.sqlite"_L1)
            QCOMPARE(recorder.counts, expected(u"t"_s));
        else
            QCOMPARE(before + recorder.counts, expected(u"o"_s));
        QVERIFY(recorder.isConsistent);
    }

    void tellsOfTablesThatCannotBeLoaded()
    {
        const QString file =
            makeFile(u"s.sqlite"_s, {u"CREATE TABLE a (id INTEGER)"_s, u"CREATE TABLE g (x GEOMETRY)"_s});
        const QString message = u"Таблица «g», столбец «x»: тип «GEOMETRY» не поддерживается"_s;
        SourceConnection connection;
        connection.setStrict(true);
        SourceRecorder recorder(connection);
        announceText(message);

        connection.open(SourceLocation::fromFile(file));

        QTRY_COMPARE(recorder.events, QStringList({u"opened a,g"_s}));
        recorder.take();
        QCOMPARE(connection.tables().at(0).error, QString());
        QCOMPARE(connection.tables().at(1).error, message);
        QVERIFY(connection.tables().at(1).columns.isEmpty());
    }

    void tellsOfViewsAndOfThoseThatCannotBeRead()
    {
        const QString file =
            makeFile(u"s.sqlite"_s, {u"CREATE TABLE a (id INTEGER)"_s, u"INSERT INTO a VALUES (1)"_s,
                                     u"CREATE VIEW v AS SELECT id, 'x' AS t FROM a"_s,
                                     u"CREATE VIEW asking AS SELECT * FROM pragma_database_list"_s,
                                     u"CREATE VIEW broken AS SELECT * FROM gone"_s});
        const QString about = u"База данных «%1», таблица «%2»: %3"_s;
        const QString unsafe =
            about.arg(file, u"asking"_s, u"unsafe use of virtual table \"pragma_database_list\""_s);
        const QString message = about.arg(file, u"broken"_s, u"no such table: main.gone"_s);
        SourceReader reader;
        announceText(unsafe);
        announceText(message);

        QVERIFY(reader.read(SourceLocation::fromFile(file), {u"v"_s}));

        QCOMPARE(reader.recorder.events, QStringList({u"opened a,asking,broken,v"_s, u"loaded v"_s}));
        QCOMPARE(reader.connection.tables().at(1).error, unsafe);
        QCOMPARE(reader.connection.tables().at(2).error, message);
        QCOMPARE(reader.connection.tables().at(3).error, QString());
        QCOMPARE(MemoryDatabase::instance().table(u"v"_s)->rowCount(), 1);
    }

    void loadsTablesIntoTheDatabase()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s)));
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        QThread *where = nullptr;
        connect(&connection, &SourceConnection::loaded, this, [&where] { where = QThread::currentThread(); });

        connection.load({u"b"_s, u"a"_s});

        QVERIFY(connection.isBusy());
        QVERIFY(names().isEmpty());
        QTRY_COMPARE(recorder.events, QStringList({u"loaded b,a"_s}));
        recorder.take();
        QVERIFY(!connection.isBusy());
        QCOMPARE(where, thread());
        QCOMPARE(names(), QStringList({u"b"_s, u"a"_s}));
        QCOMPARE(connection.loadedTables(), QStringList({u"b"_s, u"a"_s}));
        QCOMPARE(MemoryDatabase::instance().table(u"a"_s)->rowCount(), 2);
        QCOMPARE(FieldValue(MemoryDatabase::instance().table(u"b"_s)->row(2).field(0)).toText(), u"3.125"_s);
        QCOMPARE(recorder.lastTable, u"a"_s);
        QCOMPARE(recorder.lastRead, 2);
        QVERIFY(recorder.isConsistent);
    }

    void tellsOfColumnsThatNeededMoreDigits()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s)));
        QTRY_VERIFY(!connection.isBusy());

        connection.load({u"b"_s, u"a"_s});

        QTRY_VERIFY(!connection.isBusy());
        QCOMPARE(
            connection.columnNotes(u"b"_s),
            QStringList({u"Столбец «p» шире, чем объявлен («DECIMAL(5,2)»): значение 3.125 в строке 3"_s}));
        QCOMPARE(connection.columnNotes(u"a"_s), QStringList());
        QCOMPARE(connection.columnNotes(u"none"_s), QStringList());
    }

    void loadsATableThatIsDroppedMeanwhile()
    {
        const QString file =
            makeFile(u"s.sqlite"_s, {u"PRAGMA journal_mode = WAL"_s, u"CREATE TABLE big (p DECIMAL(9,2))"_s,
                                     u"INSERT INTO big WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + "
                                     u"1 FROM n WHERE i < 200000) "
                                     "SELECT i + 0.125 FROM n"_s});
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(file));
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        bool isDropped = false;
        connect(&connection, &SourceConnection::progress, this,
                [this, &isDropped](const QString &, qint64 rowsRead) {
                    if (isDropped || rowsRead < 12000)
                        return;
                    makeFile(u"s.sqlite"_s, {u"DROP TABLE big"_s});
                    isDropped = true;
                });

        connection.load({u"big"_s});

        QTRY_COMPARE_WITH_TIMEOUT(recorder.events, QStringList({u"loaded big"_s}), 60000);
        QVERIFY(isDropped);
        QCOMPARE(MemoryDatabase::instance().tableByName(u"big"_s)->columnName(0), u"p"_s);
        QCOMPARE(connection.columnNotes(u"big"_s).size(), 1);
    }

    void loadsNoTableTwice()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s)));
        QTRY_VERIFY(!connection.isBusy());
        connection.load({u"a"_s});
        QTRY_VERIFY(!connection.isBusy());
        const MemoryTable *before = MemoryDatabase::instance().table(u"a"_s);
        recorder.take();
        recorder.steps = 0;

        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
        QCOMPARE(recorder.steps, 0);
        connection.load({u"b"_s, u"a"_s, u"b"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded b,a,b"_s}));
        recorder.take();

        QCOMPARE(MemoryDatabase::instance().table(u"a"_s), before);
        QCOMPARE(names(), QStringList({u"a"_s, u"b"_s}));
        // What somebody else dropped is loaded again.
        MemoryDatabase::instance().dropTable(u"a"_s);
        QCOMPARE(connection.loadedTables(), QStringList({u"b"_s}));
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
        QCOMPARE(names(), QStringList({u"b"_s, u"a"_s}));
    }

    void loadsAllTablesOrNone()
    {
        const QString file =
            makeFile(u"s.sqlite"_s, {u"CREATE TABLE a (id INTEGER)"_s, u"CREATE TABLE bad (c INTEGER)"_s,
                                     u"INSERT INTO bad VALUES ('x')"_s});
        SourceConnection connection;
        connection.setStrict(true);
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(file));
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        const QString wrong =
            u"Таблица «bad», строка 1, столбец «c»: значение 'x' не подходит к типу Int (значение другого рода)"_s;
        announceText(wrong);
        announceText(u"В базе данных нет таблицы «none»"_s);

        connection.load({u"a"_s, u"bad"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"failed "_s + wrong}));
        recorder.take();
        QVERIFY(names().isEmpty());
        connection.load({u"a"_s, u"none"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"failed В базе данных нет таблицы «none»"_s}));
        recorder.take();
        QVERIFY(names().isEmpty());
        connection.load({u"a"_s});

        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
    }

    void addsNoneWhenAnotherTableTookTheNameMeanwhile()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s)));
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        connection.load({u"a"_s, u"b"_s});
        const MemoryTable *other =
            MemoryDatabase::instance().createTable(u"b"_s, {ColumnSpec{.name = u"x"_s}});

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: .*b"_s));
        QTRY_COMPARE(recorder.events.size(), 1);

        QVERIFY(recorder.take().constFirst().startsWith("failed "_L1));
        QCOMPARE(names(), QStringList({u"b"_s}));
        connection.load({u"b"_s});
        QTRY_COMPARE(recorder.events,
                     QStringList({u"failed Таблица «b» уже загружена из другого источника"_s}));
        recorder.take();
        QCOMPARE(MemoryDatabase::instance().table(u"b"_s), other);
        connection.closeTables();
        QCOMPARE(names(), QStringList({u"b"_s}));
    }

    void dropsTablesOnceNoThreadWaitsForThem()
    {
        // No other test has such tables, which a thread may delete even now.
        const QStringList tables{u"waited 1"_s, u"waited 2"_s};
        const QString file = makeFile(
            u"s.sqlite"_s, {u"CREATE TABLE \"waited 1\" (a INT)"_s, u"CREATE TABLE \"waited 2\" (a INT)"_s});
        SourceReader reader;
        QVERIFY(reader.read(SourceLocation::fromFile(file), tables));
        {
            const WaitedTables held;
            reader.connection.closeTables();
        }

        // Others wait, not who closes them.
        QCOMPARE(names(), QStringList());
        QTRY_COMPARE(WaitedTables::names().filter(u"waited"_s), tables);
    }

    void loadsNothingWithoutASource()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);

        connection.load({u"a"_s});

        QVERIFY(connection.isBusy());
        QTRY_COMPARE(recorder.events, QStringList({u"failed База данных не открыта"_s}));
        recorder.take();
    }

    void namesWhatItCannotOpen_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("vanished") << u"vanished"_s << u"Файла «%1» нет"_s;
        QTest::newRow("no name") << u"no name"_s << u"Файла «%1» нет"_s;
        QTest::newRow("directory") << u"directory"_s << u"«%1» - каталог, а не база данных"_s;
        QTest::newRow("pipe") << u"pipe"_s << u"«%1» - не обычный файл"_s;
        QTest::newRow("unreadable") << u"unreadable"_s << u"Не удалось открыть «%1»: Permission denied"_s;
        QTest::newRow("empty") << u"empty"_s << u"Файл «%1» пуст"_s;
        QTest::newRow("short") << u"short"_s << u"«%1» - не база данных SQLite"_s;
        QTest::newRow("foreign") << u"foreign"_s << u"«%1» - не база данных SQLite"_s;
        QTest::newRow("broken head") << u"broken head"_s << u"База данных «%1»: file is not a database"_s;
        QTest::newRow("cut") << u"cut"_s << u"База данных «%1»: database disk image is malformed"_s;
        QTest::newRow("no tables") << u"no tables"_s << u"В базе данных «%1» нет таблиц"_s;
    }
    void namesWhatItCannotOpen()
    {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        QString file = path(kind);
        if (kind == "directory"_L1) {
            file = m_directory->path();
        } else if (kind == "no name"_L1) {
            file.clear();
        } else if (kind == "pipe"_L1) {
            QCOMPARE(::mkfifo(qPrintable(file), 0600), 0);
        } else if (kind == "unreadable"_L1) {
            if (::geteuid() == 0)
                QSKIP("Root may read everything.");
            QVERIFY(QFile::setPermissions(writeFile(kind, "SQLite format 3"), {}));
        } else if (kind == "empty"_L1) {
            writeFile(kind, {});
        } else if (kind == "short"_L1) {
            writeFile(kind, "SQLite");
        } else if (kind == "foreign"_L1) {
            writeFile(kind, QByteArray(5000, 'x'));
        } else if (kind == "broken head"_L1) {
            writeFile(kind, QByteArray("SQLite format 3\0", 16) + QByteArray(5000, 'x'));
        } else if (kind == "cut"_L1) {
            QVERIFY(QFile::resize(makeSource(kind), 4096));
        } else if (kind == "no tables"_L1) {
            makeFile(kind, {u"CREATE TABLE a (id INTEGER)"_s, u"DROP TABLE a"_s});
        }
        message = message.arg(file);
        const auto first = SourceLocation::fromFile(makeSource(u"first.sqlite"_s));
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(first);
        QTRY_VERIFY(!connection.isBusy());
        connection.load({u"a"_s});
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        announceText(message);

        connection.open(SourceLocation::fromFile(file));

        QTRY_COMPARE(recorder.events, QStringList({u"failed "_s + message}));
        recorder.take();
        QVERIFY(!connection.isBusy());
        QCOMPARE(connection.location(), first);
        // Their rows are counted at any time.
        QStringList names;
        for (const SourceConnection::TableInfo &table : connection.tables())
            names.append(table.name);
        QCOMPARE(names, QStringList({u"a"_s, u"b"_s, u"big"_s}));
        QCOMPARE(connection.loadedTables(), QStringList({u"a"_s}));
        connection.load({u"b"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded b"_s}));
        recorder.take();
    }

    void namesADriverThatIsMissing()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        const QString message = u"Не удалось открыть «host»: драйвер Qt SQL «QNONE» не установлен"_s;
        announceText(message);
        SourceLocation location{.driver = u"QNONE"_s};
        location.host = u"host"_s;
        location.password = u"secret"_s;

        connection.open(location);

        QTRY_COMPARE(recorder.events, QStringList({u"failed "_s + message}));
        recorder.take();
        QVERIFY(!connection.isOpen());
    }

    void keepsTablesUntilTheHostClosesThem()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"one.sqlite"_s)));
        QTRY_VERIFY(!connection.isBusy());
        connection.load({u"a"_s});
        QTRY_VERIFY(!connection.isBusy());
        const auto second = SourceLocation::fromFile(
            makeFile(u"two.sqlite"_s, {u"CREATE TABLE a (z INTEGER)"_s, u"CREATE TABLE c (z INTEGER)"_s}));
        recorder.take();

        connection.open(second);

        QTRY_COMPARE(recorder.events, QStringList({u"opened a,c"_s}));
        recorder.take();
        QCOMPARE(connection.location(), second);
        QCOMPARE(names(), QStringList({u"a"_s}));
        connection.load({u"c"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded c"_s}));
        recorder.take();
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events,
                     QStringList({u"failed Таблица «a» уже загружена из другого источника"_s}));
        recorder.take();
        connection.closeTables();
        QVERIFY(names().isEmpty());
        QVERIFY(connection.loadedTables().isEmpty());
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
        QCOMPARE(MemoryDatabase::instance().table(u"a"_s)->columnSpec(0).name, u"z"_s);
    }

    void fetchesAllBytesOfACell_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("key");
        QTest::newRow("numbers") << u"id INTEGER PRIMARY KEY, b BLOB)"_s << u"%1"_s;
        QTest::newRow("a text") << u"id TEXT PRIMARY KEY, b BLOB)"_s << u"'it''s %1'"_s;
        QTest::newRow("a text as long as wanted") << u"id VARCHAR(9) PRIMARY KEY, b)"_s << u"'№ %1'"_s;
        QTest::newRow("decimal numbers") << u"b BLOB, id DECIMAL(9,2) PRIMARY KEY)"_s << u"0.25 + %1"_s;
        QTest::newRow("floating-point numbers") << u"b BLOB, id REAL PRIMARY KEY)"_s << u"0.1 * %1"_s;
        QTest::newRow("several columns") << u"x INT DEFAULT 7, id BIGINT, b BLOB, PRIMARY KEY (id, x))"_s
                                         << u"-9223372036854775808 + %1"_s;
        QTest::newRow("without row numbers")
            << u"id INT PRIMARY KEY, \"%1 c0\" TEXT, b BLOB) WITHOUT ROWID"_s << u"%1"_s;
        QTest::newRow("numbers shown as texts") << u"id DATE PRIMARY KEY, b BLOB)"_s << u"%1 + 0.5"_s;
    }
    /// Also beside other values.
    void fetchesAllBytesOfACell()
    {
        QFETCH(const QString, columns);
        QFETCH(const QString, key);
        const QList<QByteArray> values = bytesOfManySizes();
        const QString file = makeFile(
            u"s.sqlite"_s,
            QStringList{u"CREATE TABLE t ("_s + columns} + insertions(u"t"_s, values, u"x'%1'"_s, key) +
                QStringList{u"INSERT INTO t (id, b) VALUES ("_s + key.arg(99) + u", '16 bytes: no')"_s});
        SourceReader reader;
        QVERIFY(reader.read(SourceLocation::fromFile(file), {u"t"_s}));
        const MemoryTable &table = *MemoryDatabase::instance().table(u"t"_s);

        QCOMPARE(reader.connection.bytesColumns(u"t"_s), QList<int>({table.columnIndex(u"b"_s)}));
        QCOMPARE(wrongBytes(reader, u"t"_s, values), QString());
        QCOMPARE(bytesReadAside(reader, u"t"_s, values.size() + 1, u"b"_s).constLast(), "other"_ba);
        announceText(u"Значение — не байты"_s);
        QCOMPARE(fetchError(reader, u"t"_s, values.size(), u"b"_s), u"failed Значение — не байты"_s);
    }

    void saysWhyItCannotFetchBytes()
    {
        const QString noKey = u"У таблицы «%1» нет первичного ключа, строку не найти, чтобы прочитать "
                              "значение целиком"_s;
        const QString badKey = u"По столбцу «id» ключа таблицы «%1» строку не найти, чтобы прочитать "
                               "значение целиком"_s;
        const QString file = makeFile(
            u"s.sqlite"_s,
            {u"CREATE TABLE plain (b BLOB)"_s, u"INSERT INTO plain VALUES (x'010203')"_s,
             u"CREATE VIEW v AS SELECT * FROM plain"_s, u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO t VALUES (1, x'010203'), (2, x'04'), (3, NULL)"_s,
             u"CREATE TABLE bytes (id BLOB PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO bytes VALUES (x'01', x'02'), (NULL, x'03')"_s,
             u"CREATE TABLE dates (id TIMESTAMP PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO dates VALUES ('2017-01-31 14:30:00', x'02')"_s,
             u"CREATE TABLE empty (id INT PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO empty VALUES (NULL, x'03')"_s,
             u"CREATE TABLE stray (id TEXT PRIMARY KEY, b BLOB)"_s,
             u"INSERT INTO stray VALUES (CAST(x'E9' AS TEXT), x'03')"_s});
        SourceReader reader;
        QVERIFY(reader.read(SourceLocation::fromFile(file),
                            {u"plain"_s, u"v"_s, u"t"_s, u"bytes"_s, u"dates"_s, u"empty"_s, u"stray"_s}));
        const auto error = [&reader](const QString &table, const QString &column = u"b"_s, qint64 row = 0,
                                     qint64 limit = 100) {
            QLoggingCategory::setFilterRules(u"database.exception=false"_s);
            return fetchError(reader, table, row, column, limit).section(u' ', 1);
        };

        QCOMPARE(error(u"plain"_s), noKey.arg(u"plain"_s));
        QCOMPARE(error(u"v"_s), noKey.arg(u"v"_s));
        QCOMPARE(error(u"bytes"_s), badKey.arg(u"bytes"_s));
        QCOMPARE(error(u"dates"_s), badKey.arg(u"dates"_s));
        QCOMPARE(error(u"stray"_s), badKey.arg(u"stray"_s));
        QCOMPARE(error(u"empty"_s), u"Ключ строки пуст (таблица «empty», столбец «id»), её не найти, чтобы "
                                    "прочитать значение целиком"_s);
        QCOMPARE(error(u"t"_s, u"id"_s), u"В столбце 0 таблицы «t» не показано байтов"_s);
        QCOMPARE(error(u"t"_s, u"no"_s), u"В столбце -1 таблицы «t» не показано байтов"_s);
        QCOMPARE(error(u"t"_s, u"b"_s, 0, 2), u"Значение занимает 3 Б, а прочитать можно не больше 2 Б"_s);
        QCOMPARE(error(u"t"_s, u"b"_s, 0, 3), QString());
        const auto readAside = [&reader](const QString &table, qint64 rows, const QString &column = u"b"_s) {
            return bytesReadAside(reader, table, rows, column, 2);
        };
        const QByteArray failed("failed ");
        QCOMPARE(readAside(u"plain"_s, 1), QList({failed + noKey.arg(u"plain"_s).toUtf8()}));
        QCOMPARE(readAside(u"dates"_s, 1), QList({failed + badKey.arg(u"dates"_s).toUtf8()}));
        QCOMPARE(readAside(u"t"_s, 1, u"id"_s),
                 QList({failed + "В столбце 0 таблицы «t» не показано байтов"}));
        QCOMPARE(readAside(u"t"_s, 3),
                 QList({failed + "Значение занимает 3 Б, а прочитать можно не больше 2 Б", "\x04"_ba,
                        QByteArray()}));

        makeFile(u"s.sqlite"_s, {u"UPDATE t SET b = x'0909' WHERE id = 1"_s, u"DELETE FROM t WHERE id = 2"_s,
                                 u"UPDATE t SET b = x'07' WHERE id = 3"_s});
        QCOMPARE(error(u"t"_s), QString());
        QCOMPARE(reader.recorder.bytes, "\x09\x09"_ba);
        QCOMPARE(error(u"t"_s, u"b"_s, 1),
                 u"Строки уже нет в таблице «t»: она удалена, или её ключ изменён"_s);
        QCOMPARE(error(u"t"_s, u"b"_s, 2), QString());
        makeFile(u"s.sqlite"_s, {u"ALTER TABLE t ADD COLUMN c"_s});
        QCOMPARE(error(u"t"_s), u"Таблица «t» теперь другая, обновите её"_s);
        QCOMPARE(readAside(u"t"_s, 1), QList({failed + "Таблица «t» теперь другая, обновите её"}));
        makeFile(u"s.sqlite"_s, {u"DROP TABLE t"_s});
        QCOMPARE(error(u"t"_s), u"Таблица «t» теперь другая, обновите её"_s);
        QFile::remove(file);
        QCOMPARE(error(u"t"_s), u"Файла «%1» нет"_s.arg(file));
        QCOMPARE(readAside(u"t"_s, 1), QList({failed + u"Файла «%1» нет"_s.arg(file).toUtf8()}));
        QVERIFY(!reader.connection.bytesReader(u"x"_s));
        reader.connection.fetchBytes(Record(), 0, 1);
        QVERIFY(reader.settle());
        QCOMPARE(reader.recorder.take(),
                 QStringList({u"failed Таблица «» не загружена из этого источника"_s}));
        SourceReader closed;
        closed.connection.fetchBytes(MemoryDatabase::instance().table(u"t"_s)->row(0), 1, 1);
        QVERIFY(closed.settle());
        QCOMPARE(closed.recorder.take(), QStringList({u"failed База данных не открыта"_s}));
        QVERIFY(!closed.connection.bytesReader(u"t"_s));
        QLoggingCategory::setFilterRules({});
    }

    void aFetchIsCancelledLikeOtherOperations()
    {
        const QString file = makeFile(u"s.sqlite"_s, {u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB)"_s,
                                                      u"INSERT INTO t VALUES (1, zeroblob(50000000))"_s});
        SourceReader reader;
        QVERIFY(reader.read(SourceLocation::fromFile(file), {u"t"_s}));
        reader.recorder.take();
        const Record row = MemoryDatabase::instance().table(u"t"_s)->row(0);

        reader.connection.fetchBytes(row, 1, 100'000'000);
        QVERIFY(reader.connection.isBusy());
        reader.connection.cancel();
        QVERIFY(!reader.connection.isBusy());
        QTRY_COMPARE(reader.recorder.events, QStringList({u"cancelled"_s}));
        reader.recorder.take();
        reader.connection.fetchBytes(row, 1, 100'000'000);
        reader.connection.refresh({u"t"_s});
        QVERIFY(reader.settle());

        QCOMPARE(reader.recorder.take(), QStringList({u"cancelled"_s, u"refreshed t +0 -0 ~0"_s}));
        reader.connection.fetchBytes(row, 1, 100'000'000);
    }

    void readsFilesOnly()
    {
        const QString file = makeSource(u"s.sqlite"_s);
        QFile before(file);
        QVERIFY(before.open(QIODevice::ReadOnly));
        const QByteArray content = before.readAll();
        SourceConnection connection;
        SourceRecorder recorder(connection);

        connection.open(SourceLocation::fromFile(file));
        QTRY_VERIFY(!connection.isBusy());
        connection.load({u"a"_s, u"big"_s});
        QTRY_VERIFY(!connection.isBusy());

        QVERIFY(before.seek(0));
        QCOMPARE(before.readAll(), content);
        QCOMPARE(m_directory->isValid() ? QDir(m_directory->path()).entryList(QDir::Files) : QStringList(),
                 QStringList({u"s.sqlite"_s}));
    }

    void showsTheProgressOfALongLoad()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s, 300'000)));
        QTRY_VERIFY(!connection.isBusy());

        connection.load({u"big"_s});
        QTRY_VERIFY_WITH_TIMEOUT(!connection.isBusy(), 60'000);

        QVERIFY2(recorder.steps > 2, qPrintable(QString::number(recorder.steps)));
        QCOMPARE(recorder.lastRead, 300'000);
        QVERIFY(recorder.isConsistent);
    }

    void cancelsALoadBeforeItsEnd()
    {
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(SourceLocation::fromFile(makeSource(u"s.sqlite"_s, 300'000)));
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        connection.load({u"a"_s, u"big"_s});
        QTRY_VERIFY_WITH_TIMEOUT(recorder.lastTable == "big"_L1 && recorder.lastRead > 0, 60'000);

        connection.cancel();

        QVERIFY(!connection.isBusy());
        QCOMPARE(recorder.take(), QStringList());
        recorder.steps = 0;
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s}));
        recorder.take();
        QVERIFY(names().isEmpty());
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
        QVERIFY(recorder.lastTable == "a"_L1);
        connection.cancel();
        QCoreApplication::processEvents();
        QCOMPARE(recorder.take(), QStringList());
    }

    void cancelsWhatHasEndedButWasNotAnswered()
    {
        const auto first = SourceLocation::fromFile(makeSource(u"one.sqlite"_s));
        const auto second = SourceLocation::fromFile(makeSource(u"two.sqlite"_s));
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(first);
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();

        // The threads have time to finish, while no event is handled here.
        connection.open(second);
        QThread::msleep(50);
        connection.cancel();
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s}));
        recorder.take();
        QCOMPARE(connection.location(), first);
        connection.load({u"a"_s});
        QThread::msleep(50);
        connection.cancel();
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s}));
        recorder.take();

        QVERIFY(names().isEmpty());
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
        recorder.take();
    }

    void anotherOperationCancelsTheOneBefore()
    {
        const auto first = SourceLocation::fromFile(makeSource(u"one.sqlite"_s));
        const auto second = SourceLocation::fromFile(makeSource(u"two.sqlite"_s, 11));
        SourceConnection connection;
        SourceRecorder recorder(connection);

        connection.open(first);
        connection.open(second);

        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s, u"opened a,b,big"_s}));
        recorder.take();
        connection.load({u"big"_s});
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s, u"loaded a"_s}));
        recorder.take();
        QCOMPARE(names(), QStringList({u"a"_s}));
        connection.load({u"b"_s});
        connection.open(first);
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s, u"opened a,b,big"_s}));
        QCOMPARE(names(), QStringList({u"a"_s}));
    }

    void mayBeDestroyedAtAnyMoment()
    {
        const auto location = SourceLocation::fromFile(makeSource(u"s.sqlite"_s, 300'000));
        for (int i = 0; i < 20; ++i) {
            auto connection = std::make_unique<SourceConnection>();
            connection->open(location);
            if (i % 4 == 1)
                connection->open(location);
            if (i % 4 > 1) {
                QTRY_VERIFY(!connection->isBusy());
                connection->load({u"big"_s});
                QThread::usleep(quint64(i) * 500);
            }
            connection.reset();
            QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
        }
        QVERIFY(names().isEmpty());
    }

    void mayBeDestroyedByWhoeverItTells()
    {
        const auto location = SourceLocation::fromFile(makeSource(u"s.sqlite"_s));
        auto *connection = new SourceConnection;
        connect(connection, &SourceConnection::opened, this,
                [&connection] { delete std::exchange(connection, nullptr); });

        connection->open(location);

        QTRY_VERIFY(!connection);
    }

    void listenersMayRunEventLoops()
    {
        const auto location = SourceLocation::fromFile(makeSource(u"s.sqlite"_s));
        SourceConnection connection;
        SourceRecorder recorder(connection);
        bool isNested = false;
        connect(&connection, &SourceConnection::opened, this, [&] {
            connection.load({u"a"_s});
            QTRY_VERIFY(!connection.isBusy());
            isNested = true;
        });

        connection.open(location);

        QTRY_VERIFY(isNested);
        QCOMPARE(recorder.take(), QStringList({u"opened a,b,big"_s, u"loaded a"_s}));
    }

    void staysTrueUnderRandomCommands()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ (seed >> 32)));
        const QString good = makeSource(u"good.sqlite"_s, 30'000);
        const QString other = makeSource(u"other.sqlite"_s, 20'000);
        const QString foreign = writeFile(u"foreign"_s, "no database at all");
        const auto location = [](const QString &file) { return SourceLocation::fromFile(file); };
        SourceConnection connection;
        SourceRecorder recorder(connection);
        QByteArray about = seedMessage(seed, {});
        int expectedAnswers = 0;
        const QStringList tables{u"a"_s, u"b"_s, u"big"_s};

        // Whatever ends by itself is the latest operation; all before it were answered before.
        bool isInOrder = true;
        const auto checkOrder = [&] { isInOrder = isInOrder && recorder.events.size() == expectedAnswers; };
        connect(&connection, &SourceConnection::opened, this, checkOrder);
        connect(&connection, &SourceConnection::loaded, this, checkOrder);
        connect(&connection, &SourceConnection::failed, this, checkOrder);

        for (int step = 0; step < 150; ++step) {
            about = seedMessage(seed, u"step %1"_s.arg(step));
            switch (random.bounded(6)) {
            case 0:
                ++expectedAnswers;
                connection.open(location(good));
                break;
            case 1:
                ++expectedAnswers;
                connection.open(location(other));
                break;
            case 2:
                // Its message comes from the thread unless it is cancelled before.
                QTest::ignoreMessage(QtWarningMsg,
                                     qPrintable(u"Exception: «%1» - не база данных SQLite"_s.arg(foreign)));
                ++expectedAnswers;
                connection.open(location(foreign));
                QTRY_VERIFY(!connection.isBusy());
                break;
            case 3:
            case 4:
                if (connection.isOpen()) {
                    connection.closeTables();
                    QStringList wanted = tables;
                    wanted.removeAt(random.bounded(3));
                    ++expectedAnswers;
                    connection.load(wanted);
                }
                break;
            default:
                connection.cancel();
                QVERIFY(!connection.isBusy());
                break;
            }
            if (random.bounded(3) == 0)
                QThread::usleep(random.bounded(8000u));
            if (random.bounded(2) == 0)
                QCoreApplication::processEvents();
            if (random.bounded(10) == 0)
                QTRY_VERIFY2(!connection.isBusy(), about.constData());
            // Loaded is what this connection says, whole tables only.
            const QStringList present = connection.loadedTables();
            QVERIFY2(present == names(), about.constData());
            for (const QString &name : present) {
                const auto expected = name == "a"_L1 ? 2 : name == "b"_L1 ? 3 : 0;
                const qint64 rows = MemoryDatabase::instance().table(name)->rowCount();
                QVERIFY2(expected ? rows == expected : rows == 30'000 || rows == 20'000, about.constData());
            }
        }
        QTRY_VERIFY2(!connection.isBusy(), about.constData());
        QTRY_COMPARE(recorder.events.size(), expectedAnswers);

        for (const QString &count : std::as_const(recorder.counts))
            QVERIFY2((QStringList{u"a 2"_s, u"b 3"_s, u"big 30000"_s, u"big 20000"_s}).contains(count),
                     about.constData());
        QVERIFY2(isInOrder, about.constData());
        QVERIFY2(recorder.isConsistent, about.constData());
    }
};

QTEST_GUILESS_MAIN(tst_SourceConnection)
#include "tst_sourceconnection.moc"
