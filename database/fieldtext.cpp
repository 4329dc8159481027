// SPDX-License-Identifier: MIT
#include <database/fieldtext_p.h>

#include <data/datetime.h>

#include <QByteArray>
#include <QLatin1StringView>

#include <charconv>
#include <cmath>

namespace {
/// The digits of \a value, in half the time of QString::number().
QString integerText(qint64 value)
{
    char16_t buffer[20];
    char16_t *const end = buffer + sizeof buffer / sizeof *buffer;
    char16_t *begin = end;
    quint64 magnitude = value < 0 ? -quint64(value) : quint64(value);
    do {
        *--begin = char16_t(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        *--begin = u'-';
    return QString(reinterpret_cast<const QChar *>(begin), end - begin);
}

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
        return integerText(field.value<qint32>());
    case FieldType::Int64:
        return integerText(field.value<qint64>());
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
