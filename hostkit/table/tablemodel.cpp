// SPDX-License-Identifier: MIT
#include <hostkit/table/tablemodel.h>

#include <hostkit/table/rowset_p.h>
#include <hostkit/text/celltext.h>
#include <hostkit/text/exceptiontext.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>
#include <filters/valuefilter.h>

#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <QThread>

#include <algorithm>

#include <hostkit/table/tablemodel_p.h>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int progressInterval = 100;
/// Texts of more units may well be cut off in their cell.
constexpr qsizetype longText = 24;
constexpr qsizetype longestToolTip = 4000;
// More than fits on a screen; drawing costs time in proportion.
constexpr qsizetype longestCell = 500;

bool isNumber(FieldType::Type type)
{
    switch (type) {
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Double:
    case FieldType::Decimal:
    case FieldType::XDecimal:
        return true;
    default:
        return false;
    }
}

bool hasLength(FieldType::Type type)
{
    switch (type) {
    case FieldType::Decimal:
    case FieldType::XDecimal:
    case FieldType::VarChar:
    case FieldType::Raw:
        return true;
    default:
        return false;
    }
}

} // namespace

TableModelPrivate::TableModelPrivate(TableModel &model, Table &modelTable, const QList<int> &modelColumns)
    : q(&model),
      table(modelTable),
      columns(modelColumns),
      left(int(Qt::AlignLeft | Qt::AlignVCenter)),
      right(int(Qt::AlignRight | Qt::AlignVCenter)),
      dash(u"—"_s),
      worker([this] {
          QMetaObject::invokeMethod(
              q, [this] { collect(); }, Qt::QueuedConnection);
      })
{
    for (const int column : columns)
        sections.push_back({column, isNumber(table.columnDef(column)->type)});
    shown = std::make_shared<ShownRows>(ShownRows::all(std::make_shared<RowSet>(RowSet::list(table))));
}

void TableModelPrivate::schedule()
{
    isUpToDate = false;
    // What runs would show something older than what is wanted now.
    abandon();
    if (isPending)
        return;
    isPending = true;
    QMetaObject::invokeMethod(
        q, [this] { startPending(); }, Qt::QueuedConnection);
}

void TableModelPrivate::startPending()
{
    // A pass compares with the rows that are shown; while these change, it has to wait.
    if (!isPending || isShowing)
        return;

    isPending = false;
    auto next = std::make_shared<RowPass>(table, shown);
    next->reload = isReloadWanted;
    next->threads = q->threadCount();
    next->order = order;
    for (const TableModel::SortKey &key : std::as_const(keys))
        next->keys.push_back({key.column, key.order == Qt::DescendingOrder});
    if (filters) {
        QString error;
        try {
            next->predicates = filters->createFilterFuncs();
        } catch (...) {
            error = currentExceptionText();
        }
        if (!error.isNull()) {
            Q_EMIT q->passFailed(error);
            return;
        }
    }

    pass = std::move(next);
    percent = -1;
    progress.start();
    worker.start(pass);
    Q_EMIT q->passStarted();
}

void TableModelPrivate::abandon()
{
    if (!pass)
        return;
    pass->requestStop();
    abandoned.push_back(std::move(pass));
    pass.reset();
    progress.stop();
}

void TableModelPrivate::collect()
{
    std::erase_if(abandoned, [this](const auto &old) { return worker.isFinished(*old); });
    if (!pass || !worker.isFinished(*pass))
        return;

    const std::shared_ptr<RowPass> finished = std::move(pass);
    pass.reset();
    progress.stop();
    if (finished->isStopped())
        return;
    lastNanoseconds = finished->nanoseconds();
    if (!finished->error().isNull()) {
        Q_EMIT q->passFailed(finished->error());
        return;
    }
    show(*finished);
}

