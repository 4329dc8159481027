// SPDX-License-Identifier: MIT
#include <sources/sourceconnection.h>
#include <sources/sourcedatabase.h>
#include <sources/tableloader.h>

#include <hostkit/parallel/stopsource.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/tablechanges.h>

#include <support/exceptions.h>
#include <support/fetchedbytes.h>
#include <support/foundtables.h>
#include <support/loadedtables.h>
#include <support/postgresconnection.h>
#include <support/postgresserver.h>
#include <support/seed.h>
#include <support/sourcereader.h>
#include <support/transactionscript.h>

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <limits>
#include <optional>
#include <semaphore>
#include <utility>

using namespace sito;
using namespace Qt::StringLiterals;

/// Keeps whoever changes a table for the first time waiting.
struct WaitingListener : TableListener
{
    void tableChanged(const TableChange &) noexcept override
    {
        if (std::exchange(isFirst, false)) {
            isCalled.release();
            mayGoOn.acquire();
        }
    }

    std::binary_semaphore isCalled{0};
    std::binary_semaphore mayGoOn{0};
    bool isFirst = true;
};

/// Against a real server, whose time zone has gaps at midnight and which would write numbers with few digits.
class tst_PostgreSql : public QObject
{
    Q_OBJECT
private:
    void execute(const QString &statement) const
    {
        const QString error = m_writer->execute(statement);
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }
    /// The texts in \a table that are not those that the server gives, as "table.column: text".
    QStringList differences(const MemoryTable &table) const
    {
        QStringList values;
        for (int i = 0; i < table.columnCount(); ++i) {
            const QString name = u'"' + table.columnName(i) + u'"';
            values.append(name == "\"photo\""_L1 ? u"octet_length(%1), encode(%1, 'hex')"_s.arg(name)
                                                 : u"NULL, %1::text"_s.arg(name));
        }
        QSqlQuery query(m_writer->connection());
        if (!query.exec(u"SELECT %1 FROM %2"_s.arg(values.join(u','), table.name())) ||
            query.size() != table.rowCount())
            return {table.name() + u": "_s + query.lastError().text()};
        QStringList result;
        for (qint64 row = 0; query.next(); ++row) {
            for (int i = 0; i < table.columnCount(); ++i) {
                const QVariant size = query.value(2 * i);
                const QVariant text = query.value(2 * i + 1);
                QString expected = text.isNull() ? u"NULL"_s : text.toString();
                if (!size.isNull())
                    expected = foundtables::bytesText(size.toInt(), QByteArray::fromHex(text.toByteArray()));
                if (cellText(table, row, i) != expected)
                    result.append(
                        u"%1.%2: %3"_s.arg(table.name(), table.columnName(i), cellText(table, row, i)));
            }
        }
        return result;
    }

    /// Refreshes \a table and says what has come of it, and how many rows were read for it.
    static QString refreshed(SourceReader &reader, const QString &table)
    {
        qint64 read = -1;
        const auto told = connect(&reader.connection, &SourceConnection::refreshed, &reader.connection,
                                  [&read](const auto &tables) { read = tables.first().rowsRead; });
        reader.recorder.take();
        reader.connection.refresh({table});
        const bool isSettled = reader.settle();
        disconnect(told);
        return isSettled ? reader.recorder.take().join(u'\n') + u" of "_s + QString::number(read) : QString();
    }
    /// The rows of \a table as a new load gives them, in any order; and as they are in the database.
    QStringList freshRows(const QString &table) const
    {
        QStringList rows = texts(*TableLoader(m_database->connection()).load(table));
        rows.sort();
        return rows;
    }
    static QStringList rowsOf(const QString &table)
    {
        QStringList rows = texts(*MemoryDatabase::instance().table(table));
        rows.sort();
        return rows;
    }

    PostgresServer m_server;
    std::optional<PostgresConnection> m_writer;
    std::optional<SourceDatabase> m_database;

private Q_SLOTS:
    void initTestCase() { SITO_START_POSTGRES(m_server); }
    void init()
    {
        failOnAnyWarning();
        m_writer.emplace(m_server.location());
        execute(u"CREATE SCHEMA IF NOT EXISTS public"_s);
        m_database.emplace(m_server.location());
    }
    void cleanup()
    {
        m_database.reset();
        m_writer.reset();
        MemoryDatabase::instance().clear();
        if (!m_server.isRunning())
            return;
        m_writer.emplace(m_server.location());
        execute(u"DROP SCHEMA IF EXISTS public, other, \"Mixed.Case\", third CASCADE"_s);
        m_writer.reset();
        QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
    }

    void declaredTypesBecomeFieldTypes_data()
    {
        QTest::addColumn<QString>("declared");
        QTest::addColumn<QString>("type");
        const auto row = [](const char *declared, const char *type) {
            QTest::newRow(declared) << QString::fromUtf8(declared) << QString::fromUtf8(type);
        };
        row("boolean", "Int(0)");
        row("smallint", "Int(0)");
        row("integer", "Int(0)");
        row("serial", "Int(0)!");
        row("bigint", "Int64(0)");
        row("bigserial", "Int64(0)!");
        row("real", "Double(0)");
        row("double precision", "Double(0)");
        row("float(10)", "Double(0)");
        row("numeric(10,2)", "Decimal(2)");
        row("decimal(16)", "Decimal(0)");
        row("numeric(36,18)", "XDecimal(18)");
        row("numeric(40,2)", "XDecimal(2)");
        row("numeric", "XDecimal(10)");
        row("char", "VarChar(1)");
        row("char(4)", "VarChar(4)");
        row("varchar(12)", "VarChar(12)");
        row("varchar(40000)", "String(0)");
        row("varchar", "String(0)");
        row("text", "String(0)");
        row("date", "DateTime(0)");
        row("timestamp", "DateTime(0)");
        row("timestamp(3)", "DateTime(0)");
        row("timestamptz", "DateTime(0)");
        row("timestamp(6) with time zone", "DateTime(0)");
        row("bytea", "Block(0)");
        row("bytea NOT NULL", "Block(0)!");
        row("integer GENERATED ALWAYS AS IDENTITY", "Int(0)!");
        row("text PRIMARY KEY", "String(0)!");
    }
    void declaredTypesBecomeFieldTypes()
    {
        QFETCH(QString, declared);
        QFETCH(QString, type);
        execute(u"CREATE TABLE t (c %1)"_s.arg(declared));
        const StrictLoader loader(m_database->connection());

        const auto columns = loader.columns(u"t"_s);

        const bool isRequired = type.endsWith(u'!');
        QCOMPARE(columns.size(), 1);
        QCOMPARE(typeText(columns.at(0)), u"c "_s + (isRequired ? type.chopped(1) : type + u'?'));
        QCOMPARE(loader.load(u"t"_s)->columnSpec(0), columns.at(0));
    }

    void refusesTypesThatHaveNoPlace_data()
    {
        QTest::addColumn<QString>("declared");
        QTest::addColumn<QString>("shown");
        QTest::newRow("time") << u"time"_s << u"time without time zone"_s;
        QTest::newRow("interval") << u"interval"_s << u"interval"_s;
        QTest::newRow("array") << u"integer[]"_s << u"integer[]"_s;
        QTest::newRow("uuid") << u"uuid"_s << u"uuid"_s;
        QTest::newRow("json") << u"jsonb"_s << u"jsonb"_s;
        QTest::newRow("money") << u"money"_s << u"money"_s;
        QTest::newRow("inner char") << u"\"char\""_s << u"\"char\""_s;
        QTest::newRow("deep scale") << u"numeric(100,70)"_s << u"numeric(100,70)"_s;
    }
    void refusesTypesThatHaveNoPlace()
    {
        QFETCH(QString, declared);
        QFETCH(QString, shown);
        execute(u"CREATE TABLE t (id integer, c %1)"_s.arg(declared));

        const QString message =
            exceptionMessage([&] { StrictLoader(m_database->connection()).columns(u"t"_s); });

        QCOMPARE(message, u"Таблица «t», столбец «c»: тип «%1» не поддерживается"_s.arg(shown));
    }

    void refusesATableWithoutColumns()
    {
        execute(u"CREATE TABLE t ()"_s);

        const QString message =
            exceptionMessage([&] { StrictLoader(m_database->connection()).columns(u"t"_s); });

        QCOMPARE(message, u"Таблица «t» не имеет столбцов"_s);
    }

    void domainsAreWhatTheyRestOn()
    {
        execute(u"CREATE DOMAIN price AS numeric(9,3)"_s);
        execute(u"CREATE DOMAIN paid AS price NOT NULL"_s);
        execute(u"CREATE TABLE t (a price, b paid, c integer)"_s);
        execute(u"INSERT INTO t VALUES (1.5, 2.25, 3)"_s);
        const StrictLoader loader(m_database->connection());

        QCOMPARE(typeTexts(loader.columns(u"t"_s)),
                 QStringList({u"a Decimal(3)?"_s, u"b Decimal(3)"_s, u"c Int(0)?"_s}));
        QCOMPARE(cellText(*loader.load(u"t"_s), 0, 1), u"2.250"_s);
    }

