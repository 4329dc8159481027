// SPDX-License-Identifier: MIT
#include <sources/sourcedatabase.h>
#include <sources/tableloader.h>

#include <database/memorydatabase.h>

#include <support/exceptions.h>
#include <support/loadedtables.h>
#include <support/postgresconnection.h>
#include <support/postgresserver.h>
#include <support/sourcereader.h>

#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

/// A database in which somebody else may create what they like is opened and read.
///
/// What is planted there takes an advisory lock, which any session can do, even one that only reads; so the
/// locks tell what has run.
class tst_HostileServer : public QObject
{
    Q_OBJECT
private:
    /// As the owner of the database.
    void plant(const QString &statement) const { QCOMPARE(m_owner->execute(statement), QString()); }
    /// A function that takes the lock \a number.
    void plantFunction(const QString &signature, const QString &type, int number, const QString &result) const
    {
        plant(u"CREATE FUNCTION public.%1 RETURNS %2 LANGUAGE plpgsql AS $$ BEGIN "
              "PERFORM pg_catalog.pg_advisory_lock_shared(%3); RETURN %4; END $$"_s.arg(signature, type)
                  .arg(number)
                  .arg(result));
    }
    /// The planting itself may run what is planted.
    void endPlanting() const { plant(u"SELECT pg_catalog.pg_advisory_unlock_all()"_s); }
    /// The locks that the code of others has taken, in order.
    QStringList whatRan() const
    {
        QStringList numbers;
        QSqlQuery query(m_admin->connection());
        if (!query.exec(u"SELECT objid FROM pg_locks WHERE locktype = 'advisory' ORDER BY objid"_s))
            return {u"the question failed"_s};
        while (query.next())
            numbers.append(query.value(0).toString());
        return numbers;
    }

    /// Lets \a message pass as a warning, once for each time that it is thrown.
    static void ignoreRefusals(const QString &message)
    {
        for (int i = 0; i < 2; ++i)
            QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + message));
    }

    PostgresServer m_server;
    std::unique_ptr<PostgresConnection> m_admin;
    std::unique_ptr<PostgresConnection> m_owner;
    SourceLocation m_location;

