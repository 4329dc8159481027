// SPDX-License-Identifier: MIT
#include <sources/tableloader.h>

#include <hostkit/parallel/stopsource.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/fieldvalue.h>

#include <support/exceptions.h>
#include <support/loadedtables.h>

#include <QDate>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlField>
#include <QSqlIndex>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QSqlResult>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QString connectionName = u"tst_tableloader"_s;

/// A driver that is not SQLite's and holds one table of one row, to see what a loader makes of what drivers
/// say.
class OtherDriver : public QSqlDriver
{
    Q_OBJECT
public:
    struct Content
    {
        QSqlRecord columns;
        QSqlIndex key;
        QList<QVariantList> rows;
        QStringList statements;
        QSql::NumericalPrecisionPolicy policy = QSql::LowPrecisionDouble;
    };

    explicit OtherDriver(Content *content) : m_content(content) {}

    bool hasFeature(DriverFeature) const override { return false; }
    bool open(const QString &, const QString &, const QString &, const QString &, int,
              const QString &) override
    {
        setOpen(true);
        return true;
    }
    void close() override { setOpen(false); }
    QStringList tables(QSql::TableType) const override { return {u"zeta"_s, u"public.data"_s}; }
    QSqlRecord record(const QString &) const override { return m_content->columns; }
    QSqlIndex primaryIndex(const QString &) const override { return m_content->key; }
    QSqlResult *createResult() const override;

private:
    Content *m_content;
};

class OtherResult : public QSqlResult
{
public:
    OtherResult(const QSqlDriver *driver, OtherDriver::Content *content)
        : QSqlResult(driver), m_content(content)
    {
    }

protected:
    bool reset(const QString &statement) override
    {
        m_content->statements.append(statement);
        m_content->policy = numericalPrecisionPolicy();
        m_isCount = statement.startsWith("SELECT count(*)"_L1);
        setSelect(true);
        setActive(true);
        setAt(QSql::BeforeFirstRow);
        return true;
    }
    bool fetch(int row) override
    {
        setAt(row);
        return row < (m_isCount ? 1 : m_content->rows.size());
    }
    bool fetchFirst() override { return fetch(0); }
    bool fetchLast() override { return false; }
    QVariant data(int column) override
    {
        return m_isCount ? QVariant(qint64(m_content->rows.size())) : m_content->rows.at(at()).at(column);
    }
    bool isNull(int column) override { return data(column).isNull(); }
    int size() override { return -1; }
    int numRowsAffected() override { return 0; }

private:
    OtherDriver::Content *m_content;
    bool m_isCount = false;
};

QSqlResult *OtherDriver::createResult() const
{
    return new OtherResult(this, m_content);
}

} // namespace

