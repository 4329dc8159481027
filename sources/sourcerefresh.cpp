// SPDX-License-Identifier: MIT
#include <sources/sourcerefresh_p.h>

#include <sources/rowreader_p.h>
#include <sources/sourcerows_p.h>
#include <sources/tableloader.h>
#include <sources/tablerefresh.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <chrono>
#include <utility>

namespace sito {

namespace {

/// How many rows are read between two reports of the progress.
constexpr qint64 reportedRows = 4096;
/// For how long rows are counted before they are read.
constexpr std::chrono::milliseconds countTime(200);

/// The columns by which rows are told apart; none where those of the primary key need not differ, because
/// values are absent or different ones have one text.
QList<int> keysOf(const TableSource &origin, const TableShape &shape)
{
    QList<int> keys;
    for (qsizetype i = 0; i < shape.declared.size(); ++i) {
        const SourceColumn &column = shape.columns[size_t(i)];
        const TableSource::Column &declared = shape.declared.at(i);
        if (!declared.isKey)
            continue;
        if (column.spec().nullable || (column.isShownAsText() && !origin.areTextsDistinct(declared)))
            return {};
        keys.append(int(i));
    }
    return keys;
}

/// The place of the column \a name, if it can grow; -1 otherwise. Without a key, rows are told apart by all
/// columns: then old and new ones must differ in that one, so that it must be shown as it is compared.
int growingColumn(const TableSource &origin, const TableShape &shape, const QString &name)
{
    const auto column = std::find_if(shape.columns.begin(), shape.columns.end(),
                                     [&name](const SourceColumn &one) { return one.spec().name == name; });
    if (column == shape.columns.end() || !SourceConnection::canGrow(column->spec()))
        return -1;
    const FieldType::Type type = column->spec().type;
    if (keysOf(origin, shape).isEmpty() && type != FieldType::Int && type != FieldType::Int64)
        return -1;
    return int(column - shape.columns.begin());
}

/// Whether no two rows of the source, which tells them apart by its primary key, have equal keys here.
bool areKeysUnique(const TableSource &origin, const TableShape &shape)
{
    const QList<int> keys = keysOf(origin, shape);
    return !keys.isEmpty() && std::none_of(keys.begin(), keys.end(), [&shape](int key) {
        return shape.columns[size_t(key)].hasStrayBytes();
    });
}

} // namespace

/// A table that is read again.
struct SourceRefresh::Reading
{
    MemoryTable *table;
    Known known;
    SourceConnection::RefreshedTable result;
    std::unique_ptr<TableRefresh> refresh = {};
    /// Of those that were not read.
    TableRefresh::Others others = TableRefresh::Others::Removed;
    /// The place of the column that grows, or -1.
    int growing = -1;
    /// How many rows there are to read; -1 when that is not known.
    qint64 total = -1;

