// SPDX-License-Identifier: MIT
#include <hostkit/table/tablemodel.h>

#include <hostkit/parallel/threadpool.h>
#include <hostkit/table/rowset_p.h>
#include <hostkit/table/shownrows_p.h>

#include <data/table.h>

#include <QScopeGuard>
#include <QThreadPool>

#include <algorithm>
#include <new>

#include <hostkit/table/tablemodel_p.h>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Throws std::bad_alloc unless there is memory for what Qt does when rows are announced. A failure in the
/// middle of that would leave its own lists broken.
void requireMemory(qsizetype persistentIndexes)
{
    constexpr size_t forViews = size_t(1) << 16;
    constexpr size_t forAnIndex = 128;
    static_cast<void>(
        std::make_unique_for_overwrite<char[]>(forViews + forAnIndex * size_t(persistentIndexes)));
}

} // namespace

TableModelPrivate::TableModelPrivate(TableModel &model, Table &modelTable, const QList<int> &modelColumns)
    : q(&model),
      table(modelTable),
      cells(modelTable, modelColumns),
      passes(modelTable, ShownRows::all(std::make_shared<RowSet>(RowSet::list(modelTable))),
             [this](const RowPass &pass) { show(pass); })
{
    const ShownRows &all = *passes.shown();
    view = {all.rows.get(), all.ids.data(), all.count};
}

const Record &TableModelPrivate::View::operator[](size_t place) const
{
    return (*rows)[ids[place]];
}

void TableModelPrivate::show(const RowPass &pass)
{
    {
        coming = &pass;
        const auto gone = qScopeGuard([this] { coming = nullptr; });
        Q_EMIT q->aboutToShow();
    }
    requireMemory(q->persistentIndexList().size());
    const View before = view;
    held.reset();
    try {
        announce(pass);
    } catch (...) {
        // Whoever was told of the first steps must not believe in them.
        q->beginResetModel();
        view = before;
        q->endResetModel();
        throw;
    }
}

void TableModelPrivate::announce(const RowPass &pass)
{
    const RowPass::Result &result = pass.result();
    // The same rows, by their new ids.
    view = {result.shown->rows.get(), pass.before(), view.count};
    if (result.isStepwise)
        announceSteps(pass);
    else
        announceAtOnce(pass);

    announceWritten(pass);
}

/// Few runs of rows come and go where they stand.
void TableModelPrivate::announceSteps(const RowPass &pass)
{
    const RowPass::Result &result = pass.result();
    const ShownRows &next = *result.shown;
    if (!result.going.empty() || !result.coming.empty()) {
        steps.assign(view.ids, view.ids + view.count);
        view.ids = steps.data();
    }
    for (auto run = result.going.rbegin(); run != result.going.rend(); ++run) {
        q->beginRemoveRows({}, int(run->first), int(run->last));
        steps.erase(steps.begin() + qptrdiff(run->first), steps.begin() + qptrdiff(run->last) + 1);
        view.count = quint32(steps.size());
        q->endRemoveRows();
    }
    for (const RowPass::Run &run : result.coming) {
        q->beginInsertRows({}, int(run.first), int(run.last));
        steps.insert(steps.begin() + qptrdiff(run.first), next.ids.begin() + qptrdiff(run.first),
                     next.ids.begin() + qptrdiff(run.last) + 1);
        view.ids = steps.data();
        view.count = quint32(steps.size());
        q->endInsertRows();
    }
    view.ids = next.ids.data();
}

void TableModelPrivate::announceAtOnce(const RowPass &pass)
{
    const RowPass::Result &result = pass.result();
    const ShownRows &next = *result.shown;
    if (result.addedCount > 0) {
        q->beginInsertRows({}, int(view.count), int(view.count + result.addedCount) - 1);
        view.count += result.addedCount;
        q->endInsertRows();
    }
    if (result.isMoved) {
        Q_EMIT q->layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
        const QModelIndexList from = q->persistentIndexList();
        QModelIndexList to;
        to.reserve(from.size());
        for (const QModelIndex &index : from)
            to.append(q->createIndex(int(next.places[view.ids[index.row()]]), index.column()));
        view.ids = next.ids.data();
        q->changePersistentIndexList(from, to);
        Q_EMIT q->layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    }
    view.ids = next.ids.data();
    if (view.count > next.count) {
        q->beginRemoveRows({}, int(next.count), int(view.count) - 1);
        view.count = next.count;
        q->endRemoveRows();
    }
}

