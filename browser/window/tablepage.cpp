// SPDX-License-Identifier: MIT
#include <browser/window/tablepage.h>

#include <browser/parts/icons.h>
#include <browser/parts/noticebar.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/cellfilters.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/viewanchor.h>

#include <database/memorytable.h>

#include <data/exception.h>
#include <filters/securitiessessionfilter.h>

#include <QContextMenuEvent>
#include <QEvent>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>
#include <numeric>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString stockColumn = u"stock_id"_s;
const QString sessionColumn = u"sess_id"_s;
/// In average characters.
constexpr int maxColumnWidth = 42;

QList<int> allColumns(const MemoryTable &table)
{
    QList<int> columns(table.columnCount());
    std::iota(columns.begin(), columns.end(), 0);
    return columns;
}

} // namespace

TablePage::TablePage(MemoryTable &table, QWidget *parent)
    : QWidget(parent),
      m_table(&table),
      m_filters(new FilterList(table, this)),
      m_model(new TableModel(table, allColumns(table), this)),
      m_notice(new NoticeBar(this)),
      m_view(new QTableView(this)),
      m_header(new FilterHeader(m_view)),
      m_note(new QLabel(m_view->viewport()))
{
    m_view->setObjectName(u"tableView"_s);
    m_view->setHorizontalHeader(m_header);
    m_header->show();
    m_view->setModel(m_model);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->setWordWrap(false);
    m_view->setAlternatingRowColors(true);
    m_view->setCornerButtonEnabled(false);
    m_view->setTabKeyNavigation(false);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setFrameShape(QFrame::NoFrame);
    // Sections of one size keep a million rows quick.
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_view->verticalHeader()->setHighlightSections(false);
    // A click on a title sorts; it does not select.
    disconnect(m_header, &QHeaderView::sectionPressed, m_view, nullptr);
    disconnect(m_header, &QHeaderView::sectionEntered, m_view, nullptr);
    connect(new ViewAnchor(m_view, m_model), &ViewAnchor::selectionDropped, this,
            &TablePage::selectionDropped);

    m_notice->setObjectName(u"passNotice"_s);
    m_notice->setClosable(false);
    m_note->setObjectName(u"note"_s);
    m_note->setAlignment(Qt::AlignCenter);
    m_note->setWordWrap(true);
    m_note->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_note->setForegroundRole(QPalette::PlaceholderText);
    m_view->viewport()->installEventFilter(this);
    m_view->installEventFilter(this);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_notice);
    layout->addWidget(m_view);
    setFocusProxy(m_view);

    connect(m_header, &FilterHeader::filterRequested, this, &TablePage::chooseValues);
    connect(m_header, &FilterHeader::sortRequested, this,
            [this](int section, Qt::KeyboardModifiers modifiers) {
                sortBy(section, modifiers & (Qt::ShiftModifier | Qt::ControlModifier));
            });
    connect(m_header, &FilterHeader::menuRequested, this, [this](int section, const QPoint &position) {
        auto *menu = new QMenu(this);
        menu->setObjectName(u"headerMenu"_s);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        fillHeaderMenu(*menu, section);
        menu->popup(position);
    });
    connect(m_view, &QWidget::customContextMenuRequested, this, &TablePage::showCellMenu);
    connect(m_filters, &FilterList::added, this, [this](Filter *filter) {
        if (auto *values = qobject_cast<ValueListFilter *>(filter))
            values->setSiblings(m_filters);
    });
    connect(m_filters, &FilterList::filterChanged, this, [this](Filter *filter) {
        // A list of which everything is shown again is no filter any more.
        auto *values = qobject_cast<ValueListFilter *>(filter);
        if (values && !values->hasValue()) {
            const auto removeLater = [this, filter = QPointer<ValueListFilter>(values)] {
                if (filter && !filter->hasValue())
                    m_filters->remove(filter);
            };
            QMetaObject::invokeMethod(this, removeLater, Qt::QueuedConnection);
        }
    });
    connect(m_filters, &FilterList::changed, this, &TablePage::updateHeader);
    connect(m_model, &TableModel::passStarted, this, &TablePage::updateNotice);
    connect(m_model, &TableModel::passFinished, this, [this] {
        updateNote();
        updateNotice();
        Q_EMIT rowsChanged();
    });
    connect(m_model, &TableModel::passCancelled, this, [this] {
        m_hasFailed = false;
        updateNotice();
    });
    connect(m_model, &TableModel::passFailed, this, [this](const QString &message) {
        m_hasFailed = true;
        updateNotice();
        Q_EMIT failed(message);
    });
    connect(m_notice, &NoticeBar::triggered, this, [this] {
        m_view->setFocus(Qt::OtherFocusReason); // the button goes away
        m_model->setSortKeys(m_model->sortKeys());
        updateNotice();
    });
    m_model->setFilters(m_filters);
    updateNote();
    QEvent event(QEvent::FontChange);
    changeEvent(&event);
}

