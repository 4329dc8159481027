// SPDX-License-Identifier: MIT
#include <browser/settings/settingsactions.h>

#include <hostkit/views/icons.h>

#include <QAction>
#include <QActionGroup>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QWidget>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

QAction *make(QWidget *window, const QString &name, const QKeySequence &keys = {})
{
    auto *action = new QAction(window);
    action->setObjectName(name);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    window->addAction(action);
    return action;
}

void setTexts(QAction *action, const QString &text, const QString &tip)
{
    action->setText(text);
    action->setToolTip(tip);
}

} // namespace

SettingsActions::SettingsActions(QWidget *window)
    : QObject(window),
      open(make(window, u"open"_s, QKeySequence::Open)),
      submit(make(window, u"submit"_s, QKeySequence::Save)),
      revert(make(window, u"revert"_s, QKeySequence(u"Ctrl+Shift+Z"_s))),
      refresh(make(window, u"refresh"_s, QKeySequence::Refresh)),
      immediate(make(window, u"immediate"_s)),
      manual(make(window, u"manual"_s)),
      edit(make(window, u"edit"_s)),
      remove(make(window, u"remove"_s, QKeySequence::Delete)),
      copyPath(make(window, u"copyPath"_s, QKeySequence(u"Ctrl+Shift+C"_s))),
      find(make(window, u"find"_s, QKeySequence::Find)),
      expandAll(make(window, u"expandAll"_s, QKeySequence(u"Ctrl+Shift+E"_s))),
      collapseAll(make(window, u"collapseAll"_s, QKeySequence(u"Ctrl+Shift+W"_s))),
      close(make(window, u"close"_s, QKeySequence::Close)),
      menuBar(new QMenuBar(window)),
      toolBar(new QToolBar(window)),
      m_fileMenu(menuBar->addMenu(QString())),
      m_editMenu(menuBar->addMenu(QString())),
      m_viewMenu(menuBar->addMenu(QString()))
{
    // The list of pending changes has another use for the key.
    remove->setShortcutContext(Qt::WidgetShortcut);
    immediate->setCheckable(true);
    manual->setCheckable(true);
    immediate->setActionGroup(new QActionGroup(this));
    manual->setActionGroup(immediate->actionGroup());
    open->setIcon(Icons::icon(Icons::Shape::Open));
    remove->setIcon(Icons::icon(Icons::Shape::Trash));
    copyPath->setIcon(Icons::icon(Icons::Shape::Copy));
    edit->setIcon(Icons::icon(Icons::Shape::Edit));
    m_fileMenu->addActions({open, refresh});
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({submit, revert});
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({immediate, manual});
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(close);
    m_editMenu->addActions({edit, remove, copyPath});
    m_editMenu->addSeparator();
    m_editMenu->addAction(find);
    m_viewMenu->addActions({expandAll, collapseAll});

    toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    for (QAction *action : {open, refresh, submit, revert, remove}) {
        toolBar->addAction(action);
        toolBar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
    }
}

void SettingsActions::retranslate()
{
    m_fileMenu->setTitle(tr("&Файл"));
    m_editMenu->setTitle(tr("&Правка"));
    m_viewMenu->setTitle(tr("&Вид"));
    setTexts(open, tr("&Открыть…"), tr("Открыть файл INI"));
    setTexts(submit, tr("&Записать"), tr("Записать все ожидающие изменения в файл"));
    setTexts(revert, tr("О&тменить всё"), tr("Отменить все ожидающие изменения"));
    setTexts(refresh, tr("О&бновить"), tr("Прочитать файл заново; ожидающие изменения останутся"));
    setTexts(remove, tr("&Удалить…"), tr("Удалить выбранные записи"));
    immediate->setText(tr("Записывать &сразу"));
    manual->setText(tr("Записывать по &команде"));
    edit->setText(tr("&Изменить"));
    copyPath->setText(tr("&Копировать путь"));
    find->setText(tr("&Найти"));
    expandAll->setText(tr("&Развернуть всё"));
    collapseAll->setText(tr("&Свернуть всё"));
    close->setText(tr("&Закрыть"));
    toolBar->setAccessibleName(tr("Панель инструментов"));
}

} // namespace sito
