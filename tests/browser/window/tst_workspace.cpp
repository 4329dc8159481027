// SPDX-License-Identifier: MIT
#include <browser/window/workspace.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <support/exceptions.h>
#include <support/spoiltfile.h>
#include <support/sqlitefile.h>
#include <support/waitedtables.h>

#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

/// In the place of a value of the sessions: their rows cannot be read.
static const QString unreadable = u"2"_s;

/// Which source is open, what is loaded and what waits, without a window.

class tst_Workspace : public QObject
{
    Q_OBJECT
private:
    /// A file with a table "t" of one value and, if wanted, "sessions", which can be read unless \a sessions
    /// says so.
    QString makeFile(const QString &name, int value, const QString &sessions = QString())
    {
        QStringList statements{u"CREATE TABLE t (a INTEGER NOT NULL)"_s,
                               u"INSERT INTO t VALUES (%1)"_s.arg(value),
                               u"CREATE TABLE u (a INTEGER NOT NULL)"_s};
        if (!sessions.isEmpty()) {
            statements.append({u"CREATE TABLE sessions (a INTEGER NOT NULL)"_s,
                               u"INSERT INTO sessions VALUES (%1)"_s.arg(sessions)});
        }
        if (sessions == unreadable)
            statements.append(spoiling(u"sessions"_s));
        return makeSqliteFile(m_directory->filePath(name), statements);
    }
    /// A file with a table "t" of 50,000 numbers; the last one is \a last.
    QString makeLarge(const QString &last = u"50000"_s)
    {
        return makeSqliteFile(m_directory->filePath(u"large.sqlite"_s),
                              {u"CREATE TABLE t (a INTEGER PRIMARY KEY, b INTEGER)"_s,
                               u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                               "FROM n WHERE i < 50000) SELECT i, CASE i WHEN 50000 THEN %1 ELSE i END "
                               "FROM n"_s.arg(last)});
    }
    static qint64 rows() { return MemoryDatabase::instance().table(u"t"_s)->rowCount(); }
    void openFile(const QString &file)
    {
        m_workspace->open(SourceLocation::fromFile(file));
        QTRY_VERIFY(m_workspace->isSettled());
        m_events.clear();
    }
    bool settle()
    {
        return QTest::qWaitFor([this] { return m_workspace->isSettled(); }, 30000);
    }
    QStringList takeEvents() { return std::exchange(m_events, {}); }
    std::function<void()> noting(const QString &event)
    {
        return [this, event] { m_events.append(event); };
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Workspace> m_workspace;
    QStringList m_events;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        QLoggingCategory::setFilterRules(u"database.exception=false"_s);
        m_directory = std::make_unique<QTemporaryDir>();
        m_workspace = std::make_unique<Workspace>();
        m_events.clear();
        const auto note = [this](const QString &kind) {
            return [this, kind](const QString &text) { m_events.append(kind + text); };
        };
        connect(m_workspace.get(), &Workspace::aboutToClose, this, noting(u"closes"_s));
        connect(m_workspace.get(), &Workspace::opened, this, noting(u"opened"_s));
        connect(m_workspace.get(), &Workspace::tableLoaded, this, note(u"loaded "_s));
        connect(m_workspace.get(), &Workspace::restLoaded, this, note(u"rest "_s));
        connect(m_workspace.get(), &Workspace::reshaped, this, note(u"reshaped "_s));
        connect(m_workspace.get(), &Workspace::failed, this, note(u"failed "_s));
        connect(m_workspace.get(), &Workspace::openFailed, this,
                [this](const SourceLocation &location, const QString &message) {
                    m_events.append(u"failed %1: %2"_s.arg(location.file, message));
                });
        connect(m_workspace.get(), &Workspace::refused, this, note(u"refused "_s));
        connect(m_workspace.get(), &Workspace::interrupted, this, noting(u"interrupted"_s));
    }
    void cleanup()
    {
        m_workspace.reset();
        QCOMPARE(MemoryDatabase::instance().tableNames(), QStringList());
    }