TablePage::~TablePage() = default;

QString TablePage::displayName(const Filter &filter)
{
    const QString name = filter.name();
    if (!name.isEmpty())
        return name;
    if (qobject_cast<const SecuritiesSessionFilter *>(&filter))
        return tr("Последние сессии бумаг");
    return tr("Фильтр");
}

QString TablePage::displayText(const Filter &filter)
{
    // Pairs of numbers, one for each security: nobody would read them.
    if (const auto *sessions = qobject_cast<const SecuritiesSessionFilter *>(&filter);
        sessions && sessions->hasValue())
        return tr("скрыто сессий: %1").arg(QLocale().toString(sessions->getAllExcludedKeys().size()));
    return filter.text();
}

void TablePage::guarded(const std::function<void()> &work)
{
    try {
        work();
    } catch (const Exception &exception) {
        Q_EMIT failed(exception.message());
    } catch (const QString &text) {
        Q_EMIT failed(text);
    } catch (const std::exception &exception) {
        Q_EMIT failed(QString::fromLocal8Bit(exception.what()));
    }
}

ValueListFilter *TablePage::valueFilter(const QList<int> &columns)
{
    for (Filter *filter : m_filters->filters()) {
        auto *values = qobject_cast<ValueListFilter *>(filter);
        if (values && values->columns() == columns)
            return values;
    }
    m_spareFilters.removeAll(nullptr);
    for (const QPointer<ValueListFilter> &filter : std::as_const(m_spareFilters)) {
        if (filter->columns() == columns)
            return filter;
    }
    auto *filter = new ValueListFilter(*m_table, columns, this);
    filter->setSiblings(m_filters);
    m_spareFilters.append(filter);
    connect(filter, &Filter::asincChanged, this, [this, filter] {
        if (filter->hasValue() && m_spareFilters.removeAll(filter) > 0)
            m_filters->add(filter);
    });
    return filter;
}

void TablePage::chooseValues(int section, const QRect &place)
{
    if (section < 0 || section >= m_model->columns().size())
        return;
    guarded([&] { select(*valueFilter({m_model->columns().at(section)}), place); });
}

void TablePage::select(SelectFilter &filter, const QRect &place)
{
    guarded([&] {
        if (auto *values = qobject_cast<ValueListFilter *>(&filter))
            values->select(m_view, place);
        else
            filter.select(m_view);
    });
}

bool TablePage::hasSessionColumns() const
{
    return m_table->columnIndex(stockColumn) >= 0 && m_table->columnIndex(sessionColumn) >= 0;
}

bool TablePage::isSessionFilterOn() const
{
    return std::any_of(m_filters->filters().begin(), m_filters->filters().end(), [](const Filter *filter) {
        return qobject_cast<const SecuritiesSessionFilter *>(filter) && filter->isEnabled();
    });
}

void TablePage::setSessionFilterOn(bool on)
{
    bool found = false;
    const QList<Filter *> filters = m_filters->filters();
    for (Filter *filter : filters) {
        if (qobject_cast<SecuritiesSessionFilter *>(filter)) {
            found = true;
            if (filter->isEnabled() != on)
                filter->setEnabled(on);
        }
    }
    if (found || !on)
        return;
    const QList<int> columns{m_table->columnIndex(stockColumn), m_table->columnIndex(sessionColumn)};
    auto filter = std::make_unique<SecuritiesSessionFilter>(*m_table, columns.first(), columns,
                                                            columns.last(), nullptr);
    filter->setEnabled(true);
    m_filters->add(filter.release());
}