void TableModelPrivate::show(RowPass &finished)
{
    RowPass::Result &result = finished.result();
    // Before anybody is told, who may ask for the next one.
    if (result.rows != shown->rows)
        isReloadWanted = false;
    isShowing = true;
    coming = &finished;
    Q_EMIT q->aboutToShow();
    coming = nullptr;

    order = finished.order;
    if (result.rows != shown->rows) {
        // The same rows, by their new ids.
        worker.dispose(std::move(shown->rows));
        shown->rows = result.rows;
        shown->ids = std::move(result.before);
    }

    if (!result.added.empty()) {
        const int first = int(shown->ids.size());
        q->beginInsertRows({}, first, first + int(result.added.size()) - 1);
        shown->ids.insert(shown->ids.end(), result.added.begin(), result.added.end());
        q->endInsertRows();
    }
    if (result.isMoved) {
        Q_EMIT q->layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
        const QModelIndexList from = q->persistentIndexList();
        QModelIndexList to;
        to.reserve(from.size());
        for (const QModelIndex &index : from)
            to.append(q->createIndex(int(result.places[shown->ids[size_t(index.row())]]), index.column()));
        shown->ids.swap(result.after);
        shown->places.swap(result.places);
        q->changePersistentIndexList(from, to);
        Q_EMIT q->layoutChanged({}, QAbstractItemModel::VerticalSortHint);
    } else {
        shown->places.swap(result.places);
    }
    if (shown->ids.size() > result.shownCount) {
        q->beginRemoveRows({}, int(result.shownCount), int(shown->ids.size()) - 1);
        shown->ids.resize(result.shownCount);
        q->endRemoveRows();
    }
    worker.dispose(shown->rows->takeDeparted());
    isShowing = false;
    // Whoever was told of the changes may have asked for more.
    isUpToDate = !isPending;
    Q_EMIT q->passFinished();

    // A slot that ran events while the rows were announced may have used up the call that was to start it.
    if (isPending)
        QMetaObject::invokeMethod(
            q, [this] { startPending(); }, Qt::QueuedConnection);
}

QVariant TableModelPrivate::absentData(int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return dash;
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return TableModel::tr("нет значения");
    case Qt::FontRole:
        if (!absentFont.isValid()) {
            QFont font;
            font.setItalic(true);
            absentFont = font;
        }
        return absentFont;
    case Qt::ForegroundRole:
        return QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text);
    default:
        return QVariant();
    }
}

/// At most \a length units of \a text, and a mark when that is not all.
QString TableModelPrivate::shortened(QString text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    text.truncate(length);
    if (text.back().isHighSurrogate())
        text.chop(1);
    return text += u'…';
}

/// The text of \a field where its cell may be too narrow for it.
QVariant TableModelPrivate::toolTip(const Field &field) const
{
    QString text = cellText(field).value_or(QString());
    if (text.size() <= longText && !text.contains(u'\n'))
        return QVariant();
    text = shortened(std::move(text), longestToolTip);
    // As rich text, so that long lines are broken and what looks like markup is shown as it is.
    return QString(u"<div style=\"white-space: pre-wrap\">"_s + text.toHtmlEscaped() + u"</div>"_s);
}

bool TableModelPrivate::isFiltered(int column) const
{
    return filters &&
           std::any_of(filters->filters().begin(), filters->filters().end(), [column](const Filter *filter) {
               const auto *values = qobject_cast<const ValueFilter *>(filter);
               return values && FilterList::takesPart(*values) && values->columns().contains(column);
           });
}

QString TableModelPrivate::columnToolTip(int column) const
{
    const ColumnDef &def = *table.columnDef(column);
    QString type = FieldType::typeName(def.type);
    if (hasLength(def.type))
        type += u'(' + QString::number(def.length) + u')';
    const QString text =
        def.nullable ? TableModel::tr("%1\nТип: %2, значения может не быть") : TableModel::tr("%1\nТип: %2");
    return text.arg(table.columnName(column), type);
}

TableModel::TableModel(Table &table, const QList<int> &columns, QObject *parent)
    : QAbstractTableModel(parent), d(std::make_unique<TableModelPrivate>(*this, table, columns))
{
    d->progress.setInterval(progressInterval);
    connect(&d->progress, &QTimer::timeout, this, [this] {
        const int percent = d->pass ? d->pass->percent() : -1;
        if (percent > d->percent) {
            d->percent = percent;
            Q_EMIT passProgress(percent);
        }
    });
}

TableModel::~TableModel() = default;

Table *TableModel::table() const
{
    return &d->table;
}

const QList<int> &TableModel::columns() const
{
    return d->columns;
}

int TableModel::section(int column) const
{
    return int(d->columns.indexOf(column));
}

Record TableModel::record(int row) const
{
    const ShownRows &shown = *d->shown;
    return row >= 0 && size_t(row) < shown.ids.size() ? (*shown.rows)[shown.ids[size_t(row)]] : Record();
}

int TableModel::rowOf(const Record &record) const
{
    const ShownRows &shown = *d->shown;
    if (d->isShowing) {
        // Between two announcements the places are not those of the rows.
        const auto isIt = [&](quint32 id) { return (*shown.rows)[id] == record; };
        const auto found = std::find_if(shown.ids.begin(), shown.ids.end(), isIt);
        return found == shown.ids.end() ? -1 : int(found - shown.ids.begin());
    }
    const quint32 id = record.isNull() ? RowSet::none : shown.rows->find(record.row());
    if (id == RowSet::none || shown.places[id] >= shown.ids.size())
        return -1;
    return int(shown.places[id]);
}

