// SPDX-License-Identifier: MIT
#include <sources/tableloader.h>

#include <sources/bytesreader.h>
#include <sources/csvsource_p.h>
#include <sources/rowreader_p.h>
#include <sources/sourcecolumn_p.h>
#include <sources/sourcedatabase.h>
#include <sources/sqldialect_p.h>
#include <sources/tableshape_p.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>

#include <QHash>
#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

struct TableLoader::Private
{
    static std::unique_ptr<Private> open(const SourceLocation &location, const parallel::StopToken &stop);
    TableSource::Table require(const QString &table) const;
    TableShape declaredShape(const TableSource::Table &table) const;
    std::optional<qint64> rowLimitOf(const TableSource::Table &table) const;
    std::unique_ptr<MemoryTable> load(const QString &table, const parallel::StopToken &stop);
    std::optional<qint64> rowCount(const TableSource::Table &table, const CountLimits &limits) const
    {
        return table.isView ? -1 : origin->rowCount(table, limits);
    }
    RowReader::Misfits misfits() const;
    bool read(TableShape &shape, const parallel::StopToken &stop, std::unique_ptr<MemoryTable> &result) const;

    /// Of a loader that opened it.
    std::optional<SourceLocation> location = {};
    /// Of a loader that made it; the origin reads from it.
    std::unique_ptr<SourceDatabase> database = nullptr;
    std::unique_ptr<TableSource> origin = nullptr;
    ProgressFunction progress = {};
    qint64 interval = 4096;
    bool isStrict = false;
    Digits digits = Digits::AsDeclared;
    std::optional<qint64> rowLimit = {};
    /// The columns of each table of the last load, as declared.
    QHash<QString, QList<ColumnSpec>> declaredColumns = {};
    /// What became of them.
    QHash<QString, std::shared_ptr<const TableShape>> shapes = {};
};

std::unique_ptr<TableLoader::Private> TableLoader::Private::open(const SourceLocation &location,
                                                                 const parallel::StopToken &stop)
{
    auto opened = std::make_unique<Private>();
    opened->location = location;
    if (location.isCsv()) {
        opened->origin = std::make_unique<CsvSource>(location, stop);
    } else {
        opened->database = std::make_unique<SourceDatabase>(location);
        opened->origin = SqlDialect::create(opened->database->connection());
    }
    return opened;
}

/// Throws when no statement can name \a table.
static void checkName(const SourceTable &table)
{
    if (table.name.isEmpty())
        throw Exception(TableLoader::tr("Таблицу без имени не прочитать"));
    if (table.quotedName.isEmpty()) {
        throw Exception(TableLoader::tr("Таблица «%1»: её имя не записано в UTF-8, по нему её не прочитать")
                            .arg(table.name));
    }
}

TableSource::Table TableLoader::Private::require(const QString &table) const
{
    const auto all = origin->tables();
    const auto found = std::find_if(
        all.begin(), all.end(), [&table](const TableSource::Table &known) { return known.name == table; });
    if (found == all.end())
        throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(table));
    checkName(*found);
    return *found;
}

/// Names for \a columns, in order: a table needs one for each column, and no two alike.
static QStringList namesOf(const QList<TableSource::Column> &columns)
{
    QStringList given;
    for (const TableSource::Column &column : columns)
        given.append(column.name);
    QStringList names;
    for (const QString &name : std::as_const(given)) {
        const QString base = name.isEmpty() ? TableLoader::tr("без имени") : name;
        QString next = base;
        for (int i = 2; names.contains(next) || (next != name && given.contains(next)); ++i)
            next = u"%1 (%2)"_s.arg(base, QString::number(i));
        names.append(next);
    }
    return names;
}

