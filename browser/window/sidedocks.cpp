// SPDX-License-Identifier: MIT
#include <browser/window/sidedocks.h>

#include <browser/window/tablelist.h>

#include <hostkit/views/filterpanel.h>

#include <QAbstractButton>
#include <QDockWidget>
#include <QMainWindow>
#include <QTreeWidget>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

QDockWidget *makeDock(QMainWindow &window, QWidget &content, const QString &name, Qt::DockWidgetArea area)
{
    auto *dock = new QDockWidget(&window);
    dock->setObjectName(name);
    dock->setWidget(&content);
    window.addDockWidget(area, dock);
    return dock;
}

/// Qt names the buttons of a dock once and for all.
void nameButton(const QDockWidget &dock, const QString &objectName, const QString &text)
{
    if (auto *button = dock.findChild<QAbstractButton *>(objectName)) {
        button->setToolTip(text);
        button->setAccessibleName(u"%1: %2"_s.arg(dock.windowTitle(), text));
        button->setAccessibleDescription(QString());
    }
}

} // namespace

SideDocks::SideDocks(QMainWindow &window, TableList &tables, FilterPanel &filters)
    : QObject(&window),
      m_tableList(tables),
      m_panel(filters),
      m_tables(makeDock(window, tables, u"tablesDock"_s, Qt::LeftDockWidgetArea)),
      m_filters(makeDock(window, filters, u"filtersDock"_s, Qt::RightDockWidgetArea))
{
    const int character = window.fontMetrics().averageCharWidth();
    window.resizeDocks({m_tables, m_filters}, {character * 30, character * 36}, Qt::Horizontal);
}

QAction *SideDocks::showTables() const
{
    return m_tables->toggleViewAction();
}

QAction *SideDocks::showFilters() const
{
    return m_filters->toggleViewAction();
}

void SideDocks::goToTables()
{
    m_tables->show();
    m_tableList.tree()->setFocus(Qt::ShortcutFocusReason);
}

void SideDocks::goToFilters()
{
    m_filters->show();
    m_panel.focusFirst();
}

void SideDocks::retranslate()
{
    m_tables->setWindowTitle(tr("Таблицы"));
    m_filters->setWindowTitle(tr("Фильтры"));
    for (const QDockWidget *dock : {m_tables, m_filters}) {
        nameButton(*dock, u"qt_dockwidget_floatbutton"_s, tr("Отделить"));
        nameButton(*dock, u"qt_dockwidget_closebutton"_s, tr("Закрыть"));
    }
}

} // namespace sito
