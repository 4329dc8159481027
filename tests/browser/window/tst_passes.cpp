// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <browser/parts/noticebar.h>
#include <data/exception.h>
#include <database/memorytable.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <QToolButton>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QString interrupted = u"Отбор прерван: строки не те, что задают фильтры и сортировка"_s;

/// Cannot make its predicate.
class BrokenFilter : public ColumnsFilter
{
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *) const override { throw Exception(u"broken"_s); }
};

} // namespace

/// What the window says of rows that are not what the filters and the sorting say.
class tst_Passes : public WindowTest
{
    Q_OBJECT
private:
    TablePage *page() { return m_fixture->window().page(); }
    NoticeBar *notice() { return page()->findChild<NoticeBar *>(u"passNotice"_s); }
    bool openTables()
    {
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"small.sqlite"_s,
            {u"CREATE TABLE t (a INTEGER NOT NULL)"_s, u"INSERT INTO t VALUES (1), (2), (3), (4), (5)"_s,
             u"CREATE TABLE u (a INTEGER)"_s, u"INSERT INTO u VALUES (7)"_s}));
        return m_fixture->settle() && m_fixture->rows() == 5;
    }
    /// Filters the first value out, and gives the pass up.
    void interruptPass()
    {
        m_fixture->clickCell(0, 0);
        page()->view()->hideSelectedValues();
        QVERIFY(page()->model()->isPassRunning());
        m_fixture->window().findChild<QToolButton *>(u"cancel"_s)->click();
        QVERIFY(!page()->model()->isPassRunning());
        QVERIFY(notice()->isVisible());
    }
    /// Begins to export into \a file by the dialog.
    void askToExport(const QString &file)
    {
        m_fixture->window().findChild<QAction *>(u"exportCsv"_s)->trigger();
        auto *dialog = m_fixture->window().findChild<QFileDialog *>(u"exportDialog"_s);
        QVERIFY(dialog);
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file);
        QMetaObject::invokeMethod(dialog, "accept");
    }
    QMessageBox *question() { return m_fixture->window().findChild<QMessageBox *>(u"oldRowsBox"_s); }

private Q_SLOTS:
    void init()
    {
        WindowTest::init();
        QVERIFY(openTables());
        QVERIFY(notice());
        QVERIFY(notice()->isHidden());
    }

    void tellsThatAPassWasInterrupted()
    {
        interruptPass();

        QCOMPARE(m_fixture->rows(), 5);
        QVERIFY(notice()->isVisible());
        QCOMPARE(notice()->text(), interrupted);
        QCOMPARE(notice()->accessibleName(), interrupted);
        QVERIFY(!notice()->findChild<QToolButton *>(u"close"_s)->isVisible());
        QTest::qWait(50);
        QVERIFY(notice()->isVisible());
    }

    void tellsThatAPassFailed()
    {
        auto filter = std::make_unique<BrokenFilter>(*page()->table(), QList<int>{0});
        filter->setValue(u"1"_s);
        filter->setEnabled(true);
        page()->filters()->add(filter.release());
        QTRY_VERIFY(notice()->isVisible());

        QCOMPARE(notice()->text(), u"Отбор не удался: строки не те, что задают фильтры и сортировка"_s);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList{u"broken"_s});
        page()->clearFilters();
        QTRY_VERIFY(notice()->isHidden());
    }

    void repeatsThePassByTheMouse()
    {
        interruptPass();

        QTest::mouseClick(notice()->findChild<QPushButton *>(u"button"_s), Qt::LeftButton);
        QVERIFY(notice()->isHidden());
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 4);
        QVERIFY(page()->model()->isUpToDate());
        QVERIFY(notice()->isHidden());
    }

    void repeatsThePassByTheKeyboard()
    {
        interruptPass();
        page()->view()->setFocus();

        QTest::keyClick(page()->view(), Qt::Key_Backtab, Qt::ShiftModifier);
        auto *button = notice()->findChild<QPushButton *>(u"button"_s);
        QVERIFY(button->hasFocus());
        QCOMPARE(button->text(), u"Повторить"_s);
        QTest::keyClick(button, Qt::Key_Space);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 4);
        QVERIFY(notice()->isHidden());
        QVERIFY(page()->view()->hasFocus());
    }

    void forgetsTheInterruptionAfterAnotherPass()
    {
        interruptPass();

        page()->clearFilters();
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 5);
        QVERIFY(notice()->isHidden());
    }

    void tellsOfThePageThatIsShown()
    {
        interruptPass();
        const NoticeBar *first = notice();

        m_fixture->window().showTable(u"u"_s);
        QVERIFY(m_fixture->settle());
        QVERIFY(!first->isVisible());
        QVERIFY(notice()->isHidden());
        m_fixture->window().showTable(u"t"_s);

        QCOMPARE(notice(), first);
        QVERIFY(first->isVisible());
    }

    void tellsInTheLanguageThatIsChosen()
    {
        interruptPass();

        m_fixture->languages().apply(Languages::Language::English);

        QTRY_VERIFY(notice()->text() != interrupted);
        QVERIFY(notice()->isVisible());
        QCOMPARE(notice()->accessibleName(), notice()->text());
    }

    void tellsThatASelectionFellApart()
    {
        m_fixture->window().openText(m_fixture->makeDatabase(
            u"large.sqlite"_s,
            {u"CREATE TABLE t (a INTEGER NOT NULL, b INTEGER NOT NULL)"_s,
             u"WITH RECURSIVE n(a) AS (SELECT 0 UNION ALL SELECT a + 1 FROM n WHERE a < 5999) "
             "INSERT INTO t SELECT a, a % 2 FROM n"_s}));
        QVERIFY(m_fixture->settle());
        auto *filter = new ColumnsFilter(*page()->table(), {1});
        filter->setValue(u"1"_s);
        filter->setEnabled(true);
        page()->filters()->add(filter);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 3000);
        page()->view()->selectAll();

        filter->setEnabled(false);
        page()->filters()->notifyChanged(filter);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 6000);
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(),
                 u"Выделение снято: выделенные строки стоят теперь вразброс"_s);
    }

    void asksBeforeItExportsOtherRows_data()
    {
        QTest::addColumn<bool>("writes");
        QTest::newRow("written") << true;
        QTest::newRow("given up") << false;
    }
    void asksBeforeItExportsOtherRows()
    {
        QFETCH(const bool, writes);
        const QString file = m_fixture->path(u"rows.csv"_s);
        interruptPass();

        askToExport(file);
        QVERIFY(question());
        QVERIFY(question()->isVisible());
        QVERIFY(!QFile::exists(file));
        QCOMPARE(question()->defaultButton(), question()->button(QMessageBox::Cancel));
        if (writes) {
            for (QAbstractButton *button : question()->buttons()) {
                if (question()->buttonRole(button) == QMessageBox::AcceptRole)
                    button->click();
            }
        } else {
            question()->reject();
        }

        QTRY_VERIFY(!question());
        QVERIFY(m_fixture->settle());
        QCOMPARE(QFile::exists(file), writes);
        if (writes)
            QCOMPARE(contentOf(file).count('\n'), 6);
    }

    void exportsWithoutAQuestionWhatTheFiltersSay()
    {
        const QString file = m_fixture->path(u"rows.csv"_s);
        m_fixture->clickCell(0, 0);
        page()->view()->hideSelectedValues();
        QVERIFY(m_fixture->settle());

        askToExport(file);

        QTRY_COMPARE(contentOf(file).count('\n'), 5);
        QVERIFY(!question());
    }
};

QTEST_MAIN(tst_Passes)
#include "tst_passes.moc"