    /// Whether a part of the table was never read.
    bool isRest() const { return known.shape && !known.shape->isComplete; }
};

SourceRefresh::SourceRefresh(const SourceLocation &location, bool isStrict, std::mutex &mutex)
    : m_location(location), m_isStrict(isStrict), m_mutex(mutex)
{
}

void SourceRefresh::noteConnection()
{
    // Marks are those of one connection, but promises hold.
    for (Known &known : m_known) {
        known.mark.clear();
        if (!known.rows.isPromised)
            known.rows = {};
    }
    if (!m_location.isFile())
        return;
    const QFileInfo info(m_location.file);
    m_fileSize = info.size();
    m_fileTime = info.lastModified();
}

bool SourceRefresh::isFileChanged() const
{
    if (!m_location.isFile())
        return false;
    const QFileInfo info(m_location.file);
    return !info.exists() || info.size() != m_fileSize || info.lastModified() != m_fileTime;
}

void SourceRefresh::beginLoad(const TableLoader &loader)
{
    m_mark = loader.origin().changeMark();
}

void SourceRefresh::endLoad(const TableLoader &loader, const QStringList &tables)
{
    for (const QString &table : tables)
        m_known.insert(table, {.shape = loader.shape(table), .mark = m_mark});
}

TableNotes SourceRefresh::notes(const TableLoader &loader, const QString &table) const
{
    const auto shape = m_known.value(table).shape;
    return shape ? TableNotes{shape->notes(loader.origin()), shape} : TableNotes();
}

QByteArray SourceRefresh::bytes(const TableLoader &loader, const SourceCell &cell,
                                const parallel::StopToken &stop) const
{
    const TableSource &origin = loader.origin();
    const auto shape = m_known.value(cell.table).shape;
    const auto snapshot = qScopeGuard(origin.beginSnapshot());
    const TableShape present = cell.presentShape(origin, shape ? *shape : TableShape());
    stop.throwIfStopped();
    std::optional<QByteArray> bytes = origin.bytes(present, cell, stop);
    if (!bytes)
        throw Exception(SourceConnection::tr("Значение — не байты"));
    return *std::move(bytes);
}

QList<SourceConnection::RefreshedTable> SourceRefresh::refresh(const TableLoader &loader, const Order &order,
                                                               const parallel::StopToken &stop,
                                                               const Progress &progress)
{
    const TableSource &origin = loader.origin();
    const QString mark = origin.changeMark();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    std::vector<Reading> readings;
    {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        for (MemoryTable *table : order.tables)
            readings.push_back({table, m_known.value(table->name()), {.name = table->name(), .asOf = now}});
    }
    const auto isAsBefore = [&](const Reading &reading) {
        const auto &shape = reading.known.shape;
        return order.ifChanged && !mark.isEmpty() && reading.known.mark == mark && shape->isComplete &&
               !shape->table.isView;
    };
    for (Reading &reading : readings) {
        if (reading.known.shape)
            reading.growing =
                growingColumn(origin, *reading.known.shape, order.growing.value(reading.result.name));
        if (reading.isRest())
            reading.total = countBriefly(origin, reading.known.shape->table, stop);
    }
    if (!std::all_of(readings.begin(), readings.end(), isAsBefore)) {
        const auto snapshot = qScopeGuard(origin.beginSnapshot());
        QList<TableSource::Table> read;
        for (const Reading &reading : readings) {
            if (reading.known.shape && !isAsBefore(reading))
                read.append(reading.known.shape->table);
        }
        origin.hold(read);
        for (Reading &reading : readings) {
            if (!isAsBefore(reading))
                this->read(origin, reading, stop, progress);
        }
    }
    QList<SourceConnection::RefreshedTable> results;
    for (Reading &reading : readings) {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        // The mark counts only once all is in the table.
        m_known[reading.result.name].rows = {};
        if (reading.refresh)
            reading.result.counts = reading.refresh->apply(reading.others);
        if (!reading.result.isReshaped)
            m_known.insert(reading.result.name, {reading.known.shape, mark, reading.known.rows});
        results.append(reading.result);
    }
    return results;
}

/// How many rows \a table has, for the progress; -1 when to count them would delay the reading.
qint64 SourceRefresh::countBriefly(const TableSource &origin, const TableSource::Table &table,
                                   const parallel::StopToken &stop)
{
    try {
        const CountLimits limits{.stop = stop, .isBrief = true, .end = QDeadlineTimer(countTime)};
        return origin.rowCount(table, limits).value_or(-1);
    } catch (const Exception &) {
        return -1;
    }
}

void SourceRefresh::read(const TableSource &origin, Reading &reading, const parallel::StopToken &stop,
                         const Progress &progress) const
{
    const QString &name = reading.result.name;
    const auto all = origin.tables();
    const auto table = std::find_if(all.begin(), all.end(),
                                    [&name](const TableSource::Table &known) { return known.name == name; });
    if (table == all.end())
        throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(name));
    progress(name, 0, reading.total);
    reading.result.isReshaped = !reading.known.shape ||
                                origin.columns(*table) != reading.known.shape->declared ||
                                !readChanged(origin, *table, reading, stop, progress);
    if (reading.result.isReshaped)
        reading.refresh.reset();
}

