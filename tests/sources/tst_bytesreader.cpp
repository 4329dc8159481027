// SPDX-License-Identifier: MIT
#include <sources/bytesreader.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <hostkit/parallel/stopsource.h>
#include <sources/sourcedatabase.h>
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>

#include <support/exceptions.h>
#include <support/sqlitefile.h>

#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

using namespace sito;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// What depends on neither the database nor who reads; the servers' tests, and those of SourceConnection, compare
/// what is read.
class tst_BytesReader : public QObject
{
    Q_OBJECT

    QTemporaryDir m_directory;
    QString m_file;
    std::unique_ptr<MemoryTable> m_table;
    std::unique_ptr<BytesReader> m_reader;

    void execute(const QString &statement) { makeSqliteFile(m_file, {statement}); }
    std::optional<QByteArray> read() { return m_reader->read(m_table->row(0), 1, 100); }

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_file = makeSqliteFile(m_directory.filePath(u"s.sqlite"_s),
                                {u"DROP TABLE IF EXISTS t"_s,
                                 u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB, n INT, c BLOB)"_s,
                                 u"INSERT INTO t VALUES (1, x'0102', 7, x'03')"_s});
        TableLoader loader(SourceLocation::fromFile(m_file));
        m_table = loader.load(u"t"_s);
        m_reader = loader.bytesReader(*m_table);
    }
    void cleanup()
    {
        m_reader.reset();
        m_table.reset();
    }

    void knowsTheColumns() { QCOMPARE(m_reader->columns(), QList<int>({1, 3})); }

    void isMadeForLoadedTables()
    {
        TableLoader other(SourceLocation::fromFile(m_file));
        QVERIFY(!other.bytesReader(*m_table));
        const SourceDatabase database(SourceLocation::fromFile(m_file));
        TableLoader borrowed(database.connection());
        const std::unique_ptr<MemoryTable> table = borrowed.load(u"t"_s);
        QVERIFY(!borrowed.bytesReader(*table));
    }

    void readsWhatIsThereNow()
    {
        QCOMPARE(read(), "\1\2"_ba);
        execute(u"UPDATE t SET b = x'0506'"_s);
        QCOMPARE(read(), "\5\6"_ba);
        execute(u"UPDATE t SET b = NULL"_s);
        QVERIFY(read() && read()->isNull());
        execute(u"UPDATE t SET b = ''"_s);
        QCOMPARE(read(), std::nullopt);
    }

    void goesOnAfterAFailure()
    {
        QCOMPARE(read(), "\1\2"_ba);
        execute(u"DROP TABLE t"_s);
        QVERIFY(exceptionMessage([this] { read(); }).contains(u"«t»"_s));
        QCOMPARE(exceptionMessage([this] { read(); }), u"Таблица «t» теперь другая, обновите её"_s);
        execute(u"CREATE TABLE t (id INTEGER PRIMARY KEY, b BLOB, n INT, c BLOB)"_s);
        QCOMPARE(exceptionMessage([this] { read(); }),
                 u"Строки уже нет в таблице «t»: она удалена, или её ключ изменён"_s);
        execute(u"INSERT INTO t VALUES (1, x'09', 7, NULL)"_s);
        QCOMPARE(read(), "\t"_ba);
    }

    void aStopDoesNotWaitForTheLock()
    {
        const parallel::StopSource stop;
        std::future<void> reading;
        {
            const std::lock_guard lock(*m_table);
            reading = std::async(std::launch::async,
                                 [this, &stop] { m_reader->read(m_table->row(0), 1, 100, stop.token()); });
            QCOMPARE(reading.wait_for(20ms), std::future_status::timeout);
            stop.requestStop();
            QCOMPARE(reading.wait_for(10s), std::future_status::ready);
        }
        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, reading.get());
        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, m_reader->read(m_table->row(0), 1, 100, stop.token()));
        QCOMPARE(read(), "\1\2"_ba);
    }
};

QTEST_GUILESS_MAIN(tst_BytesReader)
#include "tst_bytesreader.moc"
