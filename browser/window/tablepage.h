// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/filteredtableview.h>

#include <QRect>
#include <QString>
#include <QWidget>

#include <memory>

class MemoryTable;
class QMenu;
class SecuritiesSessionFilter;

namespace sito {

class ChangeMarks;
class NoticeBar;
class PageActions;

/// One table of the source: its rows in a view, its filters, and the menus of cells and columns. It follows
/// what changes in the table, and marks it for a moment.
///
/// When the table is not loaded to its end and nobody reads it further, a notice above the rows says so; its
/// button has the rest read. When a pass was interrupted or failed, a notice says that the rows are not what
/// the filters and the sorting say, until a pass is shown; its button starts one.
class TablePage : public QWidget
{
    Q_OBJECT
public:
    /// The menus of cells and columns show \a actions. Neither is owned; both must outlive the page.
    TablePage(MemoryTable &table, PageActions &actions, QWidget *parent = nullptr);
    ~TablePage() override;

    MemoryTable *table() const { return m_table; }
    FilteredTableView *view() const { return m_view; }
    TableModel *model() const { return m_view->tableModel(); }
    FilterHeader *header() const { return m_view->filterHeader(); }
    FilterList *filters() const { return m_view->filters(); }

    /// Whether the table has the two columns of the filter of the securities' sessions.
    bool hasSessionColumns() const;
    /// Whether that filter takes part.
    bool isSessionFilterOn() const;
    /// Switches it on, making it where there is none, or off. Throws Exception when there is no table
    /// "sessions" to read.
    void setSessionFilterOn(bool on);

    /// Brings that filter, if there is one, up to date with the table "sessions".
    void renewSessionFilter();

    void clearFilters();
    /// Removes the filters by values that look at the column of \a section.
    void clearColumnFilters(int section);

    /// What is not loaded yet of the table.
    enum class Rest {
        None,
        Coming,
        Missing, ///< and nobody reads it
    };
    /// Rest::Coming until it is set. What changes is marked from the first Rest::None on.
    void setRest(Rest rest);

    /// Whether a column would be left to see.
    bool canHideColumn() const;
    /// Adds one checkable action for each column to \a menu.
    void addColumns(QMenu &menu);

Q_SIGNALS:
    /// Something could not be done, as \a message says.
    void failed(const QString &message);
    /// The user wants the rest of the table, which is missing.
    void restWanted();
    /// The rows that are shown, or their order, have changed.
    void rowsChanged();
    /// A selection that fell apart was given up.
    void selectionDropped();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    std::unique_ptr<SecuritiesSessionFilter> makeSessionFilter() const;
    void fillCellMenu(QMenu &menu, const QModelIndex &index);
    /// The filters by a choice that have to do with the cell \a index, and those that could be made there.
    QList<SelectFilter *> selectableFilters(const QModelIndex &index);
    void showCellMenu(const QModelIndex &index, const QPoint &place);
    void showHeaderMenu(int section, const QPoint &place);
    void updateNotice();
    void updateRestNotice();
    void updateAccessibleName();

    MemoryTable *m_table;
    PageActions &m_actions;
    NoticeBar *m_notice;
    NoticeBar *m_restNotice;
    ChangeMarks *m_marks = nullptr;
    FilteredTableView *m_view;
    Rest m_rest = Rest::Coming;
    /// Whether the last pass that ended failed.
    bool m_hasFailed = false;
};

} // namespace sito
