// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterpanel.h>
#include <support/panelitems.h>

#include <QFile>
#include <QInputDialog>
#include <QPointer>
#include <QScopeGuard>
#include <QScrollBar>
#include <QToolButton>

#include <algorithm>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The columns of "quotes" in the sample.
enum Quotes { StockId, SessId, Open, High, Low, Close, Change, Volume };

} // namespace

/// What the window keeps of tables, filters and sources, and what it takes from the command line.
class tst_Keeping : public WindowTest
{
    Q_OBJECT
private:
    QList<TableModel::SortKey> sortKeys() { return m_fixture->window().page()->model()->sortKeys(); }

private Q_SLOTS:
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
};

QTEST_MAIN(tst_Keeping)
#include "tst_keeping.moc"
