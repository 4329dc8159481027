// SPDX-License-Identifier: MIT
#include <hostkit/views/filteredtableview.h>

#include <data/tablechanges.h>
#include <database/memorytable.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/headerlayout.h>

#include <support/exceptions.h>
#include <support/otherlocker.h>
#include <support/typenames.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTest>

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>

using namespace sito;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// What a host gets without a line of its own; the browser's tests drive the same view in its window.
class tst_FilteredTableView : public QObject
{
    Q_OBJECT
    std::unique_ptr<MemoryTable> m_table;
    std::unique_ptr<FilteredTableView> m_view;

    void makeView(const QList<int> &columns)
    {
        m_view = std::make_unique<FilteredTableView>(*m_table, columns);
        m_view->resize(500, 300);
        m_view->show();
        m_view->tableModel()->waitForPass();
    }
    QStringList rows() const
    {
        m_view->tableModel()->waitForPass();
        QStringList result;
        for (int row = 0; row < m_view->tableModel()->rowCount(); ++row) {
            QStringList cells;
            for (int section = 0; section < m_view->tableModel()->columnCount(); ++section)
                cells.append(m_view->tableModel()->index(row, section).data().toString());
            result.append(cells.join(u' '));
        }
        return result;
    }
    void exclude(int column, const QString &keys)
    {
        auto *filter = m_view->valueFilter({column});
        filter->setValue(keys);
        filter->setEnabled(true);
        Q_EMIT filter->asincChanged();
    }
    /// The names of the shown columns from the left.
    QString shownColumns() const
    {
        QStringList names;
        for (int visual = 0; visual < m_view->filterHeader()->count(); ++visual) {
            const int section = m_view->filterHeader()->logicalIndex(visual);
            if (!m_view->filterHeader()->isSectionHidden(section))
                names.append(m_view->tableModel()->headerData(section, Qt::Horizontal).toString());
        }
        return names.join(u' ');
    }
    QString sorting() const
    {
        QStringList marks;
        for (const FilterHeader::SortMark &mark : m_view->filterHeader()->sortMarks())
            marks.append((mark.order == Qt::AscendingOrder ? u"+"_s : u"-"_s) +
                         QString::number(mark.section));
        return marks.join(u' ');
    }
    void askForMenu(QContextMenuEvent::Reason reason, const QPoint &position)
    {
        QContextMenuEvent event(reason, position, m_view->viewport()->mapToGlobal(position));
        if (reason == QContextMenuEvent::Keyboard)
            QApplication::sendEvent(m_view.get(), &event);
        else
            QApplication::sendEvent(m_view->viewport(), &event);
    }

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table =
            std::make_unique<MemoryTable>(u"t"_s, QList<ColumnSpec>{{u"a"_s, FieldType::Int},
                                                                    {u"b"_s, FieldType::String},
                                                                    {u"c"_s, FieldType::Raw, false, 4}});
        int number = 0;
        for (const QString &text : {u"y"_s, u"x"_s, u"y"_s})
            m_table->append({++number, text, QByteArray("rawb")});
        makeView({0, 1});
    }
    void cleanup() { m_view.reset(); }

    void showsTheColumnsInTheOrderGiven()
    {
        QCOMPARE(rows(), QStringList({u"1 y"_s, u"2 x"_s, u"3 y"_s}));

        makeView({1, 0});

        QCOMPARE(rows(), QStringList({u"y 1"_s, u"x 2"_s, u"y 3"_s}));
    }

    void addsAFilterOnceItHasAValue()
    {
        ValueListFilter *filter = m_view->valueFilter({1});
        QVERIFY(m_view->filters()->filters().isEmpty());
        QCOMPARE(m_view->valueFilter({1}), filter);

        exclude(1, u"y"_s);

        QCOMPARE(m_view->filters()->filters(), QList<Filter *>{filter});
        QCOMPARE(m_view->valueFilter({1}), filter);
        QCOMPARE(rows(), QStringList{u"2 x"_s});
        QVERIFY(m_view->filterHeader()->isFiltered(1));
        QVERIFY(!m_view->filterHeader()->isFiltered(0));
    }

    void dropsAFilterOfWhichEverythingIsShown()
    {
        exclude(1, u"y"_s);

        exclude(1, QString());
        m_view->filters()->notifyChanged(m_view->filters()->filters().constFirst());
        QCoreApplication::processEvents();

        QVERIFY(m_view->filters()->filters().isEmpty());
        QCOMPARE(rows().size(), 3);
        QVERIFY(!m_view->filterHeader()->isFiltered(1));
    }

    void saysWhyNothingIsShown()
    {
        const auto *note = m_view->findChild<QLabel *>(u"note"_s);
        QVERIFY(!note->isVisible());

        exclude(1, u"x|y"_s);
        QCOMPARE(rows(), QStringList());
        QVERIFY(note->isVisible());
        QCOMPARE(note->text(), u"Фильтры скрывают все строки"_s);

        m_view.reset();
        m_table = std::make_unique<MemoryTable>(u"t"_s, QList<ColumnSpec>{{u"a"_s, FieldType::Int}});
        makeView({0});
        note = m_view->findChild<QLabel *>(u"note"_s);
        QVERIFY(note->isVisible());
        QCOMPARE(note->text(), u"В таблице нет строк"_s);
    }

    void sortsByClicks()
    {
        const auto click = [this](int section, Qt::KeyboardModifiers modifiers = {}) {
            QTest::mouseClick(m_view->filterHeader()->viewport(), Qt::LeftButton, modifiers,
                              QPoint(m_view->filterHeader()->sectionViewportPosition(section) + 5, 5));
        };
        QSignalSpy changed(m_view.get(), &FilteredTableView::rowsChanged);

        click(1);
        QCOMPARE(rows(), QStringList({u"2 x"_s, u"1 y"_s, u"3 y"_s}));
        QVERIFY(changed.size() >= 1);
        click(0, Qt::ControlModifier);
        click(0, Qt::ControlModifier);
        QCOMPARE(rows(), QStringList({u"2 x"_s, u"3 y"_s, u"1 y"_s}));
        QCOMPARE(sorting(), u"+1 -0"_s);
        click(0, Qt::ControlModifier);
        QCOMPARE(sorting(), u"+1"_s);
        click(1);
        click(1);
        QCOMPARE(sorting(), QString());
        QCOMPARE(rows(), QStringList({u"1 y"_s, u"2 x"_s, u"3 y"_s}));
        QVERIFY(!m_view->hasSelection());
    }

    void hidesAndShowsOnlyWhatIsSelected()
    {
        QSignalSpy failed(m_view.get(), &FilteredTableView::failed);
        announceReport(u"Не выделено ни одной ячейки"_s);
        m_view->hideSelectedValues();
        QCOMPARE(failed.size(), 1); // nothing is selected

        m_view->selectionModel()->select(m_view->tableModel()->index(0, 1), QItemSelectionModel::Select);
        QCOMPARE(m_view->selectedColumns(), QList<int>{1});
        m_view->hideSelectedValues();
        QCOMPARE(rows(), QStringList{u"2 x"_s});
        m_view->filters()->clear();
        QCOMPARE(rows().size(), 3);
        m_view->selectionModel()->select(m_view->tableModel()->index(2, 0),
                                         QItemSelectionModel::ClearAndSelect);
        m_view->showOnlySelectedValues();
        QCOMPARE(rows(), QStringList{u"3 y"_s});
        QCOMPARE(failed.size(), 1);
    }

    void tellsWhyAColumnHasNoList()
    {
        makeView({2});
        QSignalSpy failed(m_view.get(), &FilteredTableView::failed);

        const QString message =
            withTypeNames(u"Столбец «c» таблицы «t» имеет тип Raw: его значения не сравниваются"_s);
        announceReport(message);
        m_view->chooseValues(0, QRect());
        m_view->chooseValues(7, QRect());

        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed.first().first().toString(), message);
    }

    void keepsTheLayoutByNames()
    {
        m_view->setSorting(1, Qt::DescendingOrder, false);
        QVERIFY(m_view->moveColumn(1, false));
        QVERIFY(!m_view->moveColumn(1, false));
        m_view->filterHeader()->resizeSection(1, 123);
        QCOMPARE(shownColumns(), u"b a"_s);
        const QString text = m_view->layoutText();

        // The table has lost a column and gained one.
        m_view.reset();
        m_table = std::make_unique<MemoryTable>(
            u"t"_s, QList<ColumnSpec>{{u"new"_s, FieldType::Int}, {u"b"_s, FieldType::String}});
        makeView({0, 1});
        m_view->restoreLayout(text);

        QCOMPARE(shownColumns(), u"b new"_s);
        QCOMPARE(m_view->filterHeader()->sectionSize(1), 123);
        QCOMPARE(sorting(), u"-1"_s);
        m_view->restoreLayout(u"no layout"_s);
        QCOMPARE(shownColumns(), u"b new"_s);
        QCOMPARE(sorting(), QString());
    }

    void keepsAColumnShown()
    {
        m_view->restoreLayout(
            u"{\"columns\":[{\"name\":\"a\",\"hidden\":true},{\"name\":\"b\",\"hidden\":true}]}"_s);

        QCOMPARE(shownColumns(), u"b"_s);
        const QString text = HeaderLayout::toText(*m_view->filterHeader(), *m_view->tableModel());
        QVERIFY(text.contains(u"{\"hidden\":true,\"name\":\"a\"}"_s));
        QCOMPARE(m_view->neighbour(1, true), -1);
        m_view->showAllColumns();
        QCOMPARE(shownColumns(), u"a b"_s);
        QCOMPARE(m_view->neighbour(0, true), 1);
    }

    void paintsWhatItReadUnderOneLock()
    {
        /// A writer changes all rows while the first cell is painted.
        class Delegate final : public QStyledItemDelegate
        {
        public:
            explicit Delegate(MemoryTable &table) : m_table(table) {}
            void paint(QPainter *, const QStyleOptionViewItem &, const QModelIndex &index) const override
            {
                if (texts.isEmpty()) {
                    isFree = OtherLocker(m_table).gets(10s);
                    for (qint64 row = 0; isFree && row < m_table.rowCount(); ++row)
                        m_table.update(m_table.row(row), 1, u"written"_s);
                }
                texts.append(index.data().toString());
            }
            mutable bool isFree = false;
            mutable QStringList texts;

        private:
            MemoryTable &m_table;
        };
        Delegate delegate(*m_table);
        TableChanges changes;
        const auto end = qScopeGuard([this] { m_view.reset(); });
        m_view->follow(&changes);
        m_view->tableModel()->waitForPass();
        m_view->hideColumn(0);
        m_view->setItemDelegate(&delegate);

        m_view->grab();

        QVERIFY(delegate.isFree);
        QCOMPARE(delegate.texts.join(u' '), u"y x y"_s);
        QCOMPARE(m_view->tableModel()->index(0, 1).data(), u"written"_s);
    }

    // Nothing is read for it, so it is painted while a writer has the lock.
    void paintsTheRoomBelowTheRows()
    {
        TableChanges changes;
        const auto end = qScopeGuard([this] { m_view.reset(); });
        m_view->follow(&changes);
        m_view->tableModel()->waitForPass();
        m_view->resize(400, 300);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        const int below = m_view->rowViewportPosition(2) + m_view->rowHeight(2);
        std::binary_semaphore locked{0};
        std::binary_semaphore leave{0};
        const std::future<void> writer = std::async(std::launch::async, [&] {
            const std::lock_guard lock(*m_table);
            locked.release();
            leave.acquire();
        });
        locked.acquire();

        m_view->viewport()->repaint(0, below + 1, 400, 20);

        leave.release();
        writer.wait();
    }

    void asksForMenus()
    {
        QSignalSpy cell(m_view.get(), &FilteredTableView::cellMenuRequested);
        const QModelIndex first = m_view->tableModel()->index(0, 0);
        const QModelIndex second = m_view->tableModel()->index(1, 1);

        askForMenu(QContextMenuEvent::Mouse, QPoint(400, 250)); // beside the rows, and nothing is current
        QCOMPARE(cell.size(), 1);
        QVERIFY(!cell.last().at(0).toModelIndex().isValid());
        QCOMPARE(cell.last().at(1).toPoint(), m_view->viewport()->mapToGlobal(QPoint(400, 250)));

        m_view->selectionModel()->setCurrentIndex(first, QItemSelectionModel::ClearAndSelect);
        askForMenu(QContextMenuEvent::Keyboard, QPoint(200, 100));
        QCOMPARE(cell.last().at(0).toModelIndex(), first);
        QCOMPARE(cell.last().at(1).toPoint(), m_view->cellRect(first).center());

        m_view->selectionModel()->select(second, QItemSelectionModel::Select);
        askForMenu(QContextMenuEvent::Mouse, m_view->visualRect(second).center());
        QCOMPARE(cell.last().at(0).toModelIndex(), second);
        QCOMPARE(cell.size(), 3);
    }
};

QTEST_MAIN(tst_FilteredTableView)
#include "tst_filteredtableview.moc"