    void opensTheSample()
    {
        m_workspace->openSample();
        QVERIFY(m_workspace->isOpeningSource());
        QVERIFY(!m_workspace->activity().isEmpty());
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"closes"_s, u"opened"_s}));
        QVERIFY(m_workspace->isOpen());
        QVERIFY(m_workspace->isSample());
        QCOMPARE(m_workspace->sourceKey(), u"sample"_s);
        QCOMPARE(m_workspace->activity(), QString());
        QVERIFY(m_workspace->hasSessions());
        QCOMPARE(m_workspace->tables().size(), 3);
    }

    void loadsATable()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));

        m_workspace->load(u"t"_s);
        QCOMPARE(m_workspace->comingTable(), u"t"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), QStringList{u"loaded t"_s});
        QCOMPARE(m_workspace->comingTable(), QString());
        QCOMPARE(MemoryDatabase::instance().table(u"t"_s)->rowCount(), 1);
    }

    void handsTheRequestOn()
    {
        ShowRequest request;
        request.sessionColumns = {u"a"_s, u"b"_s};
        QStringList columns;
        connect(m_workspace.get(), &Workspace::opened, this, [&](const ShowRequest &opened) {
            columns += opened.sessionColumns;
            m_workspace->load(u"t"_s, opened);
        });
        connect(m_workspace.get(), &Workspace::tableLoaded, this,
                [&](const QString &, const ShowRequest &loaded) { columns += loaded.sessionColumns; });

        m_workspace->open(SourceLocation::fromFile(makeFile(u"a.sqlite"_s, 7)), request);
        QVERIFY(settle());

        QCOMPARE(columns, request.sessionColumns + request.sessionColumns);
    }

    void keepsWhatIsOpenWhenASourceFails()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));
        const QString key = m_workspace->sourceKey();

        m_workspace->open(SourceLocation::fromFile(m_directory->filePath(u"none.sqlite"_s)));
        QVERIFY(settle());

        QCOMPARE(m_events.size(), 1);
        QVERIFY(takeEvents().constFirst().startsWith(u"failed "_s));
        QCOMPARE(m_workspace->sourceKey(), key);
        m_workspace->load(u"t"_s);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), QStringList{u"loaded t"_s});
    }

    void showsTheLastOfSeveralSources()
    {
        m_workspace->openSample();
        m_workspace->open(SourceLocation::fromFile(makeFile(u"a.sqlite"_s, 7)));
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"closes"_s, u"opened"_s}));
        QVERIFY(!m_workspace->isSample());
        QCOMPARE(m_workspace->sourceName(), u"a.sqlite"_s);
    }

    void loadsTheSessionsWithATable()
    {
        openFile(makeFile(u"a.sqlite"_s, 7, u"1"_s));

        m_workspace->load(u"t"_s, {}, true);
        QVERIFY(settle());
        m_workspace->withSessions(*this, Workspace::WithoutSessions::GiveUp, noting(u"worked"_s));

        QCOMPARE(takeEvents(), (QStringList{u"loaded t"_s, u"worked"_s}));
    }

    void loadsATableWhoseSessionsCannotBeRead()
    {
        openFile(makeFile(u"a.sqlite"_s, 7, unreadable));

        m_workspace->load(u"t"_s, {}, true);
        QVERIFY(settle());

        QCOMPARE(m_events.size(), 2);
        QVERIFY2(m_events.constFirst().startsWith(u"failed "_s) &&
                     m_events.constFirst().contains(u"sessions"_s),
                 qPrintable(m_events.constFirst()));
        QCOMPARE(m_events.constLast(), u"loaded t"_s);
    }

    void refusesToLoadWhileASourceOpens()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));

        m_workspace->openSample();
        m_workspace->load(u"t"_s);
        QCOMPARE(m_events.size(), 1);
        QVERIFY(takeEvents().constFirst().startsWith(u"refused "_s));
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"closes"_s, u"opened"_s}));
    }

    void tellsOfTablesThatCannotBeLoaded()
    {
        openFile(makeSqliteFile(m_directory->filePath(u"bad.sqlite"_s),
                                {u"CREATE VIEW orphaned AS SELECT * FROM gone"_s}));

        for (const QString &table : {u"orphaned"_s, u"none"_s}) {
            m_workspace->load(table);
            QCOMPARE(m_events.size(), 1);
            QVERIFY(m_events.constFirst().startsWith(u"failed "_s) && m_events.constFirst().contains(table));
            QVERIFY(m_workspace->isSettled());
            m_events.clear();
        }
        QCOMPARE(m_workspace->tableToShow(QString()), QString());
    }

    void loadsATableOnce()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));

        m_workspace->load(u"t"_s);
        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), QStringList{u"loaded t"_s});
    }

    void loadsTheLastOfSeveralTables()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));

        m_workspace->load(u"t"_s);
        m_workspace->load(u"u"_s);
        QCOMPARE(m_workspace->comingTable(), u"u"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), QStringList{u"loaded u"_s});
    }

    void cancelsALoad()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));

        m_workspace->load(u"t"_s);
        m_workspace->cancelLoad();
        QCOMPARE(m_workspace->comingTable(), QString());
        m_workspace->load(u"t"_s); // wanted after all
        QVERIFY(settle());

        QCOMPARE(takeEvents(), QStringList{u"loaded t"_s});
    }

    void cancelsNoOpeningForATable()
    {
        m_workspace->openSample();
        m_workspace->cancelLoad();
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"closes"_s, u"opened"_s}));
    }

    void interruptsAnOpening()
    {
        m_workspace->openSample();
        m_workspace->interrupt();
        QVERIFY(settle());

        QCOMPARE(takeEvents(), QStringList{u"interrupted"_s});
        QVERIFY(!m_workspace->isOpen());
        QCOMPARE(m_workspace->sourceName(), QString());
    }

    void worksOnceTheSessionsAreLoaded_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("they can be read") << u"1"_s << QStringList{u"strict"_s, u"loose"_s};
        QTest::newRow("they cannot be read") << unreadable << QStringList{u"failed"_s, u"loose"_s};
    }
    void worksOnceTheSessionsAreLoaded()
    {
        QFETCH(const QString, value);
        QFETCH(const QStringList, events);
        openFile(makeFile(u"a.sqlite"_s, 7, value));
        QObject owner;

        m_workspace->withSessions(owner, Workspace::WithoutSessions::GiveUp, noting(u"strict"_s));
        m_workspace->withSessions(owner, Workspace::WithoutSessions::GoOn, noting(u"loose"_s));
        QVERIFY(m_workspace->isAwaitingSessions(&owner));
        QVERIFY(!m_workspace->isAwaitingSessions(this));
        QCOMPARE(m_events, QStringList());
        QVERIFY(settle());

        for (QString &event : m_events)
            event = event.section(u' ', 0, 0);
        QCOMPARE(m_events, events);
        QVERIFY(!m_workspace->isAwaitingSessions(&owner));
    }

    void waitsForWhatIsUnderWayBeforeItLoadsTheSessions()
    {
        openFile(makeFile(u"a.sqlite"_s, 7, u"1"_s));

        m_workspace->load(u"t"_s);
        m_workspace->withSessions(*this, Workspace::WithoutSessions::GiveUp, noting(u"worked"_s));
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"loaded t"_s, u"worked"_s}));
    }

    void givesUpWhatWaits_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("interrupted") << u"interrupt"_s << QStringList{u"interrupted"_s};
        QTest::newRow("another source") << u"open"_s << QStringList{u"closes"_s, u"opened"_s};
        QTest::newRow("nobody wants it") << u"gone"_s << QStringList();
        QTest::newRow("forgotten") << u"forget"_s << QStringList();
    }
    void givesUpWhatWaits()
    {
        QFETCH(const QString, reason);
        QFETCH(const QStringList, events);
        openFile(makeFile(u"a.sqlite"_s, 7, u"1"_s));
        auto owner = std::make_unique<QObject>();

        m_workspace->withSessions(*owner, Workspace::WithoutSessions::GiveUp, noting(u"worked"_s));
        if (reason == "interrupt"_L1)
            m_workspace->interrupt();
        else if (reason == "open"_L1)
            m_workspace->openSample();
        else if (reason == "gone"_L1)
            owner.reset();
        else
            m_workspace->forgetAwaiting(owner.get());
        QVERIFY(settle());

        QCOMPARE(takeEvents(), events);
    }

    void deletesTablesOnceNoThreadWaitsForThem()
    {
        // No other test has such a table, which a thread may delete even now.
        openFile(
            makeSqliteFile(m_directory->filePath(u"a.sqlite"_s), {u"CREATE TABLE waited (a INTEGER)"_s}));
        m_workspace->load(u"waited"_s);
        QVERIFY(settle());
        std::shared_ptr<const void> handle = m_workspace->holdTables();
        openFile(makeFile(u"b.sqlite"_s, 2));
        QVERIFY(!WaitedTables::names().contains(u"waited"_s));
        {
            const WaitedTables held;
            handle.reset();
        }

        QTRY_VERIFY(WaitedTables::names().contains(u"waited"_s));
    }

    void keepsTheTablesForWhoeverHoldsThem()
    {
        openFile(makeFile(u"a.sqlite"_s, 7));
        m_workspace->load(u"t"_s);
        QVERIFY(settle());
        std::shared_ptr<const void> handle = m_workspace->holdTables();
        MemoryTable *table = MemoryDatabase::instance().table(u"t"_s);
        Record row = table->row(0);

        openFile(makeFile(u"b.sqlite"_s, 8));
        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        QVERIFY(MemoryDatabase::instance().table(u"t"_s) != table);
        QCOMPARE(MemoryDatabase::instance().table(u"t"_s)->row(0).field(0).value<int>(), 8);
        QCOMPARE(row.field(0).value<int>(), 7);
        m_workspace.reset();
        QCOMPARE(row.field(0).value<int>(), 7);
        QCOMPARE(table->name(), u"t"_s);
        row = Record();
        handle.reset();
    }

    void readsTheRestAfterTheBeginning()
    {
        openFile(makeLarge());
        qint64 rowsAtFirst = 0;
        connect(m_workspace.get(), &Workspace::tableLoaded, this, [this, &rowsAtFirst] {
            rowsAtFirst = rows();
            m_events.append(m_workspace->isComplete(u"t"_s) ? u"complete"_s : u"beginning"_s);
        });

        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"loaded t"_s, u"beginning"_s, u"rest t"_s}));
        QCOMPARE(rowsAtFirst, SourceConnection::rowsOfBeginning);
        QVERIFY(m_workspace->isComplete(u"t"_s));
        QCOMPARE(rows(), 50'000);
        // There is none any more; and none of what is not there.
        m_workspace->readRest(u"t"_s);
        m_workspace->readRest(u"no such table"_s);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), QStringList());
    }

    void readsTheRestThatWasInterrupted()
    {
        openFile(makeLarge());
        // As soon as the rest has begun.
        connect(m_workspace.get(), &Workspace::changed, this, [this] {
            if (m_events == QStringList(u"loaded t"_s) && m_workspace->isBusy())
                m_workspace->interrupt();
        });

        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"loaded t"_s, u"interrupted"_s}));
        QVERIFY(!m_workspace->isComplete(u"t"_s));
        m_workspace->readRest(u"t"_s);
        QVERIFY(!m_workspace->isSettled());
        QVERIFY(settle());
        QCOMPARE(takeEvents(), QStringList(u"rest t"_s));
        QCOMPARE(rows(), 50'000);
    }

    void readsTheRestThatCouldNotBeRead_data()
    {
        QTest::addColumn<SpoiltFile::Way>("way");
        QTest::addColumn<bool>("isHalfRead");
        QTest::newRow("cut off, which is found out at once") << SpoiltFile::CutOff << false;
        QTest::newRow("spoilt in the middle") << SpoiltFile::Zeros << true;
    }
    void readsTheRestThatCouldNotBeRead()
    {
        QFETCH(const SpoiltFile::Way, way);
        QFETCH(const bool, isHalfRead);
        SpoiltFile file(makeLarge());
        openFile(m_directory->filePath(u"large.sqlite"_s));
        connect(m_workspace.get(), &Workspace::tableLoaded, this, [&] { QVERIFY(file.spoil(way)); });

        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        const QStringList events = takeEvents();
        QCOMPARE(events.size(), 2);
        QVERIFY2(events.at(1).startsWith(u"failed База данных «"_s), qPrintable(events.at(1)));
        QVERIFY(!m_workspace->isComplete(u"t"_s));
        QCOMPARE(rows() > SourceConnection::rowsOfBeginning, isHalfRead);
        QVERIFY(rows() < 50'000);
        QVERIFY(file.restore());
        m_workspace->readRest(u"t"_s);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), QStringList(u"rest t"_s));
        QVERIFY(m_workspace->isComplete(u"t"_s));
        QCOMPARE(rows(), 50'000);
    }

    void loadsTheWholeTableWhenTheRestDoesNotFit()
    {
        openFile(makeLarge(u"'last'"_s));

        m_workspace->load(u"t"_s);
        QVERIFY(settle());

        QCOMPARE(takeEvents(), (QStringList{u"loaded t"_s, u"reshaped t"_s}));
        QVERIFY(!m_workspace->isComplete(u"t"_s));
        m_workspace->dropTable(u"t"_s);
        m_workspace->load(u"t"_s, {}, false, SourceConnection::Extent::Whole);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), QStringList(u"loaded t"_s));
        QVERIFY(m_workspace->isComplete(u"t"_s));
        QCOMPARE(rows(), 50'000);
        QCOMPARE(MemoryDatabase::instance().table(u"t"_s)->columnSpec(1).type, FieldType::String);
    }

    void fetchesBytesOnceNothingElseIsUnderWay()
    {
        openFile(makeSqliteFile(m_directory->filePath(u"b.sqlite"_s),
                                {u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB)"_s,
                                 u"INSERT INTO t VALUES (1, x'0102'), (2, x'03'), (3, zeroblob(9))"_s,
                                 u"CREATE TABLE u (a INTEGER)"_s}));
        m_workspace->load(u"t"_s);
        QVERIFY(settle());
        QCOMPARE(m_workspace->bytesColumns(u"t"_s), QList<int>({1}));
        takeEvents();
        QObject owner;
        const auto fetch = [this](QObject &wanting, int row) {
            m_workspace->fetchBytes(wanting, MemoryDatabase::instance().table(u"t"_s)->row(row), 1, 5,
                                    [this](const QByteArray &bytes, const QString &error) {
                                        m_events.append(
                                            u"bytes %1%2"_s.arg(QLatin1StringView(bytes.toHex()), error));
                                    });
        };

        fetch(owner, 0);
        QVERIFY(!m_workspace->isSettled());
        QVERIFY(!m_workspace->activity().isEmpty());
        {
            QObject brief;
            fetch(brief, 0);
        }
        fetch(owner, 2);
        fetch(owner, 1);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), (QStringList{u"bytes 0102"_s,
                                            u"bytes Значение занимает 9 Б, а прочитать можно не больше 5 Б"_s,
                                            u"bytes 03"_s}));

        // What the user wants next does not wait; what waits comes after it.
        fetch(owner, 0);
        fetch(owner, 1);
        m_workspace->load(u"u"_s);
        QVERIFY(settle());
        QCOMPARE(takeEvents(), (QStringList{u"bytes Прервано"_s, u"loaded u"_s, u"bytes 03"_s}));
        fetch(owner, 0);
        fetch(owner, 1);
        m_workspace->interrupt();
        QVERIFY(settle());
        QCOMPARE(takeEvents(), (QStringList{u"bytes Прервано"_s, u"bytes Прервано"_s, u"interrupted"_s}));
        fetch(owner, 0);
        fetch(owner, 1);
        m_workspace->openSample();
        QVERIFY(settle());
        QCOMPARE(takeEvents(), (QStringList{u"bytes Прервано"_s, u"bytes Таблица уже закрыта"_s, u"closes"_s,
                                            u"opened"_s}));
    }

    void choosesATableToShow()
    {
        openFile(
            makeSqliteFile(m_directory->filePath(u"some.sqlite"_s),
                           {u"CREATE VIEW a AS SELECT * FROM gone"_s, u"CREATE VIEW aa AS SELECT * FROM c"_s,
                            u"CREATE TABLE b (x INTEGER)"_s, u"CREATE TABLE c (x INTEGER)"_s}));

        QCOMPARE(m_workspace->tableToShow(u"c"_s), u"c"_s);
        QCOMPARE(m_workspace->tableToShow(u"gone"_s), u"b"_s);
        QCOMPARE(m_workspace->tableToShow(QString()), u"b"_s);
    }

    void knowsASourceHoweverItIsNamed()
    {
        const QString file = makeFile(u"a.sqlite"_s, 7);
        openFile(file);
        const QString key = m_workspace->sourceKey();

        openFile(QDir::current().relativeFilePath(file));

        QCOMPARE(m_workspace->sourceKey(), key);
    }
};

QTEST_GUILESS_MAIN(tst_Workspace)
#include "tst_workspace.moc"
