// SPDX-License-Identifier: MIT
#include <support/panelitems.h>
#include <support/spoiltfile.h>
#include <support/windowtest.h>

#include <browser/parts/noticebar.h>
#include <browser/window/tablepages.h>

#include <hostkit/views/filterpanel.h>

#include <database/memorytable.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QStatusBar>
#include <QTime>
#include <QUrl>

using namespace sito;
using namespace Qt::StringLiterals;

/// What stays and what goes in the main window when a source is opened or read again, and what it takes for
/// one.
class tst_Opening : public WindowTest
{
    Q_OBJECT
private:
    QString makeTable(const QString &file)
    {
        return m_fixture->makeDatabase(file, {u"CREATE TABLE t (a INTEGER NOT NULL, b TEXT)"_s,
                                              u"INSERT INTO t VALUES (1, 'x'), (2, 'y'), (3, 'z')"_s});
    }
    /// Opens a table t with the numbers 0 to 499 and names of them.
    bool openNumbers()
    {
        m_fixture->window().openText(makeNumbers());
        return m_fixture->settle() && m_fixture->rows() == 500;
    }
    QString makeNumbers()
    {
        return m_fixture->makeDatabase(
            u"n.sqlite"_s, {u"CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT NOT NULL)"_s,
                            u"CREATE TABLE u (id INTEGER)"_s,
                            u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n "
                            "WHERE i < 499) SELECT i, 'n' || i FROM n"_s});
    }
    /// Carries out \a statements in that source, over another connection.
    void change(const QStringList &statements) { m_fixture->makeDatabase(u"n.sqlite"_s, statements); }
    /// Makes a table t of 100,000 rows: id from 1, and \a value, which may use the number i, in the column n.
    bool makeLarge(const QString &value)
    {
        return !m_fixture
                    ->makeDatabase(u"large.sqlite"_s,
                                   {u"CREATE TABLE t (id INTEGER PRIMARY KEY, n INTEGER)"_s,
                                    u"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                                    "FROM n WHERE i < 100000) SELECT i, %1 FROM n"_s.arg(value)})
                    .isEmpty();
    }
    NoticeBar *restNotice() { return m_fixture->window().page()->findChild<NoticeBar *>(u"restNotice"_s); }
    void pressRefresh() { QTest::keyClick(&m_fixture->window(), Qt::Key_F5); }
    QString message() { return m_fixture->window().statusBar()->currentMessage(); }
    /// What the panel shows of the filters.
    QStringList panelNames()
    {
        QStringList result;
        for (const QFrame *item : panelItems(*m_fixture->window().panel())) {
            if (item->isVisible())
                result.append(panelSwitch(item)->accessibleName());
        }
        return result;
    }

private Q_SLOTS:
    void keepsTheFiltersInThePanelWhenASourceFails()
    {
        m_fixture->window().openText(makeTable(u"t.sqlite"_s));
        QVERIFY(m_fixture->settle());
        m_fixture->clickCell(0, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 2);
        QCOMPARE(panelNames(), QStringList{u"b"_s});

        m_fixture->window().openText(m_fixture->path(u"none.sqlite"_s));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QCOMPARE(panelNames(), QStringList{u"b"_s});
        // Its switch still works on the rows.
        QTest::keyClick(panelSwitch(panelItem(*m_fixture->window().panel())), Qt::Key_Space);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 3);
    }

