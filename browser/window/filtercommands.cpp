// SPDX-License-Identifier: MIT
#include <browser/window/filtercommands.h>

#include <browser/window/filterdialog.h>
#include <browser/window/keptviews.h>
#include <browser/window/pageactions.h>
#include <browser/window/questions.h>
#include <browser/window/tablepage.h>
#include <browser/window/workspace.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/text/filtertext.h>
#include <hostkit/views/filterpanel.h>

#include <database/memorytable.h>

#include <filters/selectfilter.h>

#include <QAction>

namespace sito {

FilterCommands::FilterCommands(Workspace &workspace, KeptViews &views, FilterPanel &panel,
                               const PageActions &actions, QWidget &window)
    : Commands(window), m_workspace(workspace), m_views(views), m_panel(panel), m_actions(actions)
{
    connect(actions.sessions, &QAction::triggered, this, &FilterCommands::switchSessions);
    connect(&panel, &FilterPanel::editRequested, this, &FilterCommands::edit);
    connect(&panel, &FilterPanel::saveRequested, this, &FilterCommands::askSetName);
    connect(&panel, &FilterPanel::restoreRequested, this, &FilterCommands::restoreSet);
    connect(&panel, &FilterPanel::deletionRequested, this, &FilterCommands::deleteSet);
}

void FilterCommands::setPage(TablePage *page)
{
    m_page = page;
    m_panel.setFilters(page ? page->filters() : nullptr);
    if (page)
        m_panel.setSetNames(m_views.setNames(page->table()->name()));
}

void FilterCommands::updateActions()
{
    m_actions.sessions->setEnabled(m_page && !m_workspace.isOpeningSource() && m_page->hasSessionColumns() &&
                                   m_workspace.hasSessions());
    m_actions.sessions->setChecked(m_page &&
                                   (m_page->isSessionFilterOn() || m_workspace.isAwaitingSessions(m_page)));
}

void FilterCommands::switchSessions(bool on)
{
    if (!m_page)
        return;
    const auto change = [this, page = m_page, on] {
        guarded([&] {
            if (page)
                page->setSessionFilterOn(on);
        });
        updateActions();
    };
    m_workspace.forgetAwaiting(m_page);
    if (on)
        m_workspace.withSessions(*m_page, Workspace::WithoutSessions::GiveUp, change);
    else
        change();
    updateActions();
}

void FilterCommands::edit(Filter *filter, QWidget *button)
{
    if (!m_page)
        return;
    if (auto *selectable = qobject_cast<SelectFilter *>(filter)) {
        m_page->view()->select(*selectable, {button->mapToGlobal(QPoint(0, 0)), button->size()});
        return;
    }
    FilterDialog *dialog = FilterDialog::make(*filter, displayName(*filter), &window());
    if (!dialog)
        return;
    connect(dialog, &QDialog::accepted, filter,
            [this, filter, dialog, filters = QPointer<FilterList>(m_page->filters())] {
                guarded([&] {
                    dialog->apply();
                    if (filters)
                        filters->notifyChanged(filter);
                });
            });
    dialog->open();
}

void FilterCommands::askSetName()
{
    if (!m_page)
        return;
    const auto save = [this, page = m_page](const QString &name) {
        if (page)
            saveSet(*page, name.trimmed());
        else
            Q_EMIT failed(tr("Таблица уже закрыта, набор не сохранён"));
    };
    Questions::askSetName(window(), m_views.setNames(m_page->table()->name()), save);
}

void FilterCommands::saveSet(TablePage &page, const QString &name)
{
    if (name.isEmpty())
        return;
    guarded([&] {
        const QString table = page.table()->name();
        m_views.saveSet(table, name, *page.filters());
        if (&page == m_page)
            m_panel.setSetNames(m_views.setNames(table));
        Q_EMIT done(tr("Набор «%1» сохранён").arg(name));
    });
}

void FilterCommands::restoreSet(const QString &name)
{
    if (!m_page)
        return;
    const auto restore = [this, page = m_page, name] {
        if (!page)
            return;
        const QStringList messages = m_views.restoreSet(page->table()->name(), name, *page->filters());
        for (const QString &message : messages)
            Q_EMIT failed(message);
    };
    if (m_views.needsSessions(m_page->table()->name()) && m_workspace.hasSessions())
        m_workspace.withSessions(*m_page, Workspace::WithoutSessions::GoOn, restore);
    else
        restore();
}

void FilterCommands::deleteSet(const QString &name)
{
    if (!m_page)
        return;
    guarded([&] {
        const QString table = m_page->table()->name();
        m_views.removeSet(table, name);
        m_panel.setSetNames(m_views.setNames(table));
        Q_EMIT done(tr("Набор «%1» удалён").arg(name));
    });
}

} // namespace sito
