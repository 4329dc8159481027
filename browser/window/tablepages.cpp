// SPDX-License-Identifier: MIT
#include <browser/window/tablepages.h>

#include <browser/window/keptviews.h>
#include <browser/window/tablepage.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/views/filterheader.h>

#include <database/memorytable.h>

#include <filters/valuefilter.h>

#include <QApplication>
#include <QLabel>
#include <QTableView>
#include <QVBoxLayout>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

TablePages::TablePages(KeptViews &views, PageActions &actions, QWidget *parent)
    : QStackedWidget(parent), m_views(views), m_actions(actions), m_empty(new QWidget), m_text(new QLabel)
{
    m_empty->setObjectName(u"emptyPage"_s);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setWordWrap(true);
    m_text->setForegroundRole(QPalette::PlaceholderText);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *layout = new QVBoxLayout(m_empty);
    layout->addStretch();
    layout->addWidget(m_text);
    layout->addStretch();
    addWidget(m_empty);
}

void TablePages::setText(const QString &text)
{
    m_text->setText(text);
}

void TablePages::add(MemoryTable &table, const ShowRequest &request)
{
    auto *page = new TablePage(table, m_actions);
    m_pages.insert(table.name(), page);
    addWidget(page);
    follow(*page);
    page->view()->resizeColumns();
    const QString layout = m_views.layout(table.name());
    if (!layout.isEmpty())
        page->view()->restoreLayout(layout);
    if (!request.hasFilters())
        restoreFilters(*page);
    setPage(*page);
    // Else the next change by the user would overwrite the kept filters.
    if (request.hasFilters() && !applyRequest(*page, request))
        restoreFilters(*page);
}

void TablePages::follow(TablePage &page)
{
    connect(&page, &TablePage::failed, this, &TablePages::failed);
    connect(&page, &TablePage::restWanted, this, [this, &page] { Q_EMIT restWanted(page.table()->name()); });
    connect(&page, &TablePage::selectionDropped, this, &TablePages::selectionDropped);
    connect(page.view()->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TablePages::changed);
    connect(page.view()->selectionModel(), &QItemSelectionModel::currentChanged, this, &TablePages::changed);
    connect(page.filters(), &FilterList::changed, this, &TablePages::changed);
    m_views.follow(page.table()->name(), *page.filters());

    const TableModel *model = page.model();
    connect(model, &TableModel::passStarted, this, &TablePages::passStarted);
    connect(model, &TableModel::passProgress, this,
            [this, &page](int percent) { setPassed(&page, percent); });
    const auto end = [this, &page] { setPassed(&page, -1); };
    connect(model, &TableModel::passFinished, this, end);
    connect(model, &TableModel::passFailed, this, end);
    connect(model, &TableModel::passCancelled, this, end);
    connect(model, &TableModel::changesShown, this, &TablePages::passChanged);
}

void TablePages::setPassed(const TablePage *page, int percent)
{
    if (page == m_page)
        m_passed = percent;
    Q_EMIT passChanged();
}

void TablePages::showPage(TablePage &page, const ShowRequest &request)
{
    setPage(page);
    if (request.hasFilters())
        applyRequest(page, request);
}

void TablePages::setPage(TablePage &page)
{
    m_page = &page;
    m_passed = -1;
    setCurrentWidget(&page);
    m_views.setLastTable(page.table()->name());
    if (!page.view()->currentIndex().isValid() && page.model()->rowCount() > 0) {
        const int first = page.header()->logicalIndex(0);
        page.view()->selectionModel()->setCurrentIndex(page.model()->index(0, first),
                                                       QItemSelectionModel::NoUpdate);
    }
    if (std::exchange(m_takesFocus, false))
        page.view()->setFocus(Qt::OtherFocusReason);
    Q_EMIT shown(&page);
}

void TablePages::keepLayouts()
{
    for (auto page = m_pages.cbegin(); page != m_pages.cend(); ++page)
        m_views.setLayout(page.key(), page.value()->view()->layoutText());
}

void TablePages::renewSessionFilters()
{
    for (TablePage *page : std::as_const(m_pages))
        page->renewSessionFilter();
}

void TablePages::close(TablePage &page)
{
    m_views.flush();
    const QString table = page.table()->name();
    m_views.setLayout(table, page.view()->layoutText());
    m_pages.remove(table);
    if (m_page == &page) {
        m_page = nullptr;
        m_passed = -1;
        m_takesFocus = page.isAncestorOf(QApplication::focusWidget());
        setCurrentWidget(m_empty);
        Q_EMIT shown(nullptr);
    }
    delete &page;
}

void TablePages::closeAll()
{
    keepLayouts();
    m_page = nullptr;
    m_passed = -1;
    m_takesFocus = true;
    setCurrentWidget(m_empty);
    Q_EMIT shown(nullptr);
    qDeleteAll(std::exchange(m_pages, {}));
}

void TablePages::restoreFilters(TablePage &page)
{
    const QStringList messages = m_views.restoreFilters(page.table()->name(), *page.filters());
    for (const QString &message : messages)
        Q_EMIT failed(message);
}

bool TablePages::applyRequest(TablePage &page, const ShowRequest &request)
{
    std::vector<std::unique_ptr<ValueFilter>> filters;
    try {
        filters = filtersFromOptions(*page.table(), request.keyOptions, request.sessionColumns);
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
        return false;
    }
    m_views.changeUnkept([&] {
        page.filters()->clear();
        for (auto &filter : filters)
            page.filters()->add(filter.release());
    });
    return true;
}

} // namespace sito
