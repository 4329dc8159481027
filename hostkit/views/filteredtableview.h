// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QItemSelection>
#include <QList>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QTableView>

#include <functional>

class QLabel;
class SelectFilter;
class Table;
class TableChanges;

namespace sito {

class FilterHeader;
class FilterList;
class TableModel;
class ValueListFilter;

/// A complete view of a table: with a TableModel, a FilterList, a FilterHeader whose buttons open the lists
/// of values, sorting by clicks on the titles, and a ViewAnchor. The view owns all of them.
///
/// A ValueListFilter that hides nothing any more is removed from the list of filters. While no row is
/// shown, a text in the middle says why. The host provides context menus: see cellMenuRequested() and
/// headerMenuRequested().
///
/// Do not give the view another model, header or selection model.
///
/// **Threads.** For the GUI thread; passes and counting run in threads of parallel::threadPool().
///
/// **Cost.** As TableModel, ViewAnchor and ValueListWidget. All rows have the same height, which keeps a view
/// of very many rows quick.
class HOSTKIT_EXPORT FilteredTableView : public QTableView
{
    Q_OBJECT
public:
    /// Shows \a columns of \a table, which is not owned and must outlive the view, in this order.
    FilteredTableView(Table &table, const QList<int> &columns, QWidget *parent = nullptr);
    ~FilteredTableView() override;

    /// The list that the view owns; never null.
    FilterList *filters() const { return m_filters; }
    /// The model that the view owns; never null.
    TableModel *tableModel() const { return m_model; }
    /// The horizontal header; never null.
    FilterHeader *filterHeader() const { return m_header; }

    /// Follows \a changes, which tells of the changes of the table: the rows as TableModel::follow(), and the
    /// lists of values that are shown from then on. Null for none. Not owned; must live as long as the table.
    void follow(TableChanges *changes);

    /// The ValueListFilter over \a columns: the one in filters(), or a new one that is added there as soon as
    /// it has a value. Throws Exception for columns whose values cannot be compared.
    ValueListFilter *valueFilter(const QList<int> &columns);
    /// Lets the user choose the values of the column of \a section, below \a place on the screen. Does
    /// nothing for a section that does not exist; emits failed() for a column whose values cannot be
    /// compared.
    void chooseValues(int section, const QRect &place);
    /// Calls select() of \a filter, below \a place on the screen. Emits failed() when that throws.
    void select(SelectFilter &filter, const QRect &place);

    /// Whether a cell is selected.
    bool hasSelection() const;
    /// The table's columns that have a selected cell, ascending, without hidden ones.
    QList<int> selectedColumns() const;
    /// As in cellfilters.h, for the selected cells outside hidden columns. Emit failed() when that throws.
    void hideSelectedValues();
    /// As hideSelectedValues(), but for showOnlyValues().
    void showOnlySelectedValues();

    /// Sorts by the column of \a section: ascending, descending at the next call, not at all at the third.
    /// With \a adding, the other sort keys stay.
    void sortBy(int section, bool adding);
    /// Sorts by the column of \a section in \a order. With \a adding, the other sort keys stay.
    void setSorting(int section, Qt::SortOrder order, bool adding);
    /// Brings the rows into the order of the master index.
    void clearSorting();

    /// Shows the hidden columns, in their places.
    void showAllColumns();
    /// The nearest shown section to the left or right of the shown \a section; -1 when there is none.
    int neighbour(int section, bool atRight) const;
    /// Moves the column of \a section past its neighbour(); returns whether there is one.
    bool moveColumn(int section, bool toRight);
    /// Fits the width of the shown columns to the visible cells, up to 42 average characters.
    void resizeColumns();

    /// See HeaderLayout.
    QString layoutText() const;
    /// Restores a layoutText(), see HeaderLayout::restore().
    void restoreLayout(const QString &text);

    /// The rectangle of the cell of \a index, in global coordinates.
    QRect cellRect(const QModelIndex &index) const;

Q_SIGNALS:
    /// Emitted when an operation or a pass has failed; \a message is for the user.
    void failed(const QString &message);
    /// Emitted when the shown rows, or their order, have changed.
    void rowsChanged();
    /// See ViewAnchor::selectionDropped().
    void selectionDropped();
    /// Emitted when the user asks for the menu of a cell, at \a globalPosition. \a index is the selected cell
    /// below the pointer, or else the current one, which may be invalid.
    void cellMenuRequested(const QModelIndex &index, const QPoint &globalPosition);
    /// Emitted when the user asks for the menu of a column; \a section is -1 beyond the last one.
    void headerMenuRequested(int section, const QPoint &globalPosition);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setUpView();
    void connectParts();
    void prepare(ValueListFilter &filter);
    QItemSelection shownSelection() const;
    void updateHeader();
    void updateNote();
    void updateRowHeight();
    void guarded(const std::function<void()> &work);

    Table &m_table;
    FilterList *const m_filters;
    TableModel *const m_model;
    FilterHeader *const m_header;
    QLabel *const m_note;
    /// What valueFilter() has made and is not in the list of filters, because it has no value yet.
    QList<QPointer<ValueListFilter>> m_spareFilters;
};

} // namespace sito
