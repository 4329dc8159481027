// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <QClipboard>
#include <QMimeData>
#include <QStatusBar>

using namespace Qt::StringLiterals;

/// What the main window copies of its rows.
class tst_Clipboard : public WindowTest
{
    Q_OBJECT
private:
    /// Three columns, three rows.
    bool openTable()
    {
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"t.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT, c INTEGER)"_s,
                            u"INSERT INTO t VALUES (1, 'x', 10), (2, 'y', 20), (3, 'z', 30)"_s}));
        return m_fixture->settle() && m_fixture->rows() == 3;
    }
    /// Makes the columns stand as c, a, b, and hides b.
    void arrangeColumns()
    {
        QTableView *view = m_fixture->window().page()->view();
        m_fixture->clickCell(0, 2);
        for (int i = 0; i < 2; ++i)
            QTest::keyClick(view, Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier);
        FilterHeader *header = m_fixture->window().page()->header();
        Q_EMIT header->menuRequested(1, header->mapToGlobal(QPoint(0, 0)));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"hideColumn"_s));
        QCOMPARE(header->logicalIndex(0), 2);
        QVERIFY(header->isSectionHidden(1));
    }

private Q_SLOTS:
    void init()
    {
        WindowTest::init();
        QApplication::clipboard()->setText(u"before"_s);
    }

    void copiesTheShownColumnsInTheShownOrder_data()
    {
        QTest::addColumn<bool>("headers");
        QTest::addColumn<QString>("text");
        QTest::newRow("without headers") << false << u"10\t1\n20\t2\n30\t3\n"_s;
        QTest::newRow("with headers") << true << u"c\ta\n10\t1\n20\t2\n30\t3\n"_s;
    }
    void copiesTheShownColumnsInTheShownOrder()
    {
        QFETCH(const bool, headers);
        QFETCH(const QString, text);
        QVERIFY(openTable());
        arrangeColumns();
        QTableView *view = m_fixture->window().page()->view();

        QTest::keyClick(view, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(view, Qt::Key_C,
                        headers ? Qt::ControlModifier | Qt::ShiftModifier : Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(QApplication::clipboard()->text(), text);
        // The other forms say the same.
        QString csv = QString::fromUtf8(QApplication::clipboard()->mimeData()->data(u"text/csv"_s));
        QCOMPARE(csv.replace(u',', u'\t').remove(u'\r'), text);
    }

    void tellsHowManyRowsWereCopied()
    {
        QVERIFY(openTable());
        m_fixture->clickCell(0, 0);
        m_fixture->clickCell(1, 2, Qt::ShiftModifier);

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), u"Скопировано строк: 2"_s);
        QCOMPARE(QApplication::clipboard()->text(), u"1\tx\t10\n2\ty\t20\n"_s);
    }

    void copiesNothingWithoutASelection()
    {
        QVERIFY(openTable());
        m_fixture->window().page()->view()->clearSelection();

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(QApplication::clipboard()->text(), u"before"_s);
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), QString());
    }

    void copiesNothingWhileASourceOpens()
    {
        QVERIFY(openTable());
        m_fixture->clickCell(0, 0);

        m_fixture->window().openSample();
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);

        QVERIFY(!m_fixture->window().isSettled());
        QCOMPARE(QApplication::clipboard()->text(), u"before"_s);
        QVERIFY(m_fixture->settle());
    }

    void copiesByTheKeyboardAndByTheMenu()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        m_fixture->clickCell(1, 1, Qt::ShiftModifier);

        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        const QString plain = QApplication::clipboard()->text();
        QVERIFY(WindowFixture::chooseInMenu(m_fixture->openCellMenu(0, 0), u"copyWithHeaders"_s));
        QVERIFY(m_fixture->settle());
        const QString withHeaders = QApplication::clipboard()->text();

        QCOMPARE(plain, u"1\tx,y\n2\t\n"_s);
        QCOMPARE(withHeaders, u"a\tb\n1\tx,y\n2\t\n"_s);
    }
};

QTEST_MAIN(tst_Clipboard)
#include "tst_clipboard.moc"