private Q_SLOTS:
    void initTestCase()
    {
        SITO_START_POSTGRES(m_server);
        m_admin = std::make_unique<PostgresConnection>(m_server.location());
        for (const QString &role : {u"planter"_s, u"reader"_s})
            QCOMPARE(m_admin->execute(u"CREATE ROLE %1 LOGIN PASSWORD 'x'"_s.arg(role)), QString());
    }
    void cleanupTestCase() { m_admin.reset(); }
    void init()
    {
        failOnAnyWarning();
        QCOMPARE(m_admin->execute(u"CREATE DATABASE shared OWNER planter TEMPLATE template0"_s), QString());
        m_location = m_server.location(u"shared"_s);
        m_location.password = u"x"_s;
        m_location.user = u"planter"_s;
        m_owner = std::make_unique<PostgresConnection>(m_location);
        m_location.user = u"reader"_s;
        plant(u"SET search_path = ''"_s);
        plant(
            u"CREATE TABLE public.prices (code varchar(4), name char(3), note text, at date, price integer)"_s);
        plant(u"INSERT INTO public.prices VALUES ('GAZP', 'a', 'b', '2017-01-31', 5)"_s);
        plant(u"GRANT SELECT ON public.prices TO reader"_s);
    }
    void cleanup()
    {
        m_owner.reset();
        MemoryDatabase::instance().clear();
        QCOMPARE(m_admin->execute(u"DROP DATABASE shared WITH (FORCE)"_s), QString());
    }

    void runsNoOperatorOfOthers()
    {
        plantFunction(u"unmatched(name, name)"_s, u"boolean"_s, 1, u"true"_s);
        plant(u"CREATE OPERATOR public.!~ (LEFTARG = name, RIGHTARG = name, FUNCTION = public.unmatched)"_s);
        plantFunction(u"joined(varchar, varchar)"_s, u"text"_s, 2, u"$1::text || $2::text"_s);
        plant(
            u"CREATE OPERATOR public.|| (LEFTARG = varchar, RIGHTARG = varchar, FUNCTION = public.joined)"_s);
        endPlanting();
        SourceReader reader;

        QVERIFY(reader.read(m_location, {u"prices"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events, QStringList({u"opened prices"_s, u"loaded prices"_s}));
    }

    void runsNothingOfOthers_data()
    {
        QTest::addColumn<QStringList>("signature"); // function: signature, type, result
        QTest::addColumn<QStringList>("statements");
        const auto row = [](const char *name, const QString &signature, const QString &type,
                            const QString &result, const QStringList &statements = {}) {
            QTest::newRow(name) << QStringList{signature, type, result} << statements;
        };
        const auto operatorRow = [&row](const char *name, const QString &left, const QString &right,
                                        const QString &result) {
            row(qPrintable(u"operator %1 of %2 and %3"_s.arg(QString::fromLatin1(name), left, right)),
                u"planted(%1, %2)"_s.arg(left, right), u"boolean"_s, result,
                {u"CREATE OPERATOR public.%1 (LEFTARG = %2, RIGHTARG = %3, FUNCTION = public.planted)"_s.arg(
                    QString::fromLatin1(name), left, right)});
        };
        row("the function that tells the version", u"version()"_s, u"text"_s, u"pg_catalog.version()"_s);
        row("a function of texts", u"rpad(text, integer)"_s, u"text"_s, u"pg_catalog.rpad($1, $2)"_s);
        row("a function of dates", u"timezone(text, timestamptz)"_s, u"timestamp"_s,
            u"pg_catalog.timezone($1, $2)"_s, {u"ALTER TABLE public.prices ALTER at TYPE timestamptz"_s});
        row("an aggregate", u"counted(bigint)"_s, u"bigint"_s, u"$1 + 1"_s,
            {u"CREATE AGGREGATE public.count(*) (SFUNC = public.counted, STYPE = bigint, INITCOND = 0)"_s});
        operatorRow("=", u"oid"_s, u"oid"_s, u"$1::bigint = $2::bigint"_s);
        operatorRow("=", u"\"char\""_s, u"\"char\""_s, u"$1::text = $2::text"_s);
        operatorRow("<>", u"\"char\""_s, u"\"char\""_s, u"$1::text <> $2::text"_s);
        operatorRow("<>", u"name"_s, u"name"_s, u"$1::text <> $2::text"_s);
        operatorRow("<>", u"timestamptz"_s, u"timestamptz"_s, u"$1 > $2 OR $1 < $2"_s);
        operatorRow(">", u"smallint"_s, u"integer"_s, u"$1::bigint > $2::bigint"_s);
        row("a type in the place of text", u"planted(text)"_s, u"boolean"_s, u"true"_s,
            {u"CREATE DOMAIN public.text AS pg_catalog.text CHECK (public.planted(VALUE))"_s});
        row("a type in the place of oid", u"planted(oid)"_s, u"boolean"_s, u"true"_s,
            {u"CREATE DOMAIN public.oid AS pg_catalog.oid CHECK (public.planted(VALUE))"_s});
    }
    void runsNothingOfOthers()
    {
        QFETCH(QStringList, signature);
        QFETCH(QStringList, statements);
        plantFunction(signature.at(0), signature.at(1), 1, signature.at(2));
        for (const QString &statement : statements)
            plant(statement);
        plant(u"ALTER DATABASE shared SET search_path = public, pg_catalog"_s);
        endPlanting();
        SourceReader reader;

        QVERIFY(reader.read(m_location, {u"prices"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events, QStringList({u"opened prices"_s, u"loaded prices"_s}));
    }

    void runsNoCastOfATypeThatBearsAKnownName()
    {
        plant(u"CREATE TYPE public.datetime AS (day date)"_s);
        plantFunction(u"planted(public.datetime)"_s, u"text"_s, 1, u"'2017-01-31'"_s);
        plant(u"CREATE CAST (public.datetime AS text) WITH FUNCTION public.planted"_s);
        plant(u"CREATE TABLE public.days (day public.datetime)"_s);
        plant(u"INSERT INTO public.days VALUES (ROW('2017-01-31'))"_s);
        plant(u"GRANT SELECT ON public.days TO reader"_s);
        endPlanting();
        SourceReader reader;

        QVERIFY(reader.read(m_location, {u"days"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events, QStringList({u"opened days,prices"_s, u"loaded days"_s}));
        QCOMPARE(cellText(*MemoryDatabase::instance().table(u"days"_s), 0, 0), u"(2017-01-31)"_s);
    }

    void runsNoFunctionThatPlanningWouldRun_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::newRow("of an index") << u"CREATE INDEX ON public.prices (public.planted(1))"_s;
        QTest::newRow("of the condition of an index")
            << u"CREATE INDEX ON public.prices (price) WHERE public.planted(1) > 0"_s;
        QTest::newRow("behind the operator of an index")
            << u"CREATE INDEX ON public.prices ((OPERATOR(public.##) 1))"_s;
        QTest::newRow("of the index of a descendant")
            << u"CREATE TABLE public.heir () INHERITS (public.prices); "
               "CREATE INDEX ON public.heir (public.planted(1))"_s;
        QTest::newRow("of the key of a partitioned table")
            << u"DROP TABLE public.prices; "
               "CREATE TABLE public.prices (a integer) PARTITION BY LIST ((a + public.planted(1))); "
               "CREATE TABLE public.part PARTITION OF public.prices FOR VALUES IN (5); "
               "GRANT SELECT ON public.prices TO reader"_s;
        QTest::newRow("of statistics")
            << u"CREATE STATISTICS public.s ON (public.planted(1) + price) FROM public.prices"_s;
    }
    void runsNoFunctionThatPlanningWouldRun()
    {
        QFETCH(QString, statement);
        plantFunction(u"planted(integer)"_s, u"integer IMMUTABLE"_s, 1, u"1"_s);
        plant(u"CREATE OPERATOR public.## (RIGHTARG = integer, FUNCTION = public.planted)"_s);
        plant(statement);
        plant(u"CREATE TABLE public.other (a integer); GRANT SELECT ON public.other TO reader"_s);
        endPlanting();
        SourceReader reader;
        const QString message =
            u"Таблица «prices»: чтение выполнило бы функцию «public.planted» пользователя «planter», которую "
            "вызывает её индекс или статистика"_s;
        ignoreRefusals(message);
        if (statement.contains("heir"_L1))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: Таблица «heir»: "_s));

        QVERIFY(reader.read(m_location, {u"other"_s, u"prices"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events.size(), 3);
        QVERIFY2(reader.recorder.events.at(0).endsWith("other,prices"_L1),
                 qPrintable(reader.recorder.events.at(0)));
        QCOMPARE(reader.recorder.events.mid(1), QStringList({u"loaded other"_s, u"failed "_s + message}));
        QCOMPARE(reader.connection.tables().constLast().error, message);
    }

    void readsNoViewsOfOthers_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("refusal");
        const QString view =
            u"Таблица «v»: чтение выполнило бы представление «public.v» пользователя «planter»"_s;
        QTest::newRow("a view")
            << u"CREATE VIEW public.v AS SELECT public.planted(price) AS a FROM public.prices"_s << view;
        QTest::newRow("a view that asks the server itself")
            << u"CREATE VIEW public.v AS SELECT pg_catalog.pg_advisory_lock_shared(1)::text AS a"_s << view;
        QTest::newRow("a view below one of the administrator")
            << u"CREATE VIEW public.below AS SELECT public.planted(price) AS a FROM public.prices; "
               "ADMIN CREATE VIEW public.v AS SELECT a FROM public.below"_s
            << u"Таблица «v»: чтение выполнило бы представление «public.below» пользователя «planter»"_s;
        QTest::newRow("a function in a view of the administrator")
            << u"ADMIN CREATE VIEW public.v AS SELECT public.planted(price) AS a FROM public.prices"_s
            << u"Таблица «v»: чтение выполнило бы функцию «public.planted» пользователя «planter», которую "
               u"она "
               "вызывает"_s;
        QTest::newRow("an index below a view of the administrator")
            << u"CREATE INDEX ON public.prices (public.planted(1)); "
               "ADMIN CREATE VIEW public.v AS SELECT price FROM public.prices"_s
            << u"Таблица «v»: чтение выполнило бы функцию «public.planted» пользователя «planter», которую "
               u"она "
               "вызывает"_s;
        QTest::newRow("a foreign table")
            << u"ADMIN CREATE FOREIGN DATA WRAPPER wrapper; CREATE SERVER server FOREIGN DATA WRAPPER "
               u"wrapper; "
               "GRANT USAGE ON FOREIGN SERVER server TO planter; "
               "OWNER CREATE FOREIGN TABLE public.v (a integer) SERVER server"_s
            << u"Таблица «v»: чтение обратилось бы к внешней таблице «public.v» пользователя «planter»"_s;
    }
    void readsNoViewsOfOthers()
    {
        QFETCH(QString, statement);
        QFETCH(QString, refusal);
        plantFunction(u"planted(integer)"_s, u"integer IMMUTABLE"_s, 1, u"1"_s);
        const PostgresConnection admin(m_server.location(u"shared"_s));
        const PostgresConnection *who = m_owner.get();
        const QStringList statements = statement.split(u"; "_s);
        for (QString part : statements) {
            if (part.startsWith("ADMIN "_L1) || part.startsWith("OWNER "_L1)) {
                who = part.startsWith("ADMIN "_L1) ? &admin : m_owner.get();
                part = part.sliced(6);
            }
            QCOMPARE(who->execute(part), QString());
        }
        QCOMPARE(admin.execute(u"GRANT SELECT ON public.v TO reader"_s), QString());
        endPlanting();
        QCOMPARE(admin.execute(u"SELECT pg_catalog.pg_advisory_unlock_all()"_s), QString());
        SourceReader reader;
        for (int i = 0; i < 2; ++i)
            QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + refusal));
        if (statement.contains("INDEX"_L1))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: Таблица «prices»: "_s));

        // The view "below", where there is one, is told of as well.
        if (statement.contains("below"_L1))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Exception: Таблица «below»: "_s));
        QVERIFY(reader.read(m_location, {u"v"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events.constLast(), u"failed "_s + refusal);
        QCOMPARE(reader.connection.tables().constLast().name, u"v"_s);
        QCOMPARE(reader.connection.tables().constLast().error, refusal);
    }

    void readsViewsOfTheAdministrator()
    {
        const PostgresConnection admin(m_server.location(u"shared"_s));
        QCOMPARE(admin.execute(u"CREATE VIEW public.inner_view AS SELECT code, price * 2 AS twice FROM "
                               "public.prices"_s),
                 QString());
        QCOMPARE(
            admin.execute(u"CREATE VIEW public.v AS SELECT upper(code) AS c, twice FROM public.inner_view"_s),
            QString());
        QCOMPARE(admin.execute(u"GRANT SELECT ON public.v TO reader"_s), QString());
        SourceReader reader;
        const QString refusal = u"Таблица «inner_view»: нет права на чтение"_s;
        QTest::ignoreMessage(QtWarningMsg, qPrintable(u"Exception: "_s + refusal));

        QVERIFY(reader.read(m_location, {u"v"_s, u"prices"_s}));

        QCOMPARE(reader.recorder.events,
                 QStringList({u"opened inner_view,prices,v"_s, u"loaded v"_s, u"loaded prices"_s}));
        QCOMPARE(reader.connection.tables().constFirst().error, refusal);
        const MemoryTable &table = *MemoryDatabase::instance().table(u"v"_s);
        QCOMPARE(cellText(table, 0, 0), u"GAZP"_s);
        QCOMPARE(cellText(table, 0, 1), u"10"_s);
    }

    void readsTablesWhoseIndexesCallTrustedFunctions()
    {
        QCOMPARE(
            PostgresConnection(m_server.location(u"shared"_s))
                .execute(u"CREATE FUNCTION public.trusted(integer) RETURNS integer IMMUTABLE LANGUAGE sql "
                         "AS 'SELECT $1'; CREATE INDEX ON public.prices (public.trusted(price), "
                         "pg_catalog.upper(code), (price * 2))"_s),
            QString());
        SourceReader reader;

        QVERIFY(reader.read(m_location, {u"prices"_s}));

        QCOMPARE(reader.recorder.events, QStringList({u"opened prices"_s, u"loaded prices"_s}));
    }

    void runsNoFunctionOfConstraints()
    {
        plantFunction(u"planted(integer)"_s, u"integer IMMUTABLE"_s, 1, u"1"_s);
        plant(
            u"CREATE TABLE public.parts (a integer, CHECK (public.planted(1) > 0)) PARTITION BY LIST (a)"_s);
        plant(u"CREATE TABLE public.part PARTITION OF public.parts FOR VALUES IN (5)"_s);
        plant(u"INSERT INTO public.parts VALUES (5)"_s);
        plant(u"GRANT SELECT ON public.parts TO reader"_s);
        endPlanting();
        SourceReader reader;

        QVERIFY(reader.read(m_location, {u"parts"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events, QStringList({u"opened parts,prices"_s, u"loaded parts"_s}));
    }

    void refusesTablesOfWhichPoliciesHideRows()
    {
        plantFunction(u"planted(integer)"_s, u"boolean"_s, 1, u"$1 > 5"_s);
        plant(u"CREATE TABLE public.mine (a integer)"_s);
        plant(u"GRANT SELECT ON public.mine TO reader"_s);
        plant(u"ALTER TABLE public.mine ENABLE ROW LEVEL SECURITY"_s);
        plant(u"CREATE POLICY few ON public.mine USING (public.planted(a))"_s);
        plant(u"INSERT INTO public.mine VALUES (1), (9)"_s);
        endPlanting();
        SourceReader reader;
        const QString message = u"Таблица «mine»: политики доступа скрывают часть её строк"_s;
        ignoreRefusals(message);

        QVERIFY(reader.read(m_location, {u"prices"_s, u"mine"_s}));

        QCOMPARE(whatRan(), QStringList());
        QCOMPARE(reader.recorder.events,
                 QStringList({u"opened mine,prices"_s, u"loaded prices"_s, u"failed "_s + message}));
        QCOMPARE(reader.connection.tables().constFirst().error, message);
    }

    void readsWithoutAnyChange()
    {
        plant(u"CREATE SEQUENCE public.numbers"_s);
        plant(u"GRANT ALL ON public.prices, public.numbers TO reader"_s);
        const SourceDatabase database(m_location);
        QSqlQuery query(database.connection());

        for (const QString &statement :
             {u"DELETE FROM public.prices"_s, u"CREATE TABLE public.t (a integer)"_s,
              u"SELECT nextval('public.numbers')"_s}) {
            QVERIFY(!query.exec(statement));
            QVERIFY2(query.lastError().databaseText().contains("read-only"_L1),
                     qPrintable(query.lastError().databaseText()));
        }
    }

    void readsNoViewInThePlaceOfATable()
    {
        QSqlQuery setting(m_admin->connection());
        if (!setting.exec(u"SHOW restrict_nonsystem_relation_kind"_s))
            QSKIP("the server is too old");
        plant(u"CREATE VIEW public.disguise AS SELECT 1"_s);
        plant(u"GRANT SELECT ON public.disguise TO reader"_s);
        const SourceDatabase database(m_location);
        QSqlQuery query(database.connection());

        QVERIFY(!query.exec(u"SELECT * FROM public.disguise"_s));

        QVERIFY2(query.lastError().databaseText().contains("view"_L1),
                 qPrintable(query.lastError().databaseText()));
    }

    void keepsTheOptionsOfTheUser_data()
    {
        QTest::addColumn<bool>("isService");
        QTest::newRow("PGOPTIONS") << false;
        QTest::newRow("a service") << true;
    }
    void keepsTheOptionsOfTheUser()
    {
        QFETCH(bool, isService);
        QTemporaryDir directory;
        QFile services(directory.filePath(u"services"_s));
        QVERIFY(services.open(QIODevice::WriteOnly));
        services.write("[other]\noptions=-c work_mem=1MB\n\n[mine]\nhost=none.invalid\n"
                       "options=-c work_mem=3MB -c application_name=it\\'s\\ mine -c search_path=public\n");
        services.close();
        if (isService) {
            qputenv("PGSERVICEFILE", services.fileName().toLocal8Bit());
            qputenv("PGSERVICE", "mine");
        } else {
            qputenv("PGOPTIONS", "-c work_mem=3MB -c application_name=it's\\ mine -c search_path=public "
                                 "-c row_security=on -c default_transaction_read_only=off");
        }
        const auto restore = qScopeGuard([] {
            for (const char *variable : {"PGSERVICEFILE", "PGSERVICE", "PGOPTIONS"})
                qunsetenv(variable);
        });

        const SourceDatabase database(m_location);

        const auto shown = [&database](const QString &setting) {
            QSqlQuery query(database.connection());
            return query.exec(u"SHOW "_s + setting) && query.next() ? query.value(0).toString() : u"?"_s;
        };
        QCOMPARE(shown(u"work_mem"_s), u"3MB"_s);
        QCOMPARE(shown(u"application_name"_s), u"it's mine"_s);
        QCOMPARE(shown(u"search_path"_s), QString());
        QCOMPARE(shown(u"row_security"_s), u"off"_s);
        QCOMPARE(shown(u"default_transaction_read_only"_s), u"on"_s);
    }

    void namesFollowTheSearchPathOfTheRole_data()
    {
        QTest::addColumn<QStringList>("settings");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("none") << QStringList()
                              << QStringList({u"\"two.\".v"_s, u"one.t"_s, u"prices"_s, u"u"_s});
        QTest::newRow("of the database")
            << QStringList({u"ALTER DATABASE shared SET search_path = one"_s})
            << QStringList({u"\"two.\".v"_s, u"public.prices"_s, u"reader.u"_s, u"t"_s});
        QTest::newRow("of the role") << QStringList(
                                            {u"ALTER DATABASE shared SET search_path = one"_s,
                                             u"ALTER ROLE reader SET search_path = \"two.\", public"_s})
                                     << QStringList({u"one.t"_s, u"prices"_s, u"reader.u"_s, u"v"_s});
        QTest::newRow("of the role in the database")
            << QStringList({u"ALTER ROLE reader SET search_path = public"_s,
                            u"ALTER ROLE reader IN DATABASE shared SET search_path = one, public"_s})
            << QStringList({u"\"two.\".v"_s, u"prices"_s, u"reader.u"_s, u"t"_s});
    }
    void namesFollowTheSearchPathOfTheRole()
    {
        QFETCH(QStringList, settings);
        QFETCH(QStringList, names);
        plant(u"CREATE SCHEMA one; CREATE TABLE one.t (a integer)"_s);
        plant(u"CREATE SCHEMA \"two.\"; CREATE TABLE \"two.\".v (a integer)"_s);
        plant(u"CREATE SCHEMA reader; CREATE TABLE reader.u (a integer)"_s);
        for (const QString &setting : settings)
            QCOMPARE(m_admin->execute(setting), QString());
        plant(u"GRANT USAGE ON SCHEMA one, \"two.\", reader TO reader"_s);
        const auto restore =
            qScopeGuard([this] { QCOMPARE(m_admin->execute(u"ALTER ROLE reader RESET ALL"_s), QString()); });
        const SourceDatabase database(m_location);

        QCOMPARE(TableLoader(database.connection()).tableNames(), names);
    }
};

QTEST_GUILESS_MAIN(tst_HostileServer)
#include "tst_hostileserver.moc"
