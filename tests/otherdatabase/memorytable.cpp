// SPDX-License-Identifier: MIT
#include <database/memorytable.h>

#include <data/exception.h>

#include "fieldtext_p.h"
#include "table_p.h"

#include <QHash>
#include <QMutexLocker>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace {

using Guard = QMutexLocker<QRecursiveMutex>;

[[noreturn]] void refuse(const TablePrivate &table, const QString &what)
{
    throw Exception(QStringLiteral("%1: %2").arg(table.name, what));
}

bool fits(const CellValue &value, const ColumnDef &def)
{
    return std::visit(
        [&def](const auto &present) {
            using T = std::decay_t<decltype(present)>;
            if constexpr (std::is_same_v<T, std::monostate>)
                return def.nullable != 0;
            else if constexpr (std::is_same_v<T, qint32>)
                return def.type == FieldType::Int;
            else if constexpr (std::is_same_v<T, qint64>)
                return def.type == FieldType::Int64;
            else if constexpr (std::is_same_v<T, double>)
                return def.type == FieldType::Double;
            else if constexpr (std::is_same_v<T, decimal>)
                return def.type == FieldType::Decimal;
            else if constexpr (std::is_same_v<T, xdecimal>)
                return def.type == FieldType::XDecimal;
            else if constexpr (std::is_same_v<T, datetime>)
                return def.type == FieldType::DateTime;
            else if constexpr (std::is_same_v<T, QString>)
                return def.type == FieldType::String ||
                       (def.type == FieldType::VarChar && present.size() <= def.length);
            else
                return (def.type == FieldType::Raw || def.type == FieldType::Block) &&
                       present.size() == rawWidth(def);
        },
        value);
}

void requireFit(const TablePrivate &table, int column, const CellValue &value)
{
    if (column < 0 || column >= int(table.columns.size()))
        refuse(table, QStringLiteral("no column %1").arg(column));
    if (!fits(value, table.columns[size_t(column)]))
        refuse(table, QStringLiteral("the value does not fit column %1").arg(table.specs.at(column).name));
}

void requireFit(const TablePrivate &table, std::span<const CellValue> values)
{
    if (values.size() != table.columns.size())
        refuse(table, QStringLiteral("%1 values").arg(values.size()));
    for (size_t column = 0; column < values.size(); ++column)
        requireFit(table, int(column), values[column]);
}

/// Stores a value that fits. One that becomes absent leaves the old value behind the cleared bits.
void write(Field field, const CellValue &value)
{
    if (std::holds_alternative<std::monostate>(value)) {
        field.setAbsent();
        return;
    }
    std::visit(
        [&field](const auto &present) {
            using T = std::decay_t<decltype(present)>;
            if constexpr (std::is_same_v<T, QString>) {
                if (field.def->type == FieldType::String)
                    *reinterpret_cast<QString *>(field.data) = deepCopy(present);
                else
                    FieldType::stringToVarChar(field.data, field.def->length, present);
            } else if constexpr (std::is_same_v<T, QByteArray>) {
                std::memcpy(field.data, present.constData(), size_t(present.size()));
            } else if constexpr (!std::is_same_v<T, std::monostate>) {
                std::memcpy(field.data, &present, sizeof(T));
            }
        },
        value);
    field.setPresent();
}

Record newRow(const MemoryTable *table, std::span<const CellValue> values)
{
    const Record record(table);
    int column = 0;
    for (const CellValue &value : values)
        write(record.field(column++), value);
    return record;
}

/// The index holds a handle of its own on each of its rows: these take it and let go of it.
unsigned char *keep(Record record)
{
    unsigned char *row = record.row();
    reinterpret_cast<RowHeader *>(row)->references.fetch_add(1, std::memory_order_relaxed);
    return row;
}

void letGo(unsigned char *row)
{
    const Record last(row);
    reinterpret_cast<RowHeader *>(row)->references.fetch_sub(1, std::memory_order_acq_rel);
}

void requireOwn(const TablePrivate &table, const Table *owner, const Record &row)
{
    if (row.isNull() || row.table() != owner)
        refuse(table, QStringLiteral("not a row of this table"));
}

} // namespace

MemoryTable::MemoryTable(const QString &name, const QList<ColumnSpec> &columns)
    : Table(std::make_unique<TablePrivate>(name, columns))
{
}