bool TablePage::hasSelection() const
{
    return m_view->selectionModel()->hasSelection();
}

QList<int> TablePage::selectedColumns() const
{
    QList<int> columns;
    for (const QItemSelectionRange &range : m_view->selectionModel()->selection()) {
        for (int section = range.left(); section <= range.right(); ++section) {
            const int column = m_model->columns().at(section);
            if (!m_header->isSectionHidden(section) && !columns.contains(column))
                columns.append(column);
        }
    }
    std::sort(columns.begin(), columns.end());
    return columns;
}

QItemSelection TablePage::shownSelection() const
{
    QItemSelection shown;
    for (const QItemSelectionRange &range : m_view->selectionModel()->selection()) {
        for (int section = range.left(); section <= range.right(); ++section) {
            if (!m_header->isSectionHidden(section)) {
                shown.append(QItemSelectionRange(m_model->index(range.top(), section),
                                                 m_model->index(range.bottom(), section)));
            }
        }
    }
    return shown;
}

void TablePage::hideSelectedValues()
{
    guarded([this] { hideValues(*m_filters, *m_model, shownSelection()); });
}

void TablePage::showOnlySelectedValues()
{
    guarded([this] { showOnlyValues(*m_filters, *m_model, shownSelection()); });
}

void TablePage::clearFilters()
{
    m_filters->clear();
}

void TablePage::sortBy(int section, bool adding)
{
    const int column = m_model->columns().at(section);
    QList<TableModel::SortKey> keys = m_model->sortKeys();
    const auto key = std::find_if(keys.begin(), keys.end(),
                                  [column](const TableModel::SortKey &one) { return one.column == column; });
    const bool isKnown = key != keys.end() && (adding || keys.size() == 1);
    if (!isKnown) {
        setSorting(section, Qt::AscendingOrder, adding);
    } else if (key->order == Qt::AscendingOrder) {
        setSorting(section, Qt::DescendingOrder, adding);
    } else {
        keys.removeAt(key - keys.begin());
        m_model->setSortKeys(keys);
        updateHeader();
    }
}

void TablePage::setSorting(int section, Qt::SortOrder order, bool adding)
{
    const TableModel::SortKey wanted{m_model->columns().at(section), order};
    QList<TableModel::SortKey> keys;
    if (adding)
        keys = m_model->sortKeys();
    const auto key = std::find_if(keys.begin(), keys.end(), [&wanted](const TableModel::SortKey &one) {
        return one.column == wanted.column;
    });
    if (key == keys.end())
        keys.append(wanted);
    else
        *key = wanted;
    m_model->setSortKeys(keys);
    updateHeader();
}

void TablePage::clearSorting()
{
    m_model->setSortKeys({});
    updateHeader();
}

void TablePage::fillColumnsMenu(QMenu &menu)
{
    for (int visual = 0; visual < m_header->count(); ++visual) {
        const int section = m_header->logicalIndex(visual);
        QAction *action =
            menu.addAction(m_model->headerData(section, Qt::Horizontal).toString().replace(u'&', "&&"_L1));
        action->setCheckable(true);
        action->setChecked(!m_header->isSectionHidden(section));
        // Something must stay to see.
        action->setEnabled(!action->isChecked() || m_header->hiddenSectionCount() < m_header->count() - 1);
        connect(action, &QAction::toggled, this,
                [this, section](bool shown) { m_header->setSectionHidden(section, !shown); });
    }
    menu.addSeparator();
    connect(menu.addAction(tr("Показать все столбцы")), &QAction::triggered, this,
            &TablePage::showAllColumns);
    connect(menu.addAction(tr("Подобрать ширину")), &QAction::triggered, this, &TablePage::resizeColumns);
}

void TablePage::showAllColumns()
{
    for (int section = 0; section < m_header->count(); ++section)
        m_header->showSection(section);
}

int TablePage::neighbour(int section, bool atRight) const
{
    if (section < 0 || m_header->isSectionHidden(section))
        return -1;
    const int step = atRight == m_header->isLeftToRight() ? 1 : -1;
    for (int visual = m_header->visualIndex(section) + step; visual >= 0 && visual < m_header->count();
         visual += step) {
        const int other = m_header->logicalIndex(visual);
        if (!m_header->isSectionHidden(other))
            return other;
    }
    return -1;
}