    void forgetsOldMessagesWhenASourceOpens()
    {
        const QString file = makeTable(u"t.sqlite"_s);
        m_fixture->window().openText(m_fixture->path(u"none.sqlite"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(m_fixture->window().messageBar()->isVisible());

        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 3);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
        QVERIFY(m_fixture->window().messageBar()->isHidden());
    }

    void takesOnlyLocalFiles_data()
    {
        QTest::addColumn<QList<QUrl>>("addresses");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("local file") << QList<QUrl>{QUrl(u"file:%1"_s)} << true;
        QTest::newRow("local CSV file") << QList<QUrl>{QUrl(u"file:csv"_s)} << true;
        QTest::newRow("address in the web") << QList<QUrl>{QUrl(u"http://example.org/t.sqlite"_s)} << false;
        QTest::newRow("address of a server")
            << QList<QUrl>{QUrl(u"postgresql://127.0.0.1:1/base"_s)} << false;
        QTest::newRow("no address") << QList<QUrl>() << false;
    }
    void takesOnlyLocalFiles()
    {
        QFETCH(QList<QUrl>, addresses);
        QFETCH(const bool, isTaken);
        const QString file = makeTable(u"t.sqlite"_s);
        QFile csv(QFileInfo(file).absoluteDir().filePath(u"t.csv"_s));
        QVERIFY(csv.open(QIODevice::WriteOnly) && csv.write("a;b\n1;x\n2;y\n3;z\n") > 0);
        csv.close();
        for (QUrl &address : addresses) {
            if (address.scheme() == "file"_L1)
                address = QUrl::fromLocalFile(address.path() == "csv"_L1 ? csv.fileName() : file);
        }
        QMimeData data;
        data.setUrls(addresses);

        QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();
        QCoreApplication::sendEvent(&m_fixture->window(), &enter);
        QDropEvent drop(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        drop.ignore();
        QCoreApplication::sendEvent(&m_fixture->window(), &drop);
        QCOMPARE(m_fixture->window().isSettled(), !isTaken);
        QVERIFY(m_fixture->settle());

        QCOMPARE(enter.isAccepted(), isTaken);
        QCOMPARE(drop.isAccepted(), isTaken);
        QCOMPARE(m_fixture->rows(), isTaken ? 3 : -1);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }

    void keepsSelectionAndPlaceWhenATableIsRefreshed()
    {
        QVERIFY(openNumbers());
        TablePage *page = m_fixture->window().page();
        QTableView *view = page->view();
        m_fixture->clickTitle(0); // ascending
        m_fixture->clickTitle(0); // descending
        QVERIFY(m_fixture->settle());
        view->scrollTo(view->model()->index(300, 0), QAbstractItemView::PositionAtTop);
        m_fixture->clickCell(305, 1);
        const auto name = [view](int row) { return view->model()->index(row, 1).data().toString(); };
        const auto top = [view, name] { return name(view->rowAt(1)); };
        QCOMPARE(name(305), u"n194"_s);
        QCOMPARE(top(), u"n199"_s);
        const QString asOf = label(u"asOf"_s)->text();
        QVERIFY(asOf.startsWith(u"По состоянию на "_s));
        QTRY_VERIFY(QTime::currentTime().second() % 10 != asOf.back().digitValue());

        change({u"DELETE FROM t WHERE id >= 400"_s, u"UPDATE t SET name = 'changed' WHERE id = 194"_s,
                u"INSERT INTO t VALUES (1000, 'new'), (1001, 'new')"_s});
        pressRefresh();
        QVERIFY(m_fixture->settle());

        QTRY_COMPARE(m_fixture->rows(), 402);
        QCOMPARE(m_fixture->window().page(), page);
        QCOMPARE(name(view->currentIndex().row()), u"changed"_s);
        QCOMPARE(view->selectionModel()->selectedIndexes(), QModelIndexList{view->currentIndex()});
        QCOMPARE(top(), u"n199"_s);
        QCOMPARE(label(u"rows"_s)->text(), u"Показано строк: 402 из 402"_s);
        QTRY_COMPARE(tree()->topLevelItem(0)->text(1), u"402"_s);
        QCOMPARE(message(), u"Строк добавлено: 2, удалено: 100, изменено: 1"_s);
        QVERIFY(label(u"asOf"_s)->text() != asOf);
        QVERIFY(label(u"activity"_s)->isHidden());

        pressRefresh();
        QVERIFY(m_fixture->settle());
        QCOMPARE(message(), u"Изменений нет"_s);
    }

    void marksForAMomentWhatHasChanged()
    {
        Look::apply(Look::Scheme::Dark);
        QVERIFY(openNumbers());
        const TablePage *page = m_fixture->window().page();
        QTableView *view = page->view();
        const auto color = [view](int row, int section) {
            const QRect cell = view->visualRect(view->model()->index(row, section));
            return view->viewport()->grab(cell).toImage().pixelColor(2, 2);
        };
        const QList<QColor> before{color(3, 0), color(3, 1), color(5, 1)};
        QList<QColor> marked;
        QObject::connect(page->model(), &TableModel::changesShown, view, [&marked, color] {
            marked = {color(3, 0), color(3, 1), color(5, 1)};
        });

        change({u"UPDATE t SET name = 'changed' WHERE id = 3"_s});
        pressRefresh();

        QTRY_COMPARE(marked.size(), 3);
        QCOMPARE(marked.at(0), before.at(0));
        QVERIFY(marked.at(1) != before.at(1));
        QCOMPARE(marked.at(2), before.at(2));
        QTRY_COMPARE(color(3, 1), before.at(1));
    }

    void loadsATableAgainThatHasOtherColumns()
    {
        QVERIFY(openNumbers());
        m_fixture->clickCell(3, 1);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());

        change({u"ALTER TABLE t ADD COLUMN more TEXT DEFAULT 'x'"_s});
        pressRefresh();
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->window().page()->model()->columnCount(), 3);
        QCOMPARE(m_fixture->rows(), 499); // the filter is kept
        QCOMPARE(message(), u"Столбцы таблицы t изменились, она загружена заново"_s);
        QVERIFY(m_fixture->window().page()->view()->hasFocus());
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }

