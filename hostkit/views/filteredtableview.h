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

namespace sito {

class FilterHeader;
class FilterList;
class TableModel;
class ValueListFilter;

/// The rows of a table in a view that is ready for use: with a TableModel, a FilterList, a FilterHeader whose
/// buttons open the lists of values, sorting by clicks on the titles, and a ViewAnchor. All of them belong to
/// the view.
///
/// A ValueListFilter of which everything is shown again leaves the list of filters by itself. While no row is
/// shown, a text in the middle says why. Context menus are the host's: see cellMenuRequested() and
/// headerMenuRequested().
///
/// Do not give the view another model, header or selection model.
class HOSTKIT_EXPORT FilteredTableView : public QTableView
{
    Q_OBJECT
public:
    /// Shows \a columns of \a table, which is not owned and must outlive the view, in this order.
    FilteredTableView(Table &table, const QList<int> &columns, QWidget *parent = nullptr);
    ~FilteredTableView() override;

    FilterList *filters() const { return m_filters; }
    TableModel *tableModel() const { return m_model; }
    FilterHeader *filterHeader() const { return m_header; }

    /// The filter by the list of the values of \a columns: the one among the filters or a new one, which joins
    /// them as soon as it has a value. Throws Exception for columns whose values cannot be compared.
    ValueListFilter *valueFilter(const QList<int> &columns);
    /// Lets the user choose the values of the column of \a section, below \a place on the screen. Does nothing
    /// for a section that there is not; emits failed() for a column whose values cannot be compared.
    void chooseValues(int section, const QRect &place);
    /// Carries out the select operation of \a filter, below \a place on the screen. Emits failed() when that
    /// throws.
    void select(SelectFilter &filter, const QRect &place);

    bool hasSelection() const;
    /// The table's columns, ascending, of the selected cells; without hidden ones.
    QList<int> selectedColumns() const;
    /// As cellfilters.h has it, for the selected cells but those of hidden columns. Emit failed() when that throws.
    void hideSelectedValues();
    void showOnlySelectedValues();

    /// Sorts by the column of \a section: ascending, descending at the next call, not at all at the third; with
    /// \a adding in addition to the keys that there are.
    void sortBy(int section, bool adding);
    void setSorting(int section, Qt::SortOrder order, bool adding);
    void clearSorting();

    void showAllColumns();
    /// The shown section at the left or at the right of the shown \a section; -1 when there is none.
    int neighbour(int section, bool atRight) const;
    /// Moves the column of \a section past its neighbour(); returns whether there is one.
    bool moveColumn(int section, bool toRight);
    /// Makes the shown columns as wide as the cells in view need, up to 42 average characters.
    void resizeColumns();

    /// See HeaderLayout.
    QString layoutText() const;
    void restoreLayout(const QString &text);

    /// The cell of \a index in global coordinates.
    QRect cellRect(const QModelIndex &index) const;

Q_SIGNALS:
    /// Something could not be done, as \a message says; also when a pass failed.
    void failed(const QString &message);
    /// The rows that are shown, or their order, have changed.
    void rowsChanged();
    /// A selection that fell apart was given up; see ViewAnchor.
    void selectionDropped();
    /// The user asks for the menu of a cell at \a globalPosition: of the selected one below the pointer, or
    /// else of the current one, which may be invalid.
    void cellMenuRequested(const QModelIndex &index, const QPoint &globalPosition);
    /// The user asks for the menu of a column; \a section is -1 beyond the last one.
    void headerMenuRequested(int section, const QPoint &globalPosition);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void setUpView();
    void connectParts();
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
    /// Filters that were asked for and have no value yet.
    QList<QPointer<ValueListFilter>> m_spareFilters;
};

} // namespace sito
