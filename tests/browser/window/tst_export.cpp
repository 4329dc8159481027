// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <database/memorytable.h>

#include <QClipboard>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QStatusBar>
#include <QToolButton>

#include <mutex>

using namespace sito;
using namespace Qt::StringLiterals;

/// What the window writes into files.
class tst_Export : public WindowTest
{
    Q_OBJECT
private Q_SLOTS:
    void exportsWhatIsShownInTheShownOrder_data()
    {
        QTest::addColumn<bool>("headers");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("with headers")
            << true << QByteArray("b,a\r\n\"x,y\",5\r\n\"say \"\"so\"\"\",4\r\n\"\",3\r\n\"x,y\",1\r\n");
        QTest::newRow("without headers")
            << false << QByteArray("\"x,y\",5\r\n\"say \"\"so\"\"\",4\r\n\"\",3\r\n\"x,y\",1\r\n");
    }
    void exportsWhatIsShownInTheShownOrder()
    {
        QFETCH(bool, headers);
        QFETCH(QByteArray, content);
        QVERIFY(openSmall());
        TablePage *page = m_fixture->window().page();
        page->header()->moveSection(1, 0);
        page->view()->setSorting(0, Qt::DescendingOrder, false);
        QVERIFY(m_fixture->settle());
        m_fixture->clickCell(3, 0); // the row with a = 2
        page->view()->hideSelectedValues();
        QVERIFY(m_fixture->settle());
        const QString file = m_fixture->path(u"out.csv"_s);

        QTest::keyClick(&m_fixture->window(), Qt::Key_E, Qt::ControlModifier);
        auto *dialog = m_fixture->window().findChild<QFileDialog *>(u"exportDialog"_s);
        QVERIFY(dialog);
        dialog->selectNameFilter(dialog->nameFilters().at(headers ? 0 : 1));
        dialog->selectFile(file);
        QMetaObject::invokeMethod(dialog, "accept");

        QTRY_COMPARE(contentOf(file), content);
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void refusesToExportOverTheSource()
    {
        QVERIFY(openSmall());
        const QString file = m_fixture->path(u"small.sqlite"_s);
        const QByteArray before = contentOf(file);

        m_fixture->window().exportTo(file, true);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QCOMPARE(contentOf(file), before);
    }

    void exportsAndCopiesNothingWhileASourceIsBeingOpened()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        QApplication::clipboard()->setText(u"before"_s);
        const QString file = m_fixture->path(u"out.csv"_s);
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
        QVERIFY(action(u"copy"_s)->isEnabled());

        m_fixture->window().openSample();
        QVERIFY(!action(u"exportCsv"_s)->isEnabled());
        QVERIFY(!action(u"copy"_s)->isEnabled());
        QVERIFY(!action(u"copyWithHeaders"_s)->isEnabled());
        m_fixture->window().exportTo(file, true);
        QVERIFY(!m_fixture->window().statusBar()->currentMessage().isEmpty());
        m_fixture->window().copySelection(false);

        QVERIFY(!QFile::exists(file));
        QCOMPARE(QApplication::clipboard()->text(), u"before"_s);
        QVERIFY(m_fixture->settle());
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
        m_fixture->window().exportTo(file, true);
        QVERIFY(m_fixture->settle());
        QVERIFY(QFile::exists(file));
    }

    void writesTheRowsOfASourceThatIsLeft_data()
    {
        QTest::addColumn<bool>("isCopied");
        QTest::newRow("to a file") << false;
        QTest::newRow("to the clipboard") << true;
    }
    void writesTheRowsOfASourceThatIsLeft()
    {
        QFETCH(bool, isCopied);
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"many.sqlite"_s, {u"CREATE TABLE t (x INTEGER NOT NULL)"_s,
                               u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM "
                               "n WHERE i < 5000) SELECT i FROM n"_s}));
        QVERIFY(m_fixture->settle());
        const QString file = m_fixture->path(u"out.csv"_s);
        const QPointer<TablePage> page = m_fixture->window().page();
        page->view()->selectAll();

        // Another source, whose table has the same name, is there before the rows can be read.
        {
            const std::lock_guard lock(*page->table());
            if (isCopied)
                m_fixture->window().copySelection(false);
            else
                m_fixture->window().exportTo(file, false);
            m_fixture->window().openText(smallDatabase());
            QTRY_COMPARE(m_fixture->rows(), 5);
            QVERIFY(!page);
            QVERIFY(!m_fixture->window().isSettled());
        }
        QVERIFY(m_fixture->settle());

        const QString text =
            isCopied ? QApplication::clipboard()->text() : QString::fromUtf8(contentOf(file));
        QCOMPARE(text.count(u'\n'), 5000);
        QCOMPARE(m_fixture->rows(), 5);
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void exportsTheTableThatTheQuestionWasAbout()
    {
        QVERIFY(m_fixture->openSample(u"securities"_s));
        action(u"exportCsv"_s)->trigger();
        auto *dialog = m_fixture->window().findChild<QFileDialog *>(u"exportDialog"_s);
        QVERIFY(dialog);

        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(m_fixture->path(u"asked.csv"_s));
        QMetaObject::invokeMethod(dialog, "accept");

        QTRY_COMPARE(contentOf(m_fixture->path(u"asked.csv"_s)).count('\n'), 241);
    }

    void staysUsableWhileRowsAreWritten()
    {
        QVERIFY(openSmall());
        const QString file = m_fixture->path(u"out.csv"_s);
        {
            const std::lock_guard lock(*m_fixture->window().page()->table());
            m_fixture->window().exportTo(file, false);
            QVERIFY(!action(u"exportCsv"_s)->isEnabled());
            QTRY_COMPARE(label(u"activity"_s)->text(), u"Запись в out.csv…"_s);
            QVERIFY(cancelButton()->isVisible());
            m_fixture->window().exportTo(m_fixture->path(u"other.csv"_s), false);
            QVERIFY(!m_fixture->window().statusBar()->currentMessage().isEmpty());
            m_fixture->clickCell(0, 0);
            m_fixture->window().page()->view()->hideSelectedValues();
        }
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 4);
        QCOMPARE(contentOf(file).count('\n'), 5); // as they were shown
        QVERIFY(!QFile::exists(m_fixture->path(u"other.csv"_s)));
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
        QVERIFY(!cancelButton()->isVisible());
    }

    void writesNothingThatIsInterrupted()
    {
        QVERIFY(openSmall());
        const QString file = m_fixture->path(u"out.csv"_s);
        {
            const std::lock_guard lock(*m_fixture->window().page()->table());
            m_fixture->window().exportTo(file, false);
            QTRY_VERIFY(cancelButton()->isVisible());
            QTest::mouseClick(cancelButton(), Qt::LeftButton);
            QVERIFY(!cancelButton()->isVisible());
        }
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), u"Прервано"_s);
        QVERIFY(!QFile::exists(file));
    }

    void closesWhileRowsAreWritten()
    {
        QVERIFY(openSmall());
        const QString file = m_fixture->path(u"out.csv"_s);
        // Whoever holds the lock uses the table: it is not deleted before. The window does not wait for that.
        const std::lock_guard lock(*m_fixture->window().page()->table());
        m_fixture->window().exportTo(file, false);

        m_fixture->closeWindow();

        QVERIFY(!QFile::exists(file));
    }
};

QTEST_MAIN(tst_Export)
#include "tst_export.moc"
