// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <browser/settings/settingswindow.h>
#include <database/memorytable.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filterpanel.h>
#include <sources/openserverdialog.h>
#include <sources/sourceconnection.h>
#include <support/panelitems.h>

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The columns of "quotes" in the sample.
enum Quotes { StockId, SessId, Open, High, Low, Close, Change, Volume };

} // namespace

/// The window as a whole: sources, tables, filters, settings.
class tst_MainWindow : public WindowTest
{
    Q_OBJECT
private:
    QStringList listedTables()
    {
        QStringList result;
        for (int i = 0; i < tree()->topLevelItemCount(); ++i) {
            const QTreeWidgetItem *item = tree()->topLevelItem(i);
            if (!item->isHidden())
                result.append(item->text(0) + u' ' + item->text(1).remove(QChar::Nbsp));
        }
        return result;
    }

private Q_SLOTS:
    void opensTheSampleWithItsTablesAndCounts()
    {
        m_fixture->window().openSample();
        QVERIFY(m_fixture->settle());

        QTRY_COMPARE(listedTables(),
                     (QStringList{u"quotes 5086"_s, u"securities 240"_s, u"sessions 5086"_s}));
        QVERIFY(m_fixture->window().page());
        QCOMPARE(m_fixture->rows(), 5086);
        QCOMPARE(m_fixture->window().windowTitle(), u"quotes — Пример — Sito"_s);
        QCOMPARE(label(u"rows"_s)->text().remove(QChar::Nbsp), u"Показано строк: 5086 из 5086"_s);
        QVERIFY(m_fixture->window().messageBar()->isHidden());
        QVERIFY(m_fixture->window().page()->view()->hasFocus());
    }

    void opensAFileByTheMenu()
    {
        const QString file = smallDatabase();

        action(u"openFile"_s)->trigger();
        auto *dialog = m_fixture->window().findChild<QFileDialog *>(u"openFileDialog"_s);
        QVERIFY(dialog);
        dialog->selectFile(file);
        QMetaObject::invokeMethod(dialog, "accept");
        QVERIFY(m_fixture->settle());

        QTRY_COMPARE(m_fixture->rows(), 5);
        QCOMPARE(m_fixture->window().windowTitle(), u"t — small.sqlite — Sito"_s);
    }