TableShape TableLoader::Private::declaredShape(const TableSource::Table &table) const
{
    TableShape result{.table = table};
    result.declared = origin->columns(result.table);
    const QStringList names = namesOf(result.declared);
    for (TableSource::Column declared : std::as_const(result.declared)) {
        declared.name = names.at(qsizetype(result.columns.size()));
        auto column = origin->sourceColumn(declared, isStrict);
        if (!column) {
            throw Exception(TableLoader::tr("Таблица «%1», столбец «%2»: тип «%3» не поддерживается")
                                .arg(table.name, declared.name, declared.declaredType.simplified()));
        }
        result.columns.push_back(std::move(*column));
    }
    if (result.columns.empty())
        throw Exception(TableLoader::tr("Таблица «%1» не имеет столбцов").arg(table.name));
    return result;
}

std::unique_ptr<MemoryTable> TableLoader::Private::load(const QString &table, const parallel::StopToken &stop)
{
    TableShape wanted = declaredShape(require(table));
    declaredColumns.insert(table, wanted.specs());
    std::unique_ptr<MemoryTable> result;
    // A reading that finds that columns must be others goes on to the end without keeping the rows. The next
    // one nearly always finds every column as it needs it.
    while (!read(wanted, stop, result)) {
    }
    shapes.insert(table, std::make_shared<const TableShape>(std::move(wanted)));
    return result;
}

/// How many rows are to be read of \a table; nothing for all.
std::optional<qint64> TableLoader::Private::rowLimitOf(const TableSource::Table &table) const
{
    return rowLimit && !table.isView && origin->hasRowsAtOnce(table) ? rowLimit : std::nullopt;
}

RowReader::Misfits TableLoader::Private::misfits() const
{
    if (!isStrict || !origin->declaresTypes())
        return RowReader::Misfits::Shown;
    return digits == Digits::AsNeeded ? RowReader::Misfits::GetRoom : RowReader::Misfits::Refused;
}

/// Reads the table of \a shape into \a result, which becomes null when the load is cancelled. False when
/// columns of \a shape were changed.
bool TableLoader::Private::read(TableShape &shape, const parallel::StopToken &stop,
                                std::unique_ptr<MemoryTable> &result) const
{
    result = nullptr;
    auto loaded = std::make_unique<MemoryTable>(shape.table.name, shape.specs());
    const std::optional<qint64> limit = rowLimitOf(shape.table);
    // To count all rows may take longer than to read the first ones.
    const std::optional<qint64> total = limit ? -1 : rowCount(shape.table, {.stop = stop});
    if (!total)
        return true;
    Progress state{.table = shape.table.name, .rowsTotal = *total};
    if (progress && !progress(state))
        return true;

    const auto rows = origin->rows(shape.table, shape.declared, shape.columns);
    if (!rows->open())
        throw Exception(origin->errorText(rows->error().value_or(QString()), shape.table.name));
    RowReader reader(shape.table.name, *rows, shape.columns, misfits());
    qint64 reported = 0;
    while (reader.next()) {
        if (stop.isStopRequested())
            return true;
        if (reader.rowsRead() - 1 == limit)
            break;
        if (!reader.isChanged())
            loaded->append(reader.cells());
        state.rowsRead = reader.rowsRead();
        if (progress && state.rowsRead - reported == interval) {
            reported = state.rowsRead;
            if (!progress(state))
                return true;
        }
    }
    if (const auto error = rows->error())
        throw Exception(origin->errorText(*error, shape.table.name));
    rows->close();
    shape.isComplete = reader.rowsRead() == state.rowsRead;
    if (reader.isChanged())
        return false;
    if (progress && (reported != state.rowsRead || state.rowsRead == 0) && !progress(state))
        return true;
    result = std::move(loaded);
    return true;
}

TableLoader::TableLoader(const QSqlDatabase &connection)
    : d(new Private{.database = nullptr, .origin = SqlDialect::create(connection)})
{
}

TableLoader::TableLoader(const SourceLocation &location, const parallel::StopToken &stop)
    : d(Private::open(location, stop))
{
}

TableLoader::~TableLoader() = default;

