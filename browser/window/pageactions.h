// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class QAction;
class QMenu;
class QWidget;

namespace sito {

class TablePage;

/// What can be done with the page that is shown: one action for all menus, the tool bar and the keyboard.
///
/// Exporting, copying, showing a whole value and the filter of the sessions need more than the page: the
/// commands for these connect them and say when they are enabled.
class PageActions : public QObject
{
    Q_OBJECT
public:
    /// The actions work in the window of \a owner, their parent.
    explicit PageActions(QWidget &owner);

    /// What they are about; null for nothing. The page is not owned.
    void setPage(TablePage *page);
    /// To be called when the selection or the filters of the page have changed.
    void update();
    /// For \a menu, until it is deleted, the actions on a column are about that of \a section, -1 for none,
    /// and not about that of the current cell.
    void setColumn(int section, QMenu &menu);
    void retranslate();

    QAction *exportCsv = nullptr;
    QAction *copy = nullptr;
    QAction *copyWithHeaders = nullptr;
    QAction *showValue = nullptr;
    QAction *selectAll = nullptr;
    QAction *sortAscending = nullptr;
    QAction *sortDescending = nullptr;
    QAction *thenAscending = nullptr;
    QAction *thenDescending = nullptr;
    QAction *unsort = nullptr;
    QAction *hideColumn = nullptr;
    QAction *showAllColumns = nullptr;
    QAction *resizeColumns = nullptr;
    QAction *moveLeft = nullptr;
    QAction *moveRight = nullptr;
    QAction *goRows = nullptr;
    QAction *columnFilter = nullptr;
    QAction *clearColumnFilters = nullptr;
    QAction *hideValues = nullptr;
    QAction *showOnly = nullptr;
    QAction *sessions = nullptr;
    QAction *clearFilters = nullptr;
    /// The columns of the page, to be shown and hidden.
    QMenu *const columnsMenu;

private:
    void connectColumns();
    void connectPage(QAction *action, const std::function<void(TablePage &page)> &work);
    /// For actions on a column.
    void connectColumn(QAction *action, const std::function<void(TablePage &page, int section)> &work);

    void updateColumn();
    void fillColumnsMenu();

    QPointer<TablePage> m_page;
    /// See setColumn().
    const QMenu *m_columnMenu = nullptr;
    int m_menuSection = -1;
};

} // namespace sito
