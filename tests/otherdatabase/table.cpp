// SPDX-License-Identifier: MIT
#include <data/record.h>

#include <data/exception.h>

#include "fieldtext_p.h"
#include "table_p.h"
#include "varchar_p.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr quint64 aligned(quint64 bytes)
{
    return (bytes + 7) & ~quint64(7);
}

/// The width of a value and the least length of its column; throws Exception for an unknown type.
quint64 checkedWidth(const ColumnSpec &spec)
{
    const bool hasScale = spec.type == FieldType::Decimal || spec.type == FieldType::XDecimal;
    const bool hasWidth = spec.type == FieldType::VarChar || spec.type == FieldType::Raw;
    const bool goodLength = hasScale   ? spec.length >= decimal::minScale && spec.length <= decimal::maxScale
                            : hasWidth ? spec.length > 0 && spec.length < 65536
                                       : spec.length == 0;
    if (!goodLength || spec.size < 0 || (spec.size != 0 && !hasWidth) || spec.size > 1 << 20)
        throw Exception(QStringLiteral("column %1: no such length or size").arg(spec.name));
    switch (spec.type) {
    case FieldType::Int:
        return sizeof(qint32);
    case FieldType::Int64:
    case FieldType::Double:
    case FieldType::Decimal:
    case FieldType::DateTime:
        return sizeof(qint64);
    case FieldType::XDecimal:
        return sizeof(xdecimal);
    case FieldType::VarChar:
        return qMax(varchar::storageSize(spec.length), quint64(spec.size));
    case FieldType::String:
        return sizeof(QString);
    case FieldType::Raw:
        return quint64(qMax<qint64>(spec.length, spec.size));
    case FieldType::Block:
        return FieldType::blockSize;
    }
    throw Exception(QStringLiteral("column %1: no such type").arg(spec.name));
}

} // namespace

TablePrivate::TablePrivate(const QString &tableName, const QList<ColumnSpec> &columnSpecs)
    : name(tableName), specs(columnSpecs)
{
    if (name.isEmpty() || specs.isEmpty())
        throw Exception(QStringLiteral("a table needs a name and a column"));
    quint64 nullables = 0;
    for (const ColumnSpec &spec : specs)
        nullables += spec.nullable ? 1 : 0;

    constexpr quint64 flagsBegin = sizeof(quint64);
    quint64 offset = flagsBegin + aligned((nullables + 1) / 2);
    quint64 flags = 0;
    for (const ColumnSpec &spec : specs) {
        for (const Column &other : columns) {
            if (spec.name == specs.at(qsizetype(&other - columns.data())).name)
                throw Exception(QStringLiteral("column %1 is there twice").arg(spec.name));
        }
        if (spec.name.isEmpty())
            throw Exception(QStringLiteral("a column needs a name"));
        Column column;
        column.type = spec.type;
        column.length = spec.length;
        column.nullable = spec.nullable ? 0x40 : 0;
        column.offset = offset;
        column.size = checkedWidth(spec);
        column.flagsOffset = sizeof(RowHeader);
        if (spec.nullable) {
            column.flagsOffset += flagsBegin + flags / 2;
            column.mask = flags % 2 == 0 ? 0x81 : 0x24;
            ++flags;
        }
        columns.push_back(column);
        offset += aligned(column.size);
    }
    blockSize = sizeof(RowHeader) + offset;
}

unsigned char *TablePrivate::newRow(const Table *table)
{
    auto *row = static_cast<unsigned char *>(std::malloc(blockSize));
    if (!row)
        throw std::bad_alloc();
    std::memset(row, filler, blockSize);
    new (row) RowHeader{{1}, const_cast<Table *>(table)};
    for (int column = 0; column < int(columns.size()); ++column) {
        Field cell = field(row, column);
        if (cell.def->type == FieldType::String)
            new (cell.data) QString;
        else
            clearValue(cell.data, *cell.def);
        cell.setAbsent();
    }
    ++liveRows;
    return row;
}

void TablePrivate::freeRow(unsigned char *row)
{
    for (const Column &column : columns) {
        if (column.type == FieldType::String)
            reinterpret_cast<QString *>(row + sizeof(RowHeader) + column.offset)->~QString();
    }
    std::free(row);
    --liveRows;
}

Field TablePrivate::field(unsigned char *row, int column) const
{
    const Column &def = columns[size_t(column)];
    return Field(&def, row + sizeof(RowHeader) + def.offset, row + def.flagsOffset, def.mask);
}

Table::Table(std::unique_ptr<TablePrivate> data) : d(std::move(data)) {}

Table::~Table() = default;

QString Table::name() const
{
    return d->name;
}

QString Table::columnName(int column) const
{
    return d->specs.at(column).name;
}

int Table::columnIndex(const QString &name) const
{
    for (int column = 0; column < int(d->specs.size()); ++column) {
        if (d->specs.at(column).name == name)
            return column;
    }
    return -1;
}

const ColumnDef *Table::columnDef(int column) const
{
    return &d->columns[size_t(column)];
}

Field Table::dataPtr(unsigned char *row, int column) const
{
    return d->field(row, column);
}

IndexList *Table::masterIndex() const
{
    return &d->index;
}

void Table::lock() const
{
    d->mutex.lock();
}

void Table::unlock() const
{
    d->mutex.unlock();
}

void Table::freeRow(unsigned char *row)
{
    d->freeRow(row);
}

Record::Record(const Table *table) : m_row(table->d->newRow(table)) {}