/// Reads only what may have changed, if that can be told; otherwise, and when the number of rows then tells
/// that some were removed, all rows. False when a value does not fit its column any more.
bool SourceRefresh::readChanged(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                                const parallel::StopToken &stop, const Progress &progress) const
{
    const RowMark now = origin.rowMark(table, reading.known.shape->declared, reading.growing);
    const auto areUnique = [&origin, &reading, &now] {
        const TableShape &shape = *reading.known.shape;
        return areKeysUnique(origin, shape) || (now.isPromised && keysOf(origin, shape).isEmpty());
    };
    const RowMark before = std::exchange(reading.known.rows, now);
    TableSource::Table part = table;
    if (!reading.isRest() && !before.value.isEmpty() && !now.value.isEmpty())
        part.condition = origin.changedSince(before, now);
    if (part.condition.isEmpty() || !areUnique())
        return readRows(origin, table, reading, stop, progress);
    if (!readRows(origin, part, reading, stop, progress))
        return false;
    part.condition = now.condition;
    const std::optional<qint64> count = origin.rowCount(part, {.stop = stop});
    {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        // Every row of the source is in the table after that, so that equal numbers mean the same rows.
        if (count == reading.table->rowCount() + reading.refresh->newRows() && areUnique()) {
            reading.others = TableRefresh::Others::Kept;
            return true;
        }
    }
    // A source that knows which rows have changed knows their columns by name.
    const bool areRemovedFound =
        !now.isPromised && areUnique() && readKeys(origin, part, reading, stop, progress);
    return areRemovedFound || readRows(origin, table, reading, stop, progress);
}

/// Finds the rows that were removed, once those that may have changed were read. False when that fails.
bool SourceRefresh::readKeys(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                             const parallel::StopToken &stop, const Progress &progress) const
{
    const TableShape &shape = *reading.known.shape;
    QList<TableSource::Column> declared;
    std::vector<SourceColumn> columns;
    const QList<int> keys = keysOf(origin, shape);
    for (const int key : keys) {
        declared.append(shape.declared.at(key));
        columns.push_back(shape.columns[size_t(key)]);
    }
    const auto rows = origin.rows(table, declared, columns);
    if (!rows->open())
        throw Exception(origin.errorText(rows->error().value_or(QString()), table.name));
    RowReader reader(table.name, *rows, columns, RowReader::Misfits::Shown);
    qint64 unknown = 0;
    while (reader.next()) {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        if (reader.isChanged())
            break;
        unknown += reading.refresh->keep(reader.cells()) ? 0 : 1;
        if (++reading.result.rowsRead % reportedRows == 0)
            progress(table.name, reading.result.rowsRead, reading.total);
    }
    if (const auto error = rows->error())
        throw Exception(origin.errorText(*error, table.name));
    rows->close();
    const bool isStray = std::any_of(columns.begin(), columns.end(),
                                     [](const SourceColumn &column) { return column.hasStrayBytes(); });
    // Those that are new were read before.
    return !reader.isChanged() && !isStray && unknown == reading.refresh->newRows();
}

/// Reads the rows of \a table that fulfil its condition. False when a value does not fit its column any more.
bool SourceRefresh::readRows(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                             const parallel::StopToken &stop, const Progress &progress) const
{
    {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        reading.refresh = std::make_unique<TableRefresh>(
            *reading.table, keysOf(origin, *reading.known.shape), stop,
            reading.isRest() ? TableRefresh::Additions::AsTheyCome : TableRefresh::Additions::AtTheEnd);
    }
    std::vector<SourceColumn> columns = reading.known.shape->columns;
    const auto rows = origin.rows(table, reading.known.shape->declared, columns);
    if (!rows->open())
        throw Exception(origin.errorText(rows->error().value_or(QString()), table.name));
    RowReader reader(table.name, *rows, columns,
                     m_isStrict && origin.declaresTypes() ? RowReader::Misfits::GetRoom
                                                          : RowReader::Misfits::Shown);
    while (reader.next()) {
        if (reader.isChanged())
            return false;
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        reading.refresh->add(reader.cells());
        ++reading.result.rowsRead;
        if (reading.result.rowsRead % reportedRows == 0)
            progress(table.name, reading.result.rowsRead, reading.total);
    }
    if (const auto error = rows->error())
        throw Exception(origin.errorText(*error, table.name));
    rows->close();
    // The columns have noted what later rows hold.
    TableShape shape{table, reading.known.shape->declared, std::move(columns), true};
    shape.table.condition.clear();
    reading.known.shape = std::make_shared<const TableShape>(std::move(shape));
    return true;
}

} // namespace sito