void TableModelPrivate::announceWritten(const RowPass &pass)
{
    const RowPass::Result &result = pass.result();
    const int sections = cells.count();
    // Rows that were listed again may have been written meanwhile.
    if (pass.reload && result.firstKept <= result.lastKept && sections > 0)
        Q_EMIT q->dataChanged(q->index(int(result.firstKept), 0),
                              q->index(int(result.lastKept), sections - 1));
    for (const RowPass::Run &run : result.written) {
        int first = sections;
        int last = -1;
        for (int section = 0; section < sections; ++section) {
            const int bit = std::min(cells.columns().at(section), ChangeQueue::lastBit);
            if ((run.columns >> bit & 1) == 0)
                continue;
            first = std::min(first, section);
            last = section;
        }
        if (first <= last)
            Q_EMIT q->dataChanged(q->index(int(run.first), first), q->index(int(run.last), last));
    }
}

QVariant TableModelPrivate::data(int row, int section, int role) const
{
    unsigned char *block = view[size_t(row)].row();
    if (role == TableModel::AbsentRole)
        return cells.isAbsent(block, section);
    return cells.data(block, section, role);
}

void TableModelPrivate::hold(int firstRow, int lastRow, const QList<int> &sections)
{
    auto next = std::make_unique<HeldCells>(HeldCells{firstRow, lastRow});
    next->places.assign(size_t(cells.count()), -1);
    for (const int section : sections)
        next->places.at(size_t(section)) = next->width++;
    passes.readCells([&] {
        for (int row = firstRow; row <= lastRow; ++row) {
            unsigned char *block = view[size_t(row)].row();
            for (const int section : sections)
                next->cells.push_back(cells.painted(block, section));
        }
    });
    held = std::move(next);
}

std::optional<QVariant> TableModelPrivate::heldData(int row, int section, int role) const
{
    if (!held || row < held->firstRow || row > held->lastRow || held->places[size_t(section)] < 0)
        return std::nullopt;
    const int place = (row - held->firstRow) * held->width + held->places[size_t(section)];
    const TableCells::Painted &cell = held->cells[size_t(place)];
    if (role == TableModel::AbsentRole)
        return cell.isAbsent;
    return cells.data(cell, section, role);
}

bool TableModelPrivate::isFiltered(int column) const
{
    const FilterList *filters = passes.filters();
    return filters && filters->isFiltered(column);
}

TableModel::TableModel(Table &table, const QList<int> &columns, QObject *parent)
    : QAbstractTableModel(parent), d(std::make_unique<TableModelPrivate>(*this, table, columns))
{
    connect(&d->passes, &RowPasses::started, this, &TableModel::passStarted);
    connect(&d->passes, &RowPasses::progressed, this, &TableModel::passProgress);
    connect(&d->passes, &RowPasses::finished, this, &TableModel::passFinished);
    connect(&d->passes, &RowPasses::failed, this, &TableModel::passFailed);
    connect(&d->passes, &RowPasses::cancelled, this, &TableModel::passCancelled);
    connect(&d->passes, &RowPasses::changesShown, this, &TableModel::changesShown);
}

TableModel::~TableModel() = default;

Table *TableModel::table() const
{
    return &d->table;
}

const QList<int> &TableModel::columns() const
{
    return d->cells.columns();
}

int TableModel::section(int column) const
{
    return int(columns().indexOf(column));
}

Record TableModel::record(int row) const
{
    return row >= 0 && row < rowCount() ? d->view[size_t(row)] : Record();
}

int TableModel::rowOf(const Record &record) const
{
    if (d->passes.isShowing()) {
        // Between two announcements the places are not those of the rows.
        for (quint32 place = 0; place < d->view.count; ++place) {
            if (d->view[place] == record)
                return int(place);
        }
        return -1;
    }
    const ShownRows &shown = *d->passes.shown();
    const quint32 id = record.isNull() ? RowSet::none : shown.rows->find(record.row());
    return shown.isShown(id) ? int(shown.places[id]) : -1;
}

qsizetype TableModel::totalRowCount() const
{
    return d->view.rows->liveCount();
}

