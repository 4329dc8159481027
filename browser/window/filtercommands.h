// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/commands.h>

#include <QPointer>

class Filter;
class QWidget;

namespace sito {

class FilterPanel;
class KeptViews;
class PageActions;
class TablePage;
class Workspace;

/// What the user does with the filters of the page that is shown, beyond the page itself: switches the filter
/// of the sessions, edits a filter, and saves and restores sets of them.
class FilterCommands : public Commands
{
    Q_OBJECT
public:
    /// Does what \a panel and \a actions ask for; questions are asked over \a window, the parent. None of the
    /// others is owned; all must outlive the object.
    FilterCommands(Workspace &workspace, KeptViews &views, FilterPanel &panel, const PageActions &actions,
                   QWidget &window);

    /// What the commands are about, also in the panel; null for nothing. The page is not owned.
    void setPage(TablePage *page);

    /// Shows in the actions what is possible and what is on just now. To be called when that may have
    /// changed.
    void updateActions();

private:
    /// Switches the filter of the sessions on, as soon as their table is loaded, or off.
    void switchSessions(bool on);
    void edit(Filter *filter, QWidget *button);
    void askSetName();
    void saveSet(TablePage &page, const QString &name);
    void restoreSet(const QString &name);
    void deleteSet(const QString &name);

    Workspace &m_workspace;
    KeptViews &m_views;
    FilterPanel &m_panel;
    const PageActions &m_actions;
    QPointer<TablePage> m_page;
};

} // namespace sito