class tst_TableLoader : public QObject
{
    Q_OBJECT
private:
    QSqlDatabase connection() const { return QSqlDatabase::database(connectionName); }
    void execute(const QString &statement) const
    {
        QSqlQuery query(connection());
        QVERIFY2(query.exec(statement), qPrintable(statement + u": "_s + query.lastError().text()));
    }
    /// Makes table t of one column c and one row of \a value, an SQL expression.
    void makeCell(const QString &type, const QString &value) const
    {
        execute(u"CREATE TABLE t (c %1)"_s.arg(type));
        execute(u"INSERT INTO t VALUES (%1)"_s.arg(value));
    }

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName);
        database.setDatabaseName(u":memory:"_s);
        QVERIFY(database.open());
    }
    void cleanup()
    {
        MemoryDatabase::instance().clear();
        QSqlDatabase::removeDatabase(connectionName);
    }

    void listsTablesInOrderOfCodeUnits()
    {
        for (const char *table : {"b", "\"B\"\"\"", "a.b", "[", "я", "sqliteish", "a b"})
            execute(
                u"CREATE TABLE \"%1\" (id INTEGER)"_s.arg(QString::fromUtf8(table).replace(u'"', u"\"\""_s)));
        execute(u"CREATE VIEW v AS SELECT * FROM b"_s);
        execute(u"CREATE TABLE counted (id INTEGER PRIMARY KEY AUTOINCREMENT)"_s);

        const QStringList names = StrictLoader(connection()).tableNames();

        QCOMPARE(names, QStringList({u"\"B\"\"\""_s, u"["_s, u"a b"_s, u"a.b"_s, u"b"_s, u"counted"_s,
                                     u"sqliteish"_s, u"v"_s, u"я"_s}));
    }

    void declaredTypesBecomeFieldTypes_data()
    {
        QTest::addColumn<QString>("declared");
        QTest::addColumn<FieldType::Type>("type");
        QTest::addColumn<int>("length");
        const auto row = [](const char *declared, FieldType::Type type, int length = 0) {
            QTest::newRow(declared) << QString::fromUtf8(declared) << type << length;
        };
        row("INTEGER", FieldType::Int);
        row("int", FieldType::Int);
        row("INT(11)", FieldType::Int);
        row("SMALLINT", FieldType::Int);
        row("TinyInt", FieldType::Int);
        row("BOOLEAN", FieldType::Int);
        row("BIGINT", FieldType::Int64);
        row("INT8", FieldType::Int64);
        row("INT UNSIGNED", FieldType::Int64);
        row("INT(10) UNSIGNED", FieldType::Int64);
        row("UNSIGNED BIG INT", FieldType::Int64);
        row("DOUBLE", FieldType::Double);
        row("DOUBLE  PRECISION", FieldType::Double);
        row("FLOAT", FieldType::Double);
        row("REAL", FieldType::Double);
        row("DECIMAL(10,2)", FieldType::Decimal, 2);
        row("decimal( 16 , 4 )", FieldType::Decimal, 4);
        row("NUMERIC(16)", FieldType::Decimal, 0);
        row("NUMERIC(4,-2)", FieldType::Decimal, -2);
        row("DECIMAL(17,2)", FieldType::XDecimal, 2);
        row("NUMERIC(36,18)", FieldType::XDecimal, 18);
        row("NUMERIC", FieldType::XDecimal, 10);
        row("VARCHAR(12)", FieldType::VarChar, 12);
        row("VARCHAR(32767)", FieldType::VarChar, 32767);
        row("NVARCHAR(3 CHAR)", FieldType::VarChar, 3);
        row("CHARACTER VARYING(5)", FieldType::VarChar, 5);
        row("CHAR(1)", FieldType::VarChar, 1);
        row("VARCHAR(32768)", FieldType::String);
        row("VARCHAR", FieldType::String);
        row("TEXT", FieldType::String);
        row("TEXT(20)", FieldType::String);
        row("CLOB", FieldType::String);
        row("TIMESTAMP", FieldType::DateTime);
        row("TIMESTAMP(3)", FieldType::DateTime);
        row("TIMESTAMP(3) WITHOUT TIME ZONE", FieldType::DateTime);
        row("DATETIME", FieldType::DateTime);
        row("DATE", FieldType::DateTime);
        row("BLOB", FieldType::Block);
        row("BLOB(16)", FieldType::Raw, 16);
        row("BINARY(65535)", FieldType::Raw, 65535);
    }
    void declaredTypesBecomeFieldTypes()
    {
        QFETCH(QString, declared);
        QFETCH(FieldType::Type, type);
        QFETCH(int, length);
        execute(u"CREATE TABLE t (c \"%1\")"_s.arg(declared));

        const StrictLoader loader(connection());

        const ColumnSpec expected{.name = u"c"_s, .type = type, .nullable = true, .length = length};
        QCOMPARE(loader.columns(u"t"_s), QList<ColumnSpec>({expected}));
        QCOMPARE(loader.load(u"t"_s)->columnSpec(0), expected);
    }

    void generatedColumnsAreLoaded()
    {
        execute(u"CREATE TABLE t (a INTEGER, b INTEGER GENERATED ALWAYS AS (a * 2) STORED, "
                "c INT GENERATED ALWAYS AS (a + 1))"_s);
        execute(u"INSERT INTO t (a) VALUES (5)"_s);

        QCOMPARE(outcome(StrictLoader(connection()), u"t"_s), QStringList({u"5 | 10 | 6"_s}));
    }

    void refusesTypesThatHaveNoPlace_data()
    {
        QTest::addColumn<QString>("declared");
        for (const char *declared : {"", "GEOMETRY", "TIME", "INTEGERS", "BLOB(0)", "BLOB(65536)",
                                     "DECIMAL(0,0)", "DECIMAL(10,64)", "\"VARCHAR(x)\"", "\"1\""}) {
            QTest::newRow(*declared ? declared : "no type") << QString::fromUtf8(declared);
        }
    }
    void refusesTypesThatHaveNoPlace()
    {
        QFETCH(QString, declared);
        execute(u"CREATE TABLE t (id INTEGER, c %1)"_s.arg(declared));
        const StrictLoader loader(connection());

        const QString message = exceptionMessage([&] { loader.columns(u"t"_s); });

        QCOMPARE(message,
                 u"Таблица «t», столбец «c»: тип «%1» не поддерживается"_s.arg(declared.remove(u'"')));
        QCOMPARE(exceptionMessage([&] { loader.load(u"t"_s); }), message);
    }

    void onlyRequiredColumnsAdmitNoAbsentValues()
    {
        execute(u"CREATE TABLE t (a TEXT, b TEXT NOT NULL, c INTEGER, d VARCHAR(2), PRIMARY KEY (c, d))"_s);

        QCOMPARE(typeTexts(StrictLoader(connection()).columns(u"t"_s)),
                 QStringList({u"a String(0)?"_s, u"b String(0)"_s, u"c Int(0)"_s, u"d VarChar(2)"_s}));
    }

    void keepsEveryValue_data()
    {
        const CellRows row("text");
        row("null", "INTEGER", "NULL", "NULL");
        row("largest Int", "INTEGER", "2147483647", "2147483647");
        row("smallest Int", "INTEGER", "-2147483648", "-2147483648");
        row("true", "BOOLEAN", "TRUE", "1");
        row("whole REAL in an integer", "BIGINT", "4e15", "4000000000000000");
        row("largest Int64", "BIGINT", "9223372036854775807", "9223372036854775807");
        row("smallest Int64", "BIGINT", "-9223372036854775808", "-9223372036854775808");
        row("double", "DOUBLE", "0.1", "0.1");
        row("whole number in a double", "DOUBLE", "9007199254740992", "9007199254740992");
        row("infinite double", "DOUBLE", "-9e999", "-inf");
        row("decimal from an integer", "DECIMAL(10,2)", "3", "3.00");
        row("decimal from REAL", "DECIMAL(10,2)", "79.5", "79.50");
        row("negative decimal", "DECIMAL(10,2)", "-0.07", "-0.07");
        row("decimal with all digits", "DECIMAL(15,2)", "9999999999999.99", "9999999999999.99");
        row("16 digits", "NUMERIC(16)", "9999999999999999", "9999999999999999");
        row("zero", "DECIMAL(4,4)", "0", "0.0000");
        row("scale that no quick way takes", "DECIMAL(30,25)", "0.1", "0.1000000000000000000000000");
        row("negative scale", "NUMERIC(4,-2)", "1200", "12e2");
        row("wide integer", "NUMERIC(25,3)", "9223372036854775807", "9223372036854775807.000");
        row("REAL beyond 15 digits by its shortest text", "NUMERIC(22,2)", "12345678901234567890.0",
            "12345678901234567000.00");
        row("open decimal", "NUMERIC", "1.25", "1.2500000000");
        row("text of full length", "VARCHAR(3)", "'abc'", "abc");
        row("pair of surrogates", "VARCHAR(2)", "'😀'", "😀");
        row("empty text", "VARCHAR(3)", "''", "");
        row("Cyrillic", "TEXT", "'Ясный «день»'", "Ясный «день»");
        row("text with a replacement character", "TEXT", "'a' || char(65533)", "a\uFFFD");
        row("date", "DATE", "'2017-01-03'", "2017.01.03 00:00:00.000");
        row("dotted date", "DATE", "'1969.12.31'", "1969.12.31 00:00:00.000");
        row("date and time", "TIMESTAMP", "'2017-01-03 01:02:03'", "2017.01.03 01:02:03.000");
        row("milliseconds", "TIMESTAMP", "'1970.01.01 00:00:00.001'", "1970.01.01 00:00:00.001");
        row("no date", "TIMESTAMP", "''", "");
        row("Raw", "BLOB(3)", "x'00ff10'", "00ff10");
    }
    void keepsEveryValue()
    {
        QFETCH(QString, type);
        QFETCH(QString, value);
        QFETCH(QString, text);
        makeCell(type, value);

        QCOMPARE(outcome(StrictLoader(connection()), u"t"_s), QStringList({text}));
    }

    void keepsBlocks()
    {
        execute(u"CREATE TABLE t (c BLOB)"_s);
        QSqlQuery query(connection());
        const QByteArray block = sampleBlock();
        query.prepare(u"INSERT INTO t VALUES (?)"_s);
        query.addBindValue(block);
        QVERIFY(query.exec());

        const auto table = StrictLoader(connection()).load(u"t"_s);

        QCOMPARE(firstBlock(*table), block);
    }

    void keepsNulInStrings()
    {
        makeCell(u"TEXT"_s, u"CAST(x'610062' AS TEXT)"_s);

        QCOMPARE(outcome(StrictLoader(connection()), u"t"_s), QStringList({u"a"_s + QChar(u'\0') + u'b'}));
    }

    void refusesWhatDoesNotFit_data()
    {
        const CellRows row("end");
        row("2^31 in Int", "INTEGER", "2147483648",
            "2147483648 не подходит к типу Int (число вне пределов типа)");
        row("-2^31-1 in Int", "INTEGER", "-2147483649",
            "-2147483649 не подходит к типу Int (число вне пределов типа)");
        row("text in Int", "INTEGER", "'abc'", "'abc' не подходит к типу Int (значение другого рода)");
        row("bytes in Int", "INTEGER", "x'31'", "x'31' не подходит к типу Int (значение другого рода)");
        row("fraction in Int", "INTEGER", "1.5", "1.5 не подходит к типу Int (число нельзя сохранить точно)");
        row("huge REAL in Int64", "BIGINT", "1e19",
            "1e+19 не подходит к типу Int64 (число вне пределов типа)");
        row("text in Double", "DOUBLE", "'1,5'", "'1,5' не подходит к типу Double (значение другого рода)");
        row("text in Decimal", "DECIMAL(10,2)", "'x'",
            "'x' не подходит к типу Decimal(10,2) (значение другого рода)");
        row("lone sign in Decimal", "DECIMAL(10,2)", "'-'",
            "'-' не подходит к типу Decimal(10,2) (значение другого рода)");
        row("bytes in Decimal", "DECIMAL(10,2)", "x'31'",
            "x'31' не подходит к типу Decimal(10,2) (значение другого рода)");
        row("digits after the point", "DECIMAL(10,2)", "1.005",
            "1.005 не подходит к типу Decimal(10,2) (в числе больше цифр, чем объявлено)");
        row("digits before the point", "DECIMAL(5,2)", "1000",
            "1000 не подходит к типу Decimal(5,2) (в числе больше цифр, чем объявлено)");
        row("rounding would hide it", "DECIMAL(5,2)", "999.9999",
            "999.9999 не подходит к типу Decimal(5,2) (в числе больше цифр, чем объявлено)");
        row("infinite in Decimal", "DECIMAL(5,2)", "9e999",
            "inf не подходит к типу Decimal(5,2) (число вне пределов типа)");
        row("digits before a negative scale", "NUMERIC(4,-2)", "1250",
            "1250 не подходит к типу Decimal(4,-2) (в числе больше цифр, чем объявлено)");
        row("tiny number", "NUMERIC", "1e-300",
            "1e-300 не подходит к типу XDecimal(36,10) (в числе больше цифр, чем объявлено)");
        row("long text", "VARCHAR(3)", "'abcd'",
            "'abcd' не подходит к типу VarChar(3) (текст длиннее, чем объявлено)");
        row("surrogates count twice", "VARCHAR(1)", "'😀'",
            "'😀' не подходит к типу VarChar(1) (текст длиннее, чем объявлено)");
        row("bytes in text", "VARCHAR(3)", "x'616263'",
            "x'616263' не подходит к типу VarChar(3) (значение другого рода)");
        row("invalid UTF-8", "TEXT", "CAST(x'61c3' AS TEXT)",
            "'a\uFFFD' не подходит к типу String (байты не составляют текста)");
        row("stray byte", "TEXT", "CAST(x'61b5' AS TEXT)",
            "'a\u00B5' не подходит к типу String (байты не составляют текста)");
        row("byte left out", "TEXT", "CAST(x'61e4bd' AS TEXT)",
            "'a\u013D' не подходит к типу String (байты не составляют текста)");
        row("unreadable date", "DATE", "'03.01.2017'", "'03.01.2017' не подходит к типу DateTime (не дата)");
        row("day that is not", "DATE", "'2017-02-29'", "'2017-02-29' не подходит к типу DateTime (не дата)");
        row("minutes that are not", "DATE", "'2017-01-31T14:60'",
            "'2017-01-31T14:60' не подходит к типу DateTime (не дата)");
        row("hours that are not", "DATE", "'2017-01-31 24:00:00.5'",
            "'2017-01-31 24:00:00.5' не подходит к типу DateTime (не дата)");
        row("date with a tail", "DATE", "'2017-01-31T14:30:00Zulu'",
            "'2017-01-31T14:30:00Zulu' не подходит к типу DateTime (не дата)");
        row("date of a server", "DATE", "'0044-03-15 BC'",
            "'0044-03-15 BC' не подходит к типу DateTime (не дата)");
        row("too fine a time", "DATE", "'2017-01-31 14:30:00.1234'",
            "'2017-01-31 14:30:00.1234' не подходит к типу DateTime (время точнее миллисекунды)");
        row("the epoch with a T", "DATE", "'1970-01-01T00:00'",
            "'1970-01-01T00:00' не подходит к типу DateTime (это мгновение обозначает отсутствие даты)");
        row("number as date", "DATE", "20170103",
            "20170103 не подходит к типу DateTime (значение другого рода)");
        row("the epoch", "DATE", "'1970-01-01'",
            "'1970-01-01' не подходит к типу DateTime (это мгновение обозначает отсутствие даты)");
        row("the epoch with time", "TIMESTAMP", "'1970.01.01 00:00:00.000'",
            "'1970.01.01 00:00:00.000' не подходит к типу DateTime (это мгновение обозначает отсутствие "
            "даты)");
        row("short Raw", "BLOB(3)", "x'0102'", "x'0102' не подходит к типу Raw(3) (другое число байтов)");
        row("long Raw", "BLOB(3)", "x'01020304'",
            "x'01020304' не подходит к типу Raw(3) (другое число байтов)");
        row("text in Raw", "BLOB(3)", "'abc'", "'abc' не подходит к типу Raw(3) (значение другого рода)");
        row("short Block", "BLOB", "zeroblob(403)",
            "x'0000000000000000…' (403) не подходит к типу Block(404) (другое число байтов)");
        row("long value in the message", "DATE", "replace(hex(zeroblob(50)), '0', 'x')",
            "'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx…' не подходит к типу DateTime (не "
            "дата)");
        row("long value with a pair at the cut", "DATE",
            "substr(replace(hex(zeroblob(50)), '0', 'x'), 1, 59) || '😀y'",
            "'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx…' не подходит к типу DateTime (не "
            "дата)");
        row("control characters in the message", "DATE", "'a' || char(10) || 'b'",
            "'a\uFFFDb' не подходит к типу DateTime (не дата)");
    }
    void refusesWhatDoesNotFit()
    {
        QFETCH(QString, type);
        QFETCH(QString, value);
        QFETCH(QString, end);
        execute(u"CREATE TABLE t (id INTEGER, c %1)"_s.arg(type));
        execute(u"INSERT INTO t VALUES (1, NULL)"_s);
        execute(u"INSERT INTO t VALUES (2, %1)"_s.arg(value));

        const QString message = exceptionMessage([&] { StrictLoader(connection()).load(u"t"_s); });

        QCOMPARE(message, u"Таблица «t», строка 2, столбец «c»: значение "_s + end);
    }

    void refusesTextsThatEndAtNul()
    {
        makeCell(u"VARCHAR(5)"_s, u"CAST(x'610062' AS TEXT)"_s);

        QCOMPARE(exceptionMessage([&] { StrictLoader(connection()).load(u"t"_s); }),
                 u"Таблица «t», строка 1, столбец «c»: значение 'a\uFFFDb' не подходит к типу VarChar(5) "
                 "(в тексте есть нулевой символ)"_s);
    }

    void refusesNullWhereAValueIsRequired()
    {
        // SQLite lets NULL into a primary key that is not a row number.
        execute(u"CREATE TABLE t (c VARCHAR(3) PRIMARY KEY)"_s);
        execute(u"INSERT INTO t VALUES (NULL)"_s);

        QCOMPARE(exceptionMessage([&] { StrictLoader(connection()).load(u"t"_s); }),
                 u"Таблица «t», строка 1, столбец «c»: значение NULL не подходит к типу VarChar(3) "
                 "(столбец не допускает пустых значений)"_s);
    }

    void tellsInvalidTextsFromReplacementCharacters()
    {
        execute(u"CREATE TABLE t (id INTEGER, c TEXT)"_s);
        for (int i = 0; i < 50; ++i)
            execute(u"INSERT INTO t VALUES (%1, 'a' || char(65533))"_s.arg(i));
        QCOMPARE(StrictLoader(connection()).load(u"t"_s)->rowCount(), 50);
        execute(u"INSERT INTO t VALUES (50, CAST(x'61c3' AS TEXT))"_s);

        const QString message = exceptionMessage([&] { StrictLoader(connection()).load(u"t"_s); });

        QCOMPARE(message,
                 u"Таблица «t», строка 51, столбец «c»: значение 'a\uFFFD' не подходит к типу String "
                 "(байты не составляют текста)"_s);
    }

    void readsDatabasesInUtf16()
    {
        execute(u"PRAGMA encoding = 'UTF-16le'"_s);
        makeCell(u"TEXT"_s, u"'Ясно' || char(65533)"_s);

        QCOMPARE(outcome(StrictLoader(connection()), u"t"_s), QStringList({u"Ясно\uFFFD"_s}));
    }

    void takesFloatingPointThroughItsShortestText()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        execute(u"CREATE TABLE t (id INTEGER, c DECIMAL(15,6))"_s);
        QSqlQuery query(connection());
        QVERIFY(query.prepare(u"INSERT INTO t VALUES (?, ?)"_s));
        QStringList expected;
        execute(u"BEGIN"_s);
        for (int i = 0; i < 5000; ++i) {
            const int digits = random.bounded(1, 16);
            QString unscaled;
            while (unscaled.size() < digits)
                unscaled += QChar(u'0' + random.bounded(unscaled.isEmpty() ? 1 : 0, 10));
            unscaled = unscaled.rightJustified(7, u'0');
            const QString text =
                (random.bounded(2) ? u"-"_s : QString()) + unscaled.chopped(6) + u'.' + unscaled.last(6);
            query.addBindValue(i);
            query.addBindValue(text.toDouble());
            QVERIFY(query.exec());
            expected.append(QString::number(i) + u" | "_s + text);
        }
        execute(u"COMMIT"_s);

        const QStringList actual = outcome(StrictLoader(connection()), u"t"_s);

        QCOMPARE(actual.size(), expected.size());
        for (qsizetype i = 0; i < actual.size(); ++i)
            QVERIFY2(actual.at(i) == expected.at(i),
                     qPrintable(
                         u"seed %1: %2, not %3"_s.arg(QString::number(seed), actual.at(i), expected.at(i))));
    }

    void refusesOneDigitTooManyHoweverLarge()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        for (int i = 0; i < 200; ++i) {
            const QString text = u"%1.%2%3"_s.arg(random.bounded(100000))
                                     .arg(random.bounded(100), 2, 10, QChar(u'0'))
                                     .arg(random.bounded(1, 10));
            execute(u"DROP TABLE IF EXISTS t"_s);
            makeCell(u"DECIMAL(16,2)"_s, text);

            const QString message = exceptionMessage([&] { StrictLoader(connection()).load(u"t"_s); });

            QVERIFY2(message.contains(u"в числе больше цифр"_s),
                     qPrintable(u"seed %1: %2"_s.arg(seed).arg(text)));
        }
    }

    void givesDecimalsTheDigitsTheyNeed()
    {
        execute(u"CREATE TABLE t (id INTEGER, a DECIMAL(5,2), b DECIMAL(4,1) NOT NULL, c DECIMAL(5,2))"_s);
        execute(u"INSERT INTO t VALUES (1, 1.5, 2.25, 1)"_s);
        execute(u"INSERT INTO t VALUES (2, 1234567.5, 2, NULL)"_s);
        execute(u"INSERT INTO t VALUES (3, 0.0000000001, 12345678901, -1)"_s);
        StrictLoader loader(connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);
        QStringList progress;
        loader.setProgress([&progress](const TableLoader::Progress &state) {
            progress.append(QString::number(state.rowsRead));
            return true;
        });

        const auto table = loader.load(u"t"_s);

        QCOMPARE(texts(*table),
                 QStringList({u"1 | 1.5000000000 | 2.25 | 1.00"_s, u"2 | 1234567.5000000000 | 2.00 | NULL"_s,
                              u"3 | 0.0000000001 | 12345678901.00 | -1.00"_s}));
        QCOMPARE(typeText(table->columnSpec(1)), u"a XDecimal(10)?"_s);
        QCOMPARE(typeText(table->columnSpec(2)), u"b Decimal(2)"_s);
        QCOMPARE(typeText(table->columnSpec(3)), u"c Decimal(2)?"_s);
        QCOMPARE(typeText(loader.columns(u"t"_s).at(1)), u"a Decimal(2)?"_s);
        QCOMPARE(progress, QStringList({u"0"_s, u"0"_s, u"3"_s}));
    }

    void readsIsoDates()
    {
        execute(u"CREATE TABLE t (d DATETIME)"_s);
        for (const QString &date :
             {u"2017-01-31T14:30:00"_s, u"2017-01-31 14:30"_s, u"2017-01-31T14:30"_s,
              u"2017-01-31T14:30:00Z"_s, u"2017-01-31 14:30:00.5"_s, u"2017-01-31 14:30:00.125"_s,
              u"2017-01-31 14:30:00.125000"_s, u"9999-12-31 23:59:59.999"_s})
            execute(u"INSERT INTO t VALUES ('%1')"_s.arg(date));

        const auto table = StrictLoader(connection()).load(u"t"_s);

        const QString halfPastTwo = u"2017.01.31 14:30:00.000"_s;
        QCOMPARE(texts(*table), QStringList({halfPastTwo, halfPastTwo, halfPastTwo, halfPastTwo,
                                             u"2017.01.31 14:30:00.500"_s, u"2017.01.31 14:30:00.125"_s,
                                             u"2017.01.31 14:30:00.125"_s, u"9999.12.31 23:59:59.999"_s}));
    }

    void givesColumnsTheRoomThatTheirValuesNeed()
    {
        execute(u"CREATE TABLE t (id INTEGER, name VARCHAR(3), note VARCHAR(2), n INTEGER)"_s);
        execute(u"INSERT INTO t VALUES (1, 'abc', 'x', 7)"_s);
        execute(u"INSERT INTO t VALUES (9223372036854775807, 'ab😀', '%1', 8)"_s.arg(QString(40'000, u'y')));
        execute(u"INSERT INTO t VALUES (-2147483649, 'ten units.', '', 9)"_s);
        StrictLoader loader(connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);

        const auto table = loader.load(u"t"_s);

        QCOMPARE(texts(*table),
                 QStringList({u"1 | abc | x | 7"_s,
                              u"9223372036854775807 | ab😀 | %1 | 8"_s.arg(QString(40'000, u'y')),
                              u"-2147483649 | ten units. |  | 9"_s}));
        QCOMPARE(typeText(table->columnSpec(0)), u"id Int64(0)?"_s);
        QCOMPARE(typeText(table->columnSpec(1)), u"name VarChar(12)?"_s);
        QCOMPARE(typeText(table->columnSpec(2)), u"note String(0)?"_s);
        QCOMPARE(typeText(table->columnSpec(3)), u"n Int(0)?"_s);
    }

    void keepsNoDigitsThatNobodyAskedFor()
    {
        execute(u"CREATE TABLE t (n NUMERIC, m NUMERIC)"_s);
        execute(u"INSERT INTO t VALUES (1.25, 0.5)"_s);
        execute(u"INSERT INTO t VALUES (1e27, 123456789012345678901234567890)"_s);
        execute(u"INSERT INTO t VALUES (0.00000001, 0.123456)"_s);
        StrictLoader loader(connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);

        const auto table = loader.load(u"t"_s);

        QCOMPARE(
            texts(*table),
            QStringList({u"1.25000000 | 0.500000"_s,
                         u"1000000000000000000000000000.00000000 | 123456789012345680000000000000.000000"_s,
                         u"0.00000001 | 0.123456"_s}));
        QCOMPARE(typeText(table->columnSpec(0)), u"n XDecimal(8)?"_s);
        QCOMPARE(typeText(table->columnSpec(1)), u"m XDecimal(6)?"_s);
    }

    void refusesDigitsThatNoTypeHolds()
    {
        execute(u"CREATE TABLE t (c DECIMAL(5,2))"_s);
        execute(u"INSERT INTO t VALUES (1e30)"_s);
        execute(u"INSERT INTO t VALUES (1e-8)"_s);
        StrictLoader loader(connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);

        const QString message = exceptionMessage([&] { loader.load(u"t"_s); });

        QCOMPARE(message,
                 u"Таблица «t», строка 2, столбец «c»: значение 1e-08 не подходит к типу XDecimal(33,2) "
                 "(в числе больше цифр, чем объявлено)"_s);
    }

    void quotesNames_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name :
             {"order", "a b", "a.b", "[a]", "a\"b", "\"", "\"a\"", "'", "столбец", "a;b", "%1"})
            QTest::newRow(name) << QString::fromUtf8(name);
    }
    void quotesNames()
    {
        QFETCH(QString, name);
        const QString quoted = u'"' + QString(name).replace(u'"', u"\"\""_s) + u'"';
        execute(u"CREATE TABLE %1 (id INTEGER, %1 TEXT)"_s.arg(quoted));
        execute(u"INSERT INTO %1 VALUES (1, 'x')"_s.arg(quoted));
        const StrictLoader loader(connection());

        const auto table = loader.load(name);

        QCOMPARE(table->name(), name);
        QCOMPARE(table->columnName(1), name);
        QCOMPARE(texts(*table), QStringList({u"1 | x"_s}));
        QCOMPARE(loader.rowCount(name), 1);
    }

    void readsColumnsWhoseNamesAreNoText_data()
    {
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<QString>("name");
        QTest::newRow("one") << QByteArray("cafB") << u"cafB"_s;
        QTest::newRow("two") << QByteArray("caf\xea") << u"caf\\xEA"_s;
    }
    void readsColumnsWhoseNamesAreNoText()
    {
        QFETCH(QByteArray, second);
        QFETCH(QString, name);
        QTemporaryDir directory;
        const QString fileName = directory.filePath(u"names.sqlite"_s);
        const QString other = u"other"_s;
        const auto remove = qScopeGuard([&other] { QSqlDatabase::removeDatabase(other); });
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, other);
            database.setDatabaseName(fileName);
            QVERIFY(database.open());
            QSqlQuery query(database);
            QVERIFY(
                query.exec(u"CREATE TABLE sito_rows (id INTEGER, cafA TEXT, cafB TEXT, \"цена\" INTEGER)"_s));
            QVERIFY(query.exec(u"INSERT INTO sito_rows VALUES (1, 'Ясно', 'b', 5), (2, NULL, 'd', 6)"_s));
            database.close();
        }
        QFile file(fileName);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        bytes.replace("cafA", "caf\xe9").replace("cafB", second);
        file.seek(0);
        file.write(bytes);
        file.close();

        {
            QSqlDatabase database = QSqlDatabase::database(other);
            const StrictLoader loader(database);

            QCOMPARE(outcome(loader, u"sito_rows"_s),
                     QStringList({u"1 | Ясно | b | 5"_s, u"2 | NULL | d | 6"_s}));
            QStringList names;
            const auto columns = loader.columns(u"sito_rows"_s);
            for (const ColumnSpec &column : columns)
                names.append(column.name);
            QCOMPARE(names, QStringList({u"id"_s, u"caf\\xE9"_s, name, u"цена"_s}));
        }
    }

    void readsNoTableWhoseNameIsNoText()
    {
        QTemporaryDir directory;
        const QString fileName = directory.filePath(u"names.sqlite"_s);
        const QString other = u"other"_s;
        const auto remove = qScopeGuard([&other] { QSqlDatabase::removeDatabase(other); });
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, other);
            database.setDatabaseName(fileName);
            QVERIFY(database.open());
            QSqlQuery query(database);
            QVERIFY(query.exec(u"CREATE TABLE \"t\uFFFD\" (id INTEGER)"_s));
            QVERIFY(query.exec(u"INSERT INTO \"t\uFFFD\" VALUES (1)"_s));
            QVERIFY(query.exec(u"CREATE TABLE tA (id INTEGER)"_s));
            database.close();
        }
        QFile file(fileName);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        bytes.replace("tA", "t\xe9");
        file.seek(0);
        file.write(bytes);
        file.close();

        {
            QSqlDatabase database = QSqlDatabase::database(other);
            const StrictLoader loader(database);

            QCOMPARE(loader.tableNames(), QStringList({u"t\\xE9"_s, u"t\uFFFD"_s}));
            QCOMPARE(outcome(loader, u"t\uFFFD"_s), QStringList({u"1"_s}));
            QCOMPARE(
                outcome(loader, u"t\\xE9"_s),
                QStringList({u"Таблица «t\\xE9»: её имя не записано в UTF-8, по нему её не прочитать"_s}));
        }
    }

    void refusesATableWithoutAName()
    {
        execute(u"CREATE TABLE \"\" (id INTEGER)"_s);
        const StrictLoader loader(connection());

        QCOMPARE(loader.tableNames(), QStringList(u""_s));
        QCOMPARE(outcome(loader, u""_s), QStringList(u"Таблицу без имени не прочитать"_s));
    }

    void namesTheTableThatIsMissing()
    {
        execute(u"CREATE TABLE t (c TEXT)"_s);
        const StrictLoader loader(connection());
        const QString expected = u"В базе данных нет таблицы «T»"_s;

        QCOMPARE(exceptionMessage([&] { loader.columns(u"T"_s); }), expected);
        QCOMPARE(exceptionMessage([&] { loader.rowCount(u"T"_s); }), expected);
        QCOMPARE(exceptionMessage([&] { loader.load(u"T"_s); }), expected);
    }

    void countsLargeTablesExactly_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::addColumn<QString>("value");
        const QString columns = u"(a BIGINT, b INTEGER)"_s;
        QTest::newRow("row numbers from 1 on") << columns << u"i, 0"_s;
        QTest::newRow("row numbers with gaps")
            << u"(a BIGINT, b INTEGER PRIMARY KEY)"_s << u"i, i * 1000003 + i * i"_s;
        QTest::newRow("row numbers from end to end")
            << u"(a BIGINT, b INTEGER PRIMARY KEY)"_s
            << u"i, CASE i WHEN 1 THEN -9223372036854775808 WHEN 2 THEN 9223372036854775807 ELSE -50000 + i END"_s;
        QTest::newRow("a column named as the row number")
            << u"(rowid INTEGER, OID INTEGER)"_s << u"i % 7, 1"_s;
        QTest::newRow("columns named as the row number")
            << u"(rowid INTEGER, oid INTEGER, _ROWID_ INTEGER)"_s << u"i % 7, 1, NULL"_s;
        QTest::newRow("without row numbers")
            << u"(a BIGINT PRIMARY KEY, b INTEGER) WITHOUT ROWID"_s << u"i, 0"_s;
    }
    void countsLargeTablesExactly()
    {
        QFETCH(const QString, definition);
        QFETCH(const QString, value);
        execute(u"CREATE TABLE t "_s + definition);
        const StrictLoader loader(connection());
        QCOMPARE(loader.rowCount(u"t"_s), 0);

        // About as many as are counted at once, and several times as many.
        int rows = 0;
        for (const int more : {16'383, 1, 1, 60'000, 40'000}) {
            execute(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT %1 UNION ALL SELECT i + 1 FROM n WHERE i "
                    u"< %2) "
                    "SELECT %3 FROM n"_s.arg(rows + 1)
                        .arg(rows + more)
                        .arg(value));
            rows += more;
            QCOMPARE(loader.rowCount(u"t"_s), rows);
        }
        QVERIFY(connection().transaction()); // none is left open
        execute(u"DELETE FROM t WHERE %1 % 3 = 0"_s.arg(value.startsWith(u"i,"_s) ? u"a"_s : u"rowid"_s));
        QSqlQuery query(connection());
        QVERIFY(query.exec(u"SELECT count(*) FROM t"_s) && query.next());
        QCOMPARE(loader.rowCount(u"t"_s), query.value(0).toLongLong());
        query.finish();
        QVERIFY(connection().rollback()); // nor is the caller's ended
        QCOMPARE(loader.rowCount(u"t"_s), rows);
    }

    void countingIsInterrupted()
    {
        execute(u"CREATE TABLE t (c BIGINT)"_s);
        execute(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
                u"2000000) "
                "SELECT i FROM n"_s);
        const StrictLoader loader(connection());
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(loader.rowCount(u"t"_s), 2'000'000);
        const qint64 whole = timer.nsecsElapsed();
        parallel::StopSource stopped;
        stopped.requestStop();
        QVERIFY(!loader.rowCount(u"t"_s, stopped.token()));

        const qint64 shortest = shortestStoppedCount(loader, u"t"_s, whole);
        QVERIFY2(shortest < whole / 2, qPrintable(u"%1 of %2"_s.arg(shortest).arg(whole)));
        execute(u"DROP TABLE t"_s); // no statement is left open
    }

    void readsNoMoreRowsThanTheLimit()
    {
        execute(u"CREATE TABLE t (c INTEGER)"_s);
        execute(u"INSERT INTO t VALUES (1), (2), (3), ('x')"_s);
        execute(u"CREATE VIEW v AS SELECT c FROM t"_s);
        TableLoader loader(connection());
        const auto read = [&loader](const QString &table, std::optional<qint64> limit) {
            loader.setRowLimit(limit);
            const QStringList rows = texts(*loader.load(table));
            return rows.join(u' ') + (loader.isComplete(table) ? QString() : u" …"_s);
        };

        QCOMPARE(read(u"t"_s, 0), u" …"_s);
        QCOMPARE(read(u"t"_s, 2), u"1 2 …"_s);
        QCOMPARE(typeTexts(loader.loadedColumns(u"t"_s)), QStringList(u"c Int(0)?"_s));
        QCOMPARE(read(u"t"_s, 4), u"1 2 3 x"_s);
        QCOMPARE(read(u"t"_s, 5), u"1 2 3 x"_s);
        QCOMPARE(read(u"t"_s, std::nullopt), u"1 2 3 x"_s);
        QCOMPARE(read(u"v"_s, 2), u"1 2 3 x"_s);
        QVERIFY(!loader.isComplete(u"t"_s));
    }

    void tellsHowFarItHasCome()
    {
        execute(u"CREATE TABLE t (c INTEGER)"_s);
        execute(u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10) "
                "SELECT i FROM n"_s);
        execute(u"CREATE TABLE empty (c INTEGER)"_s);
        StrictLoader loader(connection());
        QStringList progress;
        const auto record = [&progress](const TableLoader::Progress &state) {
            progress.append(u"%1 %2/%3"_s.arg(state.table).arg(state.rowsRead).arg(state.rowsTotal));
            return true;
        };

        loader.setProgress(record, 4);
        QVERIFY(loader.load(u"t"_s));
        QCOMPARE(progress, QStringList({u"t 0/10"_s, u"t 4/10"_s, u"t 8/10"_s, u"t 10/10"_s}));

        progress.clear();
        loader.setProgress(record, 5);
        QVERIFY(loader.load(u"t"_s));
        QCOMPARE(progress, QStringList({u"t 0/10"_s, u"t 5/10"_s, u"t 10/10"_s}));

        progress.clear();
        QVERIFY(loader.load(u"empty"_s));
        QCOMPARE(progress, QStringList({u"empty 0/0"_s, u"empty 0/0"_s}));
    }

    void progressCancels_data()
    {
        QTest::addColumn<int>("call");
        QTest::newRow("before the first row") << 0;
        QTest::newRow("in the middle") << 1;
        QTest::newRow("after the last row") << 3;
    }
    void progressCancels()
    {
        QFETCH(int, call);
        execute(u"CREATE TABLE t (c INTEGER)"_s);
        execute(u"INSERT INTO t VALUES (1), (2), (3), (4), (5)"_s);
        StrictLoader loader(connection());
        int calls = 0;
        loader.setProgress([&](const TableLoader::Progress &) { return calls++ != call; }, 2);

        const auto table = loader.load(u"t"_s);

        QVERIFY(!table);
        QCOMPARE(calls, call + 1);
        // Neither a statement nor a transaction is left open.
        execute(u"DROP TABLE t"_s);
        QVERIFY(connection().transaction());
    }

    void anotherThreadCancels()
    {
        execute(u"CREATE TABLE t (c INTEGER)"_s);
        execute(u"INSERT INTO t VALUES (1), (2), (3), (4), (5)"_s);
        StrictLoader loader(connection());
        parallel::StopSource stop;
        qint64 last = -1;
        loader.setProgress(
            [&](const TableLoader::Progress &state) {
                last = state.rowsRead;
                if (state.rowsRead == 2)
                    std::thread([&stop] { stop.requestStop(); }).join();
                return true;
            },
            1);

        QVERIFY(!loader.load(u"t"_s, stop.token()));
        QCOMPARE(last, 2);
        QVERIFY(!loader.load(u"t"_s, stop.token()));
        QCOMPARE(last, 2);
        QVERIFY(!loader.load({u"t"_s}, MemoryDatabase::instance(), stop.token()));
        QVERIFY(MemoryDatabase::instance().tableNames().isEmpty());
        QVERIFY(loader.load(u"t"_s));
    }

    void loadsSeveralTablesOrNone()
    {
        execute(u"CREATE TABLE a (c INTEGER)"_s);
        execute(u"CREATE TABLE b (c INTEGER)"_s);
        execute(u"CREATE TABLE bad (c INTEGER)"_s);
        execute(u"INSERT INTO bad VALUES ('x')"_s);
        MemoryDatabase &database = MemoryDatabase::instance();
        StrictLoader loader(connection());

        QVERIFY(!exceptionMessage([&] { loader.load({u"a"_s, u"bad"_s}, database); }).isEmpty());
        QVERIFY(database.tableNames().isEmpty());

        loader.setProgress([](const TableLoader::Progress &state) { return state.table != "b"_L1; });
        QVERIFY(!loader.load({u"a"_s, u"b"_s}, database));
        QVERIFY(database.tableNames().isEmpty());

        loader.setProgress({});
        QVERIFY(loader.load({u"b"_s, u"a"_s}, database));
        QCOMPARE(database.tableNames(), QStringList({u"b"_s, u"a"_s}));

        QCOMPARE(exceptionMessage([&] { loader.load({u"a"_s}, database); }), u"Таблица «a» уже загружена"_s);
        QCOMPARE(database.tableNames(), QStringList({u"b"_s, u"a"_s}));

        // The same name twice is found out only when the first is in the catalogue; it is taken back.
        database.clear();
        QVERIFY(!exceptionMessage([&] { loader.load({u"a"_s, u"a"_s}, database); }).isEmpty());
        QVERIFY(database.tableNames().isEmpty());
    }

    void loadsSeveralTablesAsTheyAreAtOneMoment()
    {
        const QString reading = u"reading"_s;
        const QString writing = u"writing"_s;
        QTemporaryDir directory;
        const auto remove = qScopeGuard([&] {
            QSqlDatabase::removeDatabase(reading);
            QSqlDatabase::removeDatabase(writing);
        });
        const auto open = [&directory](const QString &name) {
            auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, name);
            database.setDatabaseName(directory.filePath(u"shared.sqlite"_s));
            return database.open();
        };
        const auto write = [&writing](const QString &statement) {
            return QSqlQuery(QSqlDatabase::database(writing)).exec(statement);
        };
        QVERIFY(open(writing));
        QVERIFY(write(u"PRAGMA journal_mode = WAL"_s));
        for (const QString &table : {u"a"_s, u"b"_s}) {
            QVERIFY(write(u"CREATE TABLE %1 (c INTEGER)"_s.arg(table)));
            QVERIFY(write(u"INSERT INTO %1 VALUES (1)"_s.arg(table)));
        }
        QVERIFY(open(reading));
        const QStringList tables{u"a"_s, u"b"_s};
        int written = 0;
        {
            StrictLoader loader(QSqlDatabase::database(reading));
            loader.setProgress([&](const TableLoader::Progress &state) {
                // Once all of the first table was read.
                if (state.table == "a"_L1 && state.rowsRead == 1 && written == 0) {
                    written += write(u"INSERT INTO a VALUES (2)"_s);
                    written += write(u"INSERT INTO b VALUES (2)"_s);
                }
                return true;
            });

            const auto loaded = loader.loadAll(tables);

            QVERIFY(loaded);
            QCOMPARE(written, 2);
            QCOMPARE(texts(*loaded->at(0)), QStringList{u"1"_s});
            QCOMPARE(texts(*loaded->at(1)), QStringList{u"1"_s});
            // The next moment is another one.
            const auto later = loader.loadAll(tables);
            QVERIFY(later);
            QCOMPARE(texts(*later->at(0)), QStringList({u"1"_s, u"2"_s}));
            QCOMPARE(texts(*later->at(1)), QStringList({u"1"_s, u"2"_s}));
        }
    }

    void remembersTheColumnsOfALoad()
    {
        execute(u"CREATE TABLE a (c DECIMAL(5,2) NOT NULL, d TEXT)"_s);
        execute(u"INSERT INTO a VALUES (3.125, 'x')"_s);
        execute(u"CREATE TABLE b (c INTEGER)"_s);
        StrictLoader loader(connection());
        loader.setDigits(TableLoader::Digits::AsNeeded);
        const QList<ColumnSpec> columns = loader.columns(u"a"_s);
        QCOMPARE(loader.loadedColumns(u"a"_s), QList<ColumnSpec>());

        QVERIFY(loader.loadAll({u"a"_s}));
        execute(u"DROP TABLE a"_s);

        QCOMPARE(loader.loadedColumns(u"a"_s), columns);
        QCOMPARE(loader.loadedColumns(u"b"_s), QList<ColumnSpec>());
        QVERIFY(loader.load(u"b"_s));
        QCOMPARE(loader.loadedColumns(u"a"_s), QList<ColumnSpec>());
        QCOMPARE(loader.loadedColumns(u"b"_s), loader.columns(u"b"_s));
    }

    void leavesTheTransactionOfItsCallerAlone()
    {
        execute(u"CREATE TABLE t (c INTEGER)"_s);
        QVERIFY(connection().transaction());
        execute(u"INSERT INTO t VALUES (1)"_s);

        const auto table = StrictLoader(connection()).load(u"t"_s);

        QCOMPARE(table->rowCount(), 1);
        QVERIFY(connection().rollback());
        QCOMPARE(StrictLoader(connection()).rowCount(u"t"_s), 0);
    }

    void reportsFilesThatAreNoDatabase()
    {
        QTemporaryDir directory;
        QFile file(directory.filePath(u"foreign.sqlite"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5000, 'x'));
        file.close();
        QSqlDatabase database = connection();
        database.setDatabaseName(file.fileName());
        QVERIFY(database.open());

        const QString message = exceptionMessage([&] { StrictLoader(database).tableNames(); });

        QCOMPARE(message, u"База данных «%1»: file is not a database"_s.arg(file.fileName()));
    }

    void reportsDamageThatItMeetsOnTheWay()
    {
        QTemporaryDir directory;
        const QString name = directory.filePath(u"damaged.sqlite"_s);
        QSqlDatabase database = connection();
        database.setDatabaseName(name);
        QVERIFY(database.open());
        execute(u"CREATE TABLE t (c TEXT)"_s);
        execute(
            u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
            "SELECT hex(zeroblob(50)) FROM n"_s);
        database.close();
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.seek(file.size() / 2));
        file.write(QByteArray(8192, '\xff'));
        file.close();
        QVERIFY(database.open());

        const QString message = exceptionMessage([&] { StrictLoader(database).load(u"t"_s); });

        QCOMPARE(message, u"База данных «%1», таблица «t»: database disk image is malformed"_s.arg(name));
    }

    void reportsAConnectionThatIsNotOpen()
    {
        QSqlDatabase database = connection();
        database.close();

        QVERIFY(!exceptionMessage([&] { StrictLoader(database).tableNames(); }).isEmpty());
        QVERIFY(!exceptionMessage([&] { StrictLoader(database).load(u"t"_s); }).isEmpty());
    }

    void loadsFromOtherDrivers()
    {
        OtherDriver::Content content;
        const auto add = [&content](const char *name, QMetaType::Type type, int length = -1,
                                    int precision = -1) {
            QSqlField field(QString::fromLatin1(name), QMetaType(type));
            field.setLength(length);
            field.setPrecision(precision);
            content.columns.append(field);
        };
        add("id", QMetaType::Int);
        add("big", QMetaType::LongLong);
        add("unsigned", QMetaType::UInt);
        add("flag", QMetaType::Bool);
        add("real", QMetaType::Double);
        add("price", QMetaType::Double, 12, 2);
        add("code", QMetaType::QString, 4);
        add("note", QMetaType::QString);
        add("day", QMetaType::QDate);
        add("time", QMetaType::QDateTime);
        add("hash", QMetaType::QByteArray, 2);
        content.key.append(content.columns.field(0));
        QSqlField big = content.columns.field(1);
        big.setRequiredStatus(QSqlField::Required);
        content.columns.replace(1, big);
        // Numbers come as texts when exactness is asked for; readings without a zone do not depend on the
        // machine's.
        content.rows = {{1, qint64(5), 4000000000u, true, 0.5, u"-12.5"_s, u"ab"_s, u"c"_s, QDate(1969, 1, 2),
                         QDateTime(QDate(2024, 3, 31), QTime(1, 30)), QByteArray("\x01\xff", 2)},
                        {2, qint64(6), QVariant(), QVariant(), 3, 4.25, QVariant(), QVariant(), QVariant(),
                         QDateTime(QDate(2024, 3, 31), QTime(2, 30), QTimeZone::utc()), QVariant()}};
        const QString name = u"other"_s;
        QSqlDatabase database = QSqlDatabase::addDatabase(new OtherDriver(&content), name);
        QVERIFY(database.open());
        {
            const StrictLoader loader(database);

            const auto table = loader.load(u"public.data"_s);

            QCOMPARE(loader.tableNames(), QStringList({u"public.data"_s, u"zeta"_s}));
            QStringList columns;
            for (int i = 0; i < table->columnCount(); ++i)
                columns.append(typeText(table->columnSpec(i)));
            QCOMPARE(
                columns.join(u", "_s),
                u"id Int(0), big Int64(0), unsigned Int64(0)?, flag Int(0)?, real Double(0)?, "
                "price Decimal(2)?, code VarChar(4)?, note String(0)?, day DateTime(0)?, time DateTime(0)?, "
                "hash Raw(2)?"_s);
            QCOMPARE(
                texts(*table),
                QStringList({u"1 | 5 | 4000000000 | 1 | 0.5 | -12.50 | ab | c | 1969.01.02 00:00:00.000 | "
                             "2024.03.31 01:30:00.000 | 01ff"_s,
                             u"2 | 6 | NULL | NULL | 3 | 4.25 | NULL | NULL | NULL | "
                             "2024.03.31 02:30:00.000 | NULL"_s}));
            QCOMPARE(content.policy, QSql::HighPrecision);
        }
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }
};

QTEST_GUILESS_MAIN(tst_TableLoader)
#include "tst_tableloader.moc"