bool TablePage::moveColumn(int section, bool toRight)
{
    const int other = neighbour(section, toRight);
    if (other < 0)
        return false;
    m_header->moveSection(m_header->visualIndex(section), m_header->visualIndex(other));
    return true;
}

void TablePage::resizeColumns()
{
    m_header->setResizeContentsPrecision(100);
    const int most = m_view->fontMetrics().averageCharWidth() * maxColumnWidth;
    for (int section = 0; section < m_header->count(); ++section) {
        if (m_header->isSectionHidden(section))
            continue;
        m_view->resizeColumnToContents(section);
        if (m_header->sectionSize(section) > most)
            m_header->resizeSection(section, std::max(most, m_header->sectionSizeHint(section)));
    }
}

QString TablePage::layoutText() const
{
    QJsonArray columns;
    for (int visual = 0; visual < m_header->count(); ++visual) {
        const int section = m_header->logicalIndex(visual);
        const bool isHidden = m_header->isSectionHidden(section);
        QJsonObject column{{u"name"_s, m_table->columnName(m_model->columns().at(section))}};
        if (isHidden)
            column.insert(u"hidden"_s, true);
        else
            column.insert(u"width"_s, m_header->sectionSize(section));
        columns.append(column);
    }
    QJsonArray sorting;
    const QList<TableModel::SortKey> keys = m_model->sortKeys();
    for (const TableModel::SortKey &key : keys) {
        sorting.append(QJsonObject{{u"name"_s, m_table->columnName(key.column)},
                                   {u"descending"_s, key.order == Qt::DescendingOrder}});
    }
    return QString::fromUtf8(QJsonDocument(QJsonObject{{u"columns"_s, columns}, {u"sorting"_s, sorting}})
                                 .toJson(QJsonDocument::Compact));
}

void TablePage::restoreLayout(const QString &text)
{
    const QJsonObject layout = QJsonDocument::fromJson(text.toUtf8()).object();
    const QJsonArray columns = layout.value("columns"_L1).toArray();
    int visual = 0;
    int shown = m_header->count();
    for (const QJsonValue &value : columns) {
        const QJsonObject column = value.toObject();
        const int section = m_model->section(m_table->columnIndex(column.value("name"_L1).toString()));
        if (section < 0)
            continue;
        m_header->moveSection(m_header->visualIndex(section), visual++);
        const int width = column.value("width"_L1).toInt();
        if (width > 0)
            m_header->resizeSection(section, width);
        if (column.value("hidden"_L1).toBool() && shown > 1) {
            m_header->hideSection(section);
            --shown;
        }
    }
    QList<TableModel::SortKey> keys;
    const QJsonArray sorting = layout.value("sorting"_L1).toArray();
    for (const QJsonValue &value : sorting) {
        const QJsonObject key = value.toObject();
        const int column = m_table->columnIndex(key.value("name"_L1).toString());
        if (column >= 0) {
            keys.append(
                {column, key.value("descending"_L1).toBool() ? Qt::DescendingOrder : Qt::AscendingOrder});
        }
    }
    m_model->setSortKeys(keys);
    updateHeader();
}

QRect TablePage::cellRect(const QModelIndex &index) const
{
    const QRect rect = m_view->visualRect(index);
    return {m_view->viewport()->mapToGlobal(rect.topLeft()), rect.size()};
}

void TablePage::showCellMenu(const QPoint &position)
{
    const QModelIndex index = m_view->indexAt(position);
    if (index.isValid() && m_view->selectionModel()->isSelected(index))
        popUpCellMenu(index, m_view->viewport()->mapToGlobal(position));
    else
        showCurrentCellMenu(m_view->viewport()->mapToGlobal(position));
}

void TablePage::showCurrentCellMenu(const QPoint &otherPlace)
{
    const QModelIndex index = m_view->currentIndex();
    popUpCellMenu(index, index.isValid() ? cellRect(index).center() : otherPlace);
}

void TablePage::popUpCellMenu(const QModelIndex &index, const QPoint &place)
{
    auto *menu = new QMenu(this);
    menu->setObjectName(u"cellMenu"_s);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillCellMenu(*menu, index);
    menu->popup(place);
}

