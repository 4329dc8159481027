// SPDX-License-Identifier: MIT
#include <filterfuncs/keytorecord.h>

#include <filterfuncs/keytorecord_p.h>

#include <data/datetime.h>
#include <data/decimal.h>
#include <data/exception.h>
#include <data/fieldtype.h>
#include <data/table.h>
#include <data/xdecimal.h>

#include <QString>

#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// Copies \a size bytes; nearly all values are of one of the two widths that need no call.
void copyBytes(unsigned char *to, const unsigned char *from, quint64 size)
{
    if (size == 8)
        std::memcpy(to, from, 8);
    else if (size == 4)
        std::memcpy(to, from, 4);
    else
        std::memcpy(to, from, size_t(size));
}

template <typename T>
void store(Field &target, T value)
{
    std::memcpy(target.data, &value, sizeof(T));
    target.setPresent();
}

void store(Field &target, const xdecimal &value)
{
    std::memcpy(target.data, value.data(), sizeof(xdecimal));
    target.setPresent();
}

/// Stores \a value with its own scale. The column's scale is deliberately tried on the copy alone, after the
/// store: setScale() throws for a number that has no room at that scale.
void storeWithOwnScale(Field &target, xdecimal value)
{
    store(target, value);
    const auto scale = short(target.def->length);
    if (value.scale() != scale)
        value.setScale(scale);
}

/// Stores \a value with the scale of the column.
void storeScaled(Field &target, decimal value)
{
    const auto scale = short(target.def->length);
    if (value.scale() != scale)
        value.setScale(scale);
    store(target, value.word());
}

/// \a value without its fraction; the most negative integer stands for a NaN and for whatever does not fit.
qint32 truncatedInt(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? qint32(value) : std::numeric_limits<qint32>::min();
}

qint64 truncatedInt64(double value)
{
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0
               ? qint64(value)
               : std::numeric_limits<qint64>::min();
}

qint32 saturatedInt(qint64 value)
{
    constexpr qint64 low = std::numeric_limits<qint32>::min();
    constexpr qint64 high = std::numeric_limits<qint32>::max();
    return qint32(value < low ? low : value > high ? high : value);
}

[[noreturn]] void failTypes(FieldType::Type from, FieldType::Type to)
{
    throw Exception(u"Can't convert from %1 to %2"_s.arg(FieldType::typeName(from), FieldType::typeName(to)));
}

[[noreturn]] void failText(QStringView text, FieldType::Type to)
{
    // Both arguments at once: a "%2" in the text stays as it is.
    throw Exception(u"Can't convert from '%1' to %2"_s.arg(text.toString(), FieldType::typeName(to)));
}

