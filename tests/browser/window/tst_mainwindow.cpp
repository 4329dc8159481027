// SPDX-License-Identifier: MIT
#include <support/panelitems.h>
#include <support/windowfixture.h>

#include <browser/settings/settingswindow.h>
#include <browser/window/openserverdialog.h>
#include <database/memorytable.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filterpanel.h>
#include <sources/sourceconnection.h>

#include <database/memorytable.h>

#include <QCheckBox>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStatusBar>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

#include <algorithm>
#include <mutex>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The columns of "quotes" in the sample.
enum Quotes { StockId, SessId, Open, High, Low, Close, Change, Volume };

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_MainWindow : public QObject
{
    Q_OBJECT
private:
    QLabel *label(const QString &name) { return m_fixture->window().findChild<QLabel *>(name); }
    QAction *action(const QString &name) { return m_fixture->window().findChild<QAction *>(name); }
    QTreeWidget *tree() { return m_fixture->window().findChild<QTreeWidget *>(u"tableTree"_s); }
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
    QList<TableModel::SortKey> sortKeys() { return m_fixture->window().page()->model()->sortKeys(); }
    /// Makes a database whose only table "t" has the columns a and b.
    QString smallDatabase()
    {
        return m_fixture->makeDatabase(
            u"small.sqlite"_s,
            {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"_s,
             u"INSERT INTO t VALUES (1, 'x,y'), (2, NULL), (3, ''), (4, 'say \"so\"'), (5, 'x,y')"_s});
    }
    bool openSmall()
    {
        m_fixture->window().openText(smallDatabase());
        return m_fixture->settle() && m_fixture->rows() == 5;
    }

    /// Makes a database with the tables "quotes" and "sessions", a value of which cannot be read if \a isBad.
    QString sessionsDatabase(bool isBad)
    {
        return m_fixture->makeDatabase(
            u"sessions.sqlite"_s,
            {u"DROP TABLE IF EXISTS quotes"_s, u"DROP TABLE IF EXISTS sessions"_s,
             u"CREATE TABLE quotes (stock_id INTEGER NOT NULL, sess_id INTEGER NOT NULL)"_s,
             u"INSERT INTO quotes VALUES (1, 1), (1, 2), (2, 1)"_s,
             u"CREATE TABLE sessions (stock_id INTEGER NOT NULL, sess_id INTEGER NOT NULL)"_s,
             u"INSERT INTO sessions VALUES (1, 2), (2, %1)"_s.arg(isBad ? u"'bad'"_s : u"2"_s)});
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

    std::unique_ptr<WindowFixture> m_fixture;

private Q_SLOTS:
    void init()
    {
        WindowFixture::failOnWarnings();
        m_fixture = std::make_unique<WindowFixture>();
        m_fixture->makeWindow();
    }
    void cleanup() { m_fixture.reset(); }

    void opensTheSampleWithItsTablesAndCounts()
    {
        m_fixture->window().openSample();
        QVERIFY(m_fixture->settle());

        QCOMPARE(listedTables(), (QStringList{u"quotes 5086"_s, u"securities 240"_s, u"sessions 5086"_s}));
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
                              u"CREATE TABLE lying (a INTEGER)"_s, u"INSERT INTO lying VALUES ('text')"_s,
                              u"CREATE TABLE untyped (a)"_s});
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);

        for (const QString &table : {u"lying"_s, u"untyped"_s}) {
            m_fixture->window().messageBar()->showMessages({});
            m_fixture->window().showTable(table);
            QVERIFY(m_fixture->settle());

            QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
            QVERIFY(m_fixture->window().messageBar()->messages().first().contains(table));
            QCOMPARE(tree()->currentItem()->text(0), u"good"_s);
            QCOMPARE(m_fixture->rows(), 1);
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

    void cancelsALoadThatLasts()
    {
        const QString file = m_fixture->makeDatabase(
            u"long.sqlite"_s, {u"CREATE TABLE a (x INTEGER)"_s, u"INSERT INTO a VALUES (1)"_s,
                               u"CREATE TABLE long (x INTEGER NOT NULL, y TEXT)"_s,
                               u"INSERT INTO long WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                               u"FROM n WHERE i < 400000) "
                               "SELECT i, 'text ' || i FROM n"_s});
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);
        auto *progress = m_fixture->window().findChild<QProgressBar *>(u"progress"_s);
        auto *cancel = m_fixture->window().findChild<QToolButton *>(u"cancel"_s);

        m_fixture->window().showTable(u"long"_s);
        QTRY_VERIFY(progress->maximum() > 0 && progress->value() > 0);
        QVERIFY(progress->isVisible());
        QTest::mouseClick(cancel, Qt::LeftButton);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 1);
        QCOMPARE(tree()->currentItem()->text(0), u"a"_s);
        QVERIFY(!progress->isVisible());
        m_fixture->window().showTable(u"long"_s);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 400000);
    }

    void showsTheLastOfSeveralSources()
    {
        const QString file = smallDatabase();

        m_fixture->window().openSample();
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 5);
        QCOMPARE(listedTables(), QStringList{u"t 5"_s});
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
        QCOMPARE(listedTables(), QStringList{u"sessions 5086"_s});
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

    void keepsTheSizeOfTheListOfValues()
    {
        const auto restore = qScopeGuard([] { ValueListFilter::setPopupSize(QSize()); });
        const auto openPopup = [this] {
            m_fixture->clickFilterButton(0);
            return QPointer<QWidget>(QApplication::activePopupWidget());
        };
        QVERIFY(openSmall());
        QPointer<QWidget> popup = openPopup();
        QVERIFY(popup);
        const QSize before = popup->size();
        QTest::keyClick(popup->findChild<QWidget *>(u"grip"_s), Qt::Key_Right);
        const QSize larger = popup->size();
        QVERIFY(larger != before);
        popup->close();
        m_fixture->closeWindow();
        ValueListFilter::setPopupSize(QSize()); // as in another run

        m_fixture->makeWindow();
        m_fixture->window().openText(m_fixture->path(u"small.sqlite"_s));
        QVERIFY(m_fixture->settle());
        popup = openPopup();

        QVERIFY(popup);
        QCOMPARE(popup->size(), larger);
        popup->close();
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

    void sortsByClicksOnTitles()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->clickTitle(Volume);
        QVERIFY(m_fixture->settle());
        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{Volume, Qt::AscendingOrder}}));
        QCOMPARE(m_fixture->text(0, Volume).toLongLong(),
                 WindowFixture::askSample(u"SELECT min(volume) FROM quotes"_s));
        m_fixture->clickTitle(Volume);
        QVERIFY(m_fixture->settle());
        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{Volume, Qt::DescendingOrder}}));
        QCOMPARE(m_fixture->text(0, Volume).toLongLong(),
                 WindowFixture::askSample(u"SELECT max(volume) FROM quotes"_s));
        m_fixture->clickTitle(Volume);
        QCOMPARE(sortKeys(), QList<TableModel::SortKey>());
    }

    void sortsByFurtherColumnsWithShiftAndControl()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));

        m_fixture->clickTitle(SessId);
        m_fixture->clickTitle(Volume, Qt::ControlModifier);
        m_fixture->clickTitle(Volume, Qt::ShiftModifier);
        QVERIFY(m_fixture->settle());

        QCOMPARE(sortKeys(),
                 (QList<TableModel::SortKey>{{SessId, Qt::AscendingOrder}, {Volume, Qt::DescendingOrder}}));
        QCOMPARE(
            m_fixture->window().page()->header()->sortMarks(),
            (QList<FilterHeader::SortMark>{{SessId, Qt::AscendingOrder}, {Volume, Qt::DescendingOrder}}));
        QCOMPARE(
            m_fixture->text(0, Volume).toLongLong(),
            WindowFixture::askSample(u"SELECT volume FROM quotes ORDER BY sess_id, volume DESC LIMIT 1"_s));
        m_fixture->clickTitle(Volume, Qt::ControlModifier);
        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{SessId, Qt::AscendingOrder}}));
        m_fixture->clickTitle(Close);
        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{Close, Qt::AscendingOrder}}));
    }

    void sortsAndHidesByTheMenuOfTheHeader()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        FilterHeader *header = m_fixture->window().page()->header();

        Q_EMIT header->menuRequested(Low, QPoint(300, 100));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"descending"_s));
        Q_EMIT header->menuRequested(Low, QPoint(300, 100));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"hideColumn"_s));

        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{Low, Qt::DescendingOrder}}));
        QVERIFY(header->isSectionHidden(Low));
        QMenu columns;
        m_fixture->window().page()->fillColumnsMenu(columns);
        QVERIFY(!columns.actions().at(Low)->isChecked());
        columns.actions().at(Low)->trigger();
        QVERIFY(!header->isSectionHidden(Low));
    }

    void movesColumnsByKeyboard()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        FilterHeader *header = m_fixture->window().page()->header();
        QTableView *view = m_fixture->window().page()->view();
        const auto order = [header] {
            QList<int> sections;
            for (int visual = 0; visual < header->count(); ++visual)
                sections.append(header->logicalIndex(visual));
            return sections;
        };
        const auto press = [view](Qt::Key key) {
            QTest::keyClick(view, key, Qt::ControlModifier | Qt::ShiftModifier);
        };
        m_fixture->clickCell(3, High);
        header->hideSection(Open);

        press(Qt::Key_Left); // past the hidden one
        QCOMPARE(order(), (QList<int>{StockId, High, SessId, Open, Low, Close, Change, Volume}));
        press(Qt::Key_Left);
        press(Qt::Key_Left); // nowhere to go
        QCOMPARE(order(), (QList<int>{High, StockId, SessId, Open, Low, Close, Change, Volume}));
        QCOMPARE(view->currentIndex(), view->model()->index(3, High));
        QCOMPARE(view->selectionModel()->selectedIndexes(), QModelIndexList{view->currentIndex()});
        for (int i = 0; i < 8; ++i)
            press(Qt::Key_Right);
        QCOMPARE(order(), (QList<int>{StockId, SessId, Open, Low, Close, Change, Volume, High}));
        QVERIFY(view->viewport()->rect().contains(view->visualRect(view->currentIndex())));

        m_fixture->closeWindow();
        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        QCOMPARE(m_fixture->window().page()->header()->logicalIndex(7), int(High));
    }

    void movesNoColumnWhileTextIsTyped()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(3, High);
        auto *search = m_fixture->window().findChild<QLineEdit *>(u"tableSearch"_s);
        search->setFocus();
        QTest::keyClicks(search, u"quotes"_s);

        QTest::keyClick(search, Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier);

        QCOMPARE(search->selectedText(), u"quotes"_s);
        QCOMPARE(m_fixture->window().page()->header()->visualIndex(High), int(High));
    }

    void movesColumnsByTheMenuOfTheHeader()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        FilterHeader *header = m_fixture->window().page()->header();

        Q_EMIT header->menuRequested(Low, QPoint(300, 100));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"moveRight"_s));
        QCOMPARE(header->visualIndex(Low), int(Close));
        Q_EMIT header->menuRequested(StockId, QPoint(300, 100));
        QMenu *menu = WindowFixture::openMenu();
        QVERIFY(menu);
        QVERIFY(!menu->findChild<QAction *>(u"moveLeft"_s)->isEnabled());
        QVERIFY(menu->findChild<QAction *>(u"moveRight"_s)->isEnabled());
        menu->close();

        header->setLayoutDirection(Qt::RightToLeft);
        Q_EMIT header->menuRequested(StockId, QPoint(300, 100));
        QVERIFY(WindowFixture::chooseInMenu(WindowFixture::openMenu(), u"moveLeft"_s));
        QCOMPARE(header->visualIndex(StockId), 1);
    }

    void hidesAndShowsColumnsByKeyboard()
    {
        QVERIFY(openSmall());
        FilterHeader *header = m_fixture->window().page()->header();
        auto *columns = m_fixture->window().findChild<QMenu *>(u"columnsMenu"_s);

        columns->popup(QPoint(10, 10));
        QVERIFY(WindowFixture::chooseInMenu(columns, u"b"_s));
        QVERIFY(header->isSectionHidden(1));
        columns->popup(QPoint(10, 10));
        QVERIFY(WindowFixture::chooseInMenu(columns, u"b"_s));
        QVERIFY(!header->isSectionHidden(1));
    }

    void keepsAtLeastOneColumn()
    {
        QVERIFY(openSmall());
        m_fixture->window().page()->header()->hideSection(0);

        QMenu columns;
        m_fixture->window().page()->fillColumnsMenu(columns);

        QVERIFY(columns.actions().at(0)->isEnabled());
        QVERIFY(!columns.actions().at(1)->isEnabled());
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

    void copiesTheSelectedCells()
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

    void keepsTheFiltersOfEachTable()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(0, StockId);
        m_fixture->window().page()->view()->hideSelectedValues();
        action(u"sessionFilter"_s)->trigger();
        QVERIFY(m_fixture->settle());
        const int rows = m_fixture->rows();
        QVERIFY(rows < 5086);
        m_fixture->closeWindow();

        m_fixture->makeWindow();
        m_fixture->window().openSample();
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 2);
        QCOMPARE(m_fixture->rows(), rows);
        QVERIFY(action(u"sessionFilter"_s)->isChecked());
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 240);
    }

    void keepsTheFiltersOfASourceThatIsLeft()
    {
        QVERIFY(openSmall());
        m_fixture->clickCell(0, 0);
        m_fixture->window().page()->view()->hideSelectedValues();
        m_fixture->window().page()->view()->setSorting(0, Qt::DescendingOrder, false);
        const QString other = m_fixture->makeDatabase(
            u"other.sqlite"_s, {u"CREATE TABLE t (a INTEGER, b TEXT)"_s, u"INSERT INTO t VALUES (1, 'x')"_s});
        m_fixture->window().openText(other);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 1); // the same names, yet another table
        QVERIFY(m_fixture->window().page()->filters()->filters().isEmpty());
        QCOMPARE(sortKeys(), QList<TableModel::SortKey>());

        m_fixture->window().openText(m_fixture->path(u"small.sqlite"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 4);
        QCOMPARE(m_fixture->text(0, 0), u"5"_s);
    }

    void tellsOfAStoredFilterThatNoLongerFits()
    {
        const QString file = smallDatabase();
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());
        for (int section : {0, 1}) {
            m_fixture->clickCell(0, section);
            m_fixture->window().page()->view()->hideSelectedValues();
        }
        m_fixture->closeWindow();
        QVERIFY(QFile::remove(file));
        m_fixture->makeDatabase(u"small.sqlite"_s, {u"CREATE TABLE t (a INTEGER NOT NULL, c TEXT)"_s,
                                                    u"INSERT INTO t VALUES (1, 'x'), (2, 'y')"_s});

        m_fixture->makeWindow();
        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(m_fixture->window().messageBar()->messages().first().contains(u"«b»"_s));
        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
        QCOMPARE(m_fixture->rows(), 1);
    }

    void savesAndRestoresSetsOfFilters()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(0, StockId);
        m_fixture->window().page()->view()->hideSelectedValues();
        QVERIFY(m_fixture->settle());
        const int rows = m_fixture->rows();
        QMenu *sets = m_fixture->window().panel()->setsMenu();

        for (QAction *entry : sets->actions()) {
            if (entry->objectName() == "saveSet"_L1)
                entry->trigger();
        }
        auto *dialog = m_fixture->window().findChild<QInputDialog *>(u"setNameDialog"_s);
        QVERIFY(dialog);
        dialog->setTextValue(u"Утро & день"_s);
        dialog->accept();
        QTest::mouseClick(m_fixture->window().panel()->findChild<QToolButton *>(u"clearAll"_s),
                          Qt::LeftButton);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 5086);
        m_fixture->closeWindow();
        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        QCOMPARE(m_fixture->rows(), 5086);

        sets = m_fixture->window().panel()->setsMenu();
        sets->popup(QPoint(100, 100));
        QVERIFY(WindowFixture::chooseInMenu(sets, u"Утро && день"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), rows);

        auto *deletion = sets->findChild<QMenu *>(u"deleteSet"_s);
        QVERIFY(deletion);
        deletion->actions().first()->trigger();
        for (QAction *entry : sets->actions())
            QVERIFY(entry->text() != "Утро && день"_L1);
        QCOMPARE(m_fixture->rows(), rows);
    }

    void keepsColumnsSortingAndWindow()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        FilterHeader *header = m_fixture->window().page()->header();
        header->moveSection(header->visualIndex(Close), 0);
        header->resizeSection(Close, 177);
        header->hideSection(High);
        m_fixture->window().page()->view()->setSorting(Volume, Qt::DescendingOrder, false);
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());
        m_fixture->window().resize(780, 555);
        m_fixture->closeWindow();

        MainWindow second(m_fixture->store(), m_fixture->languages());
        QCOMPARE(second.size(), QSize(780, 555));
        m_fixture->makeWindow();
        m_fixture->window().openSample();
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->window().page()->model()->columnCount(), 6); // securities, seen last
        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());

        header = m_fixture->window().page()->header();
        QCOMPARE(header->visualIndex(Close), 0);
        QCOMPARE(header->sectionSize(Close), 177);
        QVERIFY(header->isSectionHidden(High));
        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{Volume, Qt::DescendingOrder}}));
    }

    void remembersRecentSources()
    {
        QVERIFY(openSmall());
        const QString other = m_fixture->makeDatabase(u"other.sqlite"_s, {u"CREATE TABLE o (a INTEGER)"_s});
        m_fixture->window().openText(other);
        QVERIFY(m_fixture->settle());
        m_fixture->closeWindow();
        m_fixture->makeWindow();
        auto *recent = m_fixture->window().findChild<QMenu *>(u"recentMenu"_s);

        recent->popup(QPoint(10, 10));
        QVERIFY(recent->actions().size() >= 2);
        QCOMPARE(recent->actions().at(0)->text(), other);
        QVERIFY(WindowFixture::chooseInMenu(recent, m_fixture->path(u"small.sqlite"_s)));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 5);
    }

    void takesFiltersFromTheCommandLine()
    {
        ShowRequest request;
        request.keyOptions = {{false, {u"stock_id"_s}, u"1|2"_s},
                              {false, {u"stock_id"_s}, u"3"_s},
                              {true, {u"sess_id"_s}, u"1|2"_s}};
        request.sessionColumns = {u"stock_id"_s, u"sess_id"_s};
        QVERIFY(m_fixture->openSample(u"quotes"_s, request));

        QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 3);
        QCOMPARE(
            m_fixture->rows(),
            WindowFixture::askSample(
                u"SELECT count(*) FROM quotes q WHERE stock_id NOT IN (1, 2, 3) AND sess_id IN (1, 2) AND "
                "sess_id <> (SELECT max(sess_id) FROM sessions s WHERE s.stock_id = q.stock_id)"_s));
    }

    void keepsNoFiltersOfTheCommandLineUntilTheyAreChanged()
    {
        ShowRequest request;
        request.keyOptions = {{false, {u"stock_id"_s}, u"1|2"_s}};
        const auto values = [this] {
            QStringList result;
            for (const Filter *filter : m_fixture->window().page()->filters()->filters())
                result.append(filter->value());
            return result;
        };
        const auto reopen = [&](const ShowRequest &with) {
            m_fixture->closeWindow();
            m_fixture->makeWindow();
            return m_fixture->openSample(u"quotes"_s, with);
        };
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        m_fixture->clickCell(4, StockId);
        m_fixture->window().page()->view()->hideSelectedValues();
        const QStringList kept = values();
        QCOMPARE(kept, QStringList{u"5"_s});

        // In the place of what the user has changed just now.
        m_fixture->window().showTable(u"quotes"_s, request);
        QCOMPARE(values(), QStringList{u"1|2"_s});
        QVERIFY(reopen({}));
        QCOMPARE(values(), kept);

        // From the start.
        QVERIFY(reopen(request));
        QCOMPARE(values(), QStringList{u"1|2"_s});
        QVERIFY(reopen({}));
        QCOMPARE(values(), kept);

        // Changed by the user.
        QVERIFY(reopen(request));
        m_fixture->clickCell(0, StockId);
        m_fixture->window().page()->view()->hideSelectedValues();
        QVERIFY(reopen({}));
        QCOMPARE(values(), QStringList{u"1|2|3"_s});
    }

    void beginsAtTheTopWhenTheFirstRowsAreFilteredAway()
    {
        ShowRequest request;
        request.keyOptions = {{false, {u"stock_id"_s}, u"1|2|3"_s}};
        QVERIFY(m_fixture->openSample(u"quotes"_s, request));

        for (int start = 0; start < 2; ++start) {
            const QTableView *view = m_fixture->window().page()->view();
            QVERIFY(m_fixture->rows() < 5086);
            QCOMPARE(view->verticalScrollBar()->value(), 0);
            QCOMPARE(view->rowAt(0), 0);
            QCOMPARE(view->currentIndex(), view->model()->index(0, 0));
            QCOMPARE(m_fixture->text(0, StockId), u"4"_s);

            // Kept, and restored.
            Filter *filter = m_fixture->window().page()->filters()->filters().constFirst();
            m_fixture->window().page()->filters()->notifyChanged(filter);
            m_fixture->closeWindow();
            m_fixture->makeWindow();
            QVERIFY(m_fixture->openSample(u"quotes"_s));
        }
    }

    void tellsOfWrongFiltersOfTheCommandLine()
    {
        ShowRequest request;
        request.keyOptions = {{false, {u"stock_id"_s}, u"1"_s}, {false, {u"nothing"_s}, u"1"_s}};

        QVERIFY(m_fixture->openSample(u"quotes"_s, request));

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(m_fixture->window().messageBar()->messages().first().contains(u"nothing"_s));
        QCOMPARE(m_fixture->rows(), 5086);
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

    void leavesHiddenColumnsOutOfTheKey()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        TablePage *page = m_fixture->window().page();
        for (int section = 0; section < page->header()->count(); ++section)
            page->header()->setSectionHidden(section, section != StockId);

        page->view()->selectRow(0);
        page->view()->showOnlySelectedValues();
        QVERIFY(m_fixture->settle());

        const auto *filter = qobject_cast<ValueFilter *>(page->filters()->filters().constFirst());
        QVERIFY(filter);
        QCOMPARE(filter->columns(), QList<int>{StockId});
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

    void savesTheSetOfTheTableThatTheQuestionWasAbout()
    {
        QVERIFY(m_fixture->openSample(u"securities"_s));
        m_fixture->clickCell(0, 1);
        action(u"hideSelected"_s)->trigger();
        QVERIFY(m_fixture->settle());
        Q_EMIT m_fixture->window().panel()->saveRequested();
        auto *dialog = m_fixture->window().findChild<QInputDialog *>(u"setNameDialog"_s);
        QVERIFY(dialog);

        m_fixture->window().showTable(u"quotes"_s);
        QVERIFY(m_fixture->settle());
        dialog->setTextValue(u"mine"_s);
        dialog->accept();

        const auto hasSet = [this] {
            const QList<QAction *> actions = m_fixture->window().panel()->setsMenu()->actions();
            return std::any_of(actions.begin(), actions.end(),
                               [](const QAction *one) { return one->text() == u"mine"_s; });
        };
        QVERIFY(!hasSet());
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(hasSet());
    }

    void leavesNoOldTextInTheMiddle()
    {
        auto *text = m_fixture->window().findChild<QWidget *>(u"emptyPage"_s)->findChild<QLabel *>();
        const QString file = m_fixture->makeDatabase(
            u"bad.sqlite"_s, {u"CREATE TABLE t (a INTEGER)"_s, u"INSERT INTO t VALUES ('x')"_s});
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

        QCOMPARE(listedTables(), QStringList{u"t 5"_s});
    }

    void keepsTheFiltersOfTwoTablesChangedAtOnce()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        TablePage *quotes = m_fixture->window().page();
        m_fixture->window().showTable(u"securities"_s);
        QVERIFY(m_fixture->settle());

        for (TablePage *page : {quotes, m_fixture->window().page()}) {
            page->view()->selectionModel()->select(page->model()->index(0, 0), QItemSelectionModel::Select);
            page->view()->hideSelectedValues();
        }
        m_fixture->closeWindow();
        m_fixture->makeWindow();

        for (const QString &table : {u"quotes"_s, u"securities"_s}) {
            QVERIFY(m_fixture->openSample(table));
            QCOMPARE(m_fixture->window().page()->filters()->filters().size(), 1);
        }
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

    void forgetsRecentFilesThatAreGone()
    {
        QVERIFY(openSmall());
        auto *menu = m_fixture->window().findChild<QMenu *>(u"recentMenu"_s);
        Q_EMIT menu->aboutToShow();
        const qsizetype before = menu->actions().size();

        QVERIFY(QFile::rename(m_fixture->path(u"small.sqlite"_s), m_fixture->path(u"moved.sqlite"_s)));
        Q_EMIT menu->aboutToShow();

        QVERIFY(menu->actions().size() < before);
        QVERIFY(!menu->actions().constFirst()->isEnabled());
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
        m_fixture->window().openText(
            m_fixture->makeDatabase(u"sessions.sqlite"_s, {u"UPDATE quotes SET stock_id = 'bad'"_s}));
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

    void keepsTheFiltersWhenThoseOfTheCommandLineAreWrong()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1|2"_s}}, {}}));
        m_fixture->clickCell(0, StockId);
        action(u"hideSelected"_s)->trigger();
        m_fixture->closeWindow();
        const auto texts = [this] {
            QStringList result;
            for (const Filter *filter : m_fixture->window().page()->filters()->filters())
                result.append(static_cast<const ValueFilter *>(filter)->value());
            return result;
        };

        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s, {{}, {{false, {u"nothing"_s}, u"1"_s}}, {}}));
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QCOMPARE(texts(), QStringList{u"1|2|3"_s});
        QVERIFY(m_fixture->rows() < 5086);
        m_fixture->clickCell(0, StockId);
        action(u"hideSelected"_s)->trigger();
        m_fixture->closeWindow();

        m_fixture->makeWindow();
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        QCOMPARE(texts(), QStringList{u"1|2|3|4"_s});
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
        QCOMPARE(listedTables(), QStringList{u"t 5"_s});
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
