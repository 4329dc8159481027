// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QAction;
class QDockWidget;
class QMainWindow;

namespace sito {

class FilterPanel;
class TableList;

/// The docks at the sides of the main window: the tables at the left, the filters at the right.
class SideDocks : public QObject
{
    Q_OBJECT
public:
    /// Adds the docks to \a window, the parent; they own \a tables and \a filters.
    SideDocks(QMainWindow &window, TableList &tables, FilterPanel &filters);

    /// The actions that show and hide the docks.
    QAction *showTables() const;
    QAction *showFilters() const;
    /// Show a dock and give it the focus.
    void goToTables();
    void goToFilters();
    void retranslate();

private:
    TableList &m_tableList;
    FilterPanel &m_panel;
    QDockWidget *m_tables;
    QDockWidget *m_filters;
};

} // namespace sito
