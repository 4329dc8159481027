// SPDX-License-Identifier: MIT
#include <sources/csvsource_p.h>

#include <sources/csvrows_p.h>
#include <sources/rowreader_p.h>

#include <QFileInfo>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// So many rows are read for the first guess of the types.
constexpr int rowsOfBeginning = 1000;

/// The columns that the rows at the beginning need.
std::vector<SourceColumn> columnsOfBeginning(const CsvShape &shape)
{
    std::vector<SourceColumn> columns;
    for (const QString &name : shape.names)
        columns.push_back(SourceColumn::undeclared(name));
    CsvRows rows(shape);
    rows.open();
    RowReader reader({}, rows, columns, RowReader::Misfits::Shown);
    while (reader.rowsRead() < rowsOfBeginning && reader.next()) {
    }
    return columns;
}

} // namespace

CsvSource::CsvSource(const SourceLocation &location, const parallel::StopToken &stop)
    : m_location(location), m_stop(stop)
{
    look();
}

void CsvSource::look() const
{
    CsvShape shape = CsvShape::find(m_location, m_stop);
    m_columns = columnsOfBeginning(shape);
    m_shape = std::move(shape);
}

QString CsvSource::errorText(const QString &error, const QString &) const
{
    return error;
}

QList<TableSource::Table> CsvSource::tables() const
{
    const QFileInfo info(m_location.file);
    const QString name = info.completeBaseName();
    return {{.name = name.isEmpty() ? info.fileName() : name, .quotedName = info.fileName()}};
}

QList<TableSource::Column> CsvSource::columns(const Table &) const
{
    if (!m_shape.isCurrent())
        look();
    QList<Column> result;
    for (const QString &name : std::as_const(m_shape.names))
        result.append({.name = name, .declaredType = {}, .nullable = true, .place = int(result.size())});
    return result;
}

std::optional<SourceColumn> CsvSource::sourceColumn(const Column &column, bool) const
{
    SourceColumn result = m_columns[size_t(column.place)];
    result.setName(column.name);
    return result;
}

QHash<QString, TableSource::KnownCount> CsvSource::knownCounts(const QList<Table> &tables) const
{
    QHash<QString, KnownCount> result;
    for (const Table &table : tables)
        result.insert(table.name, {.rows = m_shape.rows, .isEstimate = false});
    return result;
}

std::optional<qint64> CsvSource::rowCount(const Table &, const CountLimits &limits) const
{
    return limits.stop.isStopRequested() ? std::nullopt : std::optional(m_shape.rows);
}

std::unique_ptr<SourceRows> CsvSource::rows(const Table &, const QList<Column> &,
                                            const std::vector<SourceColumn> &) const
{
    return std::make_unique<CsvRows>(m_shape);
}

std::function<void()> CsvSource::beginSnapshot() const
{
    return [] {};
}

} // namespace sito
