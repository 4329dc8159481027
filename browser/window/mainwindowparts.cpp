// SPDX-License-Identifier: MIT
// The actions, menus, docks and bars of the main window, and their texts.
#include <browser/window/mainwindow.h>

#include <browser/parts/languages.h>
#include <browser/parts/look.h>
#include <browser/window/tablelist.h>
#include <browser/window/tablepage.h>
#include <hostkit/views/filterpanel.h>
#include <hostkit/views/icons.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/views/filterheader.h>

#include <QActionGroup>
#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QSettings>
#include <QStatusBar>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

void MainWindow::makeActions()
{
    const auto make = [this](const char *name, Shape shape, const QList<QKeySequence> &shortcuts,
                             const std::function<void()> &slot) {
        auto *action = new QAction(Icons::icon(shape), QString(), this);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcuts(shortcuts);
        connect(action, &QAction::triggered, this, [slot] { slot(); });
        addAction(action);
        return action;
    };
    const auto makePlain = [&make](const char *name, const QList<QKeySequence> &shortcuts,
                                   const std::function<void()> &slot) {
        QAction *action = make(name, Shape::Table, shortcuts, slot);
        action->setIcon(QIcon());
        return action;
    };
    const auto onView = [this](void (FilteredTableView::*work)()) {
        return [this, work] {
            if (m_page)
                (m_page->view()->*work)();
        };
    };
    const auto onColumn = [this](const std::function<void(int section)> &work) {
        return [this, work] {
            if (m_page && m_page->view()->currentIndex().isValid())
                work(m_page->view()->currentIndex().column());
        };
    };

    m_actions.openFile = make("openFile", Shape::Open, {QKeySequence::Open}, [this] { askFile(); });
    m_actions.openServer =
        make("openServer", Shape::Server, {QKeySequence(u"Ctrl+Shift+O"_s)}, [this] { askServer(); });
    m_actions.openSample = makePlain("openSample", {}, [this] { openSample(); });
    m_actions.exportCsv =
        make("exportCsv", Shape::Export, {QKeySequence(u"Ctrl+E"_s)}, [this] { askExportFile(); });
    m_actions.quit = makePlain("quit", {QKeySequence(u"Ctrl+Q"_s)}, [this] { close(); });

    m_actions.copy = make("copy", Shape::Copy, {QKeySequence::Copy}, [this] { copySelection(false); });
    m_actions.copyWithHeaders =
        makePlain("copyWithHeaders", {QKeySequence(u"Ctrl+Shift+C"_s)}, [this] { copySelection(true); });
    m_actions.selectAll = makePlain("selectAll", {QKeySequence::SelectAll}, [this] {
        if (m_page)
            m_page->view()->selectAll();
    });

    m_actions.sortAscending = makePlain(
        "sortAscending", {QKeySequence(u"Ctrl+Shift+Up"_s)},
        onColumn([this](int section) { m_page->view()->setSorting(section, Qt::AscendingOrder, false); }));
    m_actions.sortDescending = makePlain(
        "sortDescending", {QKeySequence(u"Ctrl+Shift+Down"_s)},
        onColumn([this](int section) { m_page->view()->setSorting(section, Qt::DescendingOrder, false); }));
    m_actions.unsort = makePlain("unsort", {}, onView(&FilteredTableView::clearSorting));
    m_actions.resizeColumns = makePlain("resizeColumns", {}, onView(&FilteredTableView::resizeColumns));
    const auto moveColumn = [this, &onColumn](bool toRight) {
        return onColumn([this, toRight](int section) {
            if (m_page->view()->moveColumn(section, toRight))
                m_page->view()->scrollTo(m_page->view()->currentIndex());
        });
    };
    m_actions.moveLeft = makePlain("moveColumnLeft", {QKeySequence(u"Ctrl+Shift+Left"_s)}, moveColumn(false));
    m_actions.moveRight =
        makePlain("moveColumnRight", {QKeySequence(u"Ctrl+Shift+Right"_s)}, moveColumn(true));

    m_actions.goTables = makePlain("goTables", {QKeySequence(u"Ctrl+1"_s)}, [this] {
        m_tablesDock->show();
        m_tableList->tree()->setFocus(Qt::ShortcutFocusReason);
    });
    m_actions.goRows = makePlain("goRows", {QKeySequence(u"Ctrl+2"_s)}, [this] {
        if (m_page)
            m_page->view()->setFocus(Qt::ShortcutFocusReason);
    });
    m_actions.goFilters = makePlain("goFilters", {QKeySequence(u"Ctrl+3"_s)}, [this] {
        m_filtersDock->show();
        m_panel->focusFirst();
    });

    m_actions.columnFilter = make("columnFilter", Shape::Filter, {}, onColumn([this](int section) {
                                      m_page->view()->scrollTo(m_page->view()->currentIndex());
                                      m_page->header()->requestFilter(section);
                                  }));
    m_actions.hideValues = makePlain("hideSelected", {QKeySequence(u"Ctrl+H"_s)},
                                     onView(&FilteredTableView::hideSelectedValues));
    m_actions.showOnly = makePlain("showOnlySelected", {QKeySequence(u"Ctrl+Shift+H"_s)},
                                   onView(&FilteredTableView::showOnlySelectedValues));
    m_actions.sessions = new QAction(Icons::icon(Shape::Session), QString(), this);
    m_actions.sessions->setObjectName(u"sessionFilter"_s);
    m_actions.sessions->setCheckable(true);
    m_actions.sessions->setShortcut(QKeySequence(u"Ctrl+L"_s));
    addAction(m_actions.sessions);
    connect(m_actions.sessions, &QAction::triggered, this, &MainWindow::switchSessions);
    m_actions.clearFilters =
        make("clearFilters", Shape::FilterOff, {QKeySequence(u"Ctrl+Shift+L"_s)}, [this] {
            if (m_page)
                m_page->clearFilters();
        });

    m_actions.settings =
        make("settings", Shape::Settings, {QKeySequence(u"Ctrl+,"_s)}, [this] { showSettings(); });
    m_actions.settingsFile = makePlain("settingsFile", {}, [this] { askSettingsFile(); });
    m_actions.about = makePlain("about", {}, [this] { showAbout(); });
    m_actions.aboutQt = makePlain("aboutQt", {}, [] { QApplication::aboutQt(); });
}

