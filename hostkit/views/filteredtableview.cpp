// SPDX-License-Identifier: MIT
#include <hostkit/views/filteredtableview.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/cellfilters.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/headerlayout.h>
#include <hostkit/views/viewanchor.h>

#include <QContextMenuEvent>
#include <QEvent>
#include <QLabel>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

/// In average characters.
constexpr int maxColumnWidth = 42;

} // namespace

FilteredTableView::FilteredTableView(Table &table, const QList<int> &columns, QWidget *parent)
    : QTableView(parent),
      m_table(table),
      m_filters(new FilterList(table, this)),
      m_model(new TableModel(table, columns, this)),
      m_header(new FilterHeader(this)),
      m_note(new QLabel(viewport()))
{
    setUpView();
    connectParts();
    m_model->setFilters(m_filters);
    updateNote();
    updateRowHeight();
}

FilteredTableView::~FilteredTableView() = default;

void FilteredTableView::setUpView()
{
    setHorizontalHeader(m_header);
    m_header->show();
    setModel(m_model);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setWordWrap(false);
    setAlternatingRowColors(true);
    setCornerButtonEnabled(false);
    setTabKeyNavigation(false);
    // Sections of one size keep a million rows quick.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    verticalHeader()->setHighlightSections(false);
    // A click on a title sorts; it does not select.
    disconnect(m_header, &QHeaderView::sectionPressed, this, nullptr);
    disconnect(m_header, &QHeaderView::sectionEntered, this, nullptr);

    m_note->setObjectName(QStringLiteral("note"));
    m_note->setAlignment(Qt::AlignCenter);
    m_note->setWordWrap(true);
    m_note->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_note->setForegroundRole(QPalette::PlaceholderText);
}

void FilteredTableView::connectParts()
{
    connect(new ViewAnchor(this, m_model), &ViewAnchor::selectionDropped, this,
            &FilteredTableView::selectionDropped);
    connect(m_header, &FilterHeader::filterRequested, this, &FilteredTableView::chooseValues);
    connect(m_header, &FilterHeader::sortRequested, this,
            [this](int section, Qt::KeyboardModifiers modifiers) {
                sortBy(section, modifiers & (Qt::ShiftModifier | Qt::ControlModifier));
            });
    connect(m_header, &FilterHeader::menuRequested, this, &FilteredTableView::headerMenuRequested);
    connect(m_filters, &FilterList::added, this, [this](Filter *filter) {
        if (auto *values = qobject_cast<ValueListFilter *>(filter))
            prepare(*values);
    });
    connect(m_filters, &FilterList::filterChanged, this, [this](Filter *filter) {
        auto *values = qobject_cast<ValueListFilter *>(filter);
        if (!values || values->hasValue())
            return;
        // The list is still reporting the change.
        const auto removeLater = [this, later = QPointer<ValueListFilter>(values)] {
            if (later && !later->hasValue())
                m_filters->remove(later);
        };
        QMetaObject::invokeMethod(this, removeLater, Qt::QueuedConnection);
    });
    connect(m_filters, &FilterList::changed, this, &FilteredTableView::updateHeader);
    const auto tellRows = [this] {
        updateNote();
        Q_EMIT rowsChanged();
    };
    connect(m_model, &TableModel::passFinished, this, tellRows);
    connect(m_model, &TableModel::changesShown, this, tellRows);
    connect(m_model, &TableModel::passFailed, this, &FilteredTableView::failed);
}

void FilteredTableView::prepare(ValueListFilter &filter)
{
    filter.setSiblings(m_filters);
    filter.follow(m_model->followed());
}

void FilteredTableView::follow(TableChanges *changes)
{
    m_model->follow(changes);
    for (Filter *filter : m_filters->filters()) {
        if (auto *values = qobject_cast<ValueListFilter *>(filter))
            values->follow(changes);
    }
    m_spareFilters.removeAll(nullptr);
    for (const QPointer<ValueListFilter> &filter : std::as_const(m_spareFilters))
        filter->follow(changes);
}

void FilteredTableView::guarded(const std::function<void()> &work)
{
    try {
        work();
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
    }
}

ValueListFilter *FilteredTableView::valueFilter(const QList<int> &columns)
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
    auto *filter = new ValueListFilter(m_table, columns, this);
    prepare(*filter);
    m_spareFilters.append(filter);
    connect(filter, &Filter::asincChanged, this, [this, filter] {
        if (filter->hasValue() && m_spareFilters.removeAll(filter) > 0)
            m_filters->add(filter);
    });
    return filter;
}

void FilteredTableView::chooseValues(int section, const QRect &place)
{
    if (section < 0 || section >= m_model->columns().size())
        return;
    guarded([&] { select(*valueFilter({m_model->columns().at(section)}), place); });
}

void FilteredTableView::select(SelectFilter &filter, const QRect &place)
{
    guarded([&] {
        if (auto *values = qobject_cast<ValueListFilter *>(&filter))
            values->select(this, place);
        else
            filter.select(this);
    });
}

bool FilteredTableView::hasSelection() const
{
    return selectionModel()->hasSelection();
}

QList<int> FilteredTableView::selectedColumns() const
{
    QList<int> columns;
    for (const QItemSelectionRange &range : shownSelection()) {
        const int column = m_model->columns().at(range.left());
        if (!columns.contains(column))
            columns.append(column);
    }
    std::sort(columns.begin(), columns.end());
    return columns;
}

