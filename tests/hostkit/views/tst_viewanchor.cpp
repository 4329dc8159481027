// SPDX-License-Identifier: MIT
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/views/viewanchor.h>

#include <database/memorytable.h>

#include <filterfuncs/lambdafilterfunc.h>
#include <filters/filter.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <QHeaderView>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <set>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// Hides the rows with the ids of a set.
class IdFilter : public Filter
{
public:
    IdFilter() : Filter(0, nullptr) { setEnabled(true); }

    std::set<int> hidden;

    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        return new LambdaFilterFunc(
            [ids = hidden](const Record &row) { return ids.contains(row.field(0).value<qint32>()); }, parent);
    }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return QString(); }
    QString name() const override { return QString(); }
    bool hasValue() const override { return true; }
};

/// The numbers from \a first to \a last.
std::set<int> ids(int first, int last)
{
    std::set<int> result;
    for (int id = first; id <= last; ++id)
        result.insert(id);
    return result;
}

/// A view of more rows than are selected one by one.
struct Large
{
    static constexpr int rowCount = 10'000;

    MemoryTable table{u"t"_s,
                      {{.name = u"id"_s, .type = FieldType::Int}, {.name = u"b"_s, .type = FieldType::Int}}};
    FilterList filters{table};
    IdFilter *filter = new IdFilter;
    std::unique_ptr<TableModel> owner;
    TableModel &model;
    QTableView view;
    ViewAnchor *anchor;

    Large() : owner(makeModel()), model(*owner)
    {
        view.setModel(&model);
        anchor = new ViewAnchor(&view, &model);
        filters.add(filter);
        model.setFilters(&filters);
        model.waitForPass();
    }

    std::unique_ptr<TableModel> makeModel()
    {
        for (int id = 0; id < rowCount; ++id)
            table.append({qint32(id), qint32(0)});
        return std::make_unique<TableModel>(table, QList<int>{0, 1});
    }

    void showAgain()
    {
        filters.notifyChanged(filter);
        model.waitForPass();
    }

    std::set<int> selectedIds() const
    {
        std::set<int> result;
        for (const QItemSelectionRange &range : view.selectionModel()->selection()) {
            for (int row = range.top(); row <= range.bottom(); ++row)
                result.insert(model.record(row).field(0).value<qint32>());
        }
        return result;
    }
};

} // namespace

class tst_ViewAnchor : public QObject
{
    Q_OBJECT
private:
    static constexpr int rowCount = 1000;

    MemoryTable m_table{u"t"_s, {{.name = u"id"_s, .type = FieldType::Int}}};
    std::unique_ptr<FilterList> m_filters;
    std::unique_ptr<TableModel> m_model;
    std::unique_ptr<QTableView> m_view;
    IdFilter *m_filter = nullptr;

    int idOf(int row) const
    {
        const Record record = m_model->record(row);
        return record.isNull() ? -1 : record.field(0).value<qint32>();
    }

    /// The id of the topmost visible row.
    int topId() const { return idOf(m_view->rowAt(0)); }

    /// Where the row \a id stands in the viewport.
    int placeOf(int id) const
    {
        for (int row = 0; row < m_model->rowCount(); ++row) {
            if (idOf(row) == id)
                return m_view->rowViewportPosition(row);
        }
        return -1;
    }

    /// Scrolls so that the row \a id, which is row id, stands at the top, or a little above it.
    void scrollTo(int id)
    {
        const bool perItem = m_view->verticalScrollMode() == QAbstractItemView::ScrollPerItem;
        m_view->verticalScrollBar()->setValue(perItem ? id : id * m_view->rowHeight(0) + 3);
        QCOMPARE(topId(), id);
    }

    void hide(const std::set<int> &hidden)
    {
        m_filter->hidden = hidden;
        m_filters->notifyChanged(m_filter);
        m_model->waitForPass();
    }

    static void modes()
    {
        QTest::addColumn<QAbstractItemView::ScrollMode>("mode");
        QTest::newRow("by rows") << QAbstractItemView::ScrollPerItem;
        QTest::newRow("by pixels") << QAbstractItemView::ScrollPerPixel;
    }
    void setMode()
    {
        QFETCH(QAbstractItemView::ScrollMode, mode);
        m_view->setVerticalScrollMode(mode);
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (int id = 0; id < rowCount; ++id)
            m_table.append({qint32(id)});
    }

    void init()
    {
        failOnAnyWarning();
        m_filters = std::make_unique<FilterList>(m_table);
        m_filter = new IdFilter;
        m_filters->add(m_filter);
        m_model = std::make_unique<TableModel>(m_table, QList<int>{0});
        m_model->setFilters(m_filters.get());
        m_view = std::make_unique<QTableView>();
        m_view->setModel(m_model.get());
        new ViewAnchor(m_view.get(), m_model.get());
        m_view->resize(300, 305);
        m_view->show();
        m_model->waitForPass();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }

    void cleanup()
    {
        m_view.reset();
        m_model.reset();
        m_filters.reset();
    }

