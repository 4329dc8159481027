// SPDX-License-Identifier: MIT
#include <database/memorytable.h>

#include <data/exception.h>

#include <QSet>
#include <QVarLengthArray>

#include <bit>
#include <cstring>
#include <mutex>
#include <type_traits>

#include <database/table_p.h>

namespace {
/// Names the place of a cell in a message.
struct Place
{
    const TablePrivate &table;
    qint64 row;
    /// The row itself while its number is not known: only a message takes the time to look for it.
    const unsigned char *block = nullptr;

    QString rowText() const
    {
        const qint64 number = block ? table.index.positionOf(block) : row;
        if (block && number < 0)
            return QStringLiteral("a row that is not in the table");
        return QStringLiteral("row %1").arg(number);
    }
    [[noreturn]] void refuse(const QString &what) const
    {
        throw Exception(QStringLiteral("Table '%1', %2: %3").arg(table.name, rowText(), what));
    }
    [[noreturn]] void refuse(int column, const QString &what) const
    {
        throw Exception(QStringLiteral("Table '%1', column '%2', %3: %4")
                            .arg(table.name, table.specs.at(column).name, rowText(), what));
    }
};

/// Names \a row, a row of the table \a owner, in a message of another table.
QString foreignRowText(TablePrivate &owner, const unsigned char *row)
{
    // Does not wait: the caller holds the lock of its own table, and a holder of this one may wait for that.
    const std::unique_lock guard(owner.mutex, std::try_to_lock);
    if (!guard)
        return QStringLiteral("a row of table '%1'").arg(owner.name);
    const qint64 number = owner.index.positionOf(row);
    if (number < 0)
        return QStringLiteral("a row that is not in its table '%1'").arg(owner.name);
    return QStringLiteral("row %1 of table '%2'").arg(QString::number(number), owner.name);
}

template <typename T>
constexpr FieldType::Type typeOf = FieldType::Raw;
template <>
constexpr FieldType::Type typeOf<qint32> = FieldType::Int;
template <>
constexpr FieldType::Type typeOf<qint64> = FieldType::Int64;
template <>
constexpr FieldType::Type typeOf<double> = FieldType::Double;
template <>
constexpr FieldType::Type typeOf<decimal> = FieldType::Decimal;
template <>
constexpr FieldType::Type typeOf<xdecimal> = FieldType::XDecimal;
template <>
constexpr FieldType::Type typeOf<datetime> = FieldType::DateTime;
template <>
constexpr FieldType::Type typeOf<QString> = FieldType::String;

bool accepts(FieldType::Type column, FieldType::Type value)
{
    switch (value) {
    case FieldType::String:
        return column == FieldType::String || column == FieldType::VarChar;
    case FieldType::Raw:
        return column == FieldType::Raw || column == FieldType::Block;
    default:
        return column == value;
    }
}

void check(const Place &place, int column, const CellValue &value)
{
    const ColumnDef &def = place.table.layout.columns[size_t(column)];
    if (std::holds_alternative<std::monostate>(value)) {
        if (!def.nullable)
            place.refuse(column, QStringLiteral("the column admits no absent values"));
        return;
    }
    std::visit(
        [&](const auto &present) {
            constexpr FieldType::Type type = typeOf<std::decay_t<decltype(present)>>;
            if (!accepts(def.type, type)) {
                place.refuse(column, QStringLiteral("a value of type %1 does not fit a column of type %2")
                                         .arg(FieldType::typeName(type), FieldType::typeName(def.type)));
            }
        },
        value);
    if (const auto *text = std::get_if<QString>(&value); text && def.type == FieldType::VarChar) {
        if (text->size() > def.length) {
            place.refuse(column, QStringLiteral("a text of %1 characters is longer than %2")
                                     .arg(text->size())
                                     .arg(def.length));
        }
        if (text->endsWith(QChar(u'\0')))
            place.refuse(column, QStringLiteral("a text that ends with U+0000 cannot be stored"));
    }
    if (const auto *bytes = std::get_if<QByteArray>(&value)) {
        const qint64 width = def.type == FieldType::Block ? FieldType::blockSize : def.length;
        if (bytes->size() != width) {
            place.refuse(column, QStringLiteral("a value of %1 bytes does not fit a column of %2 bytes")
                                     .arg(bytes->size())
                                     .arg(width));
        }
    }
}

void check(const Place &place, std::span<const CellValue> values)
{
    const size_t columns = place.table.layout.columns.size();
    if (values.size() != columns) {
        place.refuse(QStringLiteral("%1 values do not fit %2 columns").arg(values.size()).arg(columns));
    }
    for (size_t column = 0; column < columns; ++column)
        check(place, int(column), values[column]);
}

/// Stores a value that check() has passed. Cannot fail.
void write(Field field, const CellValue &value)
{
    if (std::holds_alternative<std::monostate>(value)) {
        // An absent value leaves zeros, so that equal rows have equal bytes.
        if (field.def->type == FieldType::String)
            *reinterpret_cast<QString *>(field.data) = QString();
        else
            std::memset(field.data, 0, field.def->size);
        field.setAbsent();
        return;
    }
    std::visit(
        [&](const auto &present) {
            using T = std::decay_t<decltype(present)>;
            if constexpr (std::is_same_v<T, QString>) {
                if (field.def->type == FieldType::String)
                    *reinterpret_cast<QString *>(field.data) = present;
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

/// Rows that are about to be added to the table; freed unless they are.
class NewRows
{
public:
    explicit NewRows(const MemoryTable *table) : m_table(table) {}
    void reserve(qsizetype count) { m_records.reserve(count); }
    void add(std::span<const CellValue> values)
    {
        const Record &record = m_records.emplace_back(m_table);
        int column = 0;
        for (const CellValue &value : values)
            write(record.field(column++), value);
    }
    std::vector<unsigned char *> blocks() const
    {
        std::vector<unsigned char *> result;
        result.reserve(size_t(m_records.size()));
        for (const Record &record : m_records)
            result.push_back(record.row());
        return result;
    }

private:
    const MemoryTable *m_table;
    QList<Record> m_records;
};

/// Rows that are about to leave the table.
class LeavingRows
{
public:
    explicit LeavingRows(const QList<Record> &rows)
        : m_bits(std::bit_ceil(size_t(rows.size()) / 2 + 1)), m_mask(m_bits.size() * 64 - 1)
    {
        m_rows.reserve(rows.size());
        for (const Record &row : rows) {
            m_rows.insert(row.row());
            const size_t bit = bitOf(row.row());
            m_bits[bit / 64] |= quint64(1) << bit % 64;
        }
    }

    const QSet<unsigned char *> &all() const { return m_rows; }
    bool contains(unsigned char *row) const
    {
        // All rows of the table are asked about, and nearly all of them stay.
        const size_t bit = bitOf(row);
        return (m_bits[bit / 64] >> bit % 64 & 1) != 0 && m_rows.contains(row);
    }

private:
    size_t bitOf(const unsigned char *row) const
    {
        return size_t(quint64(quintptr(row)) * 0x9E3779B97F4A7C15u >> 32) & m_mask;
    }

    QSet<unsigned char *> m_rows;
    /// One bit is set for each row; some 32 are not.
    std::vector<quint64> m_bits;
    size_t m_mask;
};

/// The index holds its own reference on each of its rows.
void retain(unsigned char *row)
{
    reinterpret_cast<RowHeader *>(row)->references.fetch_add(1, std::memory_order_relaxed);
}

void release(Table *table, unsigned char *row)
{
    if (reinterpret_cast<RowHeader *>(row)->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        table->freeRow(row);
}

void tellOf(const TableChanges &changes, TableChange::Kind kind, unsigned char *row,
            std::span<const int> columns = {})
{
    changes.tell({kind, std::span(&row, 1), columns});
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
        throw Exception(QStringLiteral("Table '%1' has no column '%2'").arg(d->name, name));
    return column;
}

qint64 MemoryTable::rowCount() const
{
    return d->index.size();
}

Record MemoryTable::row(qint64 index) const
{
    if (index < 0 || index >= rowCount())
        Place{*d, index}.refuse(QStringLiteral("there is no such row"));
    return Record(d->index.at(index));
}

Record MemoryTable::append(std::span<const CellValue> values)
{
    const std::lock_guard guard(d->mutex);
    check(Place{*d, rowCount()}, values);
    Record record(this);
    int column = 0;
    for (const CellValue &value : values)
        write(record.field(column++), value);
    d->index.append(record.row());
    retain(record.row());
    tellOf(d->changes, TableChange::Appended, record.row());
    return record;
}

Record MemoryTable::append(std::initializer_list<CellValue> values)
{
    return append(std::span(values.begin(), values.size()));
}

void MemoryTable::append(const QList<QList<CellValue>> &rows)
{
    const std::lock_guard guard(d->mutex);
    insert(rowCount(), rows);
}

void MemoryTable::insert(qint64 index, const QList<QList<CellValue>> &rows)
{
    const std::lock_guard guard(d->mutex);
    if (index < 0 || index > rowCount())
        Place{*d, index}.refuse(QStringLiteral("no row can be inserted there"));
    for (qsizetype i = 0; i < rows.size(); ++i)
        check(Place{*d, index + i}, rows.at(i));
    NewRows fresh(this);
    fresh.reserve(rows.size());
    for (const QList<CellValue> &values : rows)
        fresh.add(values);
    const std::vector<unsigned char *> blocks = fresh.blocks();
    const bool isAtEnd = index == rowCount();
    d->index.insert(index, blocks);
    for (unsigned char *block : blocks)
        retain(block);
    if (!blocks.empty())
        d->changes.tell({isAtEnd ? TableChange::Appended : TableChange::Inserted, blocks});
}

void MemoryTable::append(const Record &row)
{
    const std::lock_guard guard(d->mutex);
    requireOwn(row);
    if (d->index.positionOf(row.row()) >= 0)
        Place{*d, d->index.positionOf(row.row())}.refuse(QStringLiteral("the row is in the table already"));
    d->index.append(row.row());
    retain(row.row());
    tellOf(d->changes, TableChange::Appended, row.row());
}

void MemoryTable::update(const Record &row, int column, const CellValue &value)
{
    update(row, {{column, value}});
}

void MemoryTable::update(const Record &row, const QList<std::pair<int, CellValue>> &values)
{
    const std::lock_guard guard(d->mutex);
    requireOwn(row, values.isEmpty() ? -1 : values.first().first);
    const Place place{*d, -1, row.row()};
    for (const auto &[column, value] : values) {
        if (column < 0 || column >= columnCount())
            place.refuse(QStringLiteral("there is no column %1").arg(column));
        check(place, column, value);
    }
    QVarLengthArray<int, 16> columns;
    if (d->changes.isHeard()) {
        for (const auto &[column, value] : values)
            columns.append(column);
    }
    for (const auto &[column, value] : values)
        write(row.field(column), value);
    if (!columns.isEmpty())
        tellOf(d->changes, TableChange::Updated, row.row(), columns);
}

void MemoryTable::remove(const Record &row)
{
    remove(QList<Record>{row});
}

void MemoryTable::remove(const QList<Record> &rows)
{
    const std::lock_guard guard(d->mutex);
    for (const Record &row : rows)
        requireOwn(row);
    const LeavingRows leaving(rows);
    qsizetype found = 0;
    for (const auto block : d->index)
        found += leaving.contains(block) ? 1 : 0;
    if (found != leaving.all().size())
        refuseMissing(rows);
    std::vector<unsigned char *> told;
    if (d->changes.isHeard())
        told.assign(leaving.all().begin(), leaving.all().end());
    d->index.removeIf([&](unsigned char *block) { return leaving.contains(block); });
    if (!told.empty())
        d->changes.tell({TableChange::Removed, told});
    for (unsigned char *block : leaving.all())
        release(this, block);
}

void MemoryTable::clear()
{
    const std::lock_guard guard(d->mutex);
    d->index.forEachPage([this](std::span<unsigned char *const> rows) {
        d->changes.tell({TableChange::Removed, rows});
    });
    d->index.removeIf([this](unsigned char *block) {
        release(this, block);
        return true;
    });
    d->index.clear();
}

void MemoryTable::requireOwn(const Record &row, int column) const
{
    if (!row.isNull() && row.table() == this)
        return;
    QString place = QStringLiteral("Table '%1'").arg(d->name);
    if (column >= 0 && column < columnCount())
        place += QStringLiteral(", column '%1'").arg(columnSpec(column).name);
    if (row.isNull())
        throw Exception(place + QStringLiteral(": a handle on no row"));
    const auto *owner = static_cast<const MemoryTable *>(row.table());
    throw Exception(place + QStringLiteral(", ") + foreignRowText(*owner->d, row.row()) +
                    QStringLiteral(": the row belongs to another table"));
}

void MemoryTable::refuseMissing(const QList<Record> &rows) const
{
    QSet<unsigned char *> missing;
    for (const Record &row : rows)
        missing.insert(row.row());
    for (const auto block : d->index)
        missing.remove(block);
    qsizetype entry = 0;
    while (!missing.contains(rows.at(entry).row()))
        ++entry;
    throw Exception(QStringLiteral("Table '%1', entry %2 of the rows to remove: the row is not in the table")
                        .arg(d->name, QString::number(entry)));
}

TableChanges &MemoryTable::changes() const
{
    return d->changes;
}

bool MemoryTable::tryLock() const
{
    return d->mutex.try_lock();
}

qint64 MemoryTable::liveRowCount() const
{
    return d->slabs.liveBlocks();
}

qint64 MemoryTable::rowBlockSize() const
{
    return d->slabs.blockSize();
}

qint64 MemoryTable::memoryUsage() const
{
    return d->slabs.memoryUsage() + d->index.memoryUsage();
}