void MainWindow::makeDocks()
{
    m_tableList = new TableList;
    m_tablesDock = new QDockWidget(this);
    m_tablesDock->setObjectName(u"tablesDock"_s);
    m_tablesDock->setWidget(m_tableList);
    addDockWidget(Qt::LeftDockWidgetArea, m_tablesDock);
    connect(m_tableList, &TableList::chosen, this, [this](const QString &name) { showTable(name); });

    m_panel = new FilterPanel;
    m_filtersDock = new QDockWidget(this);
    m_filtersDock->setObjectName(u"filtersDock"_s);
    m_filtersDock->setWidget(m_panel);
    addDockWidget(Qt::RightDockWidgetArea, m_filtersDock);
    connect(m_panel, &FilterPanel::editRequested, this, &MainWindow::editFilter);
    connect(m_panel, &FilterPanel::saveRequested, this, &MainWindow::askSetName);
    connect(m_panel, &FilterPanel::restoreRequested, this, &MainWindow::restoreSet);
    connect(m_panel, &FilterPanel::deletionRequested, this, &MainWindow::deleteSet);

    const int character = fontMetrics().averageCharWidth();
    resizeDocks({m_tablesDock, m_filtersDock}, {character * 30, character * 36}, Qt::Horizontal);
}

void MainWindow::makeMenus()
{
    m_fileMenu = menuBar()->addMenu(QString());
    m_fileMenu->addActions({m_actions.openFile, m_actions.openServer});
    m_recentMenu = m_fileMenu->addMenu(QString());
    m_recentMenu->setObjectName(u"recentMenu"_s);
    m_fileMenu->addAction(m_actions.openSample);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_actions.exportCsv);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(m_actions.quit);

    m_editMenu = menuBar()->addMenu(QString());
    m_editMenu->addActions({m_actions.copy, m_actions.copyWithHeaders});
    m_editMenu->addSeparator();
    m_editMenu->addAction(m_actions.selectAll);

    m_viewMenu = menuBar()->addMenu(QString());
    m_columnsMenu = m_viewMenu->addMenu(Icons::icon(Shape::Columns), QString());
    m_columnsMenu->setObjectName(u"columnsMenu"_s);
    connect(m_columnsMenu, &QMenu::aboutToShow, this, &MainWindow::fillColumnsMenu);
    m_viewMenu->addActions({m_actions.moveLeft, m_actions.moveRight, m_actions.resizeColumns});
    m_sortMenu = m_viewMenu->addMenu(QString());
    m_sortMenu->addActions({m_actions.sortAscending, m_actions.sortDescending, m_actions.unsort});
    m_viewMenu->addSeparator();
    m_goMenu = m_viewMenu->addMenu(QString());
    m_goMenu->addActions({m_actions.goTables, m_actions.goRows, m_actions.goFilters});
    m_viewMenu->addActions({m_tablesDock->toggleViewAction(), m_filtersDock->toggleViewAction()});
    m_viewMenu->addSeparator();

    m_lookMenu = m_viewMenu->addMenu(QString());
    m_lookGroup = new QActionGroup(this);
    for (const Look::Scheme scheme : {Look::Scheme::System, Look::Scheme::Light, Look::Scheme::Dark}) {
        QAction *action = m_lookMenu->addAction(QString());
        action->setObjectName(u"look-"_s + Look::name(scheme));
        action->setCheckable(true);
        m_lookGroup->addAction(action);
        connect(action, &QAction::triggered, this, [this, scheme] {
            m_store.setValue(u"window/look"_s, Look::name(scheme));
            Look::apply(scheme);
        });
    }
    m_languageMenu = m_viewMenu->addMenu(QString());
    m_languageGroup = new QActionGroup(this);
    for (const Languages::Language language :
         {Languages::Language::System, Languages::Language::Russian, Languages::Language::English}) {
        QAction *action = m_languageMenu->addAction(QString());
        action->setObjectName(u"language-"_s + Languages::name(language));
        action->setCheckable(true);
        m_languageGroup->addAction(action);
        connect(action, &QAction::triggered, this, [this, language] {
            m_store.setValue(u"window/language"_s, Languages::name(language));
            m_languages.apply(language);
        });
    }

    m_filtersMenu = menuBar()->addMenu(QString());
    m_filtersMenu->addActions({m_actions.columnFilter, m_actions.hideValues, m_actions.showOnly});
    m_filtersMenu->addSeparator();
    m_filtersMenu->addAction(m_actions.sessions);
    m_filtersMenu->addSeparator();
    m_filtersMenu->addMenu(m_panel->setsMenu());
    m_filtersMenu->addAction(m_actions.clearFilters);

    m_settingsMenu = menuBar()->addMenu(QString());
    m_settingsMenu->addActions({m_actions.settings, m_actions.settingsFile});

    m_helpMenu = menuBar()->addMenu(QString());
    m_helpMenu->addActions({m_actions.about, m_actions.aboutQt});
    connect(m_recentMenu, &QMenu::aboutToShow, this, &MainWindow::fillRecentMenu);
    for (QMenu *menu : {m_lookMenu, m_languageMenu}) {
        connect(menu, &QMenu::aboutToShow, this, [this] {
            findChild<QAction *>(u"look-"_s + Look::name(Look::current()))->setChecked(true);
            findChild<QAction *>(u"language-"_s + Languages::name(m_languages.current()))->setChecked(true);
        });
    }
}