qsizetype TableModel::totalRowCount() const
{
    return d->shown->rows->listedCount();
}

void TableModel::reload()
{
    d->isReloadWanted = true;
    d->schedule();
}

void TableModel::setFilters(FilterList *filters)
{
    if (filters == d->filters)
        return;

    if (d->filters)
        disconnect(d->filters, nullptr, this, nullptr);
    d->filters = filters;
    if (filters) {
        connect(filters, &FilterList::changed, this, [this] { d->schedule(); });
        connect(filters, &QObject::destroyed, this, [this] { d->schedule(); });
    }
    d->schedule();
}

FilterList *TableModel::filters() const
{
    return d->filters;
}

QList<TableModel::SortKey> TableModel::sortKeys() const
{
    return d->keys;
}

void TableModel::setSortKeys(const QList<SortKey> &keys)
{
    if (keys == d->keys && d->isUpToDate)
        return;
    d->keys = keys;
    d->schedule();
}

int TableModel::threadCount() const
{
    return d->threads > 0 ? d->threads : std::max(1, QThread::idealThreadCount());
}

void TableModel::setThreadCount(int count)
{
    d->threads = count;
}

bool TableModel::isPassRunning() const
{
    return d->isPending || d->pass;
}

bool TableModel::isUpToDate() const
{
    return d->isUpToDate;
}

void TableModel::waitForPass()
{
    while (isPassRunning() && !d->isShowing) {
        d->startPending();
        if (d->pass) {
            d->worker.wait(*d->pass);
            d->collect();
        }
    }
}

qint64 TableModel::lastPassNanoseconds() const
{
    return d->lastNanoseconds;
}

void TableModel::cancelPass()
{
    if (!isPassRunning())
        return;
    d->isPending = false;
    d->abandon();
    Q_EMIT passCancelled();
}

int TableModel::rowAfterPass(int row) const
{
    if (!d->coming || row < 0 || row >= rowCount())
        return -1;
    const RowPass::Result &result = d->coming->result();
    const quint32 place = result.places[d->coming->before()[size_t(row)]];
    return place < result.shownCount ? int(place) : -1;
}

int TableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(d->shown->ids.size());
}

int TableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(d->sections.size());
}

QVariant TableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();

    const TableModelPrivate::Section &section = d->sections[size_t(index.column())];
    switch (role) {
    case Qt::TextAlignmentRole:
        return section.isNumber ? d->right : d->left;
    case ColumnRole:
        return section.column;
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
    case Qt::FontRole:
    case Qt::ForegroundRole:
    case AbsentRole:
        break;
    default:
        return QVariant();
    }

    const ShownRows &shown = *d->shown;
    const Field field = d->table.dataPtr((*shown.rows)[shown.ids[size_t(index.row())]].row(), section.column);
    if (role == AbsentRole)
        return !field.isPresent();
    if (!field.isPresent())
        return d->absentData(role);
    switch (role) {
    case Qt::DisplayRole:
        return TableModelPrivate::shortened(*cellText(field), longestCell);
    case Qt::EditRole:
        return *cellText(field);
    case Qt::ToolTipRole:
        return d->toolTip(field);
    default:
        return QVariant();
    }
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (section < 0 || section >= (orientation == Qt::Horizontal ? columnCount() : rowCount()))
        return QVariant();
    if (orientation == Qt::Vertical) {
        if (role == Qt::DisplayRole)
            return section + 1;
        return role == Qt::TextAlignmentRole ? d->right : QVariant();
    }

    const TableModelPrivate::Section &shown = d->sections[size_t(section)];
    switch (role) {
    case Qt::DisplayRole:
        return d->table.columnName(shown.column);
    case Qt::ToolTipRole:
        return d->columnToolTip(shown.column);
    case Qt::TextAlignmentRole:
        return shown.isNumber ? d->right : d->left;
    case Qt::AccessibleDescriptionRole:
        return d->isFiltered(shown.column) ? tr("фильтр включён") : QVariant();
    case ColumnRole:
        return shown.column;
    default:
        return QVariant();
    }
}

void TableModel::sort(int section, Qt::SortOrder order)
{
    if (section < 0) {
        setSortKeys({});
        return;
    }
    if (section >= columnCount())
        return;

    const int column = d->columns.at(section);
    QList<SortKey> keys{{column, order}};
    for (const SortKey &key : std::as_const(d->keys)) {
        if (key.column != column)
            keys.append(key);
    }
    setSortKeys(keys);
}

} // namespace sito
