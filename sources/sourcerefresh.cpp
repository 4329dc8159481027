// SPDX-License-Identifier: MIT
#include <sources/sourcerefresh_p.h>

#include <sources/rowreader_p.h>
#include <sources/sourcerows_p.h>
#include <sources/tableloader.h>
#include <sources/tablerefresh.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

/// How many rows are read between two reports of the progress.
constexpr qint64 reportedRows = 4096;

/// The columns by which rows are told apart; none where those of the primary key need not differ, because
/// values are absent or shown in short.
QList<int> keysOf(const TableShape &shape)
{
    QList<int> keys;
    for (qsizetype i = 0; i < shape.declared.size(); ++i) {
        const SourceColumn &column = shape.columns[size_t(i)];
        if (!shape.declared.at(i).isKey)
            continue;
        if (column.spec().nullable || column.isShownAsText())
            return {};
        keys.append(int(i));
    }
    return keys;
}

} // namespace

/// A table that is read again.
struct SourceRefresh::Reading
{
    MemoryTable *table;
    Known known;
    SourceConnection::RefreshedTable result;
    std::unique_ptr<TableRefresh> refresh = {};
};

SourceRefresh::SourceRefresh(const SourceLocation &location, bool isStrict, std::mutex &mutex)
    : m_location(location), m_isStrict(isStrict), m_mutex(mutex)
{
}

void SourceRefresh::noteConnection()
{
    // Marks are those of one connection.
    for (Known &known : m_known)
        known.mark.clear();
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
        m_known.insert(table, {loader.shape(table), m_mark});
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
        return order.ifChanged && !mark.isEmpty() && reading.known.mark == mark &&
               !reading.known.shape->isView;
    };
    if (!std::all_of(readings.begin(), readings.end(), isAsBefore)) {
        const auto snapshot = qScopeGuard(origin.beginSnapshot());
        for (Reading &reading : readings) {
            if (!isAsBefore(reading))
                read(origin, reading, stop, progress);
        }
    }
    QList<SourceConnection::RefreshedTable> results;
    for (Reading &reading : readings) {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        if (reading.refresh)
            reading.result.counts = reading.refresh->apply();
        if (!reading.result.isReshaped)
            m_known[reading.result.name].mark = mark;
        results.append(reading.result);
    }
    return results;
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
    progress(name, 0);
    reading.result.isReshaped = !reading.known.shape ||
                                origin.columns(*table) != reading.known.shape->declared ||
                                !readRows(origin, *table, reading, stop, progress);
    if (reading.result.isReshaped)
        reading.refresh.reset();
}

/// False when a value does not fit its column any more.
bool SourceRefresh::readRows(const TableSource &origin, const TableSource::Table &table, Reading &reading,
                             const parallel::StopToken &stop, const Progress &progress) const
{
    {
        const std::lock_guard guard(m_mutex);
        stop.throwIfStopped();
        reading.refresh = std::make_unique<TableRefresh>(*reading.table, keysOf(*reading.known.shape), stop);
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
        if (reader.rowsRead() % reportedRows == 0)
            progress(table.name, reader.rowsRead());
    }
    if (const auto error = rows->error())
        throw Exception(origin.errorText(*error, table.name));
    rows->close();
    return true;
}

} // namespace sito
