// SPDX-License-Identifier: MIT
#include <support/windowfixture.h>

#include <hostkit/views/filterpanel.h>

#include <QFile>
#include <QInputDialog>
#include <QToolButton>

using namespace sito;
using namespace Qt::StringLiterals;

/// The sets of filters in the main window and in its store.
class tst_FilterSets : public QObject
{
    Q_OBJECT
private:
    bool openTable()
    {
        m_fixture->window().openText(m_fixture->path(u"t.sqlite"_s));
        return m_fixture->settle() && m_fixture->rows() == 3;
    }
    QMenu *setsMenu() { return m_fixture->window().panel()->setsMenu(); }
    QMenu *deletionMenu()
    {
        const QList<QMenu *> menus = setsMenu()->findChildren<QMenu *>(u"deleteSet"_s);
        return menus.isEmpty() ? nullptr : menus.last();
    }
    /// The names that the menu offers to delete.
    QStringList names()
    {
        QStringList result;
        if (QMenu *menu = deletionMenu()) {
            for (const QAction *entry : menu->actions())
                result.append(entry->text());
        }
        return result;
    }
    /// Hides the value at that place, keeps that as a set and shows all rows again.
    void saveSet(const QString &name, int row, int section)
    {
        m_fixture->window().activateWindow(); // after the question for a name
        QVERIFY(QTest::qWaitForWindowActive(&m_fixture->window()));
        m_fixture->clickCell(row, section);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);
        setsMenu()->popup(QPoint(100, 100));
        QVERIFY(WindowFixture::chooseInMenu(setsMenu(), u"saveSet"_s));
        auto *dialog = m_fixture->window().findChild<QInputDialog *>(u"setNameDialog"_s);
        QVERIFY(dialog);
        dialog->setTextValue(name);
        dialog->accept();
        QTest::mouseClick(m_fixture->window().panel()->findChild<QToolButton *>(u"clearAll"_s),
                          Qt::LeftButton);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 3);
    }

    std::unique_ptr<WindowFixture> m_fixture;

private Q_SLOTS:
    void init()
    {
        WindowFixture::failOnWarnings();
        m_fixture = std::make_unique<WindowFixture>();
        m_fixture->makeDatabase(u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"_s,
                                                u"INSERT INTO t VALUES (1, 'x'), (2, 'y'), (3, 'z')"_s});
        m_fixture->makeWindow();
    }
    void cleanup() { m_fixture.reset(); }

    void deletesASetForGood()
    {
        QVERIFY(openTable());
        saveSet(u"first"_s, 0, 0);
        saveSet(u"second"_s, 1, 1);
        QCOMPARE(names(), QStringList({u"first"_s, u"second"_s}));

        deletionMenu()->popup(QPoint(100, 100));
        QVERIFY(WindowFixture::chooseInMenu(deletionMenu(), u"first"_s));

        QCOMPARE(names(), QStringList{u"second"_s});
        // Of the menus from before none is left.
        QTRY_COMPARE(setsMenu()->findChildren<QMenu *>(u"deleteSet"_s).size(), 1);
        m_fixture->closeWindow();
        for (const QString &key : m_fixture->store().allKeys())
            QVERIFY2(!key.contains(u"first"_s), qPrintable(key));
        m_fixture->makeWindow();
        QVERIFY(openTable());
        QCOMPARE(names(), QStringList{u"second"_s});
    }

    void tellsWhatOfASetNoLongerFits()
    {
        QVERIFY(openTable());
        saveSet(u"mine"_s, 0, 1);
        m_fixture->closeWindow();
        QVERIFY(QFile::remove(m_fixture->path(u"t.sqlite"_s)));
        m_fixture->makeDatabase(u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, c TEXT)"_s,
                                                u"INSERT INTO t VALUES (1, 'x'), (2, 'y'), (3, 'z')"_s});
        m_fixture->makeWindow();
        QVERIFY(openTable());
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());

        setsMenu()->popup(QPoint(100, 100));
        QVERIFY(WindowFixture::chooseInMenu(setsMenu(), u"mine"_s));
        QVERIFY(m_fixture->settle());

        const QStringList messages = m_fixture->window().messageBar()->messages();
        QCOMPARE(messages.size(), 1);
        QVERIFY2(messages.first().contains(u"«mine»"_s) && messages.first().contains(u"«b»"_s),
                 qPrintable(messages.first()));
        QVERIFY(m_fixture->window().messageBar()->isVisible());
        QCOMPARE(m_fixture->rows(), 3);
    }
};

QTEST_MAIN(tst_FilterSets)
#include "tst_filtersets.moc"
