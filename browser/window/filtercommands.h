// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class Filter;
class QWidget;

namespace sito {

class FilterPanel;
class KeptViews;
class TablePage;
class Workspace;

/// What the user does with the filters of the page that is shown, beyond the page itself: switches the filter
/// of the sessions, edits a filter, and saves and restores sets of them.
class FilterCommands : public QObject
{
    Q_OBJECT
public:
    /// Answers the requests of \a panel; questions are asked over \a window, the parent. None of the others
    /// is owned; all must outlive the object.
    FilterCommands(Workspace &workspace, KeptViews &views, FilterPanel &panel, QWidget &window);

    /// What the commands are about, also in the panel; null for nothing. The page is not owned.
    void setPage(TablePage *page);

    /// Whether the page can have the filter of the sessions just now.
    bool canSwitchSessions() const;
    /// Whether that filter takes part, or will as soon as the table "sessions" is loaded.
    bool areSessionsOn() const;
    /// Switches it on, once that table is loaded, or off.
    void switchSessions(bool on);

Q_SIGNALS:
    /// areSessionsOn() may have changed.
    void sessionsSwitched();
    void failed(const QString &message);
    /// What was done.
    void done(const QString &message);

private:
    void edit(Filter *filter, QWidget *button);
    void askSetName();
    void saveSet(TablePage &page, const QString &name);
    void restoreSet(const QString &name);
    void deleteSet(const QString &name);
    void guarded(const std::function<void()> &work);

    Workspace &m_workspace;
    KeptViews &m_views;
    FilterPanel &m_panel;
    QWidget &m_window;
    QPointer<TablePage> m_page;
};

} // namespace sito
