// SPDX-License-Identifier: MIT
#include <browser/window/pageactions.h>

#include <browser/window/actionspec.h>
#include <browser/window/tablepage.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/views/filterheader.h>

#include <QAction>
#include <QCoreApplication>
#include <QMenu>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

namespace {

constexpr const char *pageContext = "sito::PageActions";

/// What is done with the rows, and their order.
ActionTable<PageActions> rowActionTable()
{
    using P = PageActions;
    return {{
        {&P::exportCsv,
         {"exportCsv", Shape::Export, u"Ctrl+E"_s, QT_TRANSLATE_NOOP("sito::PageActions", "&Экспорт в CSV…"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Экспорт"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Записать показанные строки в файл CSV")}},
        {&P::copy,
         {"copy", Shape::Copy, QKeySequence::Copy, QT_TRANSLATE_NOOP("sito::PageActions", "&Копировать"),
          nullptr, QT_TRANSLATE_NOOP("sito::PageActions", "Копировать выделенные ячейки")}},
        {&P::copyWithHeaders,
         {"copyWithHeaders", std::nullopt, u"Ctrl+Shift+C"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Копировать с &заголовками")}},
        {&P::showValue,
         {"showValue", std::nullopt, u"F4"_s, QT_TRANSLATE_NOOP("sito::PageActions", "Значение &целиком…"),
          nullptr, QT_TRANSLATE_NOOP("sito::PageActions", "Показать все байты ячейки")}},
        {&P::selectAll,
         {"selectAll", std::nullopt, QKeySequence::SelectAll,
          QT_TRANSLATE_NOOP("sito::PageActions", "&Выделить всё")}},
        {&P::sortAscending,
         {"sortAscending", std::nullopt, u"Ctrl+Shift+Up"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "По &возрастанию")}},
        {&P::sortDescending,
         {"sortDescending", std::nullopt, u"Ctrl+Shift+Down"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "По &убыванию")}},
        {&P::thenAscending,
         {"thenAscending",
          std::nullopt,
          {},
          QT_TRANSLATE_NOOP("sito::PageActions", "За&тем по возрастанию")}},
        {&P::thenDescending,
         {"thenDescending", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::PageActions", "Затем п&о убыванию")}},
        {&P::unsort, {"unsort", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::PageActions", "&Не сортировать")}},
    }};
}

/// What is done with columns and filters.
ActionTable<PageActions> columnActionTable()
{
    using P = PageActions;
    return {{
        {&P::hideColumn,
         {"hideColumn", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::PageActions", "Скр&ыть столбец")}},
        {&P::showAllColumns,
         {"showAllColumns",
          std::nullopt,
          {},
          QT_TRANSLATE_NOOP("sito::PageActions", "Показать &все столбцы")}},
        {&P::resizeColumns,
         {"resizeColumns",
          std::nullopt,
          {},
          QT_TRANSLATE_NOOP("sito::PageActions", "Подобрать &ширину столбцов")}},
        {&P::moveLeft,
         {"moveColumnLeft", std::nullopt, u"Ctrl+Shift+Left"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Переместить столбец в&лево")}},
        {&P::moveRight,
         {"moveColumnRight", std::nullopt, u"Ctrl+Shift+Right"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Переместить столбец впр&аво")}},
        {&P::goRows,
         {"goRows", std::nullopt, u"Ctrl+2"_s, QT_TRANSLATE_NOOP("sito::PageActions", "К &строкам")}},
        {&P::columnFilter,
         {"columnFilter",
          Shape::Filter,
          {},
          QT_TRANSLATE_NOOP("sito::PageActions", "&Фильтр столбца…"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Фильтр"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Выбрать значения столбца (Alt+↓)")}},
        {&P::clearColumnFilters,
         {"clearColumnFilters",
          Shape::FilterOff,
          {},
          QT_TRANSLATE_NOOP("sito::PageActions", "Снять фильтры стол&бца")}},
        {&P::hideValues,
         {"hideSelected", Shape::FilterOff, u"Ctrl+H"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "&Скрыть эти значения")}},
        {&P::showOnly,
         {"showOnlySelected", Shape::Filter, u"Ctrl+Shift+H"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Показать &только эти")}},
        {&P::sessions,
         {"sessionFilter", Shape::Session, u"Ctrl+L"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Скрыть &последние сессии бумаг"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Сессии"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Скрыть последнюю сессию каждой бумаги")}},
        {&P::clearFilters,
         {"clearFilters", Shape::FilterOff, u"Ctrl+Shift+L"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Снять &все фильтры"),
          QT_TRANSLATE_NOOP("sito::PageActions", "Снять фильтры")}},
    }};
}

} // namespace

PageActions::PageActions(QWidget &owner) : QObject(&owner), columnsMenu(new QMenu(&owner))
{
    rowActionTable().make(*this, owner);
    columnActionTable().make(*this, owner);
    sessions->setCheckable(true);
    columnsMenu->setObjectName(u"columnsMenu"_s);
    columnsMenu->setIcon(Icons::icon(Shape::Columns));
    connect(columnsMenu, &QMenu::aboutToShow, this, &PageActions::fillColumnsMenu);

    connectPage(selectAll, [](TablePage &page) { page.view()->selectAll(); });
    connectPage(unsort, [](TablePage &page) { page.view()->clearSorting(); });
    connectPage(showAllColumns, [](TablePage &page) { page.view()->showAllColumns(); });
    connectPage(resizeColumns, [](TablePage &page) { page.view()->resizeColumns(); });
    connectPage(goRows, [](TablePage &page) { page.view()->setFocus(Qt::ShortcutFocusReason); });
    connectPage(hideValues, [](TablePage &page) { page.view()->hideSelectedValues(); });
    connectPage(showOnly, [](TablePage &page) { page.view()->showOnlySelectedValues(); });
    connectPage(clearFilters, [](TablePage &page) { page.clearFilters(); });
    connectColumns();
}

void PageActions::connectColumns()
{
    const auto connectSorting = [this](QAction *action, Qt::SortOrder order, bool adding) {
        connectColumn(action, [order, adding](TablePage &page, int section) {
            page.view()->setSorting(section, order, adding);
        });
    };
    connectSorting(sortAscending, Qt::AscendingOrder, false);
    connectSorting(sortDescending, Qt::DescendingOrder, false);
    connectSorting(thenAscending, Qt::AscendingOrder, true);
    connectSorting(thenDescending, Qt::DescendingOrder, true);
    const auto showCurrent = [](TablePage &page, int section) {
        if (section == page.view()->currentIndex().column())
            page.view()->scrollTo(page.view()->currentIndex());
    };
    const auto connectMove = [this, showCurrent](QAction *action, bool toRight) {
        connectColumn(action, [toRight, showCurrent](TablePage &page, int section) {
            if (page.view()->moveColumn(section, toRight))
                showCurrent(page, section);
        });
    };
    connectMove(moveLeft, false);
    connectMove(moveRight, true);
    connectColumn(hideColumn, [](TablePage &page, int section) {
        if (page.canHideColumn())
            page.header()->hideSection(section);
    });
    connectColumn(columnFilter, [showCurrent](TablePage &page, int section) {
        showCurrent(page, section);
        page.header()->requestFilter(section);
    });
    connectColumn(clearColumnFilters, [](TablePage &page, int section) { page.clearColumnFilters(section); });
}

void PageActions::connectPage(QAction *action, const std::function<void(TablePage &page)> &work)
{
    connect(action, &QAction::triggered, this, [this, work] {
        if (m_page)
            work(*m_page);
    });
}

void PageActions::connectColumn(QAction *action,
                                const std::function<void(TablePage &page, int section)> &work)
{
    connectPage(action, [this, work](TablePage &page) {
        const int section = m_columnMenu ? m_menuSection : page.view()->currentIndex().column();
        if (section >= 0)
            work(page, section);
    });
}

void PageActions::setPage(TablePage *page)
{
    m_page = page;
    update();
}

void PageActions::setColumn(int section, QMenu &menu)
{
    m_columnMenu = &menu;
    m_menuSection = section;
    connect(&menu, &QObject::destroyed, this, [this, &menu] {
        if (m_columnMenu == &menu)
            m_columnMenu = nullptr;
        update();
    });
    update();
}

void PageActions::update()
{
    const bool hasPage = m_page;
    for (QAction *action :
         {selectAll, sortAscending, sortDescending, thenAscending, thenDescending, unsort, hideColumn,
          showAllColumns, resizeColumns, moveLeft, moveRight, goRows, columnFilter, clearColumnFilters})
        action->setEnabled(hasPage);
    columnsMenu->setEnabled(hasPage);
    for (QAction *action : {hideValues, showOnly})
        action->setEnabled(hasPage && m_page->view()->hasSelection());
    clearFilters->setEnabled(hasPage && !m_page->filters()->filters().isEmpty());
    if (hasPage && m_columnMenu)
        updateColumn();
}

/// What a menu shows to be impossible; keys find out when they are pressed.
void PageActions::updateColumn()
{
    const bool isSorted = !m_page->model()->sortKeys().isEmpty();
    for (QAction *action : {thenAscending, thenDescending, unsort})
        action->setEnabled(isSorted);
    if (m_menuSection < 0)
        return;
    clearColumnFilters->setEnabled(m_page->header()->isFiltered(m_menuSection));
    hideColumn->setEnabled(m_page->canHideColumn());
    moveLeft->setEnabled(m_page->view()->neighbour(m_menuSection, false) >= 0);
    moveRight->setEnabled(m_page->view()->neighbour(m_menuSection, true) >= 0);
}

void PageActions::retranslate()
{
    rowActionTable().translate(*this, pageContext);
    columnActionTable().translate(*this, pageContext);
    columnsMenu->setTitle(tr("&Столбцы"));
}

void PageActions::fillColumnsMenu()
{
    columnsMenu->clear();
    if (!m_page)
        return;
    m_page->addColumns(*columnsMenu);
    columnsMenu->addSeparator();
    columnsMenu->addActions({showAllColumns, resizeColumns});
}

} // namespace sito
