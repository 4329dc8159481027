// SPDX-License-Identifier: MIT
#include <data/datetime.h>
#include <data/field.h>

#include "fieldtext_p.h"
#include "varchar_p.h"
#include "xdecimalbytes_p.h"

#include <QByteArray>

QString Field::toString() const
{
    if (!isPresent())
        return QString();
    switch (def->type) {
    case FieldType::Int:
        return QString::number(value<qint32>());
    case FieldType::Int64:
        return QString::number(value<qint64>());
    case FieldType::Double:
        return QString::number(value<double>());
    case FieldType::Decimal:
        return decimal::fromWord(value<qint64>()).toString();
    case FieldType::XDecimal:
        return xdecimal::fromData(data).toString();
    case FieldType::VarChar: {
        QString text = varchar::read(data, def->length);
        while (text.endsWith(u' '))
            text.chop(1);
        return text;
    }
    case FieldType::DateTime:
        return datetime(value<qint64>()).toString();
    case FieldType::String:
        return deepCopy(*reinterpret_cast<const QString *>(data));
    default:
        return QString::fromLatin1(
            QByteArray(reinterpret_cast<const char *>(data), rawWidth(*def)).toHex(' '));
    }
}

QString Field::asStaticString() const
{
    // Filled up, as other libraries may return it: it is good for comparison with others of its kind alone.
    return varchar::read(data, def->length).leftJustified(def->length, QChar(u'\0'));
}

void Field::storeString(const QStringView &text)
{
    *reinterpret_cast<QString *>(data) = text.toString();
}