    void opensAFileThatIsDropped()
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(smallDatabase())});
        MainWindow &window = m_fixture->window();

        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &enter);
        QDropEvent drop(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &drop);
        QVERIFY(m_fixture->settle());

        QVERIFY(enter.isAccepted());
        QCOMPARE(m_fixture->rows(), 5);
    }

    void refusesToTakeWhatIsNoFile()
    {
        QMimeData data;
        data.setText(u"no file"_s);
        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();

        QCoreApplication::sendEvent(&m_fixture->window(), &enter);

        QVERIFY(!enter.isAccepted());
    }

    void keepsWhatIsOpenWhenASourceFails_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("missing file") << u"missing.sqlite"_s;
        QTest::newRow("no database") << u"garbage.sqlite"_s;
        QTest::newRow("directory") << u"."_s;
        QTest::newRow("unknown scheme") << u"gopher://x/y"_s;
        QTest::newRow("nobody listens") << u"postgresql://127.0.0.1:1/base"_s;
    }
    void keepsWhatIsOpenWhenASourceFails()
    {
        QFETCH(QString, source);
        QFile garbage(m_fixture->path(u"garbage.sqlite"_s));
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write(QByteArray(5000, 'g'));
        garbage.close();
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1|2"_s}}, {}}));
        const int rows = m_fixture->rows();
        const QString title = m_fixture->window().windowTitle();
        TablePage *page = m_fixture->window().page();

        m_fixture->window().openText(source.contains(u':') ? source : m_fixture->path(source));
        QVERIFY(m_fixture->settle());

        const QStringList messages = m_fixture->window().messageBar()->messages();
        QCOMPARE(messages.size(), 1);
        QVERIFY(!messages.first().contains(u'\n'));
        QVERIFY(m_fixture->window().messageBar()->isVisible());
        QCOMPARE(m_fixture->window().page(), page);
        QCOMPARE(m_fixture->rows(), rows);
        QCOMPARE(m_fixture->window().windowTitle(), title);
        QCOMPARE(tree()->currentItem()->text(0), u"quotes"_s);
        QTest::mouseClick(m_fixture->window().findChild<QToolButton *>(u"closeMessage"_s), Qt::LeftButton);
        QVERIFY(m_fixture->window().messageBar()->isHidden());
        // What is open goes on working.
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 240);
    }

    void keepsTheWindowWhenATableFails()
    {
        const QString file = m_fixture->makeDatabase(
            u"bad.sqlite"_s, {u"CREATE TABLE good (a INTEGER)"_s, u"INSERT INTO good VALUES (7)"_s,
                              u"CREATE TABLE lying (a INTEGER)"_s, u"INSERT INTO lying VALUES (1)"_s,
                              spoiling(u"lying"_s), u"CREATE VIEW orphaned AS SELECT * FROM gone"_s});
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);

        for (const QString &table : {u"lying"_s, u"orphaned"_s}) {
            m_fixture->window().messageBar()->showMessages({});
            m_fixture->window().showTable(table);
            QVERIFY(m_fixture->settle());

            QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
            QVERIFY(m_fixture->window().messageBar()->messages().first().contains(table));
            QCOMPARE(tree()->currentItem()->text(0), u"good"_s);
            QCOMPARE(m_fixture->rows(), 1);
            const auto items = tree()->findItems(table, Qt::MatchExactly);
            QCOMPARE(items.size(), 1);
            QCOMPARE(items.constFirst()->toolTip(0), m_fixture->window().messageBar()->messages().first());
        }
    }

    void cancelsAnOpening()
    {
        QVERIFY(m_fixture->openSample(u"securities"_s));
        auto *cancel = m_fixture->window().findChild<QToolButton *>(u"cancel"_s);
        QVERIFY(cancel->isHidden());

        m_fixture->window().openText(smallDatabase());
        QVERIFY(cancel->isVisible());
        QVERIFY(label(u"activity"_s)->text().startsWith(u"Открывается"_s));
        QTest::mouseClick(cancel, Qt::LeftButton);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 240);
        QVERIFY(cancel->isHidden());
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void cancelsALoadThatLasts_data()
    {
        QTest::addColumn<QString>("table");
        QTest::newRow("a table, of which the first rows stay") << u"long"_s;
        QTest::newRow("a view, of which nothing stays") << u"view"_s;
    }
    void cancelsALoadThatLasts()
    {
        QFETCH(const QString, table);
        const QString file = m_fixture->makeDatabase(
            u"long.sqlite"_s, {u"CREATE TABLE a (x INTEGER)"_s, u"INSERT INTO a VALUES (1)"_s,
                               u"CREATE TABLE long (x INTEGER NOT NULL, y TEXT)"_s,
                               u"INSERT INTO long WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                               u"FROM n WHERE i < 200000) "
                               "SELECT i, 'text ' || i FROM n"_s,
                               u"CREATE VIEW view AS SELECT * FROM long"_s});
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);
        auto *progress = m_fixture->window().findChild<QProgressBar *>(u"progress"_s);
        auto *cancel = m_fixture->window().findChild<QToolButton *>(u"cancel"_s);

        const bool isTable = table == "long"_L1;
        m_fixture->window().showTable(table);
        // How many rows a view has is not known.
        QTRY_VERIFY(!isTable || (progress->maximum() > 0 && progress->value() > 0));
        QVERIFY(progress->isVisible());
        QTest::mouseClick(cancel, Qt::LeftButton);
        QVERIFY(m_fixture->settle());

        QVERIFY(isTable ? m_fixture->rows() >= 10'000 && m_fixture->rows() < 200'000
                        : m_fixture->rows() == 1);
        QCOMPARE(tree()->currentItem()->text(0), isTable ? table : u"a"_s);
        QVERIFY(!progress->isVisible());
        m_fixture->window().showTable(table);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 200000);
    }

    void showsTheLastOfSeveralSources()
    {
        const QString file = smallDatabase();

        m_fixture->window().openSample();
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 5);
        QTRY_COMPARE(listedTables(), QStringList{u"t 5"_s});
    }

    void choosesTablesByMouse()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {},
                          tree()->visualItemRect(tree()->topLevelItem(1)).center());
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 240);
        QCOMPARE(m_fixture->window().windowTitle(), u"securities — Пример — Sito"_s);
    }

    void choosesTablesByKeyboard()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        auto *search = m_fixture->window().findChild<QLineEdit *>(u"tableSearch"_s);

        search->setFocus();
        QTest::keyClicks(search, u"SESS"_s);
        QTRY_COMPARE(listedTables(), QStringList{u"sessions 5086"_s});
        QTest::keyClick(search, Qt::Key_Return);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->window().page()->model()->columnCount(), 3);

        search->clear();
        QTest::keyClick(&m_fixture->window(), Qt::Key_1, Qt::ControlModifier);
        QVERIFY(tree()->hasFocus());
        QTest::keyClick(tree(), Qt::Key_Up);
        QTest::keyClick(tree(), Qt::Key_Return);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 240);
        QTest::keyClick(&m_fixture->window(), Qt::Key_2, Qt::ControlModifier);
        QVERIFY(m_fixture->window().page()->view()->hasFocus());
    }

    void keepsThePagesOfASource()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        TablePage *quotes = m_fixture->window().page();
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());

        m_fixture->window().showTable(u"quotes"_s);

        QCOMPARE(m_fixture->window().page(), quotes);
        QVERIFY(m_fixture->window().isSettled());
    }

    void filtersByTheButtonInTheHeader()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->clickFilterButton(StockId);
        QWidget *popup = QApplication::activePopupWidget();
        QVERIFY(popup);
        auto *values = popup->findChild<ValueListWidget *>();
        QVERIFY(values);
        QTRY_VERIFY(values->isReady());
        auto *search = values->findChild<QLineEdit *>();
        QVERIFY(search);
        QTest::keyClick(search, Qt::Key_Down); // to the list, at the first value
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_VERIFY(!QApplication::activePopupWidget());
        QVERIFY(m_fixture->settle());

        const qint64 first = WindowFixture::askSample(
            u"SELECT count(*) FROM quotes WHERE stock_id = (SELECT min(stock_id) FROM quotes)"_s);
        QVERIFY(first > 0);
        QCOMPARE(m_fixture->rows(), 5086 - first);
        QVERIFY(m_fixture->window().page()->header()->isFiltered(StockId));
        QVERIFY(!m_fixture->window().page()->header()->isFiltered(SessId));
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
    }

    void dropsAFilterOfWhichEverythingIsShown()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1"_s}}, {}}));

        m_fixture->clickFilterButton(StockId);
        auto *values = QApplication::activePopupWidget()->findChild<ValueListWidget *>();
        QTRY_VERIFY(values->isReady());
        QTest::keyClick(values->findChild<QLineEdit *>(), Qt::Key_Down);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);

        QTRY_COMPARE(m_fixture->window().page()->filters()->filters().size(), 0);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 5086);
        QVERIFY(!m_fixture->window().page()->header()->isFiltered(StockId));
    }

    void keepsTheRowsWhenThePopupIsDismissed()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->clickFilterButton(SessId);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);

        QTRY_VERIFY(!QApplication::activePopupWidget());
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 5086);
        QVERIFY(m_fixture->window().page()->filters()->filters().isEmpty());
    }

    void opensTheFilterByKeyboard()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        QTableView *view = m_fixture->window().page()->view();
        view->setCurrentIndex(view->model()->index(3, Close));

        QTest::keyClick(view, Qt::Key_Down, Qt::AltModifier);

        QVERIFY(QApplication::activePopupWidget());
        QCOMPARE(QApplication::activePopupWidget()->accessibleName(), u"close"_s);
        QApplication::activePopupWidget()->close();
    }

    void offersTheSelectActionOfEachFilterUnderItsName()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        TablePage *page = m_fixture->window().page();
        const QString actionName = page->view()->valueFilter({SessId})->selectActionName();

        QMenu *menu = m_fixture->openCellMenu(2, SessId);
        QVERIFY(menu);
        QVERIFY(WindowFixture::chooseInMenu(menu, u"%1 (sess_id)"_s.arg(actionName)));

        QTRY_VERIFY(QApplication::activePopupWidget());
        QCOMPARE(QApplication::activePopupWidget()->accessibleName(), u"sess_id"_s);
        QApplication::activePopupWidget()->close();
    }

    void offersACombinedFilterForSeveralColumns()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(1, StockId);
        m_fixture->clickCell(1, SessId, Qt::ControlModifier);

        QMenu *menu = m_fixture->openCellMenu(1, SessId);
        QVERIFY(menu);
        QStringList texts;
        for (QAction *entry : menu->actions()) {
            if (entry->objectName() == "select"_L1)
                texts.append(entry->text());
        }
        menu->close();

        QCOMPARE(texts.size(), 2);
        QVERIFY(texts.first().endsWith(u" (sess_id)"_s));
        QVERIFY(texts.last().endsWith(u" (stock_id, sess_id)"_s));
    }

    void hidesTheSelectedValues()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        const QString stock = m_fixture->text(4, StockId);
        m_fixture->clickCell(4, StockId);

        QVERIFY(WindowFixture::chooseInMenu(m_fixture->openCellMenu(4, StockId), u"hideSelected"_s));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(),
                 WindowFixture::askSample(u"SELECT count(*) FROM quotes WHERE stock_id <> "_s + stock));
        QVERIFY(m_fixture->window().page()->header()->isFiltered(StockId));
    }

    void showsOnlyTheSelectedValues()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        const QString stock = m_fixture->text(2, StockId);
        const QString session = m_fixture->text(2, SessId);
        m_fixture->clickCell(2, StockId);
        m_fixture->clickCell(2, SessId, Qt::ControlModifier);

        QTest::keyClick(&m_fixture->window(), Qt::Key_H, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(
            m_fixture->rows(),
            WindowFixture::askSample(
                u"SELECT count(*) FROM quotes WHERE stock_id = %1 AND sess_id = %2"_s.arg(stock, session)));
    }

    void tellsWhenFiltersHideAllRows()
    {
        QVERIFY(openSmall());
        QVERIFY(label(u"note"_s)->isHidden());

        m_fixture->window().page()->view()->selectAll();
        QTest::keyClick(&m_fixture->window(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 0);
        QVERIFY(label(u"note"_s)->isVisible());
        QCOMPARE(label(u"note"_s)->text(), u"Фильтры скрывают все строки"_s);
        action(u"clearFilters"_s)->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 5);
        QVERIFY(label(u"note"_s)->isHidden());
    }

    void tellsTheNumbersOfRowsAndTheTimeOfThePass()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{true, {u"stock_id"_s}, u"3"_s}}, {}}));

        const qint64 rows = WindowFixture::askSample(u"SELECT count(*) FROM quotes WHERE stock_id = 3"_s);
        QCOMPARE(label(u"rows"_s)->text().remove(QChar::Nbsp), u"Показано строк: %1 из 5086"_s.arg(rows));
        static const QRegularExpression time(u"^Проход: [0-9]+(,[0-9]+)? мс$"_s);
        QVERIFY2(time.match(label(u"time"_s)->text()).hasMatch(), qPrintable(label(u"time"_s)->text()));
    }

    void refusesAnEmptyDatabase()
    {
        m_fixture->window().openText(
            m_fixture->makeDatabase(u"empty.sqlite"_s, {u"CREATE TABLE t (a INTEGER)"_s, u"DROP TABLE t"_s}));
        QVERIFY(m_fixture->settle());

        QVERIFY(!m_fixture->window().page());
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        auto *page = m_fixture->window().findChild<QWidget *>(u"emptyPage"_s);
        QVERIFY(page->isVisible());
        QVERIFY(page->findChild<QLabel *>()->text().startsWith(u"Ничего не открыто."_s));
    }

    void showsNoOtherWindowThanItself()
    {
        QVERIFY(openSmall());

        m_fixture->clickCell(0, 0);
        m_fixture->window().page()->view()->hideSelectedValues();
        QVERIFY(m_fixture->settle());

        QCOMPARE(QApplication::activeWindow(), &m_fixture->window());
        QTest::keyClick(&m_fixture->window(), Qt::Key_3, Qt::ControlModifier);
        QVERIFY(m_fixture->window().panel()->findChild<QCheckBox *>()->hasFocus());
    }

    void showsItsOwnSettings()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(0, StockId);
        m_fixture->window().page()->view()->hideSelectedValues();

        QTest::keyClick(&m_fixture->window(), Qt::Key_Comma, Qt::ControlModifier);
        auto *settings = m_fixture->window().findChild<SettingsWindow *>();
        QVERIFY(settings);
        QVERIFY(settings->isVisible());
        QVERIFY(settings->isWindow());
        QCOMPARE(settings->fileName(), m_fixture->store().fileName());
        QStringList groups;
        const QAbstractItemModel *model = settings->findChild<QTreeView *>()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            groups.append(model->index(row, 0).data().toString());
        QVERIFY(groups.contains(u"filters"_s)); // also what was filtered just now
        QVERIFY(groups.contains(u"views"_s));

        action(u"settings"_s)->trigger();
        QCOMPARE(m_fixture->window().findChildren<SettingsWindow *>().size(), 1);
        m_fixture->window().close();
        QVERIFY(!settings || !settings->isVisible());
    }

    void showsTheSettingsOfADroppedFile()
    {
        const QString file = m_fixture->path(u"some.ini"_s);
        QSettings(file, QSettings::IniFormat).setValue(u"a/b"_s, 1);
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(file)});

        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&m_fixture->window(), &enter);
        QDropEvent drop(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&m_fixture->window(), &drop);

        auto *settings = m_fixture->window().findChild<SettingsWindow *>();
        QVERIFY(settings);
        QCOMPARE(settings->fileName(), file);
    }

    void asksForAServer()
    {
        m_fixture->store().setValue(u"recent/sources"_s,
                                    QStringList{u"postgresql://me@somewhere:1234/base"_s});
        action(u"openServer"_s)->trigger();
        auto *dialog = m_fixture->window().findChild<OpenServerDialog *>();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        delete dialog;

        auto *recent = m_fixture->window().findChild<QMenu *>(u"recentMenu"_s);
        recent->popup(QPoint(10, 10));
        QVERIFY(WindowFixture::chooseInMenu(recent, recent->actions().first()->text()));
        dialog = m_fixture->window().findChild<OpenServerDialog *>(); // the password is not known

        QVERIFY(dialog);
        QCOMPARE(dialog->location().host, u"somewhere"_s);
        QCOMPARE(dialog->location().port, 1234);
        QCOMPARE(dialog->location().database, u"base"_s);
        QCOMPARE(dialog->location().user, u"me"_s);
        dialog->reject();
        QVERIFY(m_fixture->window().isSettled());
    }

    void aboutBoxTellsTheVersion()
    {
        action(u"about"_s)->trigger();
        auto *box = m_fixture->window().findChild<QDialog *>(u"aboutBox"_s);

        QVERIFY(box);
        QVERIFY(box->isVisible());
        box->close();
    }

    void keepsTheTableThatWasChosenWhileAnotherOneLoaded()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->window().showTable(u"sessions"_s);
        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->table()->name(), u"quotes"_s);
        QCOMPARE(tree()->currentItem()->text(0), u"quotes"_s);
    }

    void leavesNoOldTextInTheMiddle()
    {
        auto *text = m_fixture->window().findChild<QWidget *>(u"emptyPage"_s)->findChild<QLabel *>();
        const QString file =
            m_fixture->makeDatabase(u"bad.sqlite"_s, {u"CREATE TABLE t (a INTEGER)"_s,
                                                      u"INSERT INTO t VALUES (1)"_s, spoiling(u"t"_s)});
        const QString nothing = text->text();
        QVERIFY(!nothing.isEmpty());

        m_fixture->window().openText(file);
        QVERIFY(text->text().contains(u"bad.sqlite"_s));
        QVERIFY(m_fixture->settle());

        QVERIFY(!m_fixture->window().page());
        const QString choose = text->text();
        QVERIFY2(choose.contains(u"списке"_s), qPrintable(choose));
        m_fixture->window().openText(u"/no/such.sqlite"_s);
        QVERIFY(m_fixture->settle());
        QCOMPARE(text->text(), choose);
        m_fixture->languages().apply(Languages::Language::English);
        QTRY_VERIFY(text->text() != choose);
    }

    void showsTheProgressNextToAMessage()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->window().statusBar()->showMessage(u"message"_s);

        m_fixture->window().showTable(u"sessions"_s);

        QVERIFY(label(u"activity"_s)->isVisible());
        QVERIFY(m_fixture->window().findChild<QToolButton *>(u"cancel"_s)->isVisible());
        QVERIFY(m_fixture->settle());
        QVERIFY(!label(u"activity"_s)->isVisible());
    }

    void listsAllTablesOfANewSource()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->window().findChild<QLineEdit *>(u"tableSearch"_s)->setText(u"quo"_s);

        QVERIFY(openSmall());

        QTRY_COMPARE(listedTables(), QStringList{u"t 5"_s});
    }

    void editsWhatIsShownOnly()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        m_fixture->clickCell(2, 0, Qt::ControlModifier);
        action(u"showOnlySelected"_s)->trigger();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);

        auto *item = panelItem(*m_fixture->window().panel());
        QVERIFY(item);
        QTest::mouseClick(item->findChild<QToolButton *>(u"edit"_s), Qt::LeftButton);
        auto *dialog = m_fixture->window().findChild<QDialog *>(u"filterDialog"_s);
        QVERIFY(dialog);
        auto *keys = dialog->findChild<QListView *>(u"keptKeys"_s);
        QVERIFY(keys);
        QCOMPARE(keys->model()->rowCount(), 2);
        QCOMPARE(keys->model()->index(1, 0).data().toString(), u"3"_s);
        QTest::keyClick(keys, Qt::Key_Space);
        dialog->accept();
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 1);
        QCOMPARE(m_fixture->text(0, 0), u"3"_s);
    }

    void opensTheMenuOfTheCurrentCellByTheKeyboard()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        QTableView *view = m_fixture->window().page()->view();
        view->selectAll();
        view->selectionModel()->setCurrentIndex(view->model()->index(0, Close),
                                                QItemSelectionModel::NoUpdate);

        const QPoint middle = view->rect().center();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, middle, view->mapToGlobal(middle));
        QApplication::sendEvent(view, &event);

        QMenu *menu = WindowFixture::openMenu();
        QVERIFY(menu);
        const QAction *select = menu->findChild<QAction *>(u"select"_s);
        QVERIFY(select);
        QVERIFY2(select->text().contains(u"close"_s), qPrintable(select->text()));
        menu->close();
    }

    void listsEstimatesUntilTablesAreCounted()
    {
        const QString file = m_fixture->makeDatabase(
            u"counted.sqlite"_s,
            {u"CREATE TABLE a (c INTEGER)"_s, u"INSERT INTO a VALUES (1), (2)"_s,
             u"CREATE TABLE b (c TEXT)"_s, u"INSERT INTO b VALUES ('x')"_s, u"CREATE VIEW v AS SELECT 1"_s,
             u"ANALYZE"_s, u"UPDATE sqlite_stat1 SET stat = '1200000' WHERE tbl = 'a'"_s,
             u"DELETE FROM sqlite_stat1 WHERE tbl = 'b'"_s});
        auto *connection = m_fixture->window().findChild<SourceConnection *>();
        QStringList atFirst;
        QStringList note;
        connect(connection, &SourceConnection::opened, this, [&] {
            atFirst = listedTables();
            note.append(tree()->topLevelItem(0)->toolTip(0).remove(QChar::Nbsp));
        });

        m_fixture->window().openText(file);

        QTRY_COMPARE(listedTables(), (QStringList{u"a 2"_s, u"b 1"_s, u"v ?"_s}));
        QCOMPARE(atFirst, (QStringList{u"a ≈1200000"_s, u"b ?"_s, u"v ?"_s}));
        QCOMPARE(note, QStringList(u"a, строк: ≈1200000, столбцов: 1"_s));
        QCOMPARE(tree()->topLevelItem(0)->toolTip(0), u"a, строк: 2, столбцов: 1"_s);
        QVERIFY(m_fixture->settle());
    }

    void goesOnOpeningWhenATableIsChosen_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("message");
        QTest::newRow("not loaded") << u"securities"_s << u"Сначала должна открыться база данных"_s;
        QTest::newRow("loaded") << u"sessions"_s << QString();
    }
    void goesOnOpeningWhenATableIsChosen()
    {
        QFETCH(const QString, table);
        QFETCH(const QString, message);
        QVERIFY(m_fixture->openSample(u"sessions"_s));
        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());

        m_fixture->window().openText(smallDatabase());
        const QList<QTreeWidgetItem *> items = tree()->findItems(table, Qt::MatchExactly);
        QCOMPARE(items.size(), 1);
        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {},
                          tree()->visualItemRect(items.constFirst()).center());
        QCOMPARE(m_fixture->window().statusBar()->currentMessage(), message);
        QCOMPARE(tree()->currentItem()->text(0), message.isEmpty() ? table : u"quotes"_s);
        QVERIFY(label(u"activity"_s)->text().startsWith(u"Открывается"_s));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 5);
        QTRY_COMPARE(listedTables(), QStringList{u"t 5"_s});
    }

    void loadsATableOnceWhenItIsChosenTwice()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        auto *connection = m_fixture->window().findChild<SourceConnection *>();
        const QSignalSpy cancelled(connection, &SourceConnection::cancelled);
        const QSignalSpy loaded(connection, &SourceConnection::loaded);
        const QPoint place = tree()->visualItemRect(tree()->topLevelItem(1)).center();

        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(tree()->viewport(), Qt::LeftButton, {}, place);
        QTest::keyClick(tree(), Qt::Key_Return);
        QVERIFY(m_fixture->settle());

        QCOMPARE(cancelled.size(), 0);
        QCOMPARE(loaded.size(), 1);
        QCOMPARE(m_fixture->window().page()->table()->name(), u"securities"_s);
    }

    void loadsATableAnewThatWasInterrupted_data()
    {
        QTest::addColumn<bool>("byButton");
        QTest::newRow("by the button") << true;
        QTest::newRow("by another table") << false;
    }
    void loadsATableAnewThatWasInterrupted()
    {
        QFETCH(const bool, byButton);
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->window().showTable(u"securities"_s);
        if (byButton)
            QTest::mouseClick(m_fixture->window().findChild<QToolButton *>(u"cancel"_s), Qt::LeftButton);
        else
            m_fixture->window().showTable(u"quotes"_s);
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->table()->name(), u"securities"_s);
    }

    void keepsAtLeastOneValueOfWhatIsShownOnly()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        action(u"showOnlySelected"_s)->trigger();
        QVERIFY(m_fixture->settle());
        auto *item = panelItem(*m_fixture->window().panel());
        QVERIFY(item);
        QTest::mouseClick(item->findChild<QToolButton *>(u"edit"_s), Qt::LeftButton);
        auto *dialog = m_fixture->window().findChild<QDialog *>(u"filterDialog"_s);
        QVERIFY(dialog);
        const auto *ok = dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
        auto *keys = dialog->findChild<QListView *>(u"keptKeys"_s);
        QVERIFY(ok->isEnabled());
        QCOMPARE(ok->toolTip(), QString());

        QTest::keyClick(keys, Qt::Key_Space);
        QVERIFY(!ok->isEnabled());
        QCOMPARE(ok->toolTip(), u"Отметьте хотя бы одно значение"_s);
        QVERIFY(dialog->findChild<QLabel *>(u"error"_s)->isVisible());
        QTest::keyClick(keys, Qt::Key_Return);
        QVERIFY(dialog->isVisible());

        QTest::keyClick(keys, Qt::Key_Space);
        QVERIFY(ok->isEnabled());
        QVERIFY(!dialog->findChild<QLabel *>(u"error"_s)->isVisible());
        QTest::keyClick(keys, Qt::Key_Return);
        QTRY_VERIFY(!m_fixture->window().findChild<QDialog *>(u"filterDialog"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);
    }
};

QTEST_MAIN(tst_MainWindow)
#include "tst_mainwindow.moc"