    void keepsTheTopmostRowInPlace_data() { modes(); }
    void keepsTheTopmostRowInPlace()
    {
        setMode();
        scrollTo(500);
        const int place = placeOf(500);

        hide(ids(100, 299));
        QCOMPARE(topId(), 500);
        QCOMPARE(placeOf(500), place);

        hide(ids(0, 99));
        QCOMPARE(topId(), 500);
        QCOMPARE(placeOf(500), place);

        hide(ids(501, 600));
        QCOMPARE(topId(), 500);
        QCOMPARE(placeOf(500), place);
    }

    void keepsTheFirstVisibleRowThatSurvives_data() { modes(); }
    void keepsTheFirstVisibleRowThatSurvives()
    {
        setMode();
        scrollTo(500);
        const int place = placeOf(503);

        hide(ids(500, 502));

        QCOMPARE(placeOf(503), place);
        QCOMPARE(topId(), 497);
    }

    void goesOnBelowWhenNoVisibleRowSurvives_data() { modes(); }
    void goesOnBelowWhenNoVisibleRowSurvives()
    {
        setMode();
        scrollTo(500);

        hide(ids(450, 700));

        QCOMPARE(topId(), 701);
        QCOMPARE(placeOf(701), 0);
    }

    void goesBackWhenNothingBelowSurvives_data() { modes(); }
    void goesBackWhenNothingBelowSurvives()
    {
        setMode();
        scrollTo(500);

        hide(ids(450, rowCount));

        QCOMPARE(m_view->verticalScrollBar()->value(), m_view->verticalScrollBar()->maximum());
        const int last = m_view->rowViewportPosition(449);
        QVERIFY(last >= 0 && last < m_view->viewport()->height());
    }

    void staysAtTheVeryTop_data() { modes(); }
    void staysAtTheVeryTop()
    {
        setMode();
        hide(ids(0, 99));
        QCOMPARE(topId(), 100);

        hide({});
        QCOMPARE(topId(), 0);

        m_model->sort(0, Qt::DescendingOrder);
        m_model->waitForPass();
        QCOMPARE(topId(), rowCount - 1);
    }

    void followsTheRowWhenTheOrderChanges_data() { modes(); }
    void followsTheRowWhenTheOrderChanges()
    {
        setMode();
        scrollTo(300);
        const int place = placeOf(300);

        m_model->sort(0, Qt::DescendingOrder);
        m_model->waitForPass();

        QCOMPARE(topId(), 300);
        QCOMPARE(placeOf(300), place);
    }

    void countsRowsHiddenByTheView_data() { modes(); }
    void countsRowsHiddenByTheView()
    {
        setMode();
        m_view->hideRow(5);
        m_view->hideRow(501);
        m_view->setRowHeight(502, 3 * m_view->rowHeight(0));
        m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum() / 2);
        const int top = topId();
        const int place = placeOf(top);

        hide(ids(100, 199));

