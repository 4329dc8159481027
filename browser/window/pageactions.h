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

/// What can be done with the page that is shown: one action for the menus, the tool bar and the keyboard.
///
/// Copying and the filter of the sessions need more than the page; whoever shows it connects these and says
/// when they are enabled.
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
    void retranslate();
    /// Fills \a menu with the columns of the page.
    void fillColumnsMenu(QMenu &menu);

    QAction *copy = nullptr;
    QAction *copyWithHeaders = nullptr;
    QAction *selectAll = nullptr;
    QAction *sortAscending = nullptr;
    QAction *sortDescending = nullptr;
    QAction *unsort = nullptr;
    QAction *resizeColumns = nullptr;
    QAction *moveLeft = nullptr;
    QAction *moveRight = nullptr;
    QAction *goRows = nullptr;
    QAction *columnFilter = nullptr;
    QAction *hideValues = nullptr;
    QAction *showOnly = nullptr;
    QAction *sessions = nullptr;
    QAction *clearFilters = nullptr;

private:
    void connectPage(QAction *action, const std::function<void(TablePage &page)> &work);
    /// For actions on the column of the current cell.
    void connectColumn(QAction *action, const std::function<void(TablePage &page, int section)> &work);

    QPointer<TablePage> m_page;
};

} // namespace sito