void MainWindow::makeToolBar()
{
    m_toolBar = addToolBar(QString());
    m_toolBar->setObjectName(u"toolBar"_s);
    m_toolBar->setMovable(false);
    m_toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_toolBar->setIconSize({side, side});
    m_toolBar->addActions({m_actions.openFile, m_actions.openServer, m_actions.exportCsv});
    m_toolBar->addSeparator();
    m_toolBar->addActions({m_actions.columnFilter, m_actions.sessions, m_actions.clearFilters});
    m_toolBar->addSeparator();
    m_toolBar->addAction(m_actions.settings);
    for (QToolButton *button : m_toolBar->findChildren<QToolButton *>())
        button->setFocusPolicy(Qt::TabFocus);
    m_viewMenu->insertAction(m_lookMenu->menuAction(), m_toolBar->toggleViewAction());
    m_viewMenu->insertSeparator(m_lookMenu->menuAction());
}

void MainWindow::makeStatusBar()
{
    m_activity = new QLabel;
    m_activity->setObjectName(u"activity"_s);
    m_activity->setTextFormat(Qt::PlainText);
    m_progress = new QProgressBar;
    m_progress->setObjectName(u"progress"_s);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(fontMetrics().averageCharWidth() * 30);
    m_progress->setMaximumHeight(fontMetrics().height());
    m_cancel = new QToolButton;
    m_cancel->setObjectName(u"cancel"_s);
    m_cancel->setAutoRaise(true);
    m_cancel->setIcon(Icons::icon(Shape::Close));
    m_cancel->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_cancel->setFocusPolicy(Qt::StrongFocus);
    connect(m_cancel, &QToolButton::clicked, this, &MainWindow::interrupt);
    m_rowsLabel = new QLabel;
    m_rowsLabel->setObjectName(u"rows"_s);
    m_timeLabel = new QLabel;
    m_timeLabel->setObjectName(u"time"_s);
    for (QLabel *label : {m_rowsLabel, m_timeLabel})
        label->setContentsMargins(fontMetrics().averageCharWidth(), 0, fontMetrics().averageCharWidth(), 0);
    // Permanent, all of them: a message of the bar hides the others.
    statusBar()->addPermanentWidget(m_activity);
    statusBar()->addPermanentWidget(m_progress);
    statusBar()->addPermanentWidget(m_cancel);
    statusBar()->addPermanentWidget(m_rowsLabel);
    statusBar()->addPermanentWidget(m_timeLabel);
    showActivity(QString());
}