void TablePage::fillCellMenu(QMenu &menu, const QModelIndex &index)
{
    using Icons::Shape;
    const bool any = hasSelection();
    QAction *hide = menu.addAction(Icons::icon(Shape::FilterOff), tr("Скрыть эти значения"));
    hide->setObjectName(u"hideValues"_s);
    hide->setEnabled(any);
    connect(hide, &QAction::triggered, this, &TablePage::hideSelectedValues);
    QAction *only = menu.addAction(Icons::icon(Shape::Filter), tr("Показать только эти"));
    only->setObjectName(u"showOnlyValues"_s);
    only->setEnabled(any);
    connect(only, &QAction::triggered, this, &TablePage::showOnlySelectedValues);
    menu.addSeparator();

    if (index.isValid()) {
        // Each filter by a choice that has to do with the cell, and those that could be made here.
        QList<SelectFilter *> selectable;
        const int column = m_model->columns().at(index.column());
        guarded([&] { selectable.append(valueFilter({column})); });
        const QList<int> selected = selectedColumns();
        if (selected.size() > 1 && selected.size() <= 4 && selected.contains(column))
            guarded([&] { selectable.append(valueFilter(selected)); });
        for (Filter *filter : m_filters->filters()) {
            auto *other = qobject_cast<SelectFilter *>(filter);
            if (other && other->columns().contains(column) && !selectable.contains(other))
                selectable.append(other);
        }
        const QRect place = cellRect(index);
        for (SelectFilter *filter : std::as_const(selectable)) {
            QAction *action = menu.addAction(Icons::icon(Shape::Filter),
                                             tr("%1 (%2)", "действие и фильтр")
                                                 .arg(filter->selectActionName(), displayName(*filter))
                                                 .replace(u'&', "&&"_L1));
            action->setObjectName(u"select"_s);
            connect(action, &QAction::triggered, this,
                    [this, place, filter = QPointer<SelectFilter>(filter)] {
                        if (filter)
                            select(*filter, place);
                    });
        }
        menu.addSeparator();
    }
    QAction *copy = menu.addAction(Icons::icon(Shape::Copy), tr("Копировать"));
    copy->setObjectName(u"copy"_s);
    copy->setEnabled(any);
    connect(copy, &QAction::triggered, this, [this] { Q_EMIT copyRequested(false); });
    QAction *copyAll = menu.addAction(tr("Копировать с заголовками"));
    copyAll->setObjectName(u"copyWithHeaders"_s);
    copyAll->setEnabled(any);
    connect(copyAll, &QAction::triggered, this, [this] { Q_EMIT copyRequested(true); });
}

