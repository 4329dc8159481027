// SPDX-License-Identifier: MIT
#include <data/fieldvalue.h>

#include <data/datetime.h>
#include <data/table.h>

#include <database/fieldtext_p.h>

#include <QByteArray>

#include <cstring>
#include <new>

namespace {
constexpr QChar absentMark(u'\u2400');

/// Whether the empty text stands for a value of \a type, so that an absent one needs a text of its own.
bool hasEmptyTexts(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String || type == FieldType::DateTime;
}

QString &stringAt(const Field &field)
{
    return *reinterpret_cast<QString *>(field.data);
}

/// Reads the commonest form of a whole number, a few plain digits; returns whether the text was one.
bool readDigits(QStringView text, qint32 &number)
{
    const bool negative = text.startsWith(u'-');
    const qsizetype digits = text.size() - (negative ? 1 : 0);
    if (digits < 1 || digits > 9)
        return false;
    qint32 result = 0;
    for (const QChar character : text.last(digits)) {
        const int digit = character.unicode() - u'0';
        if (digit < 0 || digit > 9)
            return false;
        result = result * 10 + digit;
    }
    number = negative ? -result : result;
    return true;
}

template <typename T>
void store(Field &field, const T &value)
{
    std::memcpy(field.data, &value, sizeof(T));
}
} // namespace

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

void FieldValue::copyOther(const FieldValue &other)
{
    initialise(other.def);
    copyValue(other);
}

FieldValue &FieldValue::operator=(const FieldValue &other)
{
    if (this != &other) {
        FieldValue copy(other);
        release();
        take(copy);
    }
    return *this;
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
    if (def->type == FieldType::String) {
        new (m_storage) QString;
        return;
    }
    std::memset(m_storage, 0, sizeof m_storage);
    if (def->size > inlineSize) {
        data = new unsigned char[def->size];
        std::memset(data, 0, def->size);
    }
}

void FieldValue::copyValue(const Field &field)
{
    if (!field.isPresent())
        return;
    if (def->type == FieldType::String)
        stringAt(*this) = stringAt(field);
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
    data = m_storage;
    if (def->type == FieldType::String)
        new (m_storage) QString(std::move(stringAt(other)));
    else
        data = std::exchange(other.data, other.m_storage);
}

void FieldValue::releaseStorage() noexcept
{
    if (def->type == FieldType::String)
        stringAt(*this).~QString();
    else
        delete[] data;
}

void FieldValue::fromText(const QStringView &text)
{
    if (isInline() && def->type != FieldType::String && def->size > inlineSize)
        initialise(def); // a moved-from value has given its storage away

    setAbsent();
    QStringView value = text;
    if (hasEmptyTexts(def->type) && value.startsWith(absentMark)) {
        if (value.size() == 1)
            return;
        if (value[1] == absentMark)
            value = value.sliced(1);
    }

    bool ok = true;
    switch (def->type) {
    case FieldType::Int: {
        qint32 number = 0;
        if (!readDigits(value, number))
            number = value.toInt(&ok);
        store(*this, number);
        break;
    }
    case FieldType::Int64:
        store(*this, value.toLongLong(&ok));
        break;
    case FieldType::Double:
        store(*this, value.toDouble(&ok));
        break;
    case FieldType::Decimal: {
        const auto number = decimal::fromString(value);
        ok = number.has_value();
        store(*this, number.value_or(decimal()));
        break;
    }
    case FieldType::XDecimal: {
        const auto number = xdecimal::fromString(value);
        ok = number.has_value();
        store(*this, number.value_or(xdecimal()));
        break;
    }
    case FieldType::VarChar:
        FieldType::stringToVarChar(data, def->length, value);
        break;
    case FieldType::DateTime:
        store(*this, datetime::fromUtcString(value).milliseconds());
        break;
    case FieldType::String:
        stringAt(*this) = value.toString();
        break;
    case FieldType::Raw:
    case FieldType::Block:
    default: {
        const QByteArray digits = value.toLatin1();
        const QByteArray bytes = QByteArray::fromHex(digits);
        ok = bytes.size() == rawWidth(*def) && bytes.toHex() == digits.toLower();
        std::memset(data, 0, def->size);
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
    const bool marked = hasEmptyTexts(def->type);
    if (!isPresent())
        return marked ? QString(absentMark) : QString();
    const QString text = presentFieldText(*this);
    return marked && text.startsWith(absentMark) ? absentMark + text : text;
}