        QCOMPARE(topId(), top);
        QCOMPARE(placeOf(top), place);
    }

    void movesTheCurrentIndexToTheNearestSurvivor()
    {
        scrollTo(500);
        m_view->selectionModel()->select(m_model->index(502, 0), QItemSelectionModel::ClearAndSelect);
        m_view->selectionModel()->setCurrentIndex(m_model->index(505, 0), QItemSelectionModel::NoUpdate);
        scrollTo(500);

        hide(ids(505, 510));
        QCOMPARE(idOf(m_view->currentIndex().row()), 511);
        QCOMPARE(m_view->selectionModel()->selectedIndexes(), QModelIndexList({m_model->index(502, 0)}));
        QCOMPARE(topId(), 500);

        hide(ids(505, rowCount));
        QCOMPARE(idOf(m_view->currentIndex().row()), 504);
        QVERIFY(m_view->hasAutoScroll());

        hide(ids(0, rowCount));
        QVERIFY(!m_view->currentIndex().isValid());
    }

    void doesNotScrollToTheCurrentIndex()
    {
        m_view->setCurrentIndex(m_model->index(10, 0));
        scrollTo(500);

        hide(ids(10, 20));

        QCOMPARE(topId(), 500);
        QCOMPARE(idOf(m_view->currentIndex().row()), 21);
    }

    void keepsLargeSelections_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<bool>("taken");
        QTest::newRow("small") << 2000 << false;
        QTest::newRow("large") << 2001 << true;
    }
    void keepsLargeSelections()
    {
        QFETCH(int, rows);
        QFETCH(bool, taken);
        Large large;
        QItemSelectionModel *selection = large.view.selectionModel();
        selection->select(QItemSelection(large.model.index(100, 0), large.model.index(99 + rows, 0)),
                          QItemSelectionModel::Select);
        std::set<int> expected = ids(100, 99 + rows);
        large.view.setCurrentIndex(large.model.index(3, 1));
        selection->select(large.model.index(3, 1), QItemSelectionModel::Deselect);
        selection->select(QItemSelection(large.model.index(100, 0), large.model.index(99 + rows, 0)),
                          QItemSelectionModel::Select);
        QSignalSpy dropped(large.anchor, &ViewAnchor::selectionDropped);
        QList<bool> isEmpty;
        connect(&large.model, &QAbstractItemModel::layoutAboutToBeChanged, this,
                [&] { isEmpty.append(selection->selection().isEmpty()); });

        for (int id = 150; id < 1000; id += 10) {
            large.filter->hidden.insert(id);
            expected.erase(id);
        }
        large.showAgain();
        QCOMPARE(large.selectedIds(), expected);
        QCOMPARE(isEmpty, QList<bool>{taken});

        large.model.setSortKeys({{.column = 0, .order = Qt::DescendingOrder}});
        large.model.waitForPass();
        QCOMPARE(large.selectedIds(), expected);
        QVERIFY(selection->isSelected(large.model.index(large.model.rowCount() - 101, 0)));
        QVERIFY(!selection->isSelected(large.model.index(large.model.rowCount() - 101, 1)));

        large.filter->hidden.clear();
        large.showAgain();
        QCOMPARE(large.selectedIds(), expected);
        QCOMPARE(dropped.size(), 0);
        QCOMPARE(large.view.currentIndex(), large.model.index(Large::rowCount - 4, 1));
    }

    void dropsSelectionsThatFallApart()
    {
        Large large;
        for (int id = 0; id < Large::rowCount; id += 2)
            large.filter->hidden.insert(id);
        large.showAgain();
        large.view.selectAll();
        large.view.selectionModel()->setCurrentIndex(large.model.index(7, 1), QItemSelectionModel::NoUpdate);
        QSignalSpy dropped(large.anchor, &ViewAnchor::selectionDropped);

        // 2000 pieces are not too many.
        for (int id = 0; id < 4000; id += 2)
            large.filter->hidden.erase(id);
        large.showAgain();
        QCOMPARE(dropped.size(), 0);
        QCOMPARE(large.selectedIds().size(), size_t(Large::rowCount / 2));
        large.filter->hidden.erase(4000);
        large.showAgain();
        QCOMPARE(dropped.size(), 1);
        QCOMPARE(large.selectedIds(), std::set<int>({15}));

        // Nor is the current row selected that was not.
        large.view.selectAll();
        large.view.selectionModel()->select(large.view.currentIndex(),
                                            QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        large.filter->hidden.clear();
        large.showAgain();
        QCOMPARE(dropped.size(), 2);
        QCOMPARE(large.selectedIds(), std::set<int>());
    }

    void leavesViewsOfOtherModelsAlone()
    {
        TableModel other(m_table, {0});
        m_view->setModel(&other);
        m_view->verticalScrollBar()->setValue(200);
        m_view->setCurrentIndex(other.index(205, 0));

        hide(ids(0, 100));

        QCOMPARE(m_view->rowAt(0), 200);
        QCOMPARE(m_view->currentIndex().row(), 205);
        m_view->setModel(m_model.get());
    }

    void outlivesItsModel()
    {
        m_model.reset();

        QCOMPARE(m_view->findChildren<ViewAnchor *>().size(), 1);
        m_view.reset();
    }

    void keepsTheOraclesRow_data() { modes(); }
    void keepsTheOraclesRow()
    {
        setMode();
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ (seed >> 32)));
        for (int step = 0; step < 100; ++step) {
            QScrollBar *bar = m_view->verticalScrollBar();
            bar->setValue(random.bounded(bar->maximum() + 1));
            const bool atTop = bar->value() == 0;
            // At the very end rows scroll by less than a row.
            const bool byRows = m_view->verticalScrollMode() == QAbstractItemView::ScrollPerItem;
            const int slack = byRows && bar->value() == bar->maximum() ? m_view->rowHeight(0) - 1 : 0;
            std::vector<std::pair<int, int>> visible;
            for (int row = m_view->rowAt(0); row >= 0 && row < m_model->rowCount() &&
                                             m_view->rowViewportPosition(row) < m_view->viewport()->height();
                 ++row)
                visible.emplace_back(idOf(row), m_view->rowViewportPosition(row));

            std::set<int> hidden;
            for (int id = 0; id < rowCount; ++id) {
                if (random.bounded(5) == 0)
                    hidden.insert(id);
            }
            hide(hidden);

            const QByteArray about = seedMessage(seed, QString::number(step));
            const auto survivor = std::find_if(visible.begin(), visible.end(),
                                               [&](const auto &row) { return !hidden.contains(row.first); });
            if (atTop)
                QVERIFY2(bar->value() == 0, about.constData());
            else if (survivor != visible.end() && bar->value() != bar->maximum() && bar->value() != 0)
                QVERIFY2(std::abs(placeOf(survivor->first) - survivor->second) <= slack, about.constData());
        }
    }
};

QTEST_MAIN(tst_ViewAnchor)
#include "tst_viewanchor.moc"