void TablePage::fillHeaderMenu(QMenu &menu, int section)
{
    using Icons::Shape;
    if (section >= 0) {
        QAction *choose = menu.addAction(Icons::icon(Shape::Filter), tr("Фильтр…"));
        choose->setObjectName(u"filter"_s);
        connect(choose, &QAction::triggered, this, [this, section] { m_header->requestFilter(section); });
        QAction *unfilter = menu.addAction(Icons::icon(Shape::FilterOff), tr("Снять фильтры столбца"));
        unfilter->setObjectName(u"unfilter"_s);
        unfilter->setEnabled(m_header->isFiltered(section));
        connect(unfilter, &QAction::triggered, this, [this, section] {
            const QList<Filter *> filters = m_filters->filters();
            for (Filter *filter : filters) {
                const auto *values = qobject_cast<ValueFilter *>(filter);
                if (values && values->columns().contains(m_model->columns().at(section)))
                    m_filters->remove(filter);
            }
        });
        menu.addSeparator();
        const auto addSorting = [&](const QString &text, const QString &name, Qt::SortOrder order,
                                    bool adding) {
            QAction *action = menu.addAction(text);
            action->setObjectName(name);
            connect(action, &QAction::triggered, this,
                    [this, section, order, adding] { setSorting(section, order, adding); });
        };
        addSorting(tr("По возрастанию"), u"ascending"_s, Qt::AscendingOrder, false);
        addSorting(tr("По убыванию"), u"descending"_s, Qt::DescendingOrder, false);
        if (!m_model->sortKeys().isEmpty()) {
            addSorting(tr("Затем по возрастанию"), u"thenAscending"_s, Qt::AscendingOrder, true);
            addSorting(tr("Затем по убыванию"), u"thenDescending"_s, Qt::DescendingOrder, true);
        }
    }
    QAction *unsort = menu.addAction(tr("Не сортировать"));
    unsort->setObjectName(u"unsort"_s);
    unsort->setEnabled(!m_model->sortKeys().isEmpty());
    connect(unsort, &QAction::triggered, this, &TablePage::clearSorting);
    menu.addSeparator();
    if (section >= 0) {
        QAction *hide = menu.addAction(tr("Скрыть столбец"));
        hide->setObjectName(u"hideColumn"_s);
        hide->setEnabled(m_header->hiddenSectionCount() < m_header->count() - 1);
        connect(hide, &QAction::triggered, this, [this, section] { m_header->hideSection(section); });
        const auto addMove = [&](const QString &text, const QString &name, bool toRight) {
            QAction *action = menu.addAction(text);
            action->setObjectName(name);
            action->setEnabled(neighbour(section, toRight) >= 0);
            connect(action, &QAction::triggered, this,
                    [this, section, toRight] { moveColumn(section, toRight); });
        };
        addMove(tr("Переместить влево"), u"moveLeft"_s, false);
        addMove(tr("Переместить вправо"), u"moveRight"_s, true);
    }
    QMenu *columns = menu.addMenu(Icons::icon(Shape::Columns), tr("Столбцы"));
    columns->setObjectName(u"columns"_s);
    fillColumnsMenu(*columns);
}

void TablePage::updateHeader()
{
    QList<int> filtered;
    for (const Filter *filter : m_filters->filters()) {
        const auto *values = qobject_cast<const ValueFilter *>(filter);
        if (!values || !FilterList::takesPart(*values))
            continue;
        for (const int column : values->columns()) {
            const int section = m_model->section(column);
            if (section >= 0 && !filtered.contains(section))
                filtered.append(section);
        }
    }
    std::sort(filtered.begin(), filtered.end());
    m_header->setFilteredSections(filtered);
    QList<FilterHeader::SortMark> marks;
    const QList<TableModel::SortKey> keys = m_model->sortKeys();
    for (const TableModel::SortKey &key : keys)
        marks.append({m_model->section(key.column), key.order});
    m_header->setSortMarks(marks);
}

void TablePage::updateNote()
{
    if (m_model->rowCount() > 0)
        m_note->clear();
    else if (m_model->totalRowCount() > 0)
        m_note->setText(tr("Фильтры скрывают все строки"));
    else
        m_note->setText(tr("В таблице нет строк"));
    m_note->setVisible(!m_note->text().isEmpty());
}

void TablePage::updateNotice()
{
    if (m_model->isUpToDate() || m_model->isPassRunning()) {
        m_notice->clear();
        return;
    }
    m_notice->tell(Icons::Shape::Warning,
                   m_hasFailed ? tr("Отбор не удался: строки не те, что задают фильтры и сортировка")
                               : tr("Отбор прерван: строки не те, что задают фильтры и сортировка"),
                   tr("Повторить"));
}

bool TablePage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        m_note->resize(m_view->viewport()->size());
    // The Menu key is about the current cell; the position that comes with it is the middle of the view.
    if (watched == m_view && event->type() == QEvent::ContextMenu) {
        const auto *menu = static_cast<const QContextMenuEvent *>(event);
        if (menu->reason() == QContextMenuEvent::Keyboard) {
            showCurrentCellMenu(menu->globalPos());
            return true;
        }
    }
    // It comes here when there is nothing to copy now; Qt would copy the text of the current cell's display.
    if (watched == m_view && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->matches(QKeySequence::Copy))
        return true;
    return QWidget::eventFilter(watched, event);
}

void TablePage::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        m_view->setAccessibleName(tr("Строки таблицы %1").arg(m_table->name()));
        updateNote();
        updateNotice();
    } else if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_view->verticalHeader()->setDefaultSectionSize(m_view->fontMetrics().height() + 7);
        m_view->setAccessibleName(tr("Строки таблицы %1").arg(m_table->name()));
    }
}

} // namespace sito