QItemSelection FilteredTableView::shownSelection() const
{
    QItemSelection shown;
    for (const QItemSelectionRange &range : selectionModel()->selection()) {
        for (int section = range.left(); section <= range.right(); ++section) {
            if (!m_header->isSectionHidden(section)) {
                shown.append(QItemSelectionRange(m_model->index(range.top(), section),
                                                 m_model->index(range.bottom(), section)));
            }
        }
    }
    return shown;
}

void FilteredTableView::hideSelectedValues()
{
    guarded([this] { hideValues(*m_filters, *m_model, shownSelection()); });
}

void FilteredTableView::showOnlySelectedValues()
{
    guarded([this] { showOnlyValues(*m_filters, *m_model, shownSelection()); });
}

void FilteredTableView::sortBy(int section, bool adding)
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

void FilteredTableView::setSorting(int section, Qt::SortOrder order, bool adding)
{
    const TableModel::SortKey chosen{m_model->columns().at(section), order};
    QList<TableModel::SortKey> keys;
    if (adding)
        keys = m_model->sortKeys();
    const auto key = std::find_if(keys.begin(), keys.end(), [&chosen](const TableModel::SortKey &one) {
        return one.column == chosen.column;
    });
    if (key == keys.end())
        keys.append(chosen);
    else
        *key = chosen;
    m_model->setSortKeys(keys);
    updateHeader();
}

void FilteredTableView::clearSorting()
{
    m_model->setSortKeys({});
    updateHeader();
}

void FilteredTableView::showAllColumns()
{
    for (int section = 0; section < m_header->count(); ++section)
        m_header->showSection(section);
}

int FilteredTableView::neighbour(int section, bool atRight) const
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

bool FilteredTableView::moveColumn(int section, bool toRight)
{
    const int other = neighbour(section, toRight);
    if (other < 0)
        return false;
    m_header->moveSection(m_header->visualIndex(section), m_header->visualIndex(other));
    return true;
}

void FilteredTableView::resizeColumns()
{
    m_header->setResizeContentsPrecision(100);
    const int most = fontMetrics().averageCharWidth() * maxColumnWidth;
    for (int section = 0; section < m_header->count(); ++section) {
        if (m_header->isSectionHidden(section))
            continue;
        resizeColumnToContents(section);
        if (m_header->sectionSize(section) > most)
            m_header->resizeSection(section, std::max(most, m_header->sectionSizeHint(section)));
    }
}

QString FilteredTableView::layoutText() const
{
    return HeaderLayout::toText(*m_header, *m_model);
}

void FilteredTableView::restoreLayout(const QString &text)
{
    HeaderLayout::restore(*m_header, *m_model, text);
    updateHeader();
}

QRect FilteredTableView::cellRect(const QModelIndex &index) const
{
    const QRect rect = visualRect(index);
    return {viewport()->mapToGlobal(rect.topLeft()), rect.size()};
}

void FilteredTableView::updateHeader()
{
    QList<int> filtered;
    const QList<int> &columns = m_model->columns();
    for (int section = 0; section < columns.size(); ++section) {
        if (m_filters->isFiltered(columns.at(section)))
            filtered.append(section);
    }
    m_header->setFilteredSections(filtered);
    QList<FilterHeader::SortMark> marks;
    const QList<TableModel::SortKey> keys = m_model->sortKeys();
    for (const TableModel::SortKey &key : keys)
        marks.append({m_model->section(key.column), key.order});
    m_header->setSortMarks(marks);
}

void FilteredTableView::updateNote()
{
    if (m_model->rowCount() > 0)
        m_note->clear();
    else if (m_model->totalRowCount() > 0)
        m_note->setText(tr("Фильтры скрывают все строки"));
    else
        m_note->setText(tr("В таблице нет строк"));
    m_note->setVisible(!m_note->text().isEmpty());
}

void FilteredTableView::updateRowHeight()
{
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 7);
}

void FilteredTableView::paintEvent(QPaintEvent *event)
{
    const QRect painted = event->rect();
    QList<int> sections;
    for (int section = 0; section < m_header->count(); ++section) {
        const int left = columnViewportPosition(section);
        if (!m_header->isSectionHidden(section) && left <= painted.right() &&
            left + columnWidth(section) > painted.left())
            sections.append(section);
    }
    const int first = rowAt(painted.top());
    const int last = rowAt(painted.bottom());
    // Nothing is read for the room below the last row.
    m_model->readCells(first < 0 ? m_model->rowCount() : first, last < 0 ? m_model->rowCount() - 1 : last,
                       sections, [&] { QTableView::paintEvent(event); });
}

void FilteredTableView::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    m_note->resize(viewport()->size());
}

void FilteredTableView::contextMenuEvent(QContextMenuEvent *event)
{
    // The Menu key means the current cell; its event has the middle of the view as position.
    const QModelIndex pointed =
        event->reason() == QContextMenuEvent::Keyboard ? QModelIndex() : indexAt(event->pos());
    if (pointed.isValid() && selectionModel()->isSelected(pointed))
        Q_EMIT cellMenuRequested(pointed, event->globalPos());
    else if (currentIndex().isValid())
        Q_EMIT cellMenuRequested(currentIndex(), cellRect(currentIndex()).center());
    else
        Q_EMIT cellMenuRequested({}, event->globalPos());
}

void FilteredTableView::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        updateNote();
    else if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        updateRowHeight();
}

} // namespace sito