bool TableLoader::isAlive() const
{
    return d->origin->isAlive();
}

QStringList TableLoader::tableNames() const
{
    QStringList names;
    const auto tables = d->origin->tables();
    for (const TableSource::Table &table : tables)
        names.append(table.name);
    std::sort(names.begin(), names.end());
    return names;
}

QList<ColumnSpec> TableLoader::columns(const QString &table) const
{
    return specs(d->require(table));
}

QList<ColumnSpec> TableLoader::specs(const SourceTable &table) const
{
    checkName(table);
    return d->declaredShape(table).specs();
}

QList<ColumnSpec> TableLoader::loadedColumns(const QString &table) const
{
    return d->declaredColumns.value(table);
}

QStringList TableLoader::columnNotes(const QString &table) const
{
    const auto known = shape(table);
    return known ? known->notes(origin()) : QStringList();
}

const TableSource &TableLoader::origin() const
{
    return *d->origin;
}

std::shared_ptr<const TableShape> TableLoader::shape(const QString &table) const
{
    return d->shapes.value(table);
}

qint64 TableLoader::rowCount(const QString &table) const
{
    return *rowCount(table, {});
}

std::optional<qint64> TableLoader::rowCount(const QString &table, const parallel::StopToken &stop) const
{
    return d->rowCount(d->require(table), {.stop = stop});
}

void TableLoader::setStrict(bool strict)
{
    d->isStrict = strict;
}

void TableLoader::setDigits(Digits digits)
{
    d->digits = digits;
}

void TableLoader::setRowLimit(std::optional<qint64> rows)
{
    d->rowLimit = rows;
}

std::unique_ptr<BytesReader> TableLoader::bytesReader(const MemoryTable &table) const
{
    const auto known = shape(table.name());
    if (!d->location || !known)
        return nullptr;
    return std::unique_ptr<BytesReader>(new BytesReader(*d->location, table, known));
}

bool TableLoader::isComplete(const QString &table) const
{
    const auto known = shape(table);
    return known && known->isComplete;
}

void TableLoader::setProgress(ProgressFunction progress, qint64 interval)
{
    d->progress = std::move(progress);
    d->interval = std::max<qint64>(interval, 1);
}

std::unique_ptr<MemoryTable> TableLoader::load(const QString &table, const parallel::StopToken &stop) const
{
    const auto snapshot = qScopeGuard(d->origin->beginSnapshot());
    d->declaredColumns.clear();
    d->shapes.clear();
    return d->load(table, stop);
}

std::optional<std::vector<std::unique_ptr<MemoryTable>>>
TableLoader::loadAll(const QStringList &tables, const parallel::StopToken &stop) const
{
    const auto snapshot = qScopeGuard(d->origin->beginSnapshot());
    d->declaredColumns.clear();
    d->shapes.clear();
    std::vector<std::unique_ptr<MemoryTable>> loaded;
    for (const QString &table : tables) {
        auto next = d->load(table, stop);
        if (!next)
            return std::nullopt;
        loaded.push_back(std::move(next));
    }
    return loaded;
}

bool TableLoader::load(const QStringList &tables, MemoryDatabase &database,
                       const parallel::StopToken &stop) const
{
    for (const QString &table : tables) {
        if (database.tableNames().contains(table))
            throw Exception(TableLoader::tr("Таблица «%1» уже загружена").arg(table));
    }
    auto all = loadAll(tables, stop);
    if (!all)
        return false;
    std::vector<std::unique_ptr<MemoryTable>> &loaded = *all;
    QStringList added;
    auto takeBack = qScopeGuard([&added, &database] {
        for (const QString &name : std::as_const(added))
            database.dropTable(name);
    });
    for (size_t i = 0; i < loaded.size(); ++i) {
        database.addTable(std::move(loaded[i]));
        added.append(tables.at(qsizetype(i)));
    }
    takeBack.dismiss();
    return true;
}

} // namespace sito
