// SPDX-License-Identifier: MIT
#include <browser/window/tablepage.h>

#include <browser/parts/noticebar.h>
#include <browser/window/changemarks.h>
#include <browser/window/pageactions.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/filtertext.h>
#include <hostkit/text/labeltext.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/icons.h>

#include <database/memorytable.h>

#include <data/tablechanges.h>
#include <filters/securitiessessionfilter.h>

#include <QEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QVBoxLayout>

#include <algorithm>
#include <numeric>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString stockColumn = u"stock_id"_s;
const QString sessionColumn = u"sess_id"_s;

QList<int> allColumns(const MemoryTable &table)
{
    QList<int> columns(table.columnCount());
    std::iota(columns.begin(), columns.end(), 0);
    return columns;
}

} // namespace

TablePage::TablePage(MemoryTable &table, PageActions &actions, QWidget *parent)
    : QWidget(parent),
      m_table(&table),
      m_actions(actions),
      m_notice(new NoticeBar(this)),
      m_restNotice(new NoticeBar(this)),
      m_view(new FilteredTableView(table, allColumns(table), this))
{
    m_view->setObjectName(u"tableView"_s);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->installEventFilter(this);
    m_notice->setObjectName(u"passNotice"_s);
    m_notice->setClosable(false);
    m_restNotice->setObjectName(u"restNotice"_s);
    m_restNotice->setClosable(false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_restNotice);
    layout->addWidget(m_notice);
    layout->addWidget(m_view);
    setFocusProxy(m_view);
    m_view->follow(&table.changes());

    connect(m_view, &FilteredTableView::selectionDropped, this, &TablePage::selectionDropped);
    connect(m_view, &FilteredTableView::headerMenuRequested, this, &TablePage::showHeaderMenu);
    connect(m_view, &FilteredTableView::cellMenuRequested, this, &TablePage::showCellMenu);
    connect(model(), &TableModel::passStarted, this, &TablePage::updateNotice);
    connect(m_view, &FilteredTableView::rowsChanged, this, [this] {
        updateNotice();
        Q_EMIT rowsChanged();
    });
    const auto noteEnd = [this](bool hasFailed) {
        m_hasFailed = hasFailed;
        updateNotice();
    };
    connect(model(), &TableModel::passCancelled, this, [noteEnd] { noteEnd(false); });
    connect(model(), &TableModel::passFailed, this, [noteEnd] { noteEnd(true); });
    connect(m_view, &FilteredTableView::failed, this, &TablePage::failed);
    connect(m_notice, &NoticeBar::triggered, this, [this] {
        m_view->setFocus(Qt::OtherFocusReason); // the button goes away
        model()->setSortKeys(model()->sortKeys());
        updateNotice();
    });
    connect(m_restNotice, &NoticeBar::triggered, this, [this] {
        m_view->setFocus(Qt::OtherFocusReason); // the button goes away
        Q_EMIT restWanted();
    });
    updateAccessibleName();
}

TablePage::~TablePage() = default;

bool TablePage::hasSessionColumns() const
{
    return m_table->columnIndex(stockColumn) >= 0 && m_table->columnIndex(sessionColumn) >= 0;
}

bool TablePage::isSessionFilterOn() const
{
    const QList<Filter *> all = filters()->filters();
    return std::any_of(all.begin(), all.end(), [](const Filter *filter) {
        return qobject_cast<const SecuritiesSessionFilter *>(filter) && filter->isEnabled();
    });
}

void TablePage::setSessionFilterOn(bool on)
{
    bool found = false;
    const QList<Filter *> all = filters()->filters();
    for (Filter *filter : all) {
        if (qobject_cast<SecuritiesSessionFilter *>(filter)) {
            found = true;
            if (filter->isEnabled() != on)
                filter->setEnabled(on);
        }
    }
    if (found || !on)
        return;
    auto filter = makeSessionFilter();
    filter->setEnabled(true);
    filters()->add(filter.release());
}

std::unique_ptr<SecuritiesSessionFilter> TablePage::makeSessionFilter() const
{
    const QList<int> columns{m_table->columnIndex(stockColumn), m_table->columnIndex(sessionColumn)};
    return std::make_unique<SecuritiesSessionFilter>(*m_table, columns.first(), columns, columns.last(),
                                                     nullptr);
}

void TablePage::renewSessionFilter()
{
    const QList<Filter *> all = filters()->filters();
    for (Filter *filter : all) {
        if (auto *sessions = qobject_cast<SecuritiesSessionFilter *>(filter)) {
            sessions->setAllExcludedKeys(makeSessionFilter()->getAllExcludedKeys());
            filters()->notifyChanged(sessions);
        }
    }
}

void TablePage::clearFilters()
{
    filters()->clear();
}

void TablePage::clearColumnFilters(int section)
{
    const QList<Filter *> all = filters()->filters();
    for (Filter *filter : all) {
        const auto *values = qobject_cast<ValueFilter *>(filter);
        if (values && values->columns().contains(model()->columns().at(section)))
            filters()->remove(filter);
    }
}