void MainWindow::retranslate()
{
    const auto name = [](QAction *action, const QString &text, const QString &shortText = QString(),
                         const QString &hint = QString()) {
        action->setText(text);
        action->setIconText(shortText.isEmpty() ? QString(text).remove(u'&').remove(u'…') : shortText);
        const QString key = action->shortcut().toString(QKeySequence::NativeText);
        const QString toolTip = hint.isEmpty() ? QString(text).remove(u'&') : hint;
        action->setToolTip(key.isEmpty() ? toolTip : u"%1 (%2)"_s.arg(toolTip, key));
        action->setStatusTip(hint);
    };
    m_fileMenu->setTitle(tr("&Файл"));
    name(m_actions.openFile, tr("&Открыть файл…"), tr("Открыть"), tr("Открыть базу данных SQLite"));
    name(m_actions.openServer, tr("Открыть &сервер…"), tr("Сервер"), tr("Открыть базу данных на сервере"));
    m_recentMenu->setTitle(tr("&Недавние"));
    name(m_actions.openSample, tr("Открыть &пример"));
    name(m_actions.exportCsv, tr("&Экспорт в CSV…"), tr("Экспорт"),
         tr("Записать показанные строки в файл CSV"));
    name(m_actions.quit, tr("В&ыйти"));

    m_editMenu->setTitle(tr("&Правка"));
    name(m_actions.copy, tr("&Копировать"), QString(), tr("Копировать выделенные ячейки"));
    name(m_actions.copyWithHeaders, tr("Копировать с &заголовками"));
    name(m_actions.selectAll, tr("&Выделить всё"));

    m_viewMenu->setTitle(tr("&Вид"));
    m_columnsMenu->setTitle(tr("&Столбцы"));
    name(m_actions.resizeColumns, tr("Подобрать &ширину столбцов"));
    name(m_actions.moveLeft, tr("Переместить столбец в&лево"));
    name(m_actions.moveRight, tr("Переместить столбец впр&аво"));
    m_sortMenu->setTitle(tr("С&ортировка"));
    name(m_actions.sortAscending, tr("По &возрастанию"));
    name(m_actions.sortDescending, tr("По &убыванию"));
    name(m_actions.unsort, tr("&Не сортировать"));
    m_goMenu->setTitle(tr("&Перейти"));
    name(m_actions.goTables, tr("К &таблицам"));
    name(m_actions.goRows, tr("К &строкам"));
    name(m_actions.goFilters, tr("К &фильтрам"));
    m_tablesDock->setWindowTitle(tr("Таблицы"));
    m_filtersDock->setWindowTitle(tr("Фильтры"));
    // Qt names the buttons of a dock once and for all.
    for (const QDockWidget *dock : {m_tablesDock, m_filtersDock}) {
        const auto nameButton = [dock](const QString &objectName, const QString &text) {
            if (auto *button = dock->findChild<QAbstractButton *>(objectName)) {
                button->setToolTip(text);
                button->setAccessibleName(u"%1: %2"_s.arg(dock->windowTitle(), text));
                button->setAccessibleDescription(QString());
            }
        };
        nameButton(u"qt_dockwidget_floatbutton"_s, tr("Отделить"));
        nameButton(u"qt_dockwidget_closebutton"_s, tr("Закрыть"));
    }
    m_toolBar->setWindowTitle(tr("Панель инструментов"));
    m_lookMenu->setTitle(tr("Офо&рмление"));
    const QStringList looks{tr("Как в &системе"), tr("&Светлое"), tr("&Тёмное")};
    for (qsizetype i = 0; i < looks.size(); ++i)
        m_lookGroup->actions().at(i)->setText(looks.at(i));
    // Found by whoever cannot read the other texts.
    m_languageMenu->setTitle(u"&Язык / Language"_s);
    const QStringList languages{tr("Как в &системе"), u"&Русский"_s, u"&English"_s};
    for (qsizetype i = 0; i < languages.size(); ++i)
        m_languageGroup->actions().at(i)->setText(languages.at(i));

    m_filtersMenu->setTitle(tr("Ф&ильтры"));
    name(m_actions.columnFilter, tr("&Фильтр столбца…"), tr("Фильтр"),
         tr("Выбрать значения столбца (Alt+↓)"));
    name(m_actions.hideValues, tr("&Скрыть эти значения"));
    name(m_actions.showOnly, tr("Показать &только эти"));
    name(m_actions.sessions, tr("Скрыть &последние сессии бумаг"), tr("Сессии"),
         tr("Скрыть последнюю сессию каждой бумаги"));
    name(m_actions.clearFilters, tr("Снять &все фильтры"), tr("Снять фильтры"));

    m_settingsMenu->setTitle(tr("&Настройки"));
    name(m_actions.settings, tr("&Настройки программы…"), tr("Настройки"),
         tr("Все настройки программы деревом"));
    name(m_actions.settingsFile, tr("Открыть &файл настроек…"));
    m_helpMenu->setTitle(tr("&Справка"));
    name(m_actions.about, tr("&О программе"));
    name(m_actions.aboutQt, tr("О &Qt"));

    m_cancel->setText(tr("Прервать"));
    m_cancel->setAccessibleName(m_cancel->text());
    m_progress->setAccessibleName(tr("Ход работы"));
    m_rowsLabel->setToolTip(tr("Показано строк и всего строк"));
    m_timeLabel->setToolTip(tr("Время последнего прохода: отбор и сортировка"));
    updateEmptyText();
    updateStatus();
    updateTitle();
}

} // namespace sito
