// SPDX-License-Identifier: MIT
#include <browser/window/windowactions.h>

#include <browser/parts/languages.h>
#include <browser/parts/look.h>
#include <browser/window/actionspec.h>
#include <browser/window/choicemenu.h>
#include <browser/window/pageactions.h>
#include <browser/window/refreshcommands.h>

#include <hostkit/text/labeltext.h>

#include <QCoreApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSettings>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

namespace {

constexpr const char *windowContext = "sito::WindowActions";

ActionTable<WindowActions> windowActionTable()
{
    using W = WindowActions;
    return {{
        {&W::openFile,
         {"openFile", Shape::Open, QKeySequence::Open,
          QT_TRANSLATE_NOOP("sito::WindowActions", "&Открыть файл…"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть базу данных SQLite или файл CSV")}},
        {&W::openServer,
         {"openServer", Shape::Server, u"Ctrl+Shift+O"_s,
          QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть &сервер…"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Сервер"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть базу данных на сервере")}},
        {&W::openSample,
         {"openSample", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть &пример")}},
        {&W::newWindow,
         {"newWindow", std::nullopt, QKeySequence::New,
          QT_TRANSLATE_NOOP("sito::WindowActions", "Но&вое окно"), nullptr,
          QT_TRANSLATE_NOOP("sito::WindowActions", "Ещё одно окно с этой таблицей; фильтры в нём свои")}},
        {&W::refresh,
         {"refresh", std::nullopt, u"F5"_s, QT_TRANSLATE_NOOP("sito::WindowActions", "О&бновить"), nullptr,
          QT_TRANSLATE_NOOP("sito::WindowActions", "Прочитать таблицу заново; выделение и место остаются")}},
        {&W::quit, {"quit", std::nullopt, u"Ctrl+Q"_s, QT_TRANSLATE_NOOP("sito::WindowActions", "В&ыйти")}},
        {&W::notes,
         {"notes",
          std::nullopt,
          {},
          QT_TRANSLATE_NOOP("sito::WindowActions", "&Замечания о таблице…"),
          nullptr,
          QT_TRANSLATE_NOOP("sito::WindowActions", "Что показано не так, как объявлено, и почему")}},
        {&W::goTables,
         {"goTables", std::nullopt, u"Ctrl+1"_s, QT_TRANSLATE_NOOP("sito::WindowActions", "К &таблицам")}},
        {&W::goFilters,
         {"goFilters", std::nullopt, u"Ctrl+3"_s, QT_TRANSLATE_NOOP("sito::WindowActions", "К &фильтрам")}},
        {&W::settings,
         {"settings", Shape::Settings, u"Ctrl+,"_s,
          QT_TRANSLATE_NOOP("sito::WindowActions", "&Настройки программы…"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Настройки"),
          QT_TRANSLATE_NOOP("sito::WindowActions", "Все настройки программы деревом")}},
        {&W::settingsFile,
         {"settingsFile",
          std::nullopt,
          {},
          QT_TRANSLATE_NOOP("sito::WindowActions", "Открыть &файл настроек…")}},
        {&W::about, {"about", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::WindowActions", "&О программе")}},
        {&W::aboutQt, {"aboutQt", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::WindowActions", "О &Qt")}},
    }};
}

} // namespace

WindowActions::WindowActions(QMainWindow &window, const Parts &parts, QSettings &store, Languages &languages)
    : QObject(&window), m_store(store), m_languages(languages)
{
    windowActionTable().make(*this, window);
    makeMenus(window, parts);
    makeToolBar(window, *parts.page);
}

void WindowActions::makeMenus(QMainWindow &window, const Parts &parts)
{
    QMenuBar *bar = window.menuBar();
    m_fileMenu = bar->addMenu(QString());
    m_fileMenu->addActions({openFile, openServer});
    m_recentMenu = parts.recent;
    m_fileMenu->addMenu(m_recentMenu);
    m_fileMenu->addAction(openSample);
    m_fileMenu->addAction(newWindow);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(refresh);
    m_intervalMenu = new ChoiceMenu(
        u"interval"_s, RefreshCommands::intervals(), [all = parts.refresh] { return all->interval(); },
        m_fileMenu);
    connect(m_intervalMenu, &ChoiceMenu::chosen, parts.refresh, &RefreshCommands::setInterval);
    m_fileMenu->addMenu(m_intervalMenu);
    m_growthMenu = new ChoiceMenu(
        u"growth"_s, {}, [all = parts.refresh] { return all->growingColumn(); }, m_fileMenu);
    m_growthMenu->setObjectName(u"growthMenu"_s);
    connect(m_growthMenu, &QMenu::aboutToShow, this, [this, all = parts.refresh] {
        QStringList columns = all->growingColumns();
        m_growthMenu->setNames(QStringList{QString()} + columns);
        std::transform(columns.begin(), columns.end(), columns.begin(), labelText);
        m_growthMenu->setTexts(QStringList{tr("&Нет, читать все")} + columns);
        m_growthMenu->check();
    });
    connect(m_growthMenu, &ChoiceMenu::chosen, parts.refresh, &RefreshCommands::setGrowingColumn);
    m_fileMenu->addMenu(m_growthMenu);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(parts.page->exportCsv);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(quit);

    m_editMenu = bar->addMenu(QString());
    m_editMenu->addActions({parts.page->copy, parts.page->copyWithHeaders});
    m_editMenu->addSeparator();
    m_editMenu->addAction(parts.page->selectAll);
    m_editMenu->addSeparator();
    m_editMenu->addAction(parts.page->showValue);

    m_viewMenu = bar->addMenu(QString());
    makeViewMenu(parts);

    m_filtersMenu = bar->addMenu(QString());
    m_filtersMenu->addActions({parts.page->columnFilter, parts.page->clearColumnFilters});
    m_filtersMenu->addSeparator();
    m_filtersMenu->addActions({parts.page->hideValues, parts.page->showOnly});
    m_filtersMenu->addSeparator();
    m_filtersMenu->addAction(parts.page->sessions);
    m_filtersMenu->addSeparator();
    m_filtersMenu->addMenu(parts.sets);
    m_filtersMenu->addAction(parts.page->clearFilters);

    m_settingsMenu = bar->addMenu(QString());
    m_settingsMenu->addActions({settings, settingsFile});

    m_helpMenu = bar->addMenu(QString());
    m_helpMenu->addActions({about, aboutQt});
}

void WindowActions::makeViewMenu(const Parts &parts)
{
    const PageActions &page = *parts.page;
    m_viewMenu->addMenu(page.columnsMenu);
    m_viewMenu->addActions({page.hideColumn, page.moveLeft, page.moveRight, page.resizeColumns});
    m_sortMenu = m_viewMenu->addMenu(QString());
    m_sortMenu->addActions(
        {page.sortAscending, page.sortDescending, page.thenAscending, page.thenDescending, page.unsort});
    m_viewMenu->addSeparator();
    m_goMenu = m_viewMenu->addMenu(QString());
    m_goMenu->addActions({goTables, page.goRows, goFilters});
    m_viewMenu->addActions({notes, parts.showTables, parts.showFilters});
    m_viewMenu->addSeparator();
    makeLookMenus();
}

void WindowActions::makeLookMenus()
{
    m_lookMenu = new ChoiceMenu(
        u"look"_s, Look::names(), [] { return Look::name(Look::current()); }, m_viewMenu);
    connect(m_lookMenu, &ChoiceMenu::chosen, this, [this](const QString &name) {
        m_store.setValue(u"window/look"_s, name);
        Look::apply(Look::fromName(name));
    });
    m_viewMenu->addMenu(m_lookMenu);
    m_languageMenu = new ChoiceMenu(
        u"language"_s, Languages::names(), [this] { return Languages::name(m_languages.current()); },
        m_viewMenu);
    connect(m_languageMenu, &ChoiceMenu::chosen, this, [this](const QString &name) {
        m_store.setValue(u"window/language"_s, name);
        m_languages.apply(Languages::fromName(name));
    });
    m_viewMenu->addMenu(m_languageMenu);
}

void WindowActions::makeToolBar(QMainWindow &window, const PageActions &page)
{
    m_toolBar = window.addToolBar(QString());
    m_toolBar->setObjectName(u"toolBar"_s);
    m_toolBar->setMovable(false);
    m_toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const int side = window.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &window);
    m_toolBar->setIconSize({side, side});
    m_toolBar->addActions({openFile, openServer, page.exportCsv});
    m_toolBar->addSeparator();
    m_toolBar->addActions({page.columnFilter, page.sessions, page.clearFilters});
    m_toolBar->addSeparator();
    m_toolBar->addAction(settings);
    for (QToolButton *button : m_toolBar->findChildren<QToolButton *>())
        button->setFocusPolicy(Qt::TabFocus);
    m_viewMenu->insertAction(m_lookMenu->menuAction(), m_toolBar->toggleViewAction());
    m_viewMenu->insertSeparator(m_lookMenu->menuAction());
}

void WindowActions::retranslate()
{
    windowActionTable().translate(*this, windowContext);

    m_fileMenu->setTitle(tr("&Файл"));
    m_recentMenu->setTitle(tr("&Недавние"));
    m_intervalMenu->setTitle(tr("Обнов&лять само"));
    m_intervalMenu->setTexts({tr("&Нет"), tr("Каждые &5 секунд"), tr("Каждые &30 секунд"),
                              tr("Каждую &минуту"), tr("Каждые 5 м&инут")});
    m_growthMenu->setTitle(tr("&Только новые и изменённые строки, по"));
    m_editMenu->setTitle(tr("&Правка"));
    m_viewMenu->setTitle(tr("&Вид"));
    m_sortMenu->setTitle(tr("С&ортировка"));
    m_goMenu->setTitle(tr("&Перейти"));
    m_filtersMenu->setTitle(tr("Ф&ильтры"));
    m_settingsMenu->setTitle(tr("&Настройки"));
    m_helpMenu->setTitle(tr("&Справка"));
    m_toolBar->setWindowTitle(tr("Панель инструментов"));

    m_lookMenu->setTitle(tr("Офо&рмление"));
    m_lookMenu->setTexts({tr("Как в &системе"), tr("&Светлое"), tr("&Тёмное")});
    // Found by whoever cannot read the other texts.
    m_languageMenu->setTitle(u"&Язык / Language"_s);
    m_languageMenu->setTexts({tr("Как в &системе"), u"&Русский"_s, u"&English"_s});
}

} // namespace sito
