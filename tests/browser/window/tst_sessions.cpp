// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <database/memorytable.h>
#include <hostkit/views/filterpanel.h>
#include <support/panelitems.h>

#include <QInputDialog>
#include <QPointer>
#include <QStatusBar>
#include <QToolButton>

using namespace sito;
using namespace Qt::StringLiterals;

/// The filter of the sessions, for which the window loads a second table.
class tst_Sessions : public WindowTest
{
    Q_OBJECT
private:
    /// Makes a database with the tables "quotes" and "sessions", of which the second cannot be read if \a isBad.
    QString sessionsDatabase(bool isBad)
    {
        QStringList statements{
            u"DROP TABLE IF EXISTS quotes"_s,
            u"DROP TABLE IF EXISTS sessions"_s,
            u"CREATE TABLE quotes (stock_id INTEGER NOT NULL, sess_id INTEGER NOT NULL)"_s,
            u"INSERT INTO quotes VALUES (1, 1), (1, 2), (2, 1)"_s,
            u"CREATE TABLE sessions (stock_id INTEGER NOT NULL, sess_id INTEGER NOT NULL)"_s,
            u"INSERT INTO sessions VALUES (1, 2), (2, 2)"_s};
        if (isBad)
            statements.append(spoiling(u"sessions"_s));
        return m_fixture->makeDatabase(u"sessions.sqlite"_s, statements);
    }
    bool openSessions(bool isBad)
    {
        m_fixture->window().openText(sessionsDatabase(isBad));
        return m_fixture->settle() && m_fixture->window().page() &&
               m_fixture->window().page()->table()->name() == "quotes"_L1;
    }
    bool areSessionsNeeded()
    {
        const QStringList keys = m_fixture->store().allKeys().filter(u"/quotes/sessions"_s);
        return keys.size() == 1 && m_fixture->store().value(keys.constFirst()).toBool();
    }
    void saveSet(const QString &name)
    {
        Q_EMIT m_fixture->window().panel()->saveRequested();
        auto *dialog = m_fixture->window().findChild<QInputDialog *>(u"setNameDialog"_s);
        QVERIFY(dialog);
        dialog->setTextValue(name);
        dialog->accept();
    }

private Q_SLOTS:
    void refreshesTheSessionsWithTheTable()
    {
        QVERIFY(openSessions(false));
        QTest::keyClick(&m_fixture->window(), Qt::Key_L, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QTRY_COMPARE(m_fixture->rows(), 2);

        m_fixture->makeDatabase(u"sessions.sqlite"_s, {u"INSERT INTO sessions VALUES (1, 3)"_s,
                                                       u"INSERT INTO quotes VALUES (1, 3), (2, 3)"_s});
        QTest::keyClick(&m_fixture->window(), Qt::Key_F5);
        QVERIFY(m_fixture->settle());

        // All but the new session of the first security.
        QTRY_COMPARE(m_fixture->rows(), 4);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());

        // Sessions of another shape are loaded again, too.
        m_fixture->makeDatabase(u"sessions.sqlite"_s, {u"ALTER TABLE sessions ADD COLUMN x INTEGER"_s,
                                                       u"INSERT INTO sessions VALUES (2, 3, 0)"_s});
        QTest::keyClick(&m_fixture->window(), Qt::Key_F5);
        QVERIFY(m_fixture->settle());
        QTRY_COMPARE(m_fixture->rows(), 3);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }

    void switchesTheSessionFilter()
    {
        QVERIFY(m_fixture->openSample(u"securities"_s));
        QAction *sessions = action(u"sessionFilter"_s);
        QVERIFY(!sessions->isEnabled());
        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());
        QVERIFY(sessions->isEnabled());
        QVERIFY(!sessions->isChecked());
        const qint64 left = WindowFixture::askSample(
            u"SELECT count(*) FROM quotes q WHERE NOT EXISTS (SELECT 1 FROM (SELECT stock_id, max(sess_id) "
            u"AS "
            "last FROM sessions GROUP BY stock_id) s WHERE s.stock_id = q.stock_id AND s.last = q.sess_id)"_s);
        QVERIFY(left > 0 && left < 5086);

