// SPDX-License-Identifier: MIT
#include <support/windowtest.h>

#include <filters/valuefilter.h>

#include <QLineEdit>
#include <QPointer>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// The columns of "quotes" in the sample.
enum Quotes { StockId, SessId, Open, High, Low, Close, Change, Volume };

} // namespace

/// Sorting, moving and hiding columns in the window.
class tst_Columns : public WindowTest
{
    Q_OBJECT
private:
    QMenu *openHeaderMenu(int section)
    {
        Q_EMIT m_fixture->window().page()->header()->menuRequested(section, QPoint(300, 100));
        return WindowFixture::openMenu();
    }
    bool chooseInHeader(int section, const QString &name)
    {
        return WindowFixture::chooseInMenu(openHeaderMenu(section), name);
    }
    QMenu *columnsMenu() { return m_fixture->window().findChild<QMenu *>(u"columnsMenu"_s); }
    QList<TableModel::SortKey> sortKeys() { return m_fixture->window().page()->model()->sortKeys(); }

private Q_SLOTS:
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

        QVERIFY(chooseInHeader(Low, u"sortDescending"_s));
        QVERIFY(chooseInHeader(Volume, u"thenAscending"_s));
        QVERIFY(chooseInHeader(Low, u"hideColumn"_s));

        QCOMPARE(sortKeys(),
                 (QList<TableModel::SortKey>{{Low, Qt::DescendingOrder}, {Volume, Qt::AscendingOrder}}));
        QVERIFY(header->isSectionHidden(Low));
        QMenu *columns = columnsMenu();
        columns->popup(QPoint(10, 10));
        QVERIFY(!columns->actions().at(Low)->isChecked());
        columns->actions().at(Low)->trigger();
        QVERIFY(!header->isSectionHidden(Low));
        columns->close();
        QVERIFY(chooseInHeader(-1, u"unsort"_s));
        QCOMPARE(sortKeys(), QList<TableModel::SortKey>());
    }

    void showsTheSameActionsInAllMenus()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        const QList<QAction *> windows = m_fixture->window().actions();

        QMenu *header = openHeaderMenu(Low);
        QVERIFY(header);
        QVERIFY(header->actions().size() > 10);
        for (QAction *action : header->actions())
            QVERIFY2(action->isSeparator() || action->menu() == columnsMenu() || windows.contains(action),
                     qPrintable(action->text()));
        header->close();
    }

    void takesTheColumnOfTheMenuOnlyWhileThatIsThere()
    {
        QVERIFY(m_fixture->openSample(u"quotes"_s));
        auto *sort = m_fixture->window().findChild<QAction *>(u"sortAscending"_s);
        auto *left = m_fixture->window().findChild<QAction *>(u"moveColumnLeft"_s);
        m_fixture->clickCell(0, High);

        QPointer<QMenu> menu = openHeaderMenu(StockId);
        QVERIFY(menu);
        QVERIFY(!left->isEnabled());
        menu->close();
        QTRY_VERIFY(!menu);
        QVERIFY(left->isEnabled());
        sort->trigger();

        QCOMPARE(sortKeys(), (QList<TableModel::SortKey>{{High, Qt::AscendingOrder}}));
    }

    void clearsTheFiltersOfOneColumn()
    {
        QVERIFY(m_fixture->openSample(
            u"quotes"_s, {{}, {{false, {u"stock_id"_s}, u"1"_s}, {false, {u"sess_id"_s}, u"1"_s}}, {}}));
        FilterList *filters = m_fixture->window().page()->filters();
        QCOMPARE(filters->filters().size(), 2);

        QMenu *menu = openHeaderMenu(Low);
        QVERIFY(menu);
        QVERIFY(!m_fixture->window().findChild<QAction *>(u"clearColumnFilters"_s)->isEnabled());
        menu->close();
        QVERIFY(chooseInHeader(StockId, u"clearColumnFilters"_s));

        QCOMPARE(filters->filters().size(), 1);
        QCOMPARE(qobject_cast<ValueFilter *>(filters->filters().constFirst())->columns(), QList<int>{SessId});
    }

    void hidesNotTheLastColumnByTheKeyboard()
    {
        QVERIFY(openSmall());
        auto *hide = m_fixture->window().findChild<QAction *>(u"hideColumn"_s);
        m_fixture->clickCell(0, 0);
        m_fixture->window().page()->header()->hideSection(1);

        hide->trigger();

        QVERIFY(!m_fixture->window().page()->header()->isSectionHidden(0));
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

        QVERIFY(chooseInHeader(Low, u"moveColumnRight"_s));
        QCOMPARE(header->visualIndex(Low), int(Close));
        QMenu *menu = openHeaderMenu(StockId);
        QVERIFY(menu);
        QVERIFY(!m_fixture->window().findChild<QAction *>(u"moveColumnLeft"_s)->isEnabled());
        QVERIFY(m_fixture->window().findChild<QAction *>(u"moveColumnRight"_s)->isEnabled());
        menu->close();

        header->setLayoutDirection(Qt::RightToLeft);
        QVERIFY(chooseInHeader(StockId, u"moveColumnLeft"_s));
        QCOMPARE(header->visualIndex(StockId), 1);
    }

    void hidesAndShowsColumnsByKeyboard()
    {
        QVERIFY(openSmall());
        FilterHeader *header = m_fixture->window().page()->header();
        QMenu *columns = columnsMenu();

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
        m_fixture->window().page()->addColumns(columns);

        QVERIFY(columns.actions().at(0)->isEnabled());
        QVERIFY(!columns.actions().at(1)->isEnabled());
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
};

QTEST_MAIN(tst_Columns)
#include "tst_columns.moc"
