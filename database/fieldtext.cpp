// SPDX-License-Identifier: MIT
#include "fieldtext_p.h"

#include <data/datetime.h>

#include <QByteArray>
#include <QLatin1StringView>

#include <charconv>
#include <cmath>

namespace {
QString doubleText(double value)
{
    // QString::number() drops the sign of -0.0.
    if (std::isnan(value))
        return QStringLiteral("nan");
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, result.ptr - buffer);
}
} // namespace

QString presentFieldText(const Field &field)
{
    switch (field.def->type) {
    case FieldType::Int:
        return QString::number(field.value<qint32>());
    case FieldType::Int64:
        return QString::number(field.value<qint64>());
    case FieldType::Double:
        return doubleText(field.value<double>());
    case FieldType::Decimal:
        return decimal::fromWord(field.value<qint64>()).toString();
    case FieldType::XDecimal:
        return xdecimal::fromData(field.data).toString();
    case FieldType::VarChar: {
        const QString text = field.asStaticString();
        return QString(text.constData(), text.size());
    }
    case FieldType::DateTime:
        return datetime(field.value<qint64>()).toUtcString();
    case FieldType::String:
        return *reinterpret_cast<const QString *>(field.data);
    case FieldType::Raw:
    case FieldType::Block:
        break;
    }
    const auto bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(field.data), rawWidth(*field.def));
    return QString::fromLatin1(bytes.toHex());
}
