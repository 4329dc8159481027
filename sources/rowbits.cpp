// SPDX-License-Identifier: MIT
#include <sources/rowbits_p.h>

#include <data/table.h>

#include <QHashFunctions>

#include <algorithm>
#include <cstring>

namespace sito {

namespace {

bool areFieldsEqual(const Field &one, const Field &other)
{
    if (!one.isPresent() || !other.isPresent())
        return one.isPresent() == other.isPresent();
    if (one.def->type == FieldType::String)
        return one.toString() == other.toString();
    return std::memcmp(one.data, other.data, size_t(one.def->size)) == 0;
}

size_t hashOf(const Field &field, size_t seed)
{
    if (!field.isPresent())
        return ~seed;
    if (field.def->type == FieldType::String)
        return qHash(field.toString(), seed);
    return qHashBits(field.data, size_t(field.def->size), seed);
}

} // namespace

bool RowBits::areEqual(unsigned char *row, unsigned char *other, const QList<int> &columns) const
{
    return std::all_of(columns.begin(), columns.end(), [&](int column) {
        return areFieldsEqual(m_one.dataPtr(row, column), m_other.dataPtr(other, column));
    });
}

quint32 RowBits::hash(const Table &table, unsigned char *row, const QList<int> &columns) const
{
    size_t hash = 0;
    for (const int column : columns)
        hash = hashOf(table.dataPtr(row, column), hash);
    // The halves of the hash of a text differ in how well they spread.
    return quint32(hash ^ quint64(hash) >> 32);
}

CellValue RowBits::cell(const Field &field)
{
    if (!field.isPresent())
        return std::monostate();
    switch (field.def->type) {
    case FieldType::Int:
        return field.value<qint32>();
    case FieldType::Int64:
        return field.value<qint64>();
    case FieldType::Double:
        return field.value<double>();
    case FieldType::Decimal:
        return field.value<decimal>();
    case FieldType::XDecimal:
        return field.value<xdecimal>();
    case FieldType::DateTime:
        return field.value<datetime>();
    case FieldType::VarChar:
    case FieldType::String:
        return field.toString();
    case FieldType::Raw:
        return QByteArray(reinterpret_cast<const char *>(field.data), field.def->length);
    case FieldType::Block:
        break;
    }
    return QByteArray(reinterpret_cast<const char *>(field.data), FieldType::blockSize);
}

} // namespace sito