void TablePage::setRest(Rest rest)
{
    m_rest = rest;
    // Rows that come for the first time are no change.
    if (rest == Rest::None && !m_marks) {
        m_marks = new ChangeMarks(*model(), m_table->changes(), *m_view);
        m_view->setItemDelegate(m_marks);
    }
    updateRestNotice();
}

bool TablePage::canHideColumn() const
{
    return header()->hiddenSectionCount() < header()->count() - 1;
}

void TablePage::addColumns(QMenu &menu)
{
    for (int visual = 0; visual < header()->count(); ++visual) {
        const int section = header()->logicalIndex(visual);
        QAction *action = menu.addAction(labelText(model()->headerData(section, Qt::Horizontal).toString()));
        action->setCheckable(true);
        action->setChecked(!header()->isSectionHidden(section));
        action->setEnabled(!action->isChecked() || canHideColumn());
        connect(action, &QAction::toggled, this,
                [this, section](bool shown) { header()->setSectionHidden(section, !shown); });
    }
}

void TablePage::showCellMenu(const QModelIndex &index, const QPoint &place)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(u"cellMenu"_s);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillCellMenu(*menu, index);
    menu->popup(place);
}

QList<SelectFilter *> TablePage::selectableFilters(const QModelIndex &index)
{
    QList<SelectFilter *> selectable;
    const int column = model()->columns().at(index.column());
    const QList<int> selected = m_view->selectedColumns();
    try {
        selectable.append(m_view->valueFilter({column}));
        if (selected.size() > 1 && selected.size() <= 4 && selected.contains(column))
            selectable.append(m_view->valueFilter(selected));
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
    }
    for (Filter *filter : filters()->filters()) {
        auto *other = qobject_cast<SelectFilter *>(filter);
        if (other && other->columns().contains(column) && !selectable.contains(other))
            selectable.append(other);
    }
    return selectable;
}

void TablePage::fillCellMenu(QMenu &menu, const QModelIndex &index)
{
    menu.addActions({m_actions.hideValues, m_actions.showOnly});
    menu.addSeparator();
    if (index.isValid()) {
        const QRect place = m_view->cellRect(index);
        const QList<SelectFilter *> selectable = selectableFilters(index);
        for (SelectFilter *filter : selectable) {
            QAction *action =
                menu.addAction(Icons::icon(Icons::Shape::Filter),
                               labelText(tr("%1 (%2)", "действие и фильтр")
                                             .arg(filter->selectActionName(), displayName(*filter))));
            action->setObjectName(u"select"_s);
            connect(action, &QAction::triggered, this, [this, place, later = QPointer<SelectFilter>(filter)] {
                if (later)
                    m_view->select(*later, place);
            });
        }
        menu.addSeparator();
    }
    menu.addActions({m_actions.copy, m_actions.copyWithHeaders, m_actions.showValue});
}

void TablePage::showHeaderMenu(int section, const QPoint &place)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(u"headerMenu"_s);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_actions.setColumn(section, *menu);
    if (section >= 0) {
        menu->addActions({m_actions.columnFilter, m_actions.clearColumnFilters});
        menu->addSeparator();
        menu->addActions({m_actions.sortAscending, m_actions.sortDescending, m_actions.thenAscending,
                          m_actions.thenDescending});
    }
    menu->addAction(m_actions.unsort);
    menu->addSeparator();
    if (section >= 0)
        menu->addActions({m_actions.hideColumn, m_actions.moveLeft, m_actions.moveRight});
    menu->addMenu(m_actions.columnsMenu);
    menu->popup(place);
}

void TablePage::updateNotice()
{
    if (model()->isUpToDate() || model()->isPassRunning()) {
        m_notice->clear();
        return;
    }
    m_notice->tell(Icons::Shape::Warning,
                   m_hasFailed ? tr("Отбор не удался: строки не те, что задают фильтры и сортировка")
                               : tr("Отбор прерван: строки не те, что задают фильтры и сортировка"),
                   tr("Повторить"));
}

void TablePage::updateRestNotice()
{
    if (m_rest == Rest::Missing)
        m_restNotice->tell(Icons::Shape::Warning, tr("Загружены только первые строки таблицы"),
                           tr("Загрузить остальные"));
    else
        m_restNotice->clear();
}

void TablePage::updateAccessibleName()
{
    m_view->setAccessibleName(tr("Строки таблицы %1").arg(m_table->name()));
}

bool TablePage::eventFilter(QObject *watched, QEvent *event)
{
    // It comes here when there is nothing to copy now; Qt would copy the text of the current cell's display.
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Copy))
        return true;
    return QWidget::eventFilter(watched, event);
}

void TablePage::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        updateAccessibleName();
        updateNotice();
        updateRestNotice();
    }
}

} // namespace sito
