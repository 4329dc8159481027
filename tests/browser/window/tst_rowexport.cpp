// SPDX-License-Identifier: MIT
#include <browser/window/rowexport.h>
#include <database/memorytable.h>
#include <hostkit/parallel/threadpool.h>
#include <support/exceptions.h>

#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <memory>
#include <mutex>

using namespace sito;
using namespace Qt::StringLiterals;

/// Writing and copying rows while everything else goes on. A test that holds the table's lock holds up the
/// rows.
class tst_RowExport : public QObject
{
    Q_OBJECT
private:
    /// The rows from \a first on, \a count of them.
    TableExport rows(int first, int count) const
    {
        std::vector<Record> records;
        for (int row = first; row < first + count; ++row)
            records.push_back(m_table->row(row));
        TableExport result(*m_table, {0}, std::move(records));
        result.setHeaders(false);
        return result;
    }
    void write(const QString &name, int count = 3)
    {
        m_export->write(rows(0, count), path(name), QString(), m_table);
    }
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QByteArray contentOf(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    bool settle()
    {
        return QTest::qWaitFor([this] { return !m_export->isBusy(); }, 30000);
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::shared_ptr<MemoryTable> m_table;
    std::unique_ptr<RowExport> m_export;
    QStringList m_events;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        QLoggingCategory::setFilterRules(u"database.exception=false"_s);
        m_directory = std::make_unique<QTemporaryDir>();
        m_table = std::make_shared<MemoryTable>(u"t"_s, QList<ColumnSpec>{{u"a"_s, FieldType::Int}});
        for (int row = 0; row < 2000; ++row)
            m_table->append({row});
        m_export = std::make_unique<RowExport>();
        m_events.clear();
        connect(m_export.get(), &RowExport::written, this,
                [this](qint64 count) { m_events.append(u"written %1"_s.arg(count)); });
        connect(m_export.get(), &RowExport::copied, this,
                [this](qint64 count) { m_events.append(u"copied %1"_s.arg(count)); });
        connect(m_export.get(), &RowExport::cancelled, this, [this] { m_events.append(u"cancelled"_s); });
        connect(m_export.get(), &RowExport::failed, this,
                [this](const QString &message) { m_events.append(u"failed "_s + message); });
        QGuiApplication::clipboard()->setText(u"before"_s);
    }
    void cleanup()
    {
        m_export.reset();
        QVERIFY(parallel::threadPool()->waitForDone(30000));
        m_table.reset();
    }

    void writesAFile()
    {
        write(u"out.csv"_s);
        QVERIFY(m_export->isWriting());
        QCOMPARE(m_events, QStringList());
        QVERIFY(settle());

        QCOMPARE(m_events, QStringList{u"written 3"_s});
        QCOMPARE(contentOf(u"out.csv"_s), QByteArray("0\r\n1\r\n2\r\n"));
        QVERIFY(!m_export->isWriting());
    }

    void fillsTheClipboard()
    {
        m_export->copy(rows(1, 2), m_table);
        QVERIFY(m_export->isBusy());
        QVERIFY(!m_export->isWriting());
        QVERIFY(settle());

        QCOMPARE(m_events, QStringList{u"copied 2"_s});
        QCOMPARE(QGuiApplication::clipboard()->text(), u"1\n2\n"_s);
    }

    void tellsWhyAFileCannotBeWritten()
    {
        m_export->write(rows(0, 3), path(u"none/out.csv"_s), QString(), m_table);
        QVERIFY(settle());

        QCOMPARE(m_events.size(), 1);
        QVERIFY2(m_events.constFirst().startsWith(u"failed "_s) &&
                     m_events.constFirst().contains(u"none/out.csv"_s),
                 qPrintable(m_events.constFirst()));
    }

    void tellsWhatItIsDoingWhileThatLasts()
    {
        {
            const std::lock_guard lock(*m_table);
            write(u"out.csv"_s);
            QCOMPARE(m_export->activity(), QString());

            QTRY_VERIFY(m_export->activity().contains(u"out.csv"_s));
            QCOMPARE(m_export->progress(), 0);
        }
        QVERIFY(settle());

        QCOMPARE(m_export->activity(), QString());
        QCOMPARE(m_events, QStringList{u"written 3"_s});
    }

    void leavesTheFileWhenItIsGivenUp()
    {
        QFile file(path(u"out.csv"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("before");
        file.close();
        {
            const std::lock_guard lock(*m_table);
            write(u"out.csv"_s, 2000);
            m_export->cancel();
            QCOMPARE(m_export->activity(), QString());
        }
        QVERIFY(settle());

        QCOMPARE(m_events, QStringList{u"cancelled"_s});
        QCOMPARE(contentOf(u"out.csv"_s), QByteArray("before"));
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList{u"out.csv"_s});
    }

    void isGivenUpWhileSomebodyElseHoldsTheLock_data()
    {
        QTest::addColumn<bool>("isCopy");
        QTest::newRow("file") << false;
        QTest::newRow("copy") << true;
    }
    void isGivenUpWhileSomebodyElseHoldsTheLock()
    {
        QFETCH(const bool, isCopy);
        const std::lock_guard lock(*m_table);

        if (isCopy)
            m_export->copy(rows(0, 3), m_table);
        else
            write(u"out.csv"_s);
        m_export->cancel();

        QVERIFY(QTest::qWaitFor([this] { return !m_export->isBusy(); }, 3000));
        QCOMPARE(m_events, QStringList{u"cancelled"_s});
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList());
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s);
    }

