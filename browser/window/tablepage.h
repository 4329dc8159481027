// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/valuelistfilter.h>

#include <QItemSelection>
#include <QList>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QWidget>

#include <functional>

class Filter;
class MemoryTable;
class QLabel;
class QMenu;
class QTableView;
class Table;

namespace sito {

class FilterHeader;
class FilterList;
class NoticeBar;
class TableModel;

/// One table of the source: its rows in a view with filter buttons in the header, its filters, and the menus
/// of cells and columns.
///
/// When a pass was interrupted or failed, a notice above the rows says that they are not what the filters and the
/// sorting say, until a pass is shown; its button starts one.
class TablePage : public QWidget
{
    Q_OBJECT
public:
    /// \a table is not owned and must outlive the page.
    explicit TablePage(MemoryTable &table, QWidget *parent = nullptr);
    ~TablePage() override;

    MemoryTable *table() const { return m_table; }
    QTableView *view() const { return m_view; }
    TableModel *model() const { return m_model; }
    FilterHeader *header() const { return m_header; }
    FilterList *filters() const { return m_filters; }

    /// What \a filter is called in menus and in the panel: its own name or, where it has none, what it does.
    static QString displayName(const Filter &filter);
    /// The value of \a filter for a person to read.
    static QString displayText(const Filter &filter);

    /// The filter by the list of the values of \a columns: the one among the filters or a new one, which joins
    /// them as soon as it has a value. Throws Exception for columns whose values cannot be compared.
    ValueListFilter *valueFilter(const QList<int> &columns);
    /// Lets the user choose the values of the column of \a section, below \a place on the screen.
    void chooseValues(int section, const QRect &place);
    /// Carries out the select operation of \a filter, below \a place on the screen.
    void select(SelectFilter &filter, const QRect &place);

    /// Whether the table has the two columns of the filter of the securities' sessions.
    bool hasSessionColumns() const;
    /// Whether that filter takes part.
    bool isSessionFilterOn() const;
    /// Switches it on, making it where there is none, or off. Throws Exception when there is no table
    /// "sessions" to read.
    void setSessionFilterOn(bool on);

    /// The cells that are selected.
    bool hasSelection() const;
    void hideSelectedValues();
    void showOnlySelectedValues();
    void clearFilters();

    /// Sorts by the column of \a section: ascending, descending at the next call, not at all at the third; with
    /// \a adding in addition to the keys that there are.
    void sortBy(int section, bool adding);
    void setSorting(int section, Qt::SortOrder order, bool adding);
    void clearSorting();

    /// Fills \a menu with one checkable action for each column.
    void fillColumnsMenu(QMenu &menu);
    void showAllColumns();
    /// Moves the column of \a section past the next shown one at its left or, with \a toRight, at its right;
    /// whether there is one. A hidden column does not move.
    bool moveColumn(int section, bool toRight);
    void resizeColumns();

    /// Order, width and visibility of the columns and the sorting, as a text for restoreLayout(). Columns are
    /// known by their names there.
    QString layoutText() const;
    /// Restores what \a text says of the columns that there are.
    void restoreLayout(const QString &text);

Q_SIGNALS:
    /// Something could not be done, as \a message says.
    void failed(const QString &message);
    void copyRequested(bool withHeaders);
    /// The rows that are shown, or their order, have changed.
    void rowsChanged();
    /// What was selected fell apart; see ViewAnchor.
    void selectionDropped();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QList<int> selectedColumns() const;
    /// The selected cells but those of hidden columns.
    QItemSelection shownSelection() const;
    QRect cellRect(const QModelIndex &index) const;
    void fillCellMenu(QMenu &menu, const QModelIndex &index);
    void fillHeaderMenu(QMenu &menu, int section);
    void showCellMenu(const QPoint &position);
    /// At the current cell, or at \a otherPlace when there is none.
    void showCurrentCellMenu(const QPoint &otherPlace);
    void popUpCellMenu(const QModelIndex &index, const QPoint &place);
    /// The section at the left or at the right of the shown \a section, of those that are shown; else -1.
    int neighbour(int section, bool atRight) const;
    void updateHeader();
    void updateNote();
    void updateNotice();
    void guarded(const std::function<void()> &work);

    MemoryTable *m_table;
    FilterList *m_filters;
    TableModel *m_model;
    NoticeBar *m_notice;
    QTableView *m_view;
    FilterHeader *m_header;
    QLabel *m_note;
    /// Whether the last pass that ended failed.
    bool m_hasFailed = false;
    /// Filters that were asked for and have no value yet.
    QList<QPointer<ValueListFilter>> m_spareFilters;
};

} // namespace sito
