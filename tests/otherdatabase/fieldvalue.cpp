// SPDX-License-Identifier: MIT
#include <data/datetime.h>
#include <data/fieldconstvalue.h>
#include <data/table.h>

#include "fieldtext_p.h"
#include "varchar_p.h"
#include "xdecimalbytes_p.h"

#include <QByteArray>

#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

// Numbers live inside the object, as the interface's inlines expect of what lives there; texts and bytes live on
// the heap, however short. A value that was moved from has given its heap storage away.

namespace {

constexpr QChar absentMark(u'\u2400');

bool hasEmptyTexts(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String || type == FieldType::DateTime;
}

bool isOnHeap(FieldType::Type type)
{
    return hasEmptyTexts(type) ? type != FieldType::DateTime
                               : type == FieldType::Raw || type > FieldType::String;
}

QString &stringAt(const Field &field)
{
    return *reinterpret_cast<QString *>(field.data);
}

template <typename T>
void store(Field &field, const T &value)
{
    std::memcpy(field.data, &value, sizeof(T));
}

template <typename Number>
bool storeNumber(Field &field, const std::optional<Number> &number)
{
    if (number)
        store(field, *number);
    return number.has_value();
}

/// The shortest text that reads back the same.
QString doubleText(double value)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, end.ptr - buffer);
}

constinit const ColumnDef letterDef{FieldType::String, 0, 0, 0, sizeof(QString)};
constinit const ColumnDef numberDef{FieldType::Int, 0, 0, 0, sizeof(qint32)};

} // namespace

void clearValue(unsigned char *data, const ColumnDef &def)
{
    std::memset(data, 0, def.size);
    if (def.type == FieldType::VarChar) {
        std::memset(data, 0xFF, def.size);
        *data = 0;
    }
}

FieldValue::FieldValue(const Field &field)
{
    initialise(field.def);
    copyValue(field);
}

FieldValue::FieldValue(Table *table, int column) : FieldValue(table->columnDef(column)) {}

FieldValue::FieldValue(const ColumnDef *columnDef)
{
    initialise(columnDef);
}

FieldValue &FieldValue::operator=(const FieldValue &other)
{
    return *this = FieldValue(other);
}

FieldValue &FieldValue::operator=(FieldValue &&other) noexcept
{
    if (this != &other) {
        release();
        take(other);
    }
    return *this;
}

void FieldValue::initialise(const ColumnDef *columnDef)
{
    def = columnDef;
    nullFlags = &m_flags;
    nullMask = 1;
    m_flags = 0;
    data = m_storage;
    std::memset(m_storage, 0, sizeof m_storage);
    if (def->type == FieldType::String) {
        data = reinterpret_cast<unsigned char *>(new QString);
    } else if (isOnHeap(def->type)) {
        data = new unsigned char[def->size];
        clearValue(data, *def);
    }
}

void FieldValue::copyOther(const FieldValue &other)
{
    initialise(other.def);
    copyValue(other);
}

void FieldValue::copyValue(const Field &field)
{
    if (!field.isPresent())
        return;
    if (def->type == FieldType::String)
        stringAt(*this) = deepCopy(stringAt(field));
    else
        std::memcpy(data, field.data, def->size);
    setPresent();
}

void FieldValue::takeOther(FieldValue &other) noexcept
{
    def = other.def;
    nullFlags = &m_flags;
    nullMask = 1;
    m_flags = std::exchange(other.m_flags, 0);
    std::memset(m_storage, 0, sizeof m_storage);
    data = other.isInline() ? m_storage : std::exchange(other.data, other.m_storage);
}

void FieldValue::releaseStorage() noexcept
{
    if (isInline())
        return;
    if (def->type == FieldType::String)
        delete reinterpret_cast<QString *>(data);
    else
        delete[] data;
}

void FieldValue::fromText(const QStringView &text)
{
    if (isInline() && isOnHeap(def->type))
        initialise(def);

    setAbsent();
    QStringView value = text;
    if (hasEmptyTexts(def->type) && value.startsWith(absentMark)) {
        if (value.size() == 1)
            return;
        value = value.sliced(value[1] == absentMark ? 1 : 0);
    }
    bool ok = true;
    switch (def->type) {
    case FieldType::Int:
        store(*this, value.toInt(&ok));
        break;
    case FieldType::Int64:
        store(*this, value.toLongLong(&ok));
        break;
    case FieldType::Double:
        store(*this, value.toDouble(&ok));
        break;
    case FieldType::Decimal:
        ok = storeNumber(*this, decimal::fromString(value));
        break;
    case FieldType::XDecimal:
        ok = storeNumber(*this, xdecimal::fromString(value));
        break;
    case FieldType::VarChar:
        FieldType::stringToVarChar(data, def->length, value);
        break;
    case FieldType::DateTime:
        store(*this, datetime::fromUtcString(value).milliseconds());
        break;
    case FieldType::String:
        stringAt(*this) = value.toString();
        break;
    default: {
        const QByteArray digits = value.toLatin1().toLower();
        const QByteArray bytes = QByteArray::fromHex(digits);
        ok = bytes.size() == rawWidth(*def) && bytes.toHex() == digits;
        if (ok)
            std::memcpy(data, bytes.constData(), size_t(bytes.size()));
        break;
    }
    }
    if (ok)
        setPresent();
}

QString FieldValue::toText() const
{
    if (!isPresent())
        return hasEmptyTexts(def->type) ? QString(absentMark) : QString();
    switch (def->type) {
    case FieldType::Double:
        return doubleText(Field::value<double>());
    case FieldType::Decimal: {
        const auto number = decimal::fromWord(Field::value<qint64>());
        return numberOf(xdecimal(number.unscaled(), number.scale())).toExactText();
    }
    case FieldType::XDecimal:
        return numberOf(xdecimal::fromData(data)).toExactText();
    case FieldType::VarChar:
    case FieldType::String: {
        const QString text = def->type == FieldType::VarChar ? varchar::read(data, def->length) : toString();
        return text.startsWith(absentMark) ? absentMark + text : text;
    }
    case FieldType::DateTime:
        return datetime(Field::value<qint64>()).toUtcString();
    case FieldType::Int:
    case FieldType::Int64:
        return toString();
    default:
        return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(data), rawWidth(*def)).toHex());
    }
}

FieldConstValue::FieldConstValue(const QChar &character) : FieldValue(&letterDef)
{
    stringAt(*this) = character;
    setPresent();
}

FieldConstValue::FieldConstValue(const int &number) : FieldValue(&numberDef)
{
    store(*this, number);
    setPresent();
}
