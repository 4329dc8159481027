// SPDX-License-Identifier: MIT
#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/parallel/threadpool.h>

#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTest>
#include <QThreadPool>

#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace sito;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Calls something under the lock of a table, in another thread; answers whether it was called.
std::future<bool> asked(const Table &table, const parallel::StopToken &stop = {})
{
    return std::async(std::launch::async, [&table, stop] {
        bool isCalled = false;
        try {
            parallel::underLock(table, stop, [&isCalled] { isCalled = true; });
        } catch (const parallel::Stopped &) {
        }
        return isCalled;
    });
}

} // namespace

class tst_TableLock : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}}};

    bool isFree() const
    {
        return std::async(std::launch::async,
                          [this] {
                              const bool result = m_table.tryLock();
                              if (result)
                                  m_table.unlock();
                              return result;
                          })
            .get();
    }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { parallel::waitForWaiters(m_table); }

    void holdsTheLockWhileTheWorkIsDone()
    {
        bool wasFree = true;

        parallel::underLock(m_table, {}, [&] {
            wasFree = isFree();
            // Its thread is the owner.
            const std::lock_guard<Table> again(m_table);
        });

        QVERIFY(!wasFree);
        QVERIFY(isFree());
    }

    void throwsWhatTheWorkThrows()
    {
        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 parallel::underLock(m_table, {}, [] { throw std::runtime_error("no"); }));
        QVERIFY(isFree());
    }

    void waitsForTheLock()
    {
        m_table.lock();
        std::future<bool> isCalled = asked(m_table);
        const std::future_status before = isCalled.wait_for(20ms);
        m_table.unlock();

        QVERIFY(isCalled.get());
        QCOMPARE(before, std::future_status::timeout);
    }

    void givesUpWhenItIsStopped()
    {
        const parallel::StopSource stop;
        m_table.lock();
        std::future<bool> isCalled = asked(m_table, stop.token());
        const std::future_status before = isCalled.wait_for(20ms);

        stop.requestStop();

        const std::future_status after = isCalled.wait_for(10s);
        m_table.unlock();
        QCOMPARE(before, std::future_status::timeout);
        QCOMPARE(after, std::future_status::ready);
        QVERIFY(!isCalled.get());
        parallel::waitForWaiters(m_table);
        QVERIFY(isFree());
    }

    void deletesATableOnceNoThreadWaitsForIt()
    {
        const QList<ColumnSpec> columns{{.name = u"n"_s, .type = FieldType::Int}};
        auto table = std::make_shared<MemoryTable>(u"t"_s, columns);
        const std::weak_ptr<MemoryTable> seen = table;
        std::binary_semaphore entered{0};
        std::binary_semaphore leave{0};
        std::future<void> working = std::async(std::launch::async, [&, &locked = *table] {
            parallel::underLock(locked, {}, [&] {
                entered.release();
                leave.acquire();
            });
        });
        entered.acquire();

        parallel::deleteAside(std::move(table));

        QTest::qWait(20);
        const bool isThere = !seen.expired();
        leave.release();
        working.get();
        QVERIFY(isThere);
        QTRY_VERIFY(seen.expired());
        parallel::deleteAside(std::make_unique<MemoryTable>(u"t"_s, columns));
        parallel::deleteAside(std::unique_ptr<MemoryTable>());
        parallel::deleteAside(nullptr);
    }

    void asksForNothingWhenItIsStoppedBefore()
    {
        const parallel::StopSource stop;
        stop.requestStop();
        const std::lock_guard<Table> lock(m_table);

        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, parallel::underLock(m_table, stop.token(), [] {}));
        parallel::waitForWaiters(m_table);
    }

    void leavesOneThreadBehindAndNoMore()
    {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        parallel::setThreadPool(&pool);
        const auto back = qScopeGuard([&] {
            parallel::waitForWaiters(m_table);
            pool.waitForDone();
            parallel::setThreadPool(nullptr);
        });
        m_table.lock();
        for (int i = 0; i < 5; ++i) {
            const parallel::StopSource stop;
            std::future<bool> isCalled = asked(m_table, stop.token());
            isCalled.wait_for(5ms);
            stop.requestStop();
            QVERIFY(!isCalled.get());
        }

        // It takes no room from others, either.
        std::promise<void> started;
        const bool isStarted = pool.tryStart([&] { started.set_value(); });
        if (isStarted)
            started.get_future().wait();
        // It serves who comes later.
        std::future<bool> late = asked(m_table);
        const std::future_status before = late.wait_for(20ms);
        m_table.unlock();

        QVERIFY(isStarted);
        QCOMPARE(before, std::future_status::timeout);
        QVERIFY(late.get());
    }

    void neverWaitsForAThreadOfAFullPool()
    {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        parallel::setThreadPool(&pool);
        std::promise<void> end;
        const auto back = qScopeGuard([&] {
            end.set_value();
            pool.waitForDone();
            parallel::setThreadPool(nullptr);
        });
        pool.start([&end] { end.get_future().wait(); });
        bool isCalled = false;

        parallel::underLock(m_table, {}, [&isCalled] { isCalled = true; });

        QVERIFY(isCalled);
    }

    void servesManyAtOnce()
    {
        int calls = 0; // guarded by the lock
        std::atomic<int> stopped = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&, i] {
                for (int round = 0; round < 200; ++round) {
                    const parallel::StopSource stop;
                    std::thread stopper;
                    if (round % 8 == i)
                        stopper = std::thread([&stop] { stop.requestStop(); });
                    try {
                        parallel::underLock(m_table, stop.token(), [&calls] { ++calls; });
                    } catch (const parallel::Stopped &) {
                        ++stopped;
                    }
                    if (stopper.joinable())
                        stopper.join();
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        parallel::waitForWaiters(m_table);

        QCOMPARE(calls + stopped, 8 * 200);
        QVERIFY(isFree());
    }
};

QTEST_GUILESS_MAIN(tst_TableLock)
#include "tst_tablelock.moc"