    void keepsEveryValue_data()
    {
        const CellRows row("text");
        for (const char *type :
             {"boolean", "smallint", "integer", "bigint", "real", "double precision", "numeric(5,2)",
              "numeric", "char(3)", "varchar(3)", "text", "date", "timestamp", "timestamptz", "bytea"})
            row(qPrintable(u"no "_s + QString::fromLatin1(type)), type, "NULL", "NULL");
        row("true", "boolean", "true", "1");
        row("false", "boolean", "false", "0");
        row("smallest smallint", "smallint", "-32768", "-32768");
        row("largest integer", "integer", "2147483647", "2147483647");
        row("smallest integer", "integer", "-2147483648", "-2147483648");
        row("largest bigint", "bigint", "9223372036854775807", "9223372036854775807");
        row("smallest bigint", "bigint", "-9223372036854775808", "-9223372036854775808");
        row("real as the server writes it", "real", "0.1", "0.1");
        row("real of all digits", "real", "16777217.0::real + 2", "16777218");
        row("double of all digits", "double precision", "0.1::float8 + 0.2", "0.30000000000000004");
        row("smallest double", "double precision", "'5e-324'", "5e-324");
        row("largest double", "double precision", "'1.7976931348623157e308'", "1.7976931348623157e+308");
        row("infinite double", "double precision", "'Infinity'", "inf");
        row("negative infinite double", "double precision", "'-Infinity'", "-inf");
        row("no number", "double precision", "'NaN'", "nan");
        row("infinite real", "real", "'-Infinity'", "-inf");
        row("decimal", "numeric(10,2)", "-0.07", "-0.07");
        row("16 digits", "numeric(16)", "9999999999999999", "9999999999999999");
        row("36 digits", "numeric(36,18)", "-123456789012345678.123456789012345678",
            "-123456789012345678.123456789012345678");
        row("open decimal", "numeric", "1.25", "1.2500000000");
        row("padded", "char(4)", "'ab'", "ab  ");
        row("padded beyond ASCII", "char(4)", "'яб'", "яб  ");
        row("text of full length", "varchar(3)", "'abc'", "abc");
        row("spaces at the end", "varchar(3)", "'a  '", "a  ");
        row("empty varchar", "varchar(3)", "''", "");
        row("empty text", "text", "''", "");
        row("Cyrillic", "text", "'Ясный «день» 😀'", "Ясный «день» 😀");
        row("mark of the byte order", "text", "U&'\\FEFFa'", "U+FEFFa");
        row("replacement character", "text", "U&'a\\FFFD'", "a\uFFFD");
        row("line breaks", "text", "E'a\\r\\n\\tb'", "a\r\n\tb");
        row("date", "date", "'2017-01-03'", "2017.01.03 00:00:00.000");
        row("midnight that the server's zone skips", "timestamp", "'2018-11-04 00:30:00'",
            "2018.11.04 00:30:00.000");
        row("date whose midnight the server's zone skips", "date", "'2018-11-04'", "2018.11.04 00:00:00.000");
        row("time of day", "timestamp", "'2017-01-03 01:02:03'", "2017.01.03 01:02:03.000");
        row("milliseconds", "timestamp", "'2017-01-03 01:02:03.045'", "2017.01.03 01:02:03.045");
        row("tenths of a second", "timestamp", "'1969-12-31 23:59:59.9'", "1969.12.31 23:59:59.900");
        row("instant in the server's zone", "timestamptz", "'2017-01-03 01:02:03 America/Sao_Paulo'",
            "2017.01.03 03:02:03.000");
        row("instant in another zone", "timestamptz", "'2017-01-03 01:02:03.5+05:30'",
            "2017.01.02 19:32:03.500");
        row("date before Christ", "date", "'0044-03-15 BC'", "@-63517824000000");
        row("time before Christ", "timestamp", "'0001-12-31 23:59:59.999 BC'", "@-62135596800001");
        row("instant before Christ", "timestamptz", "'0001-12-31 23:59:59 BC +00'", "@-62135596801000");
        row("first day of our era", "date", "'0001-01-01'", "0001.01.01 00:00:00.000");
    }
    void keepsEveryValue()
    {
        QFETCH(QString, type);
        QFETCH(QString, value);
        QFETCH(QString, text);
        execute(u"CREATE TABLE t (c %1)"_s.arg(type));
        execute(u"INSERT INTO t VALUES (%1)"_s.arg(value));

        QCOMPARE(outcome(StrictLoader(m_database->connection()), u"t"_s), QStringList({text}));
    }

    void keepsLateDates()
    {
        execute(
            u"CREATE TABLE t (c timestamp, m bigint GENERATED ALWAYS AS (extract(epoch FROM c) * 1000) STORED)"_s);
        execute(u"INSERT INTO t VALUES ('9999-12-31'), ('10000-01-01'), ('294276-12-31 23:59:59.999'), "
                "('4713-01-01 BC')"_s);

        const auto table = StrictLoader(m_database->connection()).load(u"t"_s);

        for (qint64 row = 0; row < table->rowCount(); ++row) {
            const auto time = *reinterpret_cast<const datetime *>(table->row(row).field(0).data);
            QCOMPARE(QString::number(time.milliseconds()), cellText(*table, row, 1));
        }
    }

    void keepsBlocks()
    {
        execute(u"CREATE TABLE t (c bytea)"_s);
        const QByteArray block = sampleBlock();
        execute(u"INSERT INTO t VALUES ('\\x%1')"_s.arg(QString::fromLatin1(block.toHex())));

        const auto table = StrictLoader(m_database->connection()).load(u"t"_s);

        QCOMPARE(firstBlock(*table), block);
    }

    void refusesWhatDoesNotFit_data()
    {
        const CellRows row("end");
        row("no number", "numeric(5,2)", "'NaN'",
            "'NaN' не подходит к типу Decimal(5,2) (число вне пределов типа)");
        row("infinite number", "numeric", "'-Infinity'",
            "'-Infinity' не подходит к типу XDecimal(36,10) (число вне пределов типа)");
        row("many digits", "numeric", "1.00000000001",
            "'1.00000000001' не подходит к типу XDecimal(36,10) (в числе больше цифр, чем объявлено)");
        row("infinite date", "date", "'infinity'", "'infinity' не подходит к типу DateTime (не дата)");
        row("infinite time", "timestamp", "'-infinity'", "'-infinity' не подходит к типу DateTime (не дата)");
        row("infinite instant", "timestamptz", "'infinity'",
            "'infinity' не подходит к типу DateTime (не дата)");
        row("microseconds", "timestamp", "'2017-01-03 01:02:03.0004'",
            "'2017-01-03 01:02:03.0004' не подходит к типу DateTime (время точнее миллисекунды)");
        row("the epoch", "date", "'1970-01-01'",
            "'1970-01-01' не подходит к типу DateTime (это мгновение обозначает отсутствие даты)");
        row("the epoch elsewhere", "timestamptz", "'1969-12-31 21:00:00-03'",
            "'1970-01-01 00:00:00' не подходит к типу DateTime (это мгновение обозначает отсутствие даты)");
        row("characters of two units", "varchar(2)", "'😀😀'",
            "'😀😀' не подходит к типу VarChar(2) (текст длиннее, чем объявлено)");
        row("other size", "bytea", "'\\x00ff'", "x'00ff' не подходит к типу Block(%1) (другое число байтов)");
        row("no bytes", "bytea", "''", "x'' не подходит к типу Block(%1) (другое число байтов)");
    }
    void refusesWhatDoesNotFit()
    {
        QFETCH(QString, type);
        QFETCH(QString, value);
        QFETCH(QString, end);
        if (end.contains("%1"_L1))
            end = end.arg(FieldType::blockSize);
        execute(u"CREATE TABLE t (c %1)"_s.arg(type));
        execute(u"INSERT INTO t VALUES (NULL), (%1)"_s.arg(value));

        QCOMPARE(outcome(StrictLoader(m_database->connection()), u"t"_s),
                 QStringList({u"Таблица «t», строка 2, столбец «c»: значение "_s + end}));
    }

