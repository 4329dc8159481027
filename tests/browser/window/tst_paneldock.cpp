// SPDX-License-Identifier: MIT
#include <support/panelitems.h>
#include <support/windowtest.h>

#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filterpanel.h>

#include <QCheckBox>
#include <QDockWidget>
#include <QLineEdit>
#include <QToolButton>

using namespace sito;
using namespace Qt::StringLiterals;

/// The panel of the filters as a part of the main window.
class tst_PanelDock : public WindowTest
{
    Q_OBJECT
private:
    bool openTable()
    {
        m_fixture->window().openText(
            m_fixture->makeDatabase(u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"_s,
                                                    u"INSERT INTO t VALUES (1, 'x'), (2, 'y'), (3, 'z')"_s}));
        return m_fixture->settle() && m_fixture->rows() == 3;
    }
    /// Hides the value at that place.
    void hideValue(int row, int section)
    {
        m_fixture->clickCell(row, section);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
    }

private Q_SLOTS:
    void editsAListOfValues_data()
    {
        QTest::addColumn<bool>("isByKeyboard");
        QTest::newRow("by mouse") << false;
        QTest::newRow("by keyboard") << true;
    }
    void editsAListOfValues()
    {
        QFETCH(const bool, isByKeyboard);
        QVERIFY(openTable());
        hideValue(0, 1);
        QCOMPARE(m_fixture->rows(), 2);
        auto *item = panelItem(*m_fixture->window().panel());
        QVERIFY(item);
        auto *button = item->findChild<QToolButton *>(u"edit"_s);

        if (isByKeyboard)
            QTest::keyClick(panelSwitch(item), Qt::Key_F2);
        else
            QTest::mouseClick(button, Qt::LeftButton);

        QWidget *popup = QApplication::activePopupWidget();
        QVERIFY(popup);
        QCOMPARE(popup->accessibleName(), u"b"_s);
        auto *values = popup->findChild<ValueListWidget *>();
        QVERIFY(values);
        QTRY_VERIFY(values->isReady());
        // To the second value, which is hidden as well then.
        QTest::keyClick(values->findChild<QLineEdit *>(), Qt::Key_Down);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_VERIFY(!QApplication::activePopupWidget());
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);
        QCOMPARE(m_fixture->text(0, 1), u"z"_s);
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
    }

    void opensAClosedDockByItsKey_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("tables") << u"tablesDock"_s << Qt::Key_1;
        QTest::newRow("filters") << u"filtersDock"_s << Qt::Key_3;
    }
    void opensAClosedDockByItsKey()
    {
        QFETCH(const QString, name);
        QFETCH(const Qt::Key, key);
        QVERIFY(openTable());
        hideValue(0, 1);
        auto *dock = m_fixture->window().findChild<QDockWidget *>(name);
        QVERIFY(dock);
        QVERIFY(dock->isVisible());
        QTest::mouseClick(dock->findChild<QAbstractButton *>(u"qt_dockwidget_closebutton"_s), Qt::LeftButton);
        QVERIFY(!dock->isVisible());
        m_fixture->window().page()->view()->setFocus();

        QTest::keyClick(m_fixture->window().page()->view(), key, Qt::ControlModifier);

        QVERIFY(dock->isVisible());
        QVERIFY(dock->isAncestorOf(QApplication::focusWidget()));
    }
};

QTEST_MAIN(tst_PanelDock)
#include "tst_paneldock.moc"
