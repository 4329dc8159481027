// SPDX-License-Identifier: MIT
#include <data/table.h>

#include <data/exception.h>
#include <data/record.h>

#include <new>

#include <database/table_p.h>

namespace {
constexpr qsizetype alignment = 8;
constexpr int maxVarCharLength = 32767;
constexpr int maxRawLength = 65535;

constexpr quint64 aligned(quint64 bytes)
{
    return (bytes + alignment - 1) / alignment * alignment;
}

[[noreturn]] void refuse(const QString &table, const QString &what)
{
    throw Exception(QStringLiteral("Table '%1': %2").arg(table, what));
}

[[noreturn]] void refuse(const QString &table, const QString &column, const QString &what)
{
    throw Exception(QStringLiteral("Table '%1', column '%2': %3").arg(table, column, what));
}

/// The width of a value of \a spec in bytes, by its type and length alone.
quint64 naturalWidth(const ColumnSpec &spec)
{
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
        return quint64(spec.length) * sizeof(char16_t);
    case FieldType::String:
        return sizeof(QString);
    case FieldType::Raw:
        return quint64(spec.length);
    case FieldType::Block:
        return FieldType::blockSize;
    }
    return 0;
}

void check(const QString &table, const ColumnSpec &spec)
{
    int least = 0;
    int most = 0;
    switch (spec.type) {
    case FieldType::Decimal:
    case FieldType::XDecimal:
        least = decimal::minScale;
        most = decimal::maxScale;
        break;
    case FieldType::VarChar:
        least = 1;
        most = maxVarCharLength;
        break;
    case FieldType::Raw:
        least = 1;
        most = maxRawLength;
        break;
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Double:
    case FieldType::DateTime:
    case FieldType::String:
    case FieldType::Block:
        break;
    default:
        refuse(table, spec.name, QStringLiteral("there is no type %1").arg(int(spec.type)));
    }
    if (spec.length < least || spec.length > most) {
        refuse(table, spec.name,
               QStringLiteral("a column of type %1 cannot have length %2 (%3 to %4)")
                   .arg(FieldType::typeName(spec.type))
                   .arg(spec.length)
                   .arg(least)
                   .arg(most));
    }
    const bool sized = spec.type == FieldType::VarChar || spec.type == FieldType::Raw;
    if (spec.size != 0 && (!sized || spec.size < 0 || quint64(spec.size) < naturalWidth(spec) ||
                           spec.size > 4 * maxRawLength)) {
        refuse(table, spec.name,
               QStringLiteral("a column of type %1 and length %2 cannot have size %3")
                   .arg(FieldType::typeName(spec.type))
                   .arg(spec.length)
                   .arg(spec.size));
    }
}
} // namespace

RowLayout::RowLayout(const QString &table, const QList<ColumnSpec> &specs)
{
    if (table.isEmpty())
        throw Exception(QStringLiteral("A table needs a name"));
    if (specs.isEmpty())
        refuse(table, QStringLiteral("a table needs a column"));

    quint64 end = sizeof(RowHeader);
    quint32 nullables = 0;
    for (const ColumnSpec &spec : specs) {
        if (spec.name.isEmpty())
            refuse(table, QStringLiteral("column %1 needs a name").arg(columns.size()));
        if (indexByName.contains(spec.name))
            refuse(table, spec.name, QStringLiteral("there is a column of that name already"));
        check(table, spec);

        Column column;
        column.type = spec.type;
        column.length = spec.length;
        column.nullable = spec.nullable;
        column.offset = end - sizeof(RowHeader);
        column.blockOffset = end;
        column.size = spec.size ? quint64(spec.size) : naturalWidth(spec);
        column.flagsOffset = end;
        if (spec.nullable) {
            column.flagsOffset = nullables / 8; // from the first presence byte, which is not known yet
            column.mask = 1u << (nullables % 8);
            ++nullables;
        }
        if (spec.type == FieldType::String)
            strings.push_back(end);
        indexByName.insert(spec.name, int(columns.size()));
        columns.push_back(column);
        end += aligned(column.size);
    }
    for (Column &column : columns) {
        if (column.nullable)
            column.flagsOffset += end;
    }
    blockSize = qsizetype(aligned(end + (nullables + 7) / 8));
}

TablePrivate::TablePrivate(const QString &tableName, const QList<ColumnSpec> &columnSpecs)
    : name(tableName), specs(columnSpecs), layout(tableName, columnSpecs), slabs(layout.blockSize)
{
}

TablePrivate::~TablePrivate() = default;

unsigned char *TablePrivate::newRow(const Table *table)
{
    unsigned char *row = slabs.allocate();
    new (row) RowHeader{{1}, const_cast<Table *>(table)};
    for (const quint64 offset : layout.strings)
        new (row + offset) QString;
    return row;
}

void TablePrivate::freeRow(unsigned char *row)
{
    for (const quint64 offset : layout.strings)
        reinterpret_cast<QString *>(row + offset)->~QString();
    slabs.free(row);
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
    return d->layout.indexByName.value(name, -1);
}

const ColumnDef *Table::columnDef(int column) const
{
    return &d->layout.columns[size_t(column)];
}

Field Table::dataPtr(unsigned char *row, int column) const
{
    const RowLayout::Column &place = d->columns[column];
    return Field(&place, row + place.blockOffset, row + place.flagsOffset, place.mask);
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