    void copiesBesideAFileThatIsWritten()
    {
        {
            const std::lock_guard lock(*m_table);
            write(u"out.csv"_s);
            m_export->copy(rows(5, 1), m_table);
            m_export->cancel(); // what began last
        }
        QVERIFY(settle());

        m_events.sort();
        QCOMPARE(m_events, (QStringList{u"cancelled"_s, u"written 3"_s}));
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_s);
    }

    void copiesWhatWasCopiedLast()
    {
        {
            const std::lock_guard lock(*m_table);
            m_export->copy(rows(0, 2000), m_table);
            m_export->copy(rows(5, 1), m_table);
        }
        QVERIFY(settle());

        QCOMPARE(m_events, QStringList{u"copied 1"_s});
        QCOMPARE(QGuiApplication::clipboard()->text(), u"5"_s);
    }

    void keepsTheTableUntilTheRowsAreWritten()
    {
        const std::weak_ptr<MemoryTable> table = m_table;
        {
            const std::shared_ptr<MemoryTable> held = m_table;
            const std::lock_guard lock(*held);
            write(u"out.csv"_s);
            m_table.reset();
        }
        QVERIFY(settle());

        QCOMPARE(m_events, QStringList{u"written 3"_s});
        QCOMPARE(contentOf(u"out.csv"_s), QByteArray("0\r\n1\r\n2\r\n"));
        QTRY_VERIFY(table.expired());
    }

    void stopsEverythingAtOnce()
    {
        const std::lock_guard lock(*m_table);
        write(u"out.csv"_s, 2000);
        m_export->copy(rows(0, 2000), m_table);

        m_export->stop();

        QVERIFY(!m_export->isBusy());
        QCOMPARE(m_events, (QStringList{u"cancelled"_s, u"cancelled"_s}));
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList());
    }

    void waitsOnlyShortlyWhenItIsDeleted()
    {
        QElapsedTimer timer;
        {
            const std::lock_guard lock(*m_table);
            write(u"out.csv"_s, 2000);
            timer.start();
            m_export.reset();
            QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
        }
        QVERIFY(parallel::threadPool()->waitForDone(30000));
        QCoreApplication::processEvents();

        QCOMPARE(m_events, QStringList());
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList());
    }
};

QTEST_MAIN(tst_RowExport)
#include "tst_rowexport.moc"