void TableModel::reload()
{
    d->passes.reload();
}

void TableModel::follow(TableChanges *changes)
{
    d->passes.follow(changes);
}

TableChanges *TableModel::followed() const
{
    return d->passes.followed();
}

void TableModel::setFilters(FilterList *filters)
{
    d->passes.setFilters(filters);
}

FilterList *TableModel::filters() const
{
    return d->passes.filters();
}

QList<TableModel::SortKey> TableModel::sortKeys() const
{
    QList<SortKey> keys;
    for (const sortorder::Key &key : d->passes.keys())
        keys.append({key.column, key.descending ? Qt::DescendingOrder : Qt::AscendingOrder});
    return keys;
}

void TableModel::setSortKeys(const QList<SortKey> &keys)
{
    std::vector<sortorder::Key> wanted;
    for (const SortKey &key : keys)
        wanted.push_back({key.column, key.order == Qt::DescendingOrder});
    if (wanted != d->passes.keys() || !d->passes.isUpToDate())
        d->passes.setKeys(std::move(wanted));
}

int TableModel::threadCount() const
{
    return d->passes.threads > 0 ? d->passes.threads : parallel::threadPool()->maxThreadCount();
}

void TableModel::setThreadCount(int count)
{
    d->passes.threads = count;
}

bool TableModel::isPassRunning() const
{
    return d->passes.isRunning();
}

bool TableModel::isUpToDate() const
{
    return d->passes.isUpToDate();
}

bool TableModel::hasChangesToShow() const
{
    return d->passes.hasChangesToShow();
}

void TableModel::waitForPass()
{
    d->passes.wait();
}

qint64 TableModel::lastPassNanoseconds() const
{
    return d->passes.lastNanoseconds();
}

void TableModel::cancelPass()
{
    d->passes.cancel();
}

int TableModel::rowAfterPass(int row) const
{
    if (!d->coming || row < 0 || row >= rowCount())
        return -1;
    const ShownRows &next = *d->coming->result().shown;
    const quint32 id = d->coming->before()[row];
    return next.isShown(id) ? int(next.places[id]) : -1;
}

int TableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(d->view.count);
}

int TableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : d->cells.count();
}

QVariant TableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    if (role == ColumnRole)
        return columns().at(index.column());
    if (std::optional<QVariant> held = d->heldData(index.row(), index.column(), role))
        return *std::move(held);
    return d->passes.readCells([&] { return d->data(index.row(), index.column(), role); });
}

void TableModel::readCells(int firstRow, int lastRow, const QList<int> &sections,
                           const std::function<void()> &use)
{
    const auto release = qScopeGuard([this] { d->held.reset(); });
    if (d->passes.followed() && firstRow <= lastRow && firstRow < rowCount()) {
        try {
            d->hold(std::max(firstRow, 0), std::min(lastRow, rowCount() - 1), sections);
        } catch (const std::bad_alloc &) {
            // Then data() reads them one by one.
        }
    }
    use();
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (section < 0 || section >= (orientation == Qt::Horizontal ? columnCount() : rowCount()))
        return QVariant();
    if (orientation == Qt::Vertical)
        return d->cells.rowHeader(section, role);
    if (role == ColumnRole)
        return columns().at(section);
    const bool isFiltered = role == Qt::AccessibleDescriptionRole && d->isFiltered(columns().at(section));
    return d->cells.columnHeader(section, role, isFiltered);
}

QHash<int, QByteArray> TableModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert({{Qt::TextAlignmentRole, "textAlignment"_ba},
                  {Qt::FontRole, "textFont"_ba},
                  {Qt::ForegroundRole, "textColor"_ba},
                  {Qt::AccessibleTextRole, "accessibleText"_ba},
                  {ColumnRole, "tableColumn"_ba},
                  {AbsentRole, "absent"_ba}});
    return names;
}

void TableModel::sort(int section, Qt::SortOrder order)
{
    if (section < 0) {
        setSortKeys({});
        return;
    }
    if (section >= columnCount())
        return;

    const int column = columns().at(section);
    QList<SortKey> keys{{column, order}};
    const QList<SortKey> before = sortKeys();
    for (const SortKey &key : before) {
        if (key.column != column)
            keys.append(key);
    }
    setSortKeys(keys);
}

} // namespace sito
