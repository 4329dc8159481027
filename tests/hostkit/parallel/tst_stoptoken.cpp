// SPDX-License-Identifier: MIT
#include <hostkit/parallel/stopsource.h>

#include <support/exceptions.h>

#include <QTest>

#include <thread>

using namespace sito;

class tst_StopToken : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void neverStopsByItself()
    {
        const parallel::StopToken token;

        QVERIFY(!token.canStop());
        QVERIFY(!token.isStopRequested());
        token.throwIfStopped();
        token.wake();
    }

    void tellsWhatItsSourceSays()
    {
        const parallel::StopSource source;
        const parallel::StopSource other;
        const parallel::StopToken token = source.token();

        other.requestStop();
        QVERIFY(token.canStop());
        QVERIFY(!token.isStopRequested());
        token.throwIfStopped();
        source.requestStop();
        QVERIFY(token.isStopRequested());
        QVERIFY(source.isStopRequested());
        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, token.throwIfStopped());
    }

    void outlivesItsSource()
    {
        parallel::StopToken token;
        {
            const parallel::StopSource source;
            token = source.token();
        }

        QVERIFY(!token.isStopRequested());
    }

    void waitsUntilSomethingIsDoneOrStopped_data()
    {
        QTest::addColumn<bool>("stops");
        QTest::newRow("done") << false;
        QTest::newRow("stopped") << true;
    }
    void waitsUntilSomethingIsDoneOrStopped()
    {
        QFETCH(const bool, stops);
        const parallel::StopSource source;
        std::atomic<bool> isDone = false;
        std::thread other([&] {
            if (stops) {
                source.requestStop();
                return;
            }
            isDone = true;
            source.token().wake();
        });

        const bool answer = source.token().wait([&] { return isDone.load(); });
        other.join();

        QCOMPARE(answer, !stops);
    }
};

QTEST_APPLESS_MAIN(tst_StopToken)
#include "tst_stoptoken.moc"