MemoryTable::~MemoryTable()
{
    clear();
}

int MemoryTable::columnCount() const
{
    return int(d->specs.size());
}

const ColumnSpec &MemoryTable::columnSpec(int column) const
{
    return d->specs.at(column);
}

int MemoryTable::requireColumn(const QString &name) const
{
    const int column = columnIndex(name);
    if (column < 0)
        refuse(*d, QStringLiteral("no column %1").arg(name));
    return column;
}

qint64 MemoryTable::rowCount() const
{
    return qint64(d->index.rows().size());
}

Record MemoryTable::row(qint64 index) const
{
    if (index < 0 || index >= rowCount())
        refuse(*d, QStringLiteral("no row %1").arg(index));
    return Record(d->index.rows()[size_t(index)]);
}

Record MemoryTable::append(std::span<const CellValue> values)
{
    const Guard guard(&d->mutex);
    requireFit(*d, values);
    const Record record = newRow(this, values);
    d->index.append(record.row());
    keep(record);
    return record;
}

Record MemoryTable::append(std::initializer_list<CellValue> values)
{
    return append(std::span(values.begin(), values.size()));
}

void MemoryTable::append(const QList<QList<CellValue>> &rows)
{
    const Guard guard(&d->mutex);
    insert(rowCount(), rows);
}

void MemoryTable::insert(qint64 index, const QList<QList<CellValue>> &rows)
{
    const Guard guard(&d->mutex);
    if (index < 0 || index > rowCount())
        refuse(*d, QStringLiteral("no place %1").arg(index));
    for (const QList<CellValue> &values : rows)
        requireFit(*d, values);
    QList<Record> fresh;
    for (const QList<CellValue> &values : rows)
        fresh.append(newRow(this, values));
    std::vector<unsigned char *> all = d->index.rows();
    std::vector<unsigned char *> added;
    for (const Record &record : std::as_const(fresh))
        added.push_back(record.row());
    all.insert(all.begin() + index, added.begin(), added.end());
    d->index.assign(std::move(all));
    for (const Record &record : std::as_const(fresh))
        keep(record);
}

void MemoryTable::append(const Record &row)
{
    const Guard guard(&d->mutex);
    ::requireOwn(*d, this, row);
    const auto &rows = d->index.rows();
    if (std::find(rows.begin(), rows.end(), row.row()) != rows.end())
        refuse(*d, QStringLiteral("the row is in the table"));
    d->index.append(row.row());
    keep(row);
}

void MemoryTable::update(const Record &row, int column, const CellValue &value)
{
    update(row, {{column, value}});
}

void MemoryTable::update(const Record &row, const QList<std::pair<int, CellValue>> &values)
{
    const Guard guard(&d->mutex);
    ::requireOwn(*d, this, row);
    for (const auto &[column, value] : values)
        requireFit(*d, column, value);
    for (const auto &[column, value] : values)
        write(row.field(column), value);
}

void MemoryTable::remove(const Record &row)
{
    remove(QList<Record>{row});
}

void MemoryTable::remove(const QList<Record> &rows)
{
    const Guard guard(&d->mutex);
    QHash<unsigned char *, bool> leaving;
    for (const Record &row : rows) {
        ::requireOwn(*d, this, row);
        leaving.insert(row.row(), true);
    }
    std::vector<unsigned char *> kept = d->index.rows();
    std::erase_if(kept, [&](unsigned char *row) { return leaving.contains(row); });
    if (kept.size() + size_t(leaving.size()) != d->index.rows().size())
        refuse(*d, QStringLiteral("the row is not in the table"));
    d->index.assign(std::move(kept));
    for (auto row = leaving.keyBegin(); row != leaving.keyEnd(); ++row)
        letGo(*row);
}

void MemoryTable::clear()
{
    const Guard guard(&d->mutex);
    const std::vector<unsigned char *> rows = d->index.rows();
    d->index.assign({});
    for (unsigned char *row : rows)
        letGo(row);
}

bool MemoryTable::tryLock() const
{
    return d->mutex.tryLock();
}

qint64 MemoryTable::liveRowCount() const
{
    return d->liveRows;
}

qint64 MemoryTable::rowBlockSize() const
{
    return qint64(d->blockSize);
}

qint64 MemoryTable::memoryUsage() const
{
    return liveRowCount() * rowBlockSize();
}
