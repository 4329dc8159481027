// SPDX-License-Identifier: MIT
#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/threadpool.h>
#include <hostkit/table/tablemodel.h>

#include <database/memorytable.h>

#include <data/tablechanges.h>
#include <support/exceptions.h>
#include <support/lambdafilter.h>

#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <span>

#include <malloc.h>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {
/// How many more bytes operator new gives to the thread of the test; below 0 without end.
qint64 bytesLeft = -1;
thread_local bool isTestThread = false;

bool isMemoryLeft(size_t size)
{
    return !isTestThread || bytesLeft < 0 || qint64(size) <= bytesLeft;
}

/// Notes that \a size bytes were given, or taken back when it is negative.
void note(qint64 size)
{
    if (isTestThread && bytesLeft >= 0)
        bytesLeft = std::max<qint64>(0, bytesLeft - size);
}
} // namespace

// The libraries of the program allocate here, too.
void *operator new(size_t size)
{
    void *block = isMemoryLeft(size) ? std::malloc(size ? size : 1) : nullptr;
    if (!block)
        throw std::bad_alloc();
    note(qint64(malloc_usable_size(block)));
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void operator delete(void *block) noexcept
{
    note(-qint64(malloc_usable_size(block)));
    std::free(block);
}

void operator delete[](void *block) noexcept
{
    operator delete(block);
}

void operator delete(void *block, size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void *block, size_t) noexcept
{
    operator delete(block);
}

namespace {

int id(const Record &row)
{
    return row.field(0).value<qint32>();
}

QString shown(const TableModel &model)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts.append(model.index(row, 0).data().toString());
    return texts.join(u' ');
}

} // namespace

/// A model where there is no memory.
class tst_TableModelMemory : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"t"_s, {{.name = u"id"_s, .type = FieldType::Int}}};

private Q_SLOTS:
    void init()
    {
        isTestThread = true;
        failOnAnyWarning();
        m_table.clear();
        for (int number = 1; number <= 6; ++number)
            m_table.append({qint32(number)});
    }

    void keepsItsRowsWhenThereIsNoMemoryToShowOthers_data()
    {
        QTest::addColumn<bool>("reloads");
        QTest::addColumn<bool>("waits");
        QTest::addColumn<bool>("hasThreads");
        QTest::newRow("filtered") << false << true << true;
        QTest::newRow("reloaded") << true << true << true;
        QTest::newRow("filtered, by the event loop") << false << false << true;
        QTest::newRow("reloaded, by the event loop") << true << false << true;
        QTest::newRow("in a pool without threads") << false << true << false;
    }
    void keepsItsRowsWhenThereIsNoMemoryToShowOthers()
    {
        QFETCH(const bool, reloads);
        QFETCH(const bool, waits);
        QFETCH(const bool, hasThreads);
        int failures = 0;
        bool isComplete = false;
        for (qint64 allowed = 0; !isComplete; allowed += allowed < 4096 ? 16 : 512) {
            QVERIFY(allowed < 1'000'000);
            init();
            QThreadPool pool;
            const auto back = qScopeGuard([] { parallel::setThreadPool(nullptr); });
            TableModel model(m_table, {0});
            FilterList filters(m_table);
            auto *filter = new LambdaFilter([](const Record &row) { return id(row) > 3; });
            filters.add(filter);
            model.setFilters(&filters);
            model.waitForPass();
            QCOMPARE(shown(model), u"1 2 3"_s);
            // One index stays, one row goes.
            const QPersistentModelIndex second = model.index(1, 0);
            const QPersistentModelIndex third = model.index(2, 0);
            QSignalSpy failed(&model, &TableModel::passFailed);
            filter->setFunction([](const Record &row) { return id(row) % 2 == 1; });
            filters.notifyChanged(filter);
            if (reloads) {
                m_table.append({qint32(8)});
                model.reload();
            }
            if (!hasThreads)
                parallel::setThreadPool(&pool);
            bytesLeft = allowed;
            try {
                if (waits) {
                    model.waitForPass();
                } else {
                    while (model.isPassRunning())
                        QCoreApplication::processEvents();
                }
                bytesLeft = -1;
            } catch (...) {
                bytesLeft = -1;
                QFAIL("an exception left the model");
            }
            QVERIFY(!model.isPassRunning());
            isComplete = failed.isEmpty();
            if (!isComplete) {
                ++failures;
                QCOMPARE(shown(model), u"1 2 3"_s);
                QVERIFY(!model.isUpToDate());
                QCOMPARE(model.rowOf(m_table.row(2)), 2);
                // Later there is.
                filters.notifyChanged(filter);
                model.waitForPass();
            }
            QVERIFY(model.isUpToDate());
            QCOMPARE(shown(model), reloads ? u"2 4 6 8"_s : u"2 4 6"_s);
            QCOMPARE(model.rowOf(m_table.row(3)), 1);
            QVERIFY(!third.isValid());
            if (isComplete)
                QCOMPARE(second.row(), 0);
        }

        QVERIFY(failures > 20);
    }

    void keepsItsRowsWhenThereIsNoMemoryToFollow_data()
    {
        QTest::addColumn<bool>("tells");
        QTest::newRow("none to show what was told") << false;
        QTest::newRow("none to tell, either") << true;
    }
    void keepsItsRowsWhenThereIsNoMemoryToFollow()
    {
        QFETCH(const bool, tells);
        int failures = 0;
        bool isComplete = false;
        for (qint64 allowed = 0; !isComplete; allowed += allowed < 4096 ? 16 : 512) {
            QVERIFY(allowed < 1'000'000);
            init();
            TableChanges changes;
            TableModel model(m_table, {0});
            model.setSortKeys({{0, Qt::DescendingOrder}});
            model.follow(&changes);
            model.waitForPass();
            QCOMPARE(shown(model), u"6 5 4 3 2 1"_s);
            const QPersistentModelIndex second = model.index(1, 0);
            const QPersistentModelIndex third = model.index(3, 0);
            QSignalSpy failed(&model, &TableModel::passFailed);
            {
                const std::lock_guard lock(m_table);
                const Record gone = m_table.row(2);
                m_table.remove(gone);
                const Record added = m_table.append({qint32(8)});
                unsigned char *rows[] = {gone.row(), added.row()};
                bytesLeft = tells ? allowed : -1;
                changes.tell({TableChange::Removed, std::span(rows, 1)});
                changes.tell({TableChange::Appended, std::span(rows + 1, 1)});
                bytesLeft = -1;
            }
            bytesLeft = allowed;
            try {
                model.waitForPass();
                bytesLeft = -1;
            } catch (...) {
                bytesLeft = -1;
                QFAIL("an exception left the model");
            }
            isComplete = failed.isEmpty();
            if (!isComplete) {
                ++failures;
                QCOMPARE(shown(model), u"6 5 4 3 2 1"_s);
                QVERIFY(!model.isUpToDate());
                // Later there is.
                model.reload();
                model.waitForPass();
            }
            QVERIFY(model.isUpToDate());
            QCOMPARE(shown(model), u"8 6 5 4 2 1"_s);
            QVERIFY(!third.isValid());
            if (isComplete)
                QCOMPARE(second.row(), 2);
        }

        QVERIFY(failures > 20);
    }
};

QTEST_MAIN(tst_TableModelMemory)
#include "tst_tablemodel_memory.moc"
