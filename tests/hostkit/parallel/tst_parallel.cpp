// SPDX-License-Identifier: MIT
#include <hostkit/parallel/parallel_p.h>
#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/threadpool.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>

using namespace sito;

namespace {

/// The pool of the test, from which the threads come while it lives.
class Pool
{
    Q_DISABLE_COPY_MOVE(Pool)
public:
    explicit Pool(int threads)
    {
        m_pool.setMaxThreadCount(threads);
        parallel::setThreadPool(&m_pool);
    }
    ~Pool()
    {
        m_pool.waitForDone();
        parallel::setThreadPool(nullptr);
    }
    QThreadPool *operator->() { return &m_pool; }

private:
    QThreadPool m_pool;
};

} // namespace

class tst_Parallel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void takesItsThreadsFromThePoolThatIsSet()
    {
        QThreadPool *own = parallel::threadPool();
        QVERIFY(own != QThreadPool::globalInstance());
        {
            QThreadPool pool;
            parallel::setThreadPool(&pool);
            const auto back = qScopeGuard([] { parallel::setThreadPool(nullptr); });
            QCOMPARE(parallel::threadPool(), &pool);
        }
        QCOMPARE(parallel::threadPool(), own);
    }

    void callsForEachNumberOnce_data()
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<int>("count");
        for (const int threads : {0, 1, 2, 7}) {
            for (const int count : {0, 1, 2, 3, 1000})
                QTest::addRow("%d threads, %d numbers", threads, count) << threads << count;
        }
    }
    void callsForEachNumberOnce()
    {
        QFETCH(const int, threads);
        QFETCH(const int, count);
        const Pool pool(4);
        std::vector<std::atomic<int>> calls(size_t(count) + 1);

        parallel::forEach({.threads = threads}, size_t(count), [&](size_t i) { ++calls[i]; });

        for (int i = 0; i < count; ++i)
            QCOMPARE(calls[size_t(i)].load(), 1);
        QCOMPARE(calls.back().load(), 0);
    }

    void splitsTheWorkOverThreads()
    {
        const Pool pool(3);
        std::mutex mutex;
        std::condition_variable arrived;
        std::set<std::thread::id> seen;

        // Each waits for the others.
        parallel::forEach({.threads = 4}, 4, [&](size_t) {
            std::unique_lock lock(mutex);
            seen.insert(std::this_thread::get_id());
            arrived.notify_all();
            arrived.wait_for(lock, std::chrono::seconds(10), [&] { return seen.size() == 4; });
        });

        QCOMPARE(seen.size(), 4u);
        QVERIFY(seen.contains(std::this_thread::get_id()));
    }

    void doesAllTheWorkItselfWhenThePoolIsFull()
    {
        std::atomic<bool> isOver = false;
        Pool pool(1);
        const auto end = qScopeGuard([&] {
            isOver = true;
            isOver.notify_all();
        });
        pool->start([&] { isOver.wait(false); });
        std::set<std::thread::id> seen;

        parallel::forEach({.threads = 4}, 10, [&](size_t) {
            // And within itself.
            parallel::forEach({.threads = 4}, 3, [&](size_t) { seen.insert(std::this_thread::get_id()); });
        });

        QCOMPARE(seen, std::set<std::thread::id>{std::this_thread::get_id()});
    }

    void throwsWhatACallThrows_data() { threads_data(); }
    void throwsWhatACallThrows()
    {
        QFETCH(const int, threads);
        const Pool pool(4);
        std::atomic<int> calls = 0;

        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 parallel::forEach({.threads = threads}, 100'000, [&](size_t i) {
                                     ++calls;
                                     if (i == 100)
                                         throw std::runtime_error("no");
                                 }));

        QVERIFY(calls < 100'000);
    }

    void stops_data() { threads_data(); }
    void stops()
    {
        QFETCH(const int, threads);
        const Pool pool(4);
        const parallel::StopSource stop;
        std::atomic<int> calls = 0;

        QVERIFY_THROWS_EXCEPTION(
            parallel::Stopped,
            parallel::forEach({.threads = threads, .stop = stop.token()}, 100'000, [&](size_t i) {
                ++calls;
                if (i == 100)
                    stop.requestStop();
            }));
        QVERIFY(calls < 100'000);
        QVERIFY_THROWS_EXCEPTION(
            parallel::Stopped,
            parallel::forEach({.threads = threads, .stop = stop.token()}, 0, [](size_t) {}));
    }

    void sorts()
    {
        const Pool pool(3);
        const auto seed = quint32(testSeed());
        QRandomGenerator random(seed);
        std::vector<quint32> items(200'000);
        std::iota(items.begin(), items.end(), 0u);
        std::vector<quint32> expected = items;
        std::shuffle(items.begin(), items.end(), random);
        parallel::Progress progress;

        parallel::sort({.threads = 4, .progress = &progress}, items, std::less<>());

        QVERIFY(items == expected);
        QCOMPARE(progress.done.load(), parallel::sortUnits(items.size()));
    }

private:
    static void threads_data()
    {
        QTest::addColumn<int>("threads");
        QTest::newRow("one") << 1;
        QTest::newRow("four") << 4;
    }
};

QTEST_GUILESS_MAIN(tst_Parallel)
#include "tst_parallel.moc"