        QTest::keyClick(&m_fixture->window(), Qt::Key_L, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QTRY_COMPARE(m_fixture->rows(), left);
        QVERIFY(sessions->isChecked());
        const qint64 securities =
            WindowFixture::askSample(u"SELECT count(DISTINCT stock_id) FROM sessions"_s);
        const auto *item = panelItem(m_fixture->window());
        QVERIFY(item);
        QCOMPARE(panelSwitch(item)->accessibleDescription(), u"скрыто сессий: %1"_s.arg(securities));

        sessions->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 5086);
        QVERIFY(!sessions->isChecked());
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1); // switched off, not gone
        sessions->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), left);
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
    }

    void hasNoSessionFilterWithoutSessions()
    {
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"alone.sqlite"_s, {u"CREATE TABLE quotes (stock_id INTEGER, sess_id INTEGER)"_s}));
        QVERIFY(m_fixture->settle());

        QVERIFY(m_fixture->window().page());
        QVERIFY(!action(u"sessionFilter"_s)->isEnabled());
        QCOMPARE(label(u"note"_s)->text(), u"В таблице нет строк"_s);
    }

    void showsTheTableThatLoadedWhenTheSessionsWereSwitched()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        const QPointer<TablePage> quotes = m_fixture->window().page();

        m_fixture->window().showTable(u"securities"_s);
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->table()->name(), u"securities"_s);
        QCOMPARE(tree()->currentItem()->text(0), u"securities"_s);
        QVERIFY(quotes->isSessionFilterOn());
    }

    void switchesTheSessionsWhileATableIsChosen()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        const QPointer<TablePage> quotes = m_fixture->window().page();

        action(u"sessionFilter"_s)->trigger();
        QVERIFY(action(u"sessionFilter"_s)->isChecked());
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->table()->name(), u"securities"_s);
        QVERIFY(!action(u"sessionFilter"_s)->isChecked());
        QVERIFY(quotes->isSessionFilterOn());
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void switchesTheSessionsWhenTheUserReturnsToTheTable()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->window().showTable(u"securities"_s);
        action(u"sessionFilter"_s)->trigger();
        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->table()->name(), u"quotes"_s);
        QVERIFY(m_fixture->window().page()->isSessionFilterOn());
    }

    void switchesTheSessionsOffWhileTheyLoad()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        action(u"sessionFilter"_s)->trigger();
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(!action(u"sessionFilter"_s)->isChecked());
        QVERIFY(m_fixture->settle());

        QVERIFY(!action(u"sessionFilter"_s)->isChecked());
        QVERIFY(!m_fixture->window().page()->isSessionFilterOn());
    }

    void tellsThatTheSessionsWereInterrupted()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        action(u"sessionFilter"_s)->trigger();
        QTest::mouseClick(m_fixture->window().findChild<QToolButton *>(u"cancel"_s), Qt::LeftButton);
        QVERIFY(m_fixture->settle());

        QVERIFY(!action(u"sessionFilter"_s)->isChecked());
        QVERIFY(!m_fixture->window().page()->isSessionFilterOn());
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), u"Прервано"_s);
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());
        QVERIFY(m_fixture->window().page()->isSessionFilterOn());
    }

    void restoresASetWithoutCancellingAnOpen_data()
    {
        QTest::addColumn<bool>("opens");
        QTest::newRow("opens") << true;
        QTest::newRow("fails to open") << false;
    }
    void restoresASetWithoutCancellingAnOpen()
    {
        QFETCH(const bool, opens);
        const QString file = opens ? smallDatabase() : m_fixture->path(u"none.sqlite"_s);
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());
        Q_EMIT m_fixture->window().panel()->saveRequested();
        auto *dialog = m_fixture->window().findChild<QInputDialog *>(u"setNameDialog"_s);
        QVERIFY(dialog);
        dialog->setTextValue(u"mine"_s);
        dialog->accept();
        action(u"clearFilters"_s)->trigger();
        m_fixture->closeWindow();
        const QString mark = u"views/sample/quotes/sessions"_s;
        QVERIFY(m_fixture->store().contains(mark));
        m_fixture->store().remove(mark);
        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->store().setValue(mark, true); // as another window does that saves the set meanwhile

        m_fixture->window().openText(file);
        Q_EMIT m_fixture->window().panel()->restoreRequested(u"mine"_s);
        QVERIFY(m_fixture->settle());

        if (opens) {
            QCOMPARE(m_fixture->window().page()->table()->name(), u"t"_s);
            QVERIFY(m_fixture->window().messageBar()->isHidden());
        } else {
            QCOMPARE(m_fixture->window().page()->table()->name(), u"quotes"_s);
            QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
            QVERIFY(m_fixture->window().page()->isSessionFilterOn());
        }
    }

    void readsTheSessionsAsLongAsAFilterNeedsThem()
    {
        QVERIFY(openSessions(false));
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);
        saveSet(u"mine"_s);
        action(u"clearFilters"_s)->trigger();
        m_fixture->closeWindow();
        QVERIFY(areSessionsNeeded()); // by the set

        m_fixture->makeWindow();
        QVERIFY(openSessions(false));
        Q_EMIT m_fixture->window().panel()->deletionRequested(u"mine"_s);
        QVERIFY(!areSessionsNeeded());
        action(u"sessionFilter"_s)->trigger();
        m_fixture->closeWindow();
        QVERIFY(areSessionsNeeded());

        m_fixture->makeWindow();
        QVERIFY(openSessions(false));
        action(u"sessionFilter"_s)->trigger(); // switched off, and kept
        m_fixture->closeWindow();
        QVERIFY(areSessionsNeeded());

        m_fixture->makeWindow();
        QVERIFY(openSessions(false));
        action(u"clearFilters"_s)->trigger();
        m_fixture->closeWindow();
        QVERIFY(!areSessionsNeeded());
    }

    void opensATableWhoseSessionsCannotBeRead()
    {
        QVERIFY(openSessions(false));
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);
        m_fixture->closeWindow();

        m_fixture->makeWindow();
        QVERIFY(openSessions(true));
        QCOMPARE(m_fixture->rows(), 3);
        const QStringList messages = m_fixture->window().messageBar()->messages();
        QCOMPARE(messages.size(), 2);
        QVERIFY2(messages.first().contains(u"sessions"_s), qPrintable(messages.first()));
        QVERIFY2(messages.last().contains(u"stock_id, sess_id"_s), qPrintable(messages.last()));
        QVERIFY(!m_fixture->window().page()->isSessionFilterOn());
        m_fixture->clickCell(0, 0);
        action(u"hideSelected"_s)->trigger();
        m_fixture->closeWindow();

        // What could not be restored is there when it can be.
        m_fixture->makeWindow();
        QVERIFY(openSessions(false));
        QVERIFY(m_fixture->window().page()->isSessionFilterOn());
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 2);
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void tellsOnceOfATableThatCannotBeReadEither()
    {
        QVERIFY(openSessions(false));
        action(u"sessionFilter"_s)->trigger();
        m_fixture->closeWindow();

        m_fixture->makeWindow();
        m_fixture->window().openText(m_fixture->makeDatabase(u"sessions.sqlite"_s, {spoiling(u"quotes"_s)}));
        QVERIFY(m_fixture->settle());

        QVERIFY(!m_fixture->window().page());
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(m_fixture->window().messageBar()->messages().first().contains(u"quotes"_s));
    }

    void restoresASetWithoutTheSessionsThatCannotBeRead()
    {
        QVERIFY(openSessions(false));
        action(u"sessionFilter"_s)->trigger();
        m_fixture->clickCell(0, 0);
        action(u"hideSelected"_s)->trigger();
        QVERIFY(m_fixture->settle());
        saveSet(u"mine"_s);
        action(u"clearFilters"_s)->trigger();
        m_fixture->closeWindow();
        m_fixture->makeWindow();
        QVERIFY(openSessions(true));
        m_fixture->window().messageBar()->showMessages({});

        Q_EMIT m_fixture->window().panel()->restoreRequested(u"mine"_s);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 2);
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
        QCOMPARE(m_fixture->rows(), 1);
    }
};

QTEST_MAIN(tst_Sessions)
#include "tst_sessions.moc"