    void showsTheBeginningOfALargeTableAtOnce()
    {
        QVERIFY(makeLarge(u"i"_s));
        int rowsAtFirst = 0;
        bool mayExport = true;
        const auto *pages = m_fixture->window().findChild<TablePages *>();
        connect(pages, &TablePages::shown, this, [&](const TablePage *page) {
            if (!page)
                return;
            rowsAtFirst = int(page->table()->rowCount());
            m_fixture->window().exportTo(m_fixture->path(u"refused.csv"_s), true);
            mayExport = action(u"exportCsv"_s)->isEnabled();
        });

        m_fixture->window().openText(m_fixture->path(u"large.sqlite"_s));
        QTRY_VERIFY(rowsAtFirst > 0);
        // The last rows first, where the rest comes in.
        QTableView *view = m_fixture->window().page()->view();
        m_fixture->window().page()->model()->setSortKeys({{0, Qt::DescendingOrder}});
        m_fixture->window().page()->model()->waitForPass();
        m_fixture->clickCell(7, 1);
        const QString selected = m_fixture->text(7, 0);
        const QColor background = view->viewport()->grab().toImage().pixelColor(2, 2);
        QVERIFY(m_fixture->settle());

        QCOMPARE(rowsAtFirst, 10'000);
        QVERIFY(!mayExport && !QFile::exists(m_fixture->path(u"refused.csv"_s)));
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
        QCOMPARE(m_fixture->rows(), 100'000);
        QCOMPARE(m_fixture->text(0, 0), u"100000"_s);
        QCOMPARE(m_fixture->text(view->currentIndex().row(), 0), selected);
        view->scrollToTop();
        QTRY_COMPARE(tree()->topLevelItem(0)->text(1), QLocale().toString(100'000));
        QCOMPARE(view->viewport()->grab().toImage().pixelColor(2, 2), background);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
        QVERIFY(restNotice()->isHidden());
    }

    void readsTheRestWhenTheUserWantsIt_data()
    {
        QTest::addColumn<bool>("byTable");
        QTest::newRow("by the button") << false;
        QTest::newRow("by the list of the tables") << true;
    }
    void readsTheRestWhenTheUserWantsIt()
    {
        QFETCH(const bool, byTable);
        QVERIFY(makeLarge(u"i"_s));
        const auto *pages = m_fixture->window().findChild<TablePages *>();
        const auto interrupt = [this] { QTest::mouseClick(cancelButton(), Qt::LeftButton); };
        connect(pages, &TablePages::shown, this, [&](const TablePage *page) {
            if (page)
                QTimer::singleShot(0, this, interrupt);
        });

        m_fixture->window().openText(m_fixture->path(u"large.sqlite"_s));
        QTRY_VERIFY(m_fixture->window().page());
        QVERIFY(m_fixture->settle());

        QVERIFY(m_fixture->rows() < 100'000);
        QVERIFY(!action(u"exportCsv"_s)->isEnabled());
        QVERIFY(restNotice()->isVisible());
        QCOMPARE(restNotice()->text(), u"Загружены только первые строки таблицы"_s);
        disconnect(pages, nullptr, this, nullptr);
        if (byTable) {
            m_fixture->window().showTable(u"t"_s);
        } else {
            auto *button = restNotice()->findChild<QPushButton *>();
            QCOMPARE(button->text(), u"Загрузить остальные"_s);
            QTest::mouseClick(button, Qt::LeftButton);
            QVERIFY(m_fixture->window().page()->view()->hasFocus());
        }
        QVERIFY(restNotice()->isHidden());
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 100'000);
        QVERIFY(restNotice()->isHidden());
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
    }

    void keepsTheRowsThatWereReadWhenTheRestFails()
    {
        QVERIFY(makeLarge(u"i"_s));
        SpoiltFile file(m_fixture->path(u"large.sqlite"_s));
        const auto *pages = m_fixture->window().findChild<TablePages *>();
        connect(pages, &TablePages::shown, this, [&file](const TablePage *page) {
            if (page)
                QVERIFY(file.spoil(SpoiltFile::Zeros));
        });

        m_fixture->window().openText(m_fixture->path(u"large.sqlite"_s));
        QTRY_VERIFY(m_fixture->window().page());
        QVERIFY(m_fixture->settle());

        QVERIFY(m_fixture->rows() > 10'000);
        QVERIFY(m_fixture->rows() < 100'000);
        QCOMPARE(m_fixture->text(10'000, 0), u"10001"_s);
        QCOMPARE(m_fixture->window().messageBar()->messages().size(), 1);
        QVERIFY(!action(u"exportCsv"_s)->isEnabled());
        QVERIFY(restNotice()->isVisible());
        disconnect(pages, nullptr, this, nullptr);
        QVERIFY(file.restore());
        QTest::mouseClick(restNotice()->findChild<QPushButton *>(), Qt::LeftButton);
        QVERIFY(restNotice()->isHidden());
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 100'000);
        QVERIFY(restNotice()->isHidden());
        QVERIFY(action(u"exportCsv"_s)->isEnabled());
    }

    void loadsTheWholeTableWhenTheRestDoesNotFit()
    {
        QVERIFY(makeLarge(u"CASE i WHEN 99999 THEN 'last' ELSE i END"_s));

        m_fixture->window().openText(m_fixture->path(u"large.sqlite"_s));
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 100'000);
        QCOMPARE(m_fixture->text(99'998, 1), u"last"_s);
        QVERIFY2(message().contains(u"«n»"_s), qPrintable(message()));
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
        // To be read at any time.
        const QString note = message();
        action(u"notes"_s)->trigger();
        auto *dialog = m_fixture->window().findChild<QDialog *>(u"notesDialog"_s);
        QVERIFY(dialog && dialog->isVisible());
        QCOMPARE(dialog->windowTitle(), u"Замечания о таблице t"_s);
        QCOMPARE(dialog->findChild<QPlainTextEdit *>()->toPlainText(), note);
        dialog->close();
        QVERIFY(openNumbers());
        QVERIFY(!action(u"notes"_s)->isEnabled());
    }

    void keepsFiltersThatFitOnlyTheWholeTable()
    {
        QVERIFY(makeLarge(u"CASE i WHEN 99999 THEN 'last' ELSE i END"_s));
        const QString file = m_fixture->path(u"large.sqlite"_s);
        m_fixture->window().openText(file, {.keyOptions = {{true, {u"n"_s}, u"last"_s}}});
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 1);
        m_fixture->clickCell(0, 0);
        QTest::keyClick(m_fixture->window().page()->view(), Qt::Key_H, Qt::ControlModifier);
        QVERIFY(m_fixture->settle());
        QCOMPARE(m_fixture->rows(), 0);

        m_fixture->window().openText(file);
        QVERIFY(m_fixture->settle());

        QCOMPARE(m_fixture->rows(), 0);
        QCOMPARE(panelNames().size(), 2);
        QVERIFY(panelNames().contains(u"id"_s));
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }

    void refreshesByItselfAndSaysOnceThatTheSourceIsAway()
    {
        m_fixture->store().setValue(u"window/refresh"_s, 1);
        m_fixture->makeWindow();
        QVERIFY(openNumbers());
        MessageBar *bar = m_fixture->window().messageBar();
        const QString file = m_fixture->path(u"n.sqlite"_s);

        tree()->setCurrentItem(tree()->topLevelItem(1));
        change({u"DELETE FROM t WHERE id > 5"_s});
        QTRY_COMPARE(m_fixture->rows(), 6);
        QCOMPARE(message(), QString());
        QTRY_COMPARE(tree()->topLevelItem(0)->text(1), u"6"_s);
        QCOMPARE(tree()->currentItem()->text(0), u"u"_s);

        // Not while the user is in a menu.
        QMenu *menu = m_fixture->openCellMenu(0, 0);
        QVERIFY(menu);
        change({u"DELETE FROM t WHERE id = 5"_s});
        QTest::qWait(1500);
        QCOMPARE(m_fixture->rows(), 6);
        menu->close();
        QTRY_COMPARE(m_fixture->rows(), 5);

        QVERIFY(QFile::rename(file, file + u".away"_s));
        const QStringList away{u"Не удалось обновить: Файла «%1» нет"_s.arg(file)};
        QTRY_COMPARE(bar->messages(), away);
        bar->showMessages({});
        const QString asOf = label(u"asOf"_s)->text();
        pressRefresh();
        QVERIFY(m_fixture->settle());
        QCOMPARE(bar->messages(), away);
        QCOMPARE(m_fixture->rows(), 5);
        QCOMPARE(label(u"asOf"_s)->text(), asOf);

        QVERIFY(QFile::rename(file + u".away"_s, file));
        QTRY_COMPARE(bar->messages(), QStringList());
        QCOMPARE(message(), u"Источник снова доступен"_s);
    }

    void keepsTheIntervalOfRefreshing()
    {
        QCOMPARE(m_fixture->store().value(u"window/refresh"_s), QVariant());
        for (const QString &name : {u"5"_s, u"300"_s, u"off"_s}) {
            action(u"interval-"_s + name)->trigger();
            QCOMPARE(m_fixture->store().value(u"window/refresh"_s).toString(), name);
            auto *menu = qobject_cast<QMenu *>(action(u"interval-"_s + name)->parent());
            QVERIFY(menu);
            menu->popup(QPoint());
            QVERIFY(action(u"interval-"_s + name)->isChecked());
            menu->close();
        }
        QVERIFY(!action(u"refresh"_s)->isEnabled());
    }

    void readsOnlyNewRowsByAColumnThatTheUserChooses()
    {
        QVERIFY(openNumbers());
        const auto entries = [this] {
            auto *menu = m_fixture->window().findChild<QMenu *>(u"growthMenu"_s);
            menu->popup(QPoint());
            menu->close();
            QStringList texts;
            for (const QAction *entry : menu->actions()) {
                if (!entry->isSeparator())
                    texts.append((entry->isChecked() ? u"*"_s : QString()) + entry->text());
            }
            return texts;
        };
        const auto refresh = [this] {
            action(u"refresh"_s)->trigger();
            return m_fixture->settle();
        };
        QCOMPARE(entries(), (QStringList{u"*&Нет, читать все"_s, u"id"_s}));
        action(u"growth-id"_s)->trigger();
        QCOMPARE(entries(), (QStringList{u"&Нет, читать все"_s, u"*id"_s}));
        QVERIFY(refresh());

        change({u"INSERT INTO t VALUES (1000, 'new')"_s, u"UPDATE t SET name = 'changed' WHERE id = 0"_s});
        QVERIFY(refresh());

        QTRY_COMPARE(m_fixture->rows(), 501);
        QCOMPARE(m_fixture->text(0, 1), u"n0"_s);
        // It is kept, and F5 reads all rows without it.
        m_fixture->window().openText(m_fixture->path(u"n.sqlite"_s));
        QVERIFY(m_fixture->settle());
        QCOMPARE(entries(), (QStringList{u"&Нет, читать все"_s, u"*id"_s}));
        change({u"UPDATE t SET name = 'again' WHERE id = 0"_s});
        action(u"growth-"_s)->trigger();
        QVERIFY(refresh());
        QTRY_COMPARE(m_fixture->text(0, 1), u"again"_s);
        QCOMPARE(entries(), (QStringList{u"*&Нет, читать все"_s, u"id"_s}));
    }

    void opensAnotherWindowOfTheSameTable()
    {
        const QString told = m_fixture->path(u"told"_s);
        const auto arguments = [&] {
            action(u"newWindow"_s)->trigger();
            const bool isTold = QTest::qWaitFor([&] { return QFile::exists(told + u".done"_s); }, 30'000);
            const QString text = QString::fromUtf8(contentOf(told + u".done"_s));
            QFile::remove(told + u".done"_s);
            return isTold ? text : u"nothing was started"_s;
        };
        qputenv("SITO_TEST_TOLD", told.toUtf8());
        const auto end = qScopeGuard([] { qunsetenv("SITO_TEST_TOLD"); });

        QCOMPARE(arguments(), QString());
        QVERIFY(openSmall());
        QCOMPARE(arguments(), u"sqlite:"_s + m_fixture->path(u"small.sqlite"_s) + u"\n--table\nt"_s);
        m_fixture->window().openSample({.table = u"sessions"_s});
        QVERIFY(m_fixture->settle());
        QCOMPARE(arguments(), u"--table\nsessions"_s);
        QCOMPARE(m_fixture->window().messageBar()->messages(), QStringList());
    }

    void refusesToRefreshWhileATableIsLoaded()
    {
        QVERIFY(openNumbers());
        m_fixture->window().openSample();
        pressRefresh();
        QCOMPARE(message(), u"Обновить можно, когда закончится то, что начато"_s);
        QVERIFY(m_fixture->settle());
    }
};

/// In a test the program that is started for another window is this one: it writes what it was told.
int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QFile told(qEnvironmentVariable("SITO_TEST_TOLD"));
    if (!told.fileName().isEmpty() && told.open(QIODevice::WriteOnly)) {
        told.write(QCoreApplication::arguments().sliced(1).join(u'\n').toUtf8());
        told.close();
        return told.rename(told.fileName() + u".done"_s) ? 0 : 1;
    }
    tst_Opening test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_opening.moc"