void assignInteger(Field &target, qint64 value, FieldType::Type sourceType)
{
    switch (target.def->type) {
    case FieldType::Int:
        return store(target, saturatedInt(value));
    case FieldType::Int64:
        return store(target, value);
    case FieldType::Double:
        return store(target, double(value));
    case FieldType::Decimal:
        return storeScaled(target, decimal(value));
    case FieldType::XDecimal:
        return storeWithOwnScale(target, xdecimal(value, 0));
    case FieldType::VarChar:
    case FieldType::String:
        return keyconversion::assignText(target, QString::number(value));
    case FieldType::DateTime:
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    failTypes(sourceType, target.def->type);
}

void assignDouble(Field &target, double value)
{
    switch (target.def->type) {
    case FieldType::Int:
        return store(target, truncatedInt(value));
    case FieldType::Int64:
        return store(target, truncatedInt64(value));
    case FieldType::Double:
        return store(target, value);
    case FieldType::Decimal:
        return storeScaled(target, decimal::fromDouble(value, 6));
    case FieldType::XDecimal:
        return storeWithOwnScale(target, xdecimal::fromDouble(value, 6));
    case FieldType::VarChar:
    case FieldType::String:
        return keyconversion::assignText(target, u"%1"_s.arg(value, 0, 'f', 6, QLatin1Char(' ')));
    case FieldType::DateTime:
        throw Exception(u"Can't convert double to datetime."_s);
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    failTypes(FieldType::Double, target.def->type);
}

decimal toDecimal(const decimal &value)
{
    return value;
}

decimal toDecimal(const xdecimal &value)
{
    return decimal(value.toString());
}

xdecimal toXDecimal(const decimal &value)
{
    return {value.unscaled(), value.scale()};
}

xdecimal toXDecimal(const xdecimal &value)
{
    return value;
}

/// Both number types keep their own scale, whatever the column's is.
template <typename Number>
void assignNumber(Field &target, const Number &value)
{
    switch (target.def->type) {
    case FieldType::Int:
        return store(target, truncatedInt(value.toDouble()));
    case FieldType::Int64:
        return store(target, truncatedInt64(value.toDouble()));
    case FieldType::Double:
        return store(target, value.toDouble());
    case FieldType::Decimal:
        return store(target, toDecimal(value).word());
    case FieldType::XDecimal:
        return store(target, toXDecimal(value));
    case FieldType::VarChar:
    case FieldType::String:
        return keyconversion::assignText(target, value.toString());
    case FieldType::DateTime:
        throw Exception(u"Can't convert from decimal to datetime."_s);
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    // The same for an XDecimal, deliberately.
    failTypes(FieldType::Decimal, target.def->type);
}

void assignDateTime(Field &target, datetime value)
{
    switch (target.def->type) {
    case FieldType::VarChar:
    case FieldType::String:
        return keyconversion::assignText(target, value.toString());
    case FieldType::DateTime:
        return store(target, value.milliseconds());
    default:
        failTypes(FieldType::DateTime, target.def->type);
    }
}

void convertField(Field &target, const Field &source)
{
    switch (source.def->type) {
    case FieldType::Int:
        return assignInteger(target, source.value<qint32>(), FieldType::Int);
    case FieldType::Int64:
        return assignInteger(target, source.value<qint64>(), FieldType::Int64);
    case FieldType::Double:
        return assignDouble(target, source.value<double>());
    case FieldType::Decimal:
        return assignNumber(target, decimal::fromWord(source.value<qint64>()));
    case FieldType::XDecimal:
        return assignNumber(target, xdecimal::fromData(source.data));
    case FieldType::VarChar:
    case FieldType::String:
        return keyconversion::assignText(target, source.toString());
    case FieldType::DateTime:
        return assignDateTime(target, datetime(source.value<qint64>()));
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    failTypes(source.def->type, target.def->type);
}

} // namespace

void keyconversion::assignField(Field &target, const Field &source)
{
    if (!source.isPresent()) {
        target.setAbsent();
        return;
    }
    if (target.def->type != source.def->type) {
        convertField(target, source);
        return;
    }
    switch (target.def->type) {
    case FieldType::String:
        *reinterpret_cast<QString *>(target.data) = *reinterpret_cast<const QString *>(source.data);
        break;
    case FieldType::Int:
    case FieldType::Int64:
    case FieldType::Double:
    case FieldType::DateTime:
        copyBytes(target.data, source.data, target.def->size);
        break;
    case FieldType::Block:
        std::memcpy(target.data, source.data, FieldType::blockSize);
        break;
    default:
        if (target.def->length != source.def->length || target.def->size != source.def->size) {
            convertField(target, source);
            return;
        }
        copyBytes(target.data, source.data, target.def->size);
        break;
    }
    target.setPresent();
}

void keyconversion::assignText(Field &target, QStringView text)
{
    if (text.isEmpty() && target.def->nullable) {
        target.setAbsent();
        return;
    }
    bool ok = true;
    switch (target.def->type) {
    case FieldType::Int: {
        const int value = text.toInt(&ok, 10);
        if (!ok)
            failText(text, target.def->type);
        return store(target, qint32(value));
    }
    case FieldType::Int64: {
        const qlonglong value = text.toLongLong(&ok, 10);
        if (!ok)
            failText(text, target.def->type);
        return store(target, qint64(value));
    }
    case FieldType::Double: {
        const double value = text.toDouble(&ok);
        if (!ok)
            failText(text, target.def->type);
        return store(target, value);
    }
    case FieldType::Decimal:
        return store(target, decimal(text).word());
    case FieldType::XDecimal:
        return store(target, xdecimal(text));
    case FieldType::VarChar:
        FieldType::stringToVarChar(target.data, target.def->length, text);
        return target.setPresent();
    case FieldType::DateTime:
        return store(target, datetime(text.toString()).milliseconds());
    case FieldType::String:
        target.storeString(text);
        return target.setPresent();
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    failTypes(FieldType::VarChar, target.def->type);
}

Record keyconversion::keyToRecord(const Table *table, const QList<int> &columns, const KeyValue &key)
{
    if (key.size() < columns.size()) {
        throw Exception(u"Key of %1 values for %2 columns"_s.arg(QString::number(key.size()),
                                                                 QString::number(columns.size())));
    }
    Record record(table);
    const FieldValue *value = key.constData();
    for (const int column : columns) {
        Field target = table->dataPtr(record.row(), column);
        assignField(target, *value++);
    }
    return record;
}

QList<Record> keyconversion::keysToRecords(const Table *table, const QList<int> &columns,
                                           const QList<KeyValue> &keys)
{
    QList<Record> records;
    records.reserve(keys.size());
    for (const KeyValue &key : keys)
        records.append(keyToRecord(table, columns, key));
    return records;
}
