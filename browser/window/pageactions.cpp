// SPDX-License-Identifier: MIT
#include <browser/window/pageactions.h>

#include <browser/window/actionspec.h>
#include <browser/window/tablepage.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/views/filterheader.h>

#include <QAction>
#include <QCoreApplication>
#include <QList>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

namespace {

constexpr const char *pageContext = "sito::PageActions";

struct PageEntry
{
    QAction *PageActions::*action;
    ActionSpec spec;
};

QList<PageEntry> pageEntries()
{
    using P = PageActions;
    return {
        {&P::copy,
         {"copy", Shape::Copy, QKeySequence::Copy, QT_TRANSLATE_NOOP("sito::PageActions", "&Копировать"),
          nullptr, QT_TRANSLATE_NOOP("sito::PageActions", "Копировать выделенные ячейки")}},
        {&P::copyWithHeaders,
         {"copyWithHeaders", std::nullopt, u"Ctrl+Shift+C"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "Копировать с &заголовками")}},
        {&P::selectAll,
         {"selectAll", std::nullopt, QKeySequence::SelectAll,
          QT_TRANSLATE_NOOP("sito::PageActions", "&Выделить всё")}},
        {&P::sortAscending,
         {"sortAscending", std::nullopt, u"Ctrl+Shift+Up"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "По &возрастанию")}},
        {&P::sortDescending,
         {"sortDescending", std::nullopt, u"Ctrl+Shift+Down"_s,
          QT_TRANSLATE_NOOP("sito::PageActions", "По &убыванию")}},
        {&P::unsort, {"unsort", std::nullopt, {}, QT_TRANSLATE_NOOP("sito::PageActions", "&Не сортировать")}},
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
    };
}

} // namespace

PageActions::PageActions(QWidget &owner) : QObject(&owner)
{
    const QList<PageEntry> all = pageEntries();
    for (const PageEntry &entry : all)
        this->*entry.action = entry.spec.make(owner);
    sessions->setCheckable(true);

    connectPage(selectAll, [](TablePage &page) { page.view()->selectAll(); });
    connectPage(unsort, [](TablePage &page) { page.view()->clearSorting(); });
    connectPage(resizeColumns, [](TablePage &page) { page.view()->resizeColumns(); });
    connectPage(goRows, [](TablePage &page) { page.view()->setFocus(Qt::ShortcutFocusReason); });
    connectPage(hideValues, [](TablePage &page) { page.view()->hideSelectedValues(); });
    connectPage(showOnly, [](TablePage &page) { page.view()->showOnlySelectedValues(); });
    connectPage(clearFilters, [](TablePage &page) { page.clearFilters(); });

    const auto connectSorting = [this](QAction *action, Qt::SortOrder order) {
        connectColumn(action, [order](TablePage &page, int section) {
            page.view()->setSorting(section, order, false);
        });
    };
    connectSorting(sortAscending, Qt::AscendingOrder);
    connectSorting(sortDescending, Qt::DescendingOrder);
    const auto connectMove = [this](QAction *action, bool toRight) {
        connectColumn(action, [toRight](TablePage &page, int section) {
            if (page.view()->moveColumn(section, toRight))
                page.view()->scrollTo(page.view()->currentIndex());
        });
    };
    connectMove(moveLeft, false);
    connectMove(moveRight, true);
    connectColumn(columnFilter, [](TablePage &page, int section) {
        page.view()->scrollTo(page.view()->currentIndex());
        page.header()->requestFilter(section);
    });
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
    connectPage(action, [work](TablePage &page) {
        if (page.view()->currentIndex().isValid())
            work(page, page.view()->currentIndex().column());
    });
}

void PageActions::setPage(TablePage *page)
{
    m_page = page;
    update();
}

void PageActions::update()
{
    const bool hasPage = m_page;
    for (QAction *action : {selectAll, sortAscending, sortDescending, unsort, resizeColumns, moveLeft,
                            moveRight, goRows, columnFilter})
        action->setEnabled(hasPage);
    for (QAction *action : {hideValues, showOnly})
        action->setEnabled(hasPage && m_page->view()->hasSelection());
    clearFilters->setEnabled(hasPage && !m_page->filters()->filters().isEmpty());
}

void PageActions::retranslate()
{
    const QList<PageEntry> all = pageEntries();
    for (const PageEntry &entry : all)
        entry.spec.translate(*(this->*entry.action), pageContext);
}

void PageActions::fillColumnsMenu(QMenu &menu)
{
    if (m_page)
        m_page->fillColumnsMenu(menu);
}

} // namespace sito
