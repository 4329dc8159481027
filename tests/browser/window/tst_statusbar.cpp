// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <hostkit/values/valuelistfilter.h>

#include <QElapsedTimer>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QScopeGuard>
#include <QStatusBar>
#include <QThread>
#include <QToolButton>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// A filter over the first column that hides the rows for which a function says so.
class LambdaFilter : public ValueListFilter
{
public:
    LambdaFilter(MemoryTable &table, std::function<bool(const Record &)> function)
        : ValueListFilter(table, {0}, nullptr), m_function(std::move(function))
    {
        setValue(u"1"_s);
        setEnabled(true);
    }
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        return new LambdaFilterFunc(m_function, parent);
    }

private:
    const std::function<bool(const Record &)> m_function;
};

} // namespace

/// What the status bar of the main window tells.
class tst_StatusBar : public WindowTest
{
    Q_OBJECT
private:
    QString message() { return m_fixture->window().statusBar()->currentMessage(); }
    QString makeTable()
    {
        return m_fixture->makeDatabase(u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL)"_s,
                                                       u"INSERT INTO t VALUES (1), (2), (3)"_s,
                                                       u"CREATE TABLE u (a INTEGER)"_s});
    }
    bool openTable()
    {
        m_fixture->window().openText(makeTable());
        return m_fixture->settle() && m_fixture->rows() == 3;
    }
    void filterBy(std::function<bool(const Record &)> function)
    {
        TablePage *page = m_fixture->window().page();
        page->filters()->add(new LambdaFilter(*page->table(), std::move(function)));
    }

private Q_SLOTS:
    void tellsThatWhatWasUnderWayIsInterrupted_data()
    {
        QTest::addColumn<bool>("isOpening");
        QTest::newRow("a source that opens") << true;
        QTest::newRow("a table that loads") << false;
    }
    void tellsThatWhatWasUnderWayIsInterrupted()
    {
        QFETCH(const bool, isOpening);
        QVERIFY(openTable());
        m_fixture->window().statusBar()->clearMessage();

        if (isOpening)
            m_fixture->window().openSample();
        else
            m_fixture->window().showTable(u"u"_s);
        QVERIFY(!m_fixture->window().isSettled());
        QTest::mouseClick(m_fixture->window().findChild<QToolButton *>(u"cancel"_s), Qt::LeftButton);
        QVERIFY(m_fixture->settle());

        QCOMPARE(message(), u"Прервано"_s);
        QCOMPARE(m_fixture->window().page()->table()->name(), u"t"_s);
        QVERIFY(label(u"activity"_s)->isHidden());
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void tellsOfAPassWhileItLasts_data()
    {
        QTest::addColumn<bool>("fails");
        QTest::newRow("that finishes") << false;
        QTest::newRow("that fails") << true;
    }
    void tellsOfAPassWhileItLasts()
    {
        QFETCH(const bool, fails);
        // The pass may outlive a test that failed.
        const auto isOpen = std::make_shared<std::atomic<bool>>(false);
        const auto open = [isOpen] {
            *isOpen = true;
            isOpen->notify_all();
        };
        const auto opener = qScopeGuard(open);
        QVERIFY(openTable());
        auto *progress = m_fixture->window().findChild<QProgressBar *>(u"progress"_s);
        QVERIFY(label(u"activity"_s)->isHidden());

        filterBy([isOpen, fails](const Record &) {
            isOpen->wait(false);
            if (fails)
                throw std::runtime_error("no answer");
            return true;
        });

        QTRY_VERIFY(label(u"activity"_s)->isVisible());
        QCOMPARE(label(u"activity"_s)->text(), u"Отбор и сортировка…"_s);
        QVERIFY(progress->isVisible());
        QCOMPARE(progress->minimum(), 0);
        QCOMPARE(progress->maximum(), 100);
        QVERIFY(progress->value() < 100);
        open();
        QVERIFY(m_fixture->settle());
        QVERIFY(label(u"activity"_s)->isHidden());
        QVERIFY(progress->isHidden());
        QVERIFY(m_fixture->window().findChild<QToolButton *>(u"cancel"_s)->isHidden());
        QCOMPARE(m_fixture->rows(), fails ? 3 : 0);
        QCOMPARE(m_fixture->window().messageBar()->messages(),
                 fails ? QStringList{u"no answer"_s} : QStringList());
    }

    void tellsTheTimeOfTheLastPass()
    {
        constexpr int pause = 40;
        QVERIFY(openTable());
        QElapsedTimer timer;
        timer.start();

        filterBy([](const Record &) {
            QThread::msleep(pause);
            return false;
        });
        QVERIFY(m_fixture->settle());
        const double longest = double(timer.nsecsElapsed()) / 1e6;

        // At least the three rows, one after the other, and at most all that went by.
        static const QRegularExpression form(u"^Проход: ([0-9\\s]+) мс$"_s,
                                             QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpressionMatch match = form.match(label(u"time"_s)->text());
        QVERIFY2(match.hasMatch(), qPrintable(label(u"time"_s)->text()));
        bool isNumber = false;
        const double told = QLocale().toDouble(match.captured(1), &isNumber);
        QVERIFY(isNumber);
        QVERIFY2(told >= 3 * pause && told <= longest + 0.5, qPrintable(label(u"time"_s)->text()));
        const double measured = double(m_fixture->window().page()->model()->lastPassNanoseconds()) / 1e6;
        QVERIFY(qAbs(told - measured) <= 0.5);
    }

    void tellsShortTimesInHundredths()
    {
        QVERIFY(openTable());
        TableModel *model = m_fixture->window().page()->model();
        const auto measured = [model] { return double(model->lastPassNanoseconds()) / 1e6; };

        filterBy([](const Record &) {
            QThread::usleep(500);
            return false;
        });
        QVERIFY(m_fixture->settle());
        // A busy machine may hold one up.
        for (int i = 0; i < 50 && measured() >= 10; ++i) {
            model->reload();
            QVERIFY(m_fixture->settle());
        }

        QVERIFY(measured() < 10);
        QCOMPARE(label(u"time"_s)->text(), u"Проход: %1 мс"_s.arg(QLocale().toString(measured(), 'f', 2)));
    }

    void tellsOfColumnsThatNeedMoreThanWasDeclared_data()
    {
        QTest::addColumn<QString>("values");
        QTest::addColumn<QString>("told");
        const QString wider =
            u"Столбец «x» шире, чем объявлен («DECIMAL(10,2)»): значение 1.2345 в строке 1"_s;
        QTest::newRow("none") << u"'1.25', '1.25'"_s << QString();
        QTest::newRow("one") << u"'1.2345', '1.25'"_s << wider;
        QTest::newRow("two") << u"'1.2345', '1.2345'"_s << wider + u"; и ещё: 1"_s;
    }
    void tellsOfColumnsThatNeedMoreThanWasDeclared()
    {
        QFETCH(const QString, values);
        QFETCH(const QString, told);
        m_fixture->window().openText(
            m_fixture->makeDatabase(u"wide.sqlite"_s, {u"CREATE TABLE w (x DECIMAL(10,2), y DECIMAL(10,2))"_s,
                                                       u"INSERT INTO w VALUES (%1)"_s.arg(values)}));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 1);
        QCOMPARE(message(), told);
    }
};

QTEST_MAIN(tst_StatusBar)
#include "tst_statusbar.moc"