    void columnsGetTheRoomThatValuesNeed_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("values");
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("digits") << u"numeric"_s << u"(1.5), (0.123456789012345)"_s << u"c XDecimal(15)?"_s
                                << QStringList({u"1.500000000000000"_s, u"0.123456789012345"_s});
        QTest::newRow("digits on both sides")
            << u"numeric"_s << u"(12345678901234567890), (0.1234567890123456), (1)"_s << u"c XDecimal(16)?"_s
            << QStringList({u"12345678901234567890.0000000000000000"_s, u"0.1234567890123456"_s,
                            u"1.0000000000000000"_s});
        QTest::newRow("units of varchar") << u"varchar(2)"_s << u"('😀😀'), ('ab')"_s << u"c VarChar(4)?"_s
                                          << QStringList({u"😀😀"_s, u"ab"_s});
        QTest::newRow("units of char")
            << u"char(3)"_s << u"('a'), ('😀')"_s << u"c VarChar(6)?"_s << QStringList({u"a  "_s, u"😀  "_s});
        QTest::newRow("units of a long varchar")
            << u"varchar(20000)"_s << u"(repeat('😀', 20000))"_s << u"c String(0)?"_s
            << QStringList({u"😀"_s.repeated(20000)});
    }
    void columnsGetTheRoomThatValuesNeed()
    {
        QFETCH(QString, type);
        QFETCH(QString, values);
        QFETCH(QString, column);
        QFETCH(QStringList, texts);
        execute(u"CREATE TABLE t (c %1)"_s.arg(type));
        execute(u"INSERT INTO t VALUES %1"_s.arg(values));
        StrictLoader loader(m_database->connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);

        const auto table = loader.load(u"t"_s);

        QCOMPARE(typeText(table->columnSpec(0)), column);
        QCOMPARE(outcome(loader, u"t"_s), texts);
    }

    void listsTheTablesOfAllSchemas()
    {
        execute(u"CREATE TABLE b (id integer)"_s);
        execute(u"CREATE TABLE \"Quotes\" (id integer)"_s);
        execute(u"CREATE TABLE \"other.t\" (id integer)"_s);
        execute(u"CREATE TABLE \"q\"\"q\" (id integer)"_s);
        execute(u"CREATE VIEW v AS SELECT * FROM b"_s);
        execute(u"CREATE MATERIALIZED VIEW m AS SELECT * FROM b"_s);
        execute(u"CREATE TEMPORARY TABLE passing (id integer)"_s);
        execute(u"CREATE TABLE parts (id integer) PARTITION BY RANGE (id)"_s);
        execute(u"CREATE TABLE part1 PARTITION OF parts FOR VALUES FROM (0) TO (10)"_s);
        execute(u"CREATE SCHEMA other"_s);
        execute(u"CREATE TABLE other.t (id integer)"_s);
        execute(u"CREATE TABLE other.b (id integer)"_s);
        execute(u"CREATE SCHEMA \"Mixed.Case\""_s);
        execute(u"CREATE TABLE \"Mixed.Case\".\"Тікер\" (\"Id\" integer, \"a.\"\"b\" text)"_s);
        execute(u"INSERT INTO other.b VALUES (1), (2)"_s);
        execute(u"INSERT INTO parts VALUES (5)"_s);
        execute(u"INSERT INTO \"Mixed.Case\".\"Тікер\" VALUES (7, 'x')"_s);
        execute(u"INSERT INTO \"other.t\" VALUES (3)"_s);

        StrictLoader loader(m_database->connection());

        QCOMPARE(loader.tableNames(),
                 QStringList({u"\"Mixed.Case\".Тікер"_s, u"\"other.t\""_s, u"\"q\"\"q\""_s, u"Quotes"_s,
                              u"b"_s, u"m"_s, u"other.b"_s, u"other.t"_s, u"parts"_s, u"v"_s}));
        QCOMPARE(loader.rowCount(u"other.b"_s), 2);
        QCOMPARE(loader.rowCount(u"b"_s), 0);
        QCOMPARE(loader.rowCount(u"m"_s), 0);
        QCOMPARE(loader.rowCount(u"v"_s), -1);
        QCOMPARE(outcome(loader, u"parts"_s), QStringList({u"5"_s}));
        QCOMPARE(outcome(loader, u"\"other.t\""_s), QStringList({u"3"_s}));
        const auto mixed = loader.load(u"\"Mixed.Case\".Тікер"_s);
        QCOMPARE(mixed->name(), u"\"Mixed.Case\".Тікер"_s);
        QCOMPARE(typeText(mixed->columnSpec(1)), u"a.\"b String(0)?"_s);
        QCOMPARE(cellText(*mixed, 0, 1), u"x"_s);
        for (const QString &name : {u"quotes"_s, u"part1"_s, u"Mixed.Case.Тікер"_s}) {
            QCOMPARE(exceptionMessage([&] { loader.load(name); }),
                     u"В базе данных нет таблицы «%1»"_s.arg(name));
        }
    }

    void showsEveryCellOfTablesAsTheyAreFound()
    {
        for (const QString &statement : foundtables::statements(QFINDTESTDATA("foundtables-postgresql.sql")))
            execute(statement);
        for (const char *setting : {"TimeZone = 'UTC'", "DateStyle = 'ISO'", "extra_float_digits = 3"})
            execute(u"SET "_s + QString::fromLatin1(setting));
        const TableLoader loader(m_database->connection());
        const QStringList names = loader.tableNames();
        QStringList found;

        for (const QString &name : names) {
            const QString failure = exceptionMessage([&] { found += differences(*loader.load(name)); });
            if (!failure.isEmpty())
                found.append(failure);
        }

        QCOMPARE(names.size(), 21);
        const QStringList expected{
            // The type itself writes no length of a network for a host; a cast to text does.
            u"addresses.i: ::1"_s,
            // Padded with blanks, as the column declares; a cast to text takes them off.
            u"characters.c: a  "_s, u"characters.c: 😀  "_s,
            // Numbers that are none have the names of the system.
            u"numbers.r: -inf"_s, u"numbers.r: nan"_s,
            // Date-times have one form.
            u"ordinary.at: 2017.01.31 14:30:00.000"_s,
            // The session finds no name without its schema.
            u"words.r: public.shapes"_s};
        found.sort();
        QCOMPARE(found.join(u'\n'), expected.join(u'\n'));
    }

    void notesTellWhatIsNotAsDeclared()
    {
        execute(u"CREATE TYPE mood AS ENUM ('sad')"_s);
        execute(u"CREATE TABLE t (m mood, at timestamp, n numeric(5,2), b bytea, d date)"_s);
        execute(u"INSERT INTO t VALUES ('sad', '2017-01-31 14:30:00', 1, '\\x00', '2017-01-31'), "
                "(NULL, '2017-01-31 14:30:00.123456', 'NaN', NULL, NULL)"_s);
        const TableLoader loader(m_database->connection());

        loader.load(u"t"_s);

        QCOMPARE(loader.columnNotes(u"t"_s),
                 QStringList({u"Столбец «m» типа «public.mood» показан как текст"_s,
                              u"Столбец «at» («timestamp without time zone») показан как текст: значение "
                              "'2017-01-31 14:30:00.123456' в строке 2"_s,
                              u"Столбец «n» («numeric(5,2)») показан как текст: значение 'NaN' в строке 2"_s,
                              u"Столбец «b»: вместо байтов показаны их число и начало"_s}));
    }

    void namesFollowTheSearchPath()
    {
        execute(u"CREATE TABLE t (id integer)"_s);
        execute(u"CREATE SCHEMA other"_s);
        execute(u"CREATE TABLE other.t (id bigint)"_s);
        execute(u"SET search_path = other"_s);

        const StrictLoader loader(m_writer->connection());

        QCOMPARE(loader.tableNames(), QStringList({u"public.t"_s, u"t"_s}));
        QCOMPARE(loader.columns(u"t"_s).at(0).type, FieldType::Int64);
        QCOMPARE(loader.columns(u"public.t"_s).at(0).type, FieldType::Int);
    }

    void readsLargeTablesInPortions()
    {
        execute(u"CREATE TABLE t (id integer PRIMARY KEY, p numeric(12,2), s varchar(20))"_s);
        execute(u"INSERT INTO t SELECT i, i / 100.0, 'row ' || i FROM generate_series(1, 12288) i"_s);
        StrictLoader loader(m_database->connection());
        QList<qint64> steps;
        loader.setProgress(
            [&steps](const TableLoader::Progress &state) {
                steps.append(state.rowsRead);
                return state.rowsTotal == 12288;
            },
            5000);

        const auto table = loader.load(u"t"_s);

        QCOMPARE(table->rowCount(), 12288);
        QCOMPARE(steps, QList<qint64>({0, 5000, 10000, 12288}));
        for (const qint64 row : {0, 4095, 4096, 8192, 12287}) {
            QCOMPARE(cellText(*table, row, 0), QString::number(row + 1));
            QCOMPARE(cellText(*table, row, 2), u"row %1"_s.arg(row + 1));
        }
    }

    void countsLargeTablesInPortions()
    {
        execute(u"CREATE TABLE t (c integer, d text)"_s);
        execute(u"INSERT INTO t SELECT i, repeat('x', 200) FROM generate_series(1, 200000) i"_s);
        execute(u"CREATE TABLE parts (c integer) PARTITION BY LIST (c)"_s);
        execute(u"CREATE TABLE part PARTITION OF parts FOR VALUES IN (1)"_s);
        execute(u"INSERT INTO parts SELECT 1 FROM generate_series(1, 40000)"_s);
        execute(u"CREATE TABLE heir (e integer) INHERITS (t)"_s);
        execute(u"INSERT INTO heir SELECT i FROM generate_series(1, 7) i"_s);
        const StrictLoader loader(m_writer->connection());
        parallel::StopSource stopped;
        stopped.requestStop();

        QCOMPARE(loader.rowCount(u"t"_s), 200'007);
        QCOMPARE(loader.rowCount(u"heir"_s), 7);
        QCOMPARE(loader.rowCount(u"parts"_s), 40'000);
        QVERIFY(!QSqlQuery(m_writer->connection()).exec(u"SAVEPOINT x"_s)); // in no transaction
        QVERIFY(!loader.rowCount(u"t"_s, stopped.token()));

        QVERIFY(m_writer->connection().transaction());
        execute(u"DELETE FROM t WHERE c = 1 OR c = 100000"_s);
        QCOMPARE(loader.rowCount(u"t"_s), 200'004);
        execute(u"SAVEPOINT x"_s); // still in the caller's
        QVERIFY(m_writer->connection().rollback());
        QCOMPARE(loader.rowCount(u"t"_s), 200'007);
        execute(u"DROP TABLE heir, t"_s);
    }

    void interruptsTheCountingOfRows()
    {
        execute(u"CREATE TABLE t (c text)"_s);
        execute(u"INSERT INTO t SELECT repeat('x', 100) FROM generate_series(1, 500000) i"_s);
        const StrictLoader loader(m_database->connection());
        QElapsedTimer timer;
        qint64 whole = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 4; ++i) { // the first one finds nothing in the cache
            timer.start();
            QCOMPARE(loader.rowCount(u"t"_s), 500'000);
            whole = std::min(whole, timer.nsecsElapsed());
        }

        const qint64 shortest = shortestStoppedCount(loader, u"t"_s, whole);
        QVERIFY2(shortest < whole * 2 / 3, qPrintable(u"%1 of %2"_s.arg(shortest).arg(whole)));
        QVERIFY(!QSqlQuery(m_database->connection()).exec(u"SAVEPOINT x"_s));
    }

    void leavesTheTransactionOfItsCallerAlone()
    {
        execute(u"CREATE TABLE t (c integer)"_s);
        QVERIFY(m_writer->connection().transaction());
        execute(u"INSERT INTO t VALUES (1)"_s);
        execute(u"SET LOCAL DateStyle = 'German'"_s);

        const StrictLoader loader(m_writer->connection());
        QCOMPARE(outcome(loader, u"t"_s), QStringList({u"1"_s}));
        QCOMPARE(outcome(loader, u"t"_s), QStringList({u"1"_s}));

        QSqlQuery query(m_writer->connection());
        QVERIFY(query.exec(u"SHOW DateStyle"_s) && query.next());
        QCOMPARE(query.value(0).toString(), u"German, DMY"_s);
        query.finish();
        QVERIFY(m_writer->connection().rollback());
        QCOMPARE(loader.rowCount(u"t"_s), 0);
        QVERIFY(!QSqlQuery(m_writer->connection()).exec(u"SAVEPOINT x"_s));
    }

    void leavesNoTransactionBehind()
    {
        execute(u"CREATE TABLE t (c date)"_s);
        execute(u"INSERT INTO t VALUES ('infinity')"_s);
        const StrictLoader loader(m_database->connection());

        QVERIFY(!exceptionMessage([&] { loader.load(u"t"_s); }).isEmpty());
        QVERIFY(!QSqlQuery(m_database->connection()).exec(u"SAVEPOINT x"_s));
        execute(u"UPDATE t SET c = '2020-02-29'"_s);
        QCOMPARE(outcome(loader, u"t"_s), QStringList({u"2020.02.29 00:00:00.000"_s}));
        QVERIFY(!QSqlQuery(m_database->connection()).exec(u"SAVEPOINT x"_s));
        QSqlQuery query(m_database->connection());
        QVERIFY(query.exec(u"SHOW extra_float_digits"_s) && query.next());
        QCOMPARE(query.value(0).toString(), u"-5"_s);
    }

    void seesOneMoment()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        execute(u"CREATE TABLE b (c integer)"_s);
        execute(u"INSERT INTO a VALUES (1)"_s);
        execute(u"INSERT INTO b VALUES (1)"_s);
        PostgresConnection other(m_server.location());
        StrictLoader loader(m_database->connection());
        loader.setProgress([&other](const TableLoader::Progress &) {
            QSqlQuery query(other.connection());
            return query.exec(u"INSERT INTO a VALUES (2)"_s) && query.exec(u"INSERT INTO b VALUES (2)"_s);
        });

        const auto tables = loader.loadAll({u"a"_s, u"b"_s});

        QVERIFY(tables);
        QCOMPARE(tables->at(0)->rowCount(), 1);
        QCOMPARE(tables->at(1)->rowCount(), 1);
    }

    void doesNotWaitLongForALockedTable()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        SourceDatabase impatient(m_server.location(), 10, 100);
        const StrictLoader loader(impatient.connection());
        execute(u"BEGIN"_s);
        const auto end = qScopeGuard([this] { execute(u"ROLLBACK"_s); });
        execute(u"LOCK TABLE a IN ACCESS EXCLUSIVE MODE"_s);

        const QString message = exceptionMessage([&] { loader.load(u"a"_s); });

        QVERIFY2(message.contains("lock timeout"_L1), qPrintable(message));
        QVERIFY2(message.contains("\"a\""_L1), qPrintable(message));
    }

    void showsBytesThatAreNoText()
    {
        execute(u"DROP DATABASE IF EXISTS bytes"_s);
        execute(u"CREATE DATABASE bytes ENCODING 'SQL_ASCII' TEMPLATE template0"_s);
        {
            const PostgresConnection writer(m_server.location(u"bytes"_s));
            QCOMPARE(writer.execute(u"CREATE TABLE t (c text, v varchar(9))"_s), QString());
            QCOMPARE(writer.execute(u"INSERT INTO t VALUES ('ok', 'é'), (E'a\\xFF', '\uFFFD')"_s), QString());
            QCOMPARE(writer.execute(u"CREATE TABLE arrays AS SELECT ARRAY[E'\\xE9', 'é'] AS a"_s), QString());
            QCOMPARE(writer.execute(u"CREATE TABLE \"ü\" AS SELECT 1 AS a"_s), QString());
            QCOMPARE(writer.execute(u"DO $$ BEGIN EXECUTE 'CREATE TABLE e' || pg_catalog.chr(233) || "
                                    "' (a integer)'; END $$"_s),
                     QString());
            const SourceDatabase bytes(m_server.location(u"bytes"_s));

            const StrictLoader loader(bytes.connection());
            QCOMPARE(outcome(loader, u"t"_s),
                     QStringList(u"Таблица «t», строка 2, столбец «c»: значение 'a\uFFFD' не подходит к типу "
                                 "String (байты не составляют текста)"_s));
            const TableLoader shown(bytes.connection());
            QCOMPARE(shown.tableNames(), (QStringList{u"arrays"_s, u"e\\xE9"_s, u"t"_s, u"ü"_s}));
            QCOMPARE(outcome(shown, u"t"_s), (QStringList{u"ok | é"_s, u"a\\xFF | \uFFFD"_s}));
            QCOMPARE(shown.columnNotes(u"t"_s).size(), 1);
            QCOMPARE(texts(*shown.load(u"arrays"_s)), QStringList(u"{\\xE9,é}"_s));
            QCOMPARE(texts(*shown.load(u"ü"_s)), QStringList(u"1"_s));
            QCOMPARE(outcome(shown, u"e\\xE9"_s),
                     QStringList(u"Таблица «e\\xE9»: её имя не записано в UTF-8, по нему её не прочитать"_s));
            QCOMPARE(writer.execute(u"DELETE FROM t WHERE c IS NULL OR c <> 'ok'"_s), QString());
            QCOMPARE(outcome(loader, u"t"_s), QStringList({u"ok | é"_s}));
        }
        execute(u"DROP DATABASE bytes"_s);
    }

    void connectionOpensAndLoads()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        execute(u"INSERT INTO a VALUES (1), (2)"_s);
        execute(u"CREATE TABLE b (c numeric(5,1))"_s);
        SourceConnection connection;
        SourceRecorder recorder(connection);

        connection.open(m_server.location());
        QTRY_COMPARE(recorder.events, QStringList({u"opened a,b"_s}));
        connection.load({u"b"_s, u"a"_s});
        QTRY_COMPARE(recorder.events.size(), 2);

        QCOMPARE(recorder.events.at(1), u"loaded b,a"_s);
        QCOMPARE(MemoryDatabase::instance().tableNames(), QStringList({u"b"_s, u"a"_s}));
        QCOMPARE(connection.location().displayName(),
                 u"trader@127.0.0.1:%1/postgres"_s.arg(m_server.location().port));
    }

    void countsTablesAfterItHasOpened()
    {
        const QString quiet = u" WITH (autovacuum_enabled = false)"_s;
        execute(u"CREATE TABLE t (c integer)"_s + quiet);
        execute(u"CREATE TABLE heir (d text) INHERITS (t)"_s + quiet);
        execute(u"CREATE TABLE p (c integer) PARTITION BY LIST (c)"_s);
        execute(u"CREATE TABLE p1 PARTITION OF p FOR VALUES IN (1)"_s + quiet);
        execute(u"CREATE TABLE p2 PARTITION OF p FOR VALUES IN (2)"_s + quiet);
        execute(u"CREATE TABLE half (c integer) PARTITION BY LIST (c)"_s);
        execute(u"CREATE TABLE half1 PARTITION OF half FOR VALUES IN (1)"_s + quiet);
        execute(u"CREATE TABLE large (c integer, t text)"_s + quiet);
        execute(u"CREATE TABLE unknown (c integer)"_s + quiet);
        execute(u"CREATE VIEW v AS SELECT * FROM t"_s);
        execute(u"INSERT INTO t SELECT generate_series(1, 1000)"_s);
        execute(u"INSERT INTO heir SELECT 1, 'x' FROM generate_series(1, 10)"_s);
        execute(u"INSERT INTO p SELECT 1 + n % 2 FROM generate_series(1, 30) n"_s);
        execute(u"INSERT INTO half VALUES (1), (1)"_s);
        // More than is counted by one statement.
        execute(u"INSERT INTO large SELECT n, repeat('x', 300) FROM generate_series(1, 110000) n"_s);
        execute(u"ANALYZE t, heir, p, large"_s);
        execute(u"CREATE TABLE half2 PARTITION OF half FOR VALUES IN (2)"_s + quiet);
        execute(u"ANALYZE half1"_s);
        execute(u"INSERT INTO t SELECT generate_series(1, 500)"_s);
        execute(u"INSERT INTO p VALUES (1)"_s);
        execute(u"DELETE FROM large WHERE c > 100000"_s);
        SourceReader reader;

        QVERIFY(reader.read(m_server.location()));

        QCOMPARE(reader.recorder.countsAtOpening, u"half,heir ≈10,large ≈110000,p ≈30,t ≈1010,unknown,v"_s);
        QTRY_COMPARE(reader.recorder.counts, (QStringList{u"half 2"_s, u"heir 10"_s, u"large 100000"_s,
                                                          u"p 31"_s, u"t 1510"_s, u"unknown 0"_s}));
        QVERIFY(reader.recorder.isConsistent);
    }
    void aCountThatWaitsForALockKeepsNobodyWaiting()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        execute(u"CREATE TABLE locked (c integer)"_s);
        execute(u"CREATE TABLE y (c integer)"_s);
        execute(u"CREATE TABLE z (c integer)"_s);
        execute(u"INSERT INTO z VALUES (1)"_s);
        execute(u"BEGIN"_s);
        execute(u"LOCK TABLE locked IN ACCESS EXCLUSIVE MODE"_s);
        SourceReader reader;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"^Exception: База данных «trader@.*: .*lock timeout"_s));

        QVERIFY(reader.read(m_server.location()));
        QTRY_COMPARE(reader.recorder.counts, QStringList(u"a 0"_s));
        // Now the count of the table that is locked is under way.
        reader.connection.load({u"z"_s});

        QTRY_COMPARE(reader.recorder.events, (QStringList{u"opened a,locked,y,z"_s, u"loaded z"_s}));
        // The others are counted nevertheless; this one stays listed, and can be loaded when it is free.
        QTRY_COMPARE(SourceRecorder::countsOf(reader.connection.tables()), u"a 0,locked,y 0,z 1"_s);
        QCOMPARE(reader.connection.tables().at(1).error, QString());
        execute(u"ROLLBACK"_s);
        reader.connection.load({u"locked"_s});
        QTRY_COMPARE(reader.recorder.counts.constLast(), u"locked 0"_s);
        QVERIFY(reader.recorder.isConsistent);
    }

    void encryptsAsTheUserWants()
    {
        const auto openedWith = [this](const QString &host, const QString &mode, const QString &certificate) {
            SourceLocation location = m_server.location();
            location.host = host;
            location.tlsMode = mode;
            location.rootCertificate = certificate;
            QString encrypted;
            const QString error = exceptionMessage([&] {
                const SourceDatabase database(location);
                QSqlQuery query(database.connection());
                query.exec(u"SELECT ssl FROM pg_catalog.pg_stat_ssl WHERE pid OPERATOR(pg_catalog.=) "
                           "pg_catalog.pg_backend_pid()"_s);
                if (query.next())
                    encrypted = query.value(0).toBool() ? u"encrypted"_s : u"plain"_s;
            });
            return error.isEmpty() ? encrypted : error;
        };
        const QString address = m_server.location().host;
        const auto contains = [](const QString &text, const QString &part) {
            return text.contains(part) || (qWarning().noquote() << text, false);
        };

        QCOMPARE(openedWith(address, {}, {}), u"plain"_s);
        QVERIFY(contains(openedWith(address, u"require"_s, {}), u"does not support SSL"_s));
        m_database.reset();
        m_writer.reset();
        const QString error = m_server.restartWithTls();
        QVERIFY2(error.isEmpty(), qPrintable(error));
        const QString own = m_server.certificate();
        QCOMPARE(openedWith(address, {}, {}), u"encrypted"_s);
        QCOMPARE(openedWith(address, u"disable"_s, {}), u"plain"_s);
        QCOMPARE(openedWith(address, u"require"_s, {}), u"encrypted"_s);
        QCOMPARE(openedWith(address, u"verify-full"_s, own), u"encrypted"_s);
        QCOMPARE(openedWith(u"localhost"_s, u"verify-ca"_s, own), u"encrypted"_s);
        QVERIFY(contains(openedWith(u"localhost"_s, u"verify-full"_s, own), u"does not match host name"_s));

        QTemporaryDir directory;
        const QString odd = directory.filePath(u"it's a \\ я.crt"_s);
        QVERIFY(contains(openedWith(address, u"verify-ca"_s, odd), odd));
        QVERIFY(QFile::copy(own, odd));
        QCOMPARE(openedWith(address, u"verify-ca"_s, odd), u"encrypted"_s);
        QCOMPARE(openedWith(address, u"verify-ca"_s, u"/a;b.crt"_s),
                 u"В имени файла с сертификатом «/a;b.crt» не может быть «;»"_s);
        QCOMPARE(m_server.restart(), QString());
    }

    void namesTheServerWithoutThePassword_data()
    {
        QTest::addColumn<QString>("what");
        for (const char *what : {"wrong password", "no database", "no user", "no server", "no host"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void namesTheServerWithoutThePassword()
    {
        QFETCH(QString, what);
        execute(u"CREATE TABLE a (c integer)"_s);
        SourceLocation location = m_server.location();
        if (what == "wrong password"_L1)
            location.password = u"not the secret"_s;
        else if (what == "no database"_L1)
            location.database = u"none"_s;
        else if (what == "no user"_L1)
            location.user = u"nobody at all"_s;
        else if (what == "no server"_L1)
            location.port = 1;
        else
            location.host = u"256.1.1.1"_s;
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(m_server.location());
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: Не удалось открыть «"_s));

        connection.open(location);
        QTRY_COMPARE_WITH_TIMEOUT(recorder.events.size(), 1, 30'000);

        const QString event = recorder.take().constFirst();
        QVERIFY2(event.startsWith(u"failed Не удалось открыть «%1»: "_s.arg(location.displayName())),
                 qPrintable(event));
        QVERIFY2(!event.contains(u'\n') && !event.contains(location.password), qPrintable(event));
        QCOMPARE(connection.location(), m_server.location());
        connection.load({u"a"_s});
        QTRY_COMPARE(recorder.events, QStringList({u"loaded a"_s}));
    }

    void survivesAServerThatGoesAway()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        execute(u"INSERT INTO a VALUES (1)"_s);
        execute(u"CREATE TABLE big (id integer, t text)"_s);
        execute(u"INSERT INTO big SELECT i, repeat('x', 100) FROM generate_series(1, 200000) i"_s);
        m_database.reset();
        m_writer.reset();
        SourceConnection connection;
        SourceRecorder recorder(connection);
        connection.open(m_server.location());
        QTRY_VERIFY(!connection.isBusy());
        connection.load({u"a"_s});
        QTRY_VERIFY(!connection.isBusy());
        recorder.take();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"^Exception: База данных «trader@127.0.0.1:"_s));

        connection.load({u"big"_s});
        QTRY_VERIFY(recorder.lastTable == "big"_L1);
        m_server.stop();
        const auto again = qScopeGuard([this] {
            if (!m_server.isRunning())
                QCOMPARE(m_server.restart(), QString());
        });
        QTRY_COMPARE_WITH_TIMEOUT(recorder.events.size(), 1, 30'000);

        const QString event = recorder.take().constFirst();
        QVERIFY2(event.startsWith(
                     u"failed База данных «%1», таблица «big»: "_s.arg(connection.location().displayName())),
                 qPrintable(event));
        QCOMPARE(MemoryDatabase::instance().tableNames(), QStringList({u"a"_s}));
        // While it is away, and after it has come back.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: Не удалось открыть «trader@"_s));
        connection.load({u"big"_s});
        QTRY_COMPARE_WITH_TIMEOUT(recorder.events.size(), 1, 30'000);
        QVERIFY(recorder.take().constFirst().startsWith(u"failed Не удалось открыть «trader@"_s));
        QCOMPARE(m_server.restart(), QString());
        connection.load({u"big"_s});
        QTRY_COMPARE_WITH_TIMEOUT(recorder.events, QStringList({u"loaded big"_s}), 30'000);
        QCOMPARE(MemoryDatabase::instance().table(u"big"_s)->rowCount(), 200'000);
        recorder.take();
        connection.open(m_server.location());
        QTRY_COMPARE(recorder.events, QStringList({u"opened a,big"_s}));
    }

    void goesOnAfterTheServerWentAwayWithinTheRest()
    {
        execute(u"CREATE TABLE big (id integer PRIMARY KEY, t text)"_s);
        execute(u"INSERT INTO big SELECT i, repeat('x', 100) FROM generate_series(1, 100000) i"_s);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location()));
        reader.connection.load({u"big"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(reader.settle());
        const MemoryTable &table = *MemoryDatabase::instance().table(u"big"_s);
        QCOMPARE(table.rowCount(), SourceConnection::rowsOfBeginning);
        m_database.reset();
        m_writer.reset();
        const auto again = qScopeGuard([this] {
            if (!m_server.isRunning())
                QCOMPARE(m_server.restart(), QString());
        });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: "_s));
        reader.recorder.take();

        // The first rows have been added, and the others are not asked for before the server has gone.
        WaitingListener listener;
        table.changes().add(&listener);
        reader.connection.refresh({u"big"_s});
        const bool isUnderWay =
            QTest::qWaitFor([&listener] { return listener.isCalled.try_acquire(); }, 30'000);
        m_server.stop();
        listener.mayGoOn.release();
        const bool isAnswered = reader.settle();
        table.changes().remove(&listener);
        QVERIFY(isUnderWay && isAnswered);

        QVERIFY(reader.recorder.take().join(u';').startsWith(u"failed "_s));
        QVERIFY(!reader.connection.isComplete(u"big"_s));
        QVERIFY(table.rowCount() > SourceConnection::rowsOfBeginning);
        QVERIFY(table.rowCount() < 100'000);
        QCOMPARE(m_server.restart(), QString());
        const qint64 rest = 100'000 - table.rowCount();
        reader.connection.refresh({u"big"_s});
        QVERIFY(reader.settle());
        QCOMPARE(reader.recorder.take(), QStringList({u"refreshed big +%1 -0 ~0"_s.arg(rest)}));
        QVERIFY(reader.connection.isComplete(u"big"_s));
        QCOMPARE(table.rowCount(), 100'000);
    }

    void refreshesByThePrimaryKeyOnlyWhatMayHaveChanged()
    {
        execute(u"CREATE TABLE k (t text, a integer, b numeric(5,2), PRIMARY KEY (b, a))"_s);
        execute(u"INSERT INTO k VALUES ('x', 1, 1.5), ('y', 2, 1.5), ('z', 1, 2.5)"_s);
        execute(u"CREATE VIEW v AS SELECT pg_catalog.now() AS moment"_s);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s, u"v"_s}));
        const auto refreshed = [&reader](const QString &table, bool ifChanged) {
            reader.recorder.take();
            reader.recorder.steps = 0;
            reader.connection.refresh({table}, ifChanged);
            return reader.settle() ? reader.recorder.take().join(u'\n') : QString();
        };

        // The server's own work may count as a change.
        QTRY_VERIFY(refreshed(u"k"_s, true) == u"refreshed k +0 -0 ~0"_s && reader.recorder.steps == 0);
        execute(u"UPDATE k SET t = NULL WHERE a = 2"_s);
        execute(u"DELETE FROM k WHERE t = 'x'"_s);
        execute(u"INSERT INTO k VALUES ('new', 7, 7)"_s);
        QCOMPARE(refreshed(u"k"_s, true), u"refreshed k +1 -1 ~1"_s);
        QCOMPARE(texts(*MemoryDatabase::instance().table(u"k"_s)),
                 (QStringList{u"NULL | 2 | 1.50"_s, u"z | 1 | 2.50"_s, u"new | 7 | 7.00"_s}));
        QCOMPARE(refreshed(u"v"_s, true), u"refreshed v +1 -1 ~0"_s);

        // A server that ends all connections is connected to again.
        execute(u"SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE pid <> pg_backend_pid() "
                "AND backend_type = 'client backend'"_s);
        execute(u"INSERT INTO k VALUES ('newer', 8, 8)"_s);
        QCOMPARE(refreshed(u"k"_s, true), u"refreshed k +1 -0 ~0"_s);

        m_database.reset();
        m_writer.reset();
        m_server.stop();
        QLoggingCategory::setFilterRules(u"database.exception=false"_s);
        QVERIFY(refreshed(u"k"_s, true).startsWith(u"failed Не удалось открыть "_s));
        QLoggingCategory::setFilterRules({});
        QCOMPARE(m_server.restart(), QString());
        QCOMPARE(refreshed(u"k"_s, true), u"refreshed k +0 -0 ~0"_s);
    }

    void readsOnlyRowsThatMayHaveChanged_data()
    {
        QTest::addColumn<QString>("made");
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("answer");
        const QString plain = u"CREATE TABLE k (id integer PRIMARY KEY, t text, n integer DEFAULT 1)"_s;
        const QString parted =
            u"CREATE TABLE k (id integer PRIMARY KEY, t text, n integer DEFAULT 1) PARTITION BY RANGE (id); "
            "CREATE TABLE k1 PARTITION OF k FOR VALUES FROM (0) TO (500); "
            "CREATE TABLE k2 PARTITION OF k FOR VALUES FROM (500) TO (10000)"_s;
        const auto row = [](const char *name, const QString &made, const QStringList &changes,
                            const QString &answer) { QTest::newRow(name) << made << changes << answer; };
        row("nothing", plain, {}, u"+0 -0 ~0 of 0"_s);
        row("rows written", plain,
            {u"UPDATE k SET t = 'x' WHERE id < 4"_s, u"INSERT INTO k VALUES (2000, 'new')"_s},
            u"+1 -0 ~3 of 4"_s);
        row("a row written by a part of a transaction", plain,
            {u"BEGIN; SAVEPOINT a; UPDATE k SET t = 'x' WHERE id = 1; SAVEPOINT b; "
             "UPDATE k SET t = 'y' WHERE id = 2; ROLLBACK TO b; UPDATE k SET t = 'z' WHERE id = 3; COMMIT"_s},
            u"+0 -0 ~2 of 2"_s);
        row("rows frozen", plain, {u"UPDATE k SET t = 'x' WHERE id < 4"_s, u"VACUUM FREEZE k"_s},
            u"+0 -0 ~3 of 3"_s);
        row("rows removed", plain,
            {u"UPDATE k SET t = 'x' WHERE id < 4"_s, u"DELETE FROM k WHERE id > 990"_s},
            u"+0 -10 ~3 of 993"_s);
        row("a key written", plain, {u"UPDATE k SET id = 2000 WHERE id = 1"_s}, u"+1 -1 ~0 of 1001"_s);
        row("as many added as removed", plain,
            {u"DELETE FROM k WHERE id = 1"_s, u"INSERT INTO k VALUES (2000, 'new')"_s},
            u"+1 -1 ~0 of 1001"_s);
        row("all removed", plain, {u"TRUNCATE k"_s}, u"+0 -1000 ~0 of 0"_s);
        // No row is written by that.
        row("another column of that name", plain,
            {u"ALTER TABLE k DROP n"_s, u"ALTER TABLE k ADD n integer DEFAULT 2"_s},
            u"+0 -0 ~1000 of 1000"_s);
        row("another table of that name", plain,
            {u"ALTER TABLE k RENAME TO old"_s,
             u"CREATE TABLE k (id integer PRIMARY KEY, t text, n integer DEFAULT 1)"_s,
             u"INSERT INTO k SELECT id, 'other' FROM old"_s},
            u"+0 -0 ~1000 of 1000"_s);
        row("partitions", parted,
            {u"UPDATE k SET t = 'x' WHERE id < 4"_s, u"INSERT INTO k VALUES (2000, 'new')"_s},
            u"+1 -0 ~3 of 4"_s);
        row("a partition attached", parted,
            {u"CREATE TABLE k3 AS SELECT 20000 AS id, 'new' AS t, 1 AS n"_s,
             u"ALTER TABLE k3 ALTER id SET NOT NULL"_s, u"DELETE FROM k WHERE id = 1"_s,
             u"ALTER TABLE k ATTACH PARTITION k3 FOR VALUES FROM (20000) TO (30000)"_s},
            u"+1 -1 ~0 of 1000"_s);
        row("no primary key", u"CREATE TABLE k (id integer, t text, n integer)"_s, {}, u"+0 -0 ~0 of 1000"_s);
        row("children", plain + u"; CREATE TABLE child () INHERITS (k)"_s, {}, u"+0 -0 ~0 of 1000"_s);
        row("labels renamed",
            u"CREATE TYPE kind AS ENUM ('a', 'b'); "
            "CREATE TABLE k (id integer PRIMARY KEY, t text, n integer, e kind DEFAULT 'a')"_s,
            {u"ALTER TYPE kind RENAME VALUE 'a' TO 'c'"_s}, u"+0 -0 ~1000 of 1000"_s);
        row("names of objects renamed",
            u"CREATE TABLE named (c integer); CREATE TABLE k (id integer PRIMARY KEY, t text, n integer, "
            "e regclass DEFAULT 'named'::regclass)"_s,
            {u"ALTER TABLE named RENAME TO renamed"_s}, u"+0 -0 ~1000 of 1000"_s);
        row("types whose text stays",
            u"CREATE TABLE k (id numeric(9,2) PRIMARY KEY, t varchar(20), n integer, "
            "a integer[] DEFAULT '{1,2}', u timestamptz DEFAULT now(), i interval DEFAULT '1 day', "
            "b bytea DEFAULT 'x', j jsonb DEFAULT '{}')"_s,
            {u"UPDATE k SET a[2] = 3 WHERE id = 1"_s}, u"+0 -0 ~1 of 1"_s);
        const QString rows = u" FROM generate_series(1, 1000) i; ALTER TABLE k ADD PRIMARY KEY (id)"_s;
        row("keys of the type uuid",
            u"CREATE TABLE k AS SELECT lpad(i::text, 32, '0')::uuid AS id, 'row' AS t"_s + rows,
            {u"UPDATE k SET t = 'x' WHERE id::text LIKE '%0007'"_s,
             u"DELETE FROM k WHERE id::text LIKE '%0009'"_s},
            u"+0 -1 ~1 of 1000"_s);
        row("dates as keys", u"CREATE TABLE k AS SELECT date '2026-01-01' + i AS id, 'row' AS t"_s + rows,
            {u"UPDATE k SET t = 'x' WHERE id = '2026-01-07'; INSERT INTO k VALUES ('infinity', 'new')"_s},
            u"+1 -0 ~1 of 2"_s);
        row("intervals as keys", u"CREATE TABLE k AS SELECT interval '1 day' * i AS id, 'row' AS t"_s + rows,
            {u"UPDATE k SET t = 'x' WHERE id = '7 days'"_s}, u"+0 -0 ~1 of 1"_s);
        row("bytes as keys",
            u"CREATE TABLE k AS SELECT decode(lpad(i::text, 40, '0'), 'hex') AS id, 'row' AS t"_s + rows,
            {u"UPDATE k SET t = 'x' WHERE id = decode(lpad('7', 40, '0'), 'hex')"_s}, u"+1 -1 ~0 of 1000"_s);
        row("labels as keys",
            u"CREATE TYPE kind AS ENUM ('a', 'b'); "
            "CREATE TABLE k (id integer, t text, n integer, e kind DEFAULT 'a', PRIMARY KEY (id, e))"_s,
            {u"UPDATE k SET t = 'x' WHERE id = 7"_s}, u"+1 -1 ~0 of 1000"_s);
        row("a policy", plain, {u"ALTER TABLE k ENABLE ROW LEVEL SECURITY"_s}, u"+0 -0 ~0 of 0"_s);
    }
    void readsOnlyRowsThatMayHaveChanged()
    {
        QFETCH(const QString, made);
        QFETCH(const QStringList, changes);
        QFETCH(const QString, answer);
        execute(made);
        if (!made.contains(u"generate_series"_s))
            execute(u"INSERT INTO k SELECT i, 'row ' || i FROM generate_series(1, 1000) i"_s);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 1000"_s);

        for (const QString &change : changes)
            execute(change);

        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k "_s + answer);
        QCOMPARE(rowsOf(u"k"_s), freshRows(u"k"_s));
        QVERIFY(reader.recorder.isConsistent);
    }

    /// With SITO_TEST_ROWS=1000000 it tells what that saves, in milliseconds.
    void readsFewRowsOfMany()
    {
        const int rows = std::max(10'000, qEnvironmentVariableIntValue("SITO_TEST_ROWS"));
        execute(u"CREATE TABLE k (id integer PRIMARY KEY, t text, p numeric(12,4), d timestamp)"_s);
        execute(u"INSERT INTO k SELECT i, 'instrument ' || i, i / 7.0, timestamp '2026-01-01' + i * interval "
                "'1 second' FROM generate_series(1, %1) i"_s.arg(rows));
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of %1"_s.arg(rows));
        const qint64 whole = timer.elapsed();
        execute(u"UPDATE k SET p = p + 1 WHERE id % %1 = 0"_s.arg(rows / 100));

        timer.start();
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~100 of 100"_s);

        const qint64 changed = timer.elapsed();
        execute(u"DELETE FROM k WHERE id = 1"_s);
        timer.start();
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -1 ~0 of %1"_s.arg(rows - 1));
        qInfo("%d rows read in %lld ms, 100 of them in %lld ms, all keys in %lld ms", rows, whole, changed,
              timer.elapsed());
        QCOMPARE(rowsOf(u"k"_s), freshRows(u"k"_s));
    }

    void readsOnlyTheKeysToFindRowsThatWereRemoved()
    {
        execute(u"CREATE TABLE k (t text, b varchar(20), a numeric(9,2), PRIMARY KEY (a, b))"_s);
        execute(u"INSERT INTO k SELECT 'row ' || i, i, -i FROM generate_series(1, 1000) i"_s);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 1000"_s);
        // What nobody reads stays.
        MemoryTable &table = *MemoryDatabase::instance().table(u"k"_s);
        table.update(table.row(10), {{0, CellValue(u"here"_s)}});

        execute(u"DELETE FROM k WHERE b = '1'; UPDATE k SET b = 'key' WHERE b = '2'; "
                "UPDATE k SET t = 'there' WHERE b = '3'; INSERT INTO k VALUES ('new', 'new', 0)"_s);

        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +2 -2 ~1 of 1003"_s);
        QStringList rows = freshRows(u"k"_s);
        rows.replaceInStrings(u"row 11 |"_s, u"here |"_s);
        rows.sort();
        QCOMPARE(rowsOf(u"k"_s), rows);
    }

    void refreshesAlsoWhereTheServerDoesNotTellOfLocks()
    {
        execute(u"CREATE TABLE k (id integer PRIMARY KEY)"_s);
        execute(u"INSERT INTO k SELECT generate_series(1, 10)"_s);
        execute(u"CREATE ROLE reader LOGIN PASSWORD 'reader'; GRANT USAGE ON SCHEMA public TO reader; "
                "GRANT SELECT ON k TO reader; REVOKE SELECT ON pg_catalog.pg_locks FROM PUBLIC"_s);
        const auto restored = qScopeGuard([this] {
            execute(u"GRANT SELECT ON pg_catalog.pg_locks TO PUBLIC; DROP OWNED BY reader; "
                    "DROP ROLE reader"_s);
        });
        SourceLocation location = m_server.location();
        location.user = u"reader"_s;
        location.password = u"reader"_s;
        SourceReader reader;
        QVERIFY(reader.read(location, {u"k"_s}));

        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 10"_s);
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 10"_s);
    }

    void readsWhatTransactionsHadNotEndedBefore()
    {
        execute(u"CREATE TABLE k (id integer PRIMARY KEY, t text)"_s);
        execute(u"INSERT INTO k SELECT i, 'old' FROM generate_series(1, 1000) i"_s);
        const PostgresConnection other(m_server.location());
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 1000"_s);

        // The transaction that began first ends last, after the second refresh.
        QCOMPARE(other.execute(u"BEGIN; UPDATE k SET t = 'first' WHERE id = 1"_s), QString());
        execute(u"UPDATE k SET t = 'second' WHERE id = 2"_s);
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~1 of 1"_s);
        QCOMPARE(other.execute(u"SAVEPOINT a; UPDATE k SET t = 'third' WHERE id = 3; COMMIT"_s), QString());

        // That of the second row came later than the one that was still open.
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~2 of 3"_s);
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 0"_s);
        QCOMPARE(rowsOf(u"k"_s), freshRows(u"k"_s));
    }

    void readsAllRowsOfATableThatIsAltered()
    {
        execute(u"CREATE TABLE k (id integer PRIMARY KEY, t text)"_s);
        execute(u"INSERT INTO k SELECT i, 'old' FROM generate_series(1, 10) i"_s);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 10"_s);
        const PostgresConnection other(m_server.location());
        QCOMPARE(other.execute(u"BEGIN; LOCK TABLE k IN ACCESS EXCLUSIVE MODE"_s), QString());

        // It waits for the lock as ever, with what was fixed before.
        reader.recorder.take();
        reader.connection.refresh({u"k"_s});
        QSqlQuery waiting(m_writer->connection());
        QTRY_VERIFY(waiting.exec(u"SELECT FROM pg_locks WHERE NOT granted"_s) && waiting.size() > 0);
        QCOMPARE(other.execute(u"UPDATE k SET t = 'new' WHERE id = 1; COMMIT"_s), QString());
        QVERIFY(reader.settle());
        QCOMPARE(refreshed(reader, u"k"_s).section(u' ', 5), u"of 10"_s);
        QCOMPARE(rowsOf(u"k"_s), freshRows(u"k"_s));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 0"_s);
    }

    void agreesWithAFreshLoadWhateverTransactionsDo()
    {
        const quint64 seed = testSeed();
        TransactionScript script(m_server.location(), seed);
        const QStringList names = TransactionScript::tables();
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), names));
        for (const QString &name : names)
            refreshed(reader, name);
        for (int step = 0; step < 40; ++step) {
            // Every other step removes nothing, so that few rows suffice.
            const bool isRemoving = step % 2 == 0;
            script.step(isRemoving);
            QVERIFY2(script.error().isEmpty(), seedMessage(seed, script.error()).constData());
            for (const QString &name : names) {
                const QString answer = refreshed(reader, name);
                const QByteArray message = seedMessage(seed, u"step %1: %2"_s.arg(step).arg(answer));
                QVERIFY2(answer.startsWith(u"refreshed"_s), message.constData());
                QVERIFY2(rowsOf(name) == freshRows(name), message.constData());
                QVERIFY2(isRemoving || answer.section(u' ', -1).toInt() < 200, message.constData());
            }
        }
    }

    void readsOnlyRowsOfAColumnThatGrows_data()
    {
        QTest::addColumn<QString>("made");
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("answer");
        const QString table = u"CREATE TABLE b (id integer, n numeric(9,2), d timestamptz, e json)"_s;
        const QString unknown =
            u"; CREATE TYPE kind AS ENUM ('a'); ALTER TABLE b ADD k kind, ADD PRIMARY KEY (id)"_s;
        const QString view = u"; CREATE VIEW k AS SELECT * FROM b"_s;
        const QString name = u"; ALTER TABLE b RENAME TO k; CREATE VIEW b AS SELECT id, n, d, e FROM k"_s;
        QTest::newRow("a table without a key") << table + name << u"id"_s << u"+1 -0 ~0 of 2"_s;
        QTest::newRow("a view") << table + view << u"id"_s << u"+1 -0 ~0 of 2"_s;
        QTest::newRow("numbers") << table + unknown + name << u"n"_s << u"+1 -0 ~0 of 2"_s;
        QTest::newRow("moments") << table + unknown + name << u"d"_s << u"+1 -0 ~0 of 2"_s;
    }
    void readsOnlyRowsOfAColumnThatGrows()
    {
        QFETCH(const QString, made);
        QFETCH(const QString, column);
        QFETCH(const QString, answer);
        const QString rows =
            u"INSERT INTO b SELECT i, i / 4.0, timestamptz '2026-01-01' + i * interval '1 hour', '{}' "
            "FROM generate_series(%1) i"_s;
        execute(made);
        execute(rows.arg(u"1, 1000"_s));
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));
        reader.connection.setGrowingColumn(u"k"_s, column);
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k +0 -0 ~0 of 1000"_s);

        execute(rows.arg(u"1001, 1001"_s));
        QCOMPARE(refreshed(reader, u"k"_s), u"refreshed k "_s + answer);
        QCOMPARE(rowsOf(u"k"_s), freshRows(u"k"_s));
    }

    void fetchesAllBytesOfACell_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("key");
        QTest::newRow("numbers") << u"id integer PRIMARY KEY, b bytea"_s << u"%1"_s;
        QTest::newRow("texts") << u"id text PRIMARY KEY, \"%1\" bytea, b bytea"_s << u"E'it''s № \\\\ %1'"_s;
        QTest::newRow("uuid") << u"id uuid PRIMARY KEY, b bytea"_s
                              << u"'0000000%1-0000-0000-0000-00000000000A'"_s;
        QTest::newRow("date") << u"id date PRIMARY KEY, b bytea"_s << u"date '2026-01-01' + %1"_s;
        QTest::newRow("interval") << u"id interval PRIMARY KEY, b bytea"_s << u"interval '1 day' * %1"_s;
        QTest::newRow("more") << u"b bytea, d timestamp DEFAULT '2017-01-31 14:30:00.125', "
                                 "z timestamptz DEFAULT '2017-01-31 14:30:00.5+03', "
                                 "y date DEFAULT '2017-01-31', c char(5) DEFAULT 'ab', "
                                 "id numeric(9,2), PRIMARY KEY (id, d, z, y, c)"_s
                              << u"0.25 + %1"_s;
    }
    void fetchesAllBytesOfACell()
    {
        QFETCH(const QString, columns);
        QFETCH(const QString, key);
        const QList<QByteArray> values = bytesOfManySizes();
        execute(u"CREATE TABLE k ("_s + columns + u')');
        for (const QString &statement : insertions(u"k"_s, values, u"'\\x%1'"_s, key))
            execute(statement);
        SourceReader reader;
        QVERIFY(reader.read(m_server.location(), {u"k"_s}));

        QCOMPARE(wrongBytes(reader, u"k"_s, values), QString());
        execute(u"DELETE FROM k"_s);
        const QString gone = u"Строки уже нет в таблице «k»: она удалена, или её ключ изменён"_s;
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + gone));
        QCOMPARE(fetchError(reader, u"k"_s, 0, u"b"_s), u"failed "_s + gone);
    }

    void loadsBeginningsOfSeveralTables()
    {
        for (const QString &name : {u"a"_s, u"b"_s}) {
            execute(u"CREATE TABLE %1 (id integer PRIMARY KEY)"_s.arg(name));
            execute(u"INSERT INTO %1 SELECT generate_series(1, 12000)"_s.arg(name));
        }
        SourceReader reader;
        QVERIFY(reader.read(m_server.location()));
        const QStringList tables{u"a"_s, u"b"_s};
        reader.recorder.take();

        reader.connection.load(tables, SourceConnection::Extent::Beginning);
        QVERIFY(reader.settle());
        reader.connection.refresh(tables);
        QVERIFY(reader.settle());

        QCOMPARE(reader.recorder.take(),
                 QStringList({u"loaded a,b"_s, u"refreshed a +2000 -0 ~0,b +2000 -0 ~0"_s}));
    }

    void cancelsWithoutWaitingForASilentServer()
    {
        execute(u"CREATE TABLE a (c integer)"_s);
        const auto location = m_server.location();
        SourceConnection connection;
        SourceRecorder recorder(connection);
        m_server.freeze(true);
        const auto thaw = qScopeGuard([this] { m_server.freeze(false); });
        QElapsedTimer timer;
        timer.start();

        connection.open(location);
        QTest::qWait(20);
        connection.cancel();
        QTRY_COMPARE(recorder.events, QStringList({u"cancelled"_s}));

        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!connection.isBusy());
        // Another source need not wait for it either.
        recorder.take();
        QTest::ignoreMessage(QtWarningMsg, "Exception: Файла «none» нет");
        connection.open(SourceLocation::fromFile(u"none"_s));
        QTRY_COMPARE(recorder.events, QStringList({u"failed Файла «none» нет"_s}));
        m_server.freeze(false);
    }
};

QTEST_GUILESS_MAIN(tst_PostgreSql)
#include "tst_postgresql.moc"
