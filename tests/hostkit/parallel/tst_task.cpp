// SPDX-License-Identifier: MIT
#include <hostkit/parallel/task.h>
#include <hostkit/parallel/threadpool.h>

#include <support/exceptions.h>

#include <QPointer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

using namespace sito;
using namespace Qt::StringLiterals;
using parallel::Context;
using parallel::Task;

namespace {
/// How often operator new will fail in threads that set it.
thread_local int failures = 0;
} // namespace

void *operator new(size_t size)
{
    if (failures > 0) {
        --failures;
        throw std::bad_alloc();
    }
    if (void *block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

// Not inlined: GCC would see a block of operator new, which it does not inline, go to free().
[[gnu::noinline]] void operator delete(void *block) noexcept
{
    std::free(block);
}

void operator delete(void *block, size_t) noexcept
{
    operator delete(block);
}

namespace {

/// Holds up a thread until it is opened.
class Gate
{
public:
    void wait() { m_isOpen.wait(false); }
    void open()
    {
        m_isOpen = true;
        m_isOpen.notify_all();
    }

private:
    std::atomic<bool> m_isOpen = false;
};

} // namespace

class tst_Task : public QObject
{
    Q_OBJECT
private:
    QStringList m_reports;

    /// Notes what is reported, and where.
    std::function<void()> done(const QString &name)
    {
        return [this, name] { note(name); };
    }
    std::function<void(const std::exception_ptr &)> failed()
    {
        return [this](const std::exception_ptr &error) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception &exception) {
                note(QString::fromLatin1(exception.what()));
            } catch (const parallel::Stopped &) {
                note(u"stopped"_s);
            }
        };
    }
    void note(const QString &text)
    {
        m_reports.append(QThread::currentThread() == thread() ? text : text + u" elsewhere"_s);
    }
    /// Lets events pass that should not come.
    static void letPass() { QTest::qWait(30); }

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_reports.clear();
    }

    void reportsOnceAndInItsOwnThread()
    {
        Task task;
        QThread *where = thread();
        QCOMPARE(task.percent(), -1);

        task.start([&where](const Context &) { where = QThread::currentThread(); }, done(u"done"_s),
                   failed());
        QVERIFY(task.isRunning());
        QVERIFY(m_reports.isEmpty());
        QTRY_VERIFY(!task.isRunning());
        letPass();

        QCOMPARE(m_reports, QStringList{u"done"_s});
        QVERIFY(where != thread());
    }

    void handsOverWhatTheWorkReturns()
    {
        Task task;
        std::unique_ptr<int> result;

        task.start<std::unique_ptr<int>>([](const Context &) { return std::make_unique<int>(7); },
                                         [&result](std::unique_ptr<int> got) { result = std::move(got); },
                                         failed());
        task.wait();

        QVERIFY(result);
        QCOMPARE(*result, 7);
    }

    void reportsWhatTheWorkThrows()
    {
        Task task;

        task.start([](const Context &) { throw std::runtime_error("no"); }, done(u"done"_s), failed());
        QTRY_VERIFY(!task.isRunning());
        letPass();

        QCOMPARE(m_reports, QStringList{u"no"_s});
    }

    void reportsNothingOfWhatIsSuperseded()
    {
        Gate gate;
        Task task;
        std::atomic<bool> wasStopped = false;
        const auto opener = qScopeGuard([&] { gate.open(); });

        task.start(
            [&](const Context &context) {
                gate.wait();
                wasStopped = context.stop.isStopRequested();
            },
            done(u"first"_s), failed());
        task.start([](const Context &) {}, done(u"second"_s), failed());
        QTRY_VERIFY(!task.isRunning());
        gate.open();
        QTRY_VERIFY(wasStopped);
        letPass();

        QCOMPARE(m_reports, QStringList{u"second"_s});
    }

    void reportsWhatComesOfARequestToStop_data()
    {
        QTest::addColumn<bool>("obeys");
        QTest::addColumn<QString>("report");
        QTest::newRow("it stops") << true << u"stopped"_s;
        QTest::newRow("it was about to end") << false << u"done"_s;
    }
    void reportsWhatComesOfARequestToStop()
    {
        QFETCH(const bool, obeys);
        QFETCH(const QString, report);
        Gate gate;
        Task task;
        const auto opener = qScopeGuard([&] { gate.open(); });
        task.requestStop(); // of nothing
        task.start(
            [&gate, obeys](const Context &context) {
                gate.wait();
                if (obeys)
                    context.stop.throwIfStopped();
            },
            done(u"done"_s), failed());

        task.requestStop();
        QVERIFY(task.isRunning());
        gate.open();
        QTRY_VERIFY(!task.isRunning());
        letPass();

        QCOMPARE(m_reports, QStringList{report});
    }

    void reportsNothingAfterCancel_data()
    {
        QTest::addColumn<bool>("isEnded");
        QTest::newRow("while it runs") << false;
        QTest::newRow("when the report is on its way") << true;
    }
    void reportsNothingAfterCancel()
    {
        QFETCH(const bool, isEnded);
        Gate gate;
        Task task;
        std::atomic<bool> hasEnded = false;
        const auto opener = qScopeGuard([&] { gate.open(); });
        task.start(
            [&](const Context &) {
                if (!isEnded)
                    gate.wait();
                hasEnded = true;
            },
            done(u"done"_s), failed());
        while (isEnded && !hasEnded)
            QThread::yieldCurrentThread();
        if (isEnded)
            QThread::msleep(20);

        task.cancel();
        task.cancel();
        QVERIFY(!task.isRunning());
        gate.open();
        letPass();

        QVERIFY(m_reports.isEmpty());
        QVERIFY(hasEnded);
    }

    void stopsAndWaitsWhenItIsDeleted()
    {
        std::atomic<int> running = 0;
        auto task = std::make_unique<Task>();
        for (int i = 0; i < 3; ++i) {
            task->start(
                [&running](const Context &context) {
                    ++running;
                    const auto end = qScopeGuard([&running] { --running; });
                    while (!context.stop.isStopRequested())
                        QThread::usleep(100);
                    throw parallel::Stopped();
                },
                done(u"done"_s), failed());
        }
        std::atomic<bool> isAsideOver = false;
        task->startAside([&isAsideOver] {
            QThread::msleep(20);
            isAsideOver = true;
        });

        task.reset();
        QCOMPARE(running.load(), 0);
        QVERIFY(isAsideOver);
        letPass();

        QVERIFY(m_reports.isEmpty());
    }

    void mayBeDeletedByItsReport()
    {
        auto *task = new Task;
        const QPointer<Task> guarded = task;

        task->start([](const Context &) {}, [task] { delete task; }, failed());

        QTRY_VERIFY(!guarded);
    }

    void mayBeStartedByItsReport()
    {
        Task task;

        task.start([](const Context &) {},
                   [&] {
                       note(u"first"_s);
                       task.start([](const Context &) {}, done(u"second"_s), failed());
                   },
                   failed());
        task.wait();
        QVERIFY(task.isRunning());
        task.wait();

        QCOMPARE(m_reports, QStringList({u"first"_s, u"second"_s}));
    }

    void reportsBeforeWaitReturns()
    {
        Task task;
        task.wait();

        task.start([](const Context &) { QThread::msleep(5); }, done(u"done"_s), failed());
        task.wait();
        QCOMPARE(m_reports, QStringList{u"done"_s});
        letPass();

        QCOMPARE(m_reports, QStringList{u"done"_s});
    }

    void deletesWhatItWasGivenInItsOwnThread()
    {
        struct Watched
        {
            explicit Watched(QList<QThread *> &died) : m_died(died) {}
            ~Watched() { m_died.append(QThread::currentThread()); }
            QList<QThread *> &m_died;
        };
        QList<QThread *> died;
        {
            Task task;
            for (int i = 0; i < 20; ++i) {
                task.start([watched = std::make_shared<Watched>(died)](const Context &) {}, done(u"done"_s),
                           failed());
                if (i % 3 == 0)
                    task.wait();
            }
        }

        QCOMPARE(died, QList<QThread *>(20, thread()));
    }

    void letsGoOfThingsAside()
    {
        Task task;
        std::atomic<QThread *> where = nullptr;
        std::shared_ptr<int> thing(new int, [&where](const int *pointer) {
            where = QThread::currentThread();
            delete pointer;
        });

        task.startAside([thing = std::move(thing)]() mutable {});

        QTRY_VERIFY(where.load());
        QVERIFY(where != thread());
        QVERIFY(!task.isRunning());
    }

    void showsProgressOfWorkThatLasts()
    {
        Task task;
        const QSignalSpy spy(&task, &Task::progressed);

        task.start(
            [](const Context &context) {
                context.progress->total = 50;
                for (int i = 0; i < 50; ++i) {
                    QThread::msleep(10);
                    context.advance(1);
                }
            },
            done(u"done"_s), failed());
        QTRY_VERIFY(!task.isRunning());

        QVERIFY(spy.size() >= 2);
        for (qsizetype i = 1; i < spy.size(); ++i)
            QVERIFY(spy[i][0].toInt() > spy[i - 1][0].toInt());
        QVERIFY(spy.last()[0].toInt() <= 100);
    }

    void reportsWhenThereIsMemoryAgain()
    {
        Task task;

        task.start([](const Context &) { failures = 3; }, done(u"done"_s), failed());
        QTRY_COMPARE(m_reports, QStringList{u"done"_s});
        letPass();

        QCOMPARE(m_reports, QStringList{u"done"_s});
    }

    void keepsItsWorkWhenThereIsNoMemoryForMore()
    {
        Task task;
        Gate gate;
        const auto opener = qScopeGuard([&] { gate.open(); });
        task.start([&gate](const Context &) { gate.wait(); }, done(u"first"_s), failed());

        {
            Task::Work work = [](const Context &) {};
            std::function<void()> report = done(u"second"_s);
            auto failure = failed();
            failures = 1;
            QVERIFY_THROWS_EXCEPTION(std::bad_alloc,
                                     task.start(std::move(work), std::move(report), std::move(failure)));
        }
        bool isCalled = false;
        std::function<void()> aside = [&isCalled] { isCalled = true; };
        failures = 1;
        task.startAside(std::move(aside));
        QVERIFY(isCalled);
        QVERIFY(task.isRunning());
        gate.open();
        task.wait();

        QCOMPARE(m_reports, QStringList{u"first"_s});
    }

    void startsAtOnceWhenThePoolIsFull()
    {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        parallel::setThreadPool(&pool);
        Gate gate;
        const auto back = qScopeGuard([&] {
            gate.open();
            pool.waitForDone();
            parallel::setThreadPool(nullptr);
        });
        pool.start([&gate] { gate.wait(); });
        Task first;
        Task second;

        first.start([&gate](const Context &) { gate.wait(); }, done(u"first"_s), failed());
        second.start([](const Context &) {}, done(u"second"_s), failed());
        second.wait();
        QCOMPARE(m_reports, QStringList{u"second"_s});
        gate.open();
        first.wait();

        QCOMPARE(m_reports, QStringList({u"second"_s, u"first"_s}));
        pool.waitForDone();
        // It has taken no room away for good, and left none behind.
        QCOMPARE(pool.activeThreadCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Task)
#include "tst_task.moc"
