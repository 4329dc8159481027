// SPDX-License-Identifier: MIT
#include <data/fieldtype.h>

#include "varchar_p.h"

#include <QByteArray>

#include <cstring>

QString FieldType::typeName(Type type)
{
    switch (type) {
    case Raw:
        return QStringLiteral("bytes");
    case Int:
        return QStringLiteral("int32");
    case Int64:
        return QStringLiteral("int64");
    case Double:
        return QStringLiteral("float64");
    case Decimal:
        return QStringLiteral("decimal64");
    case XDecimal:
        return QStringLiteral("decimal128");
    case VarChar:
        return QStringLiteral("text(n)");
    case DateTime:
        return QStringLiteral("timestamp");
    case String:
        return QStringLiteral("text");
    case Block:
        return QStringLiteral("blob");
    }
    return QStringLiteral("type %1").arg(int(type));
}

void FieldType::stringToVarChar(unsigned char *buffer, int size, const QStringView &text)
{
    QStringView stored = text.first(qMin<qsizetype>(text.size(), size));
    if (!stored.isEmpty() && stored.size() < text.size() && stored.back().isHighSurrogate() &&
        text[stored.size()].isLowSurrogate())
        stored.chop(1);
    // Written only when the whole text is read: it may be that of this very value.
    QByteArray bytes;
    for (const QChar character : stored) {
        const unsigned unit = character.unicode();
        if (unit != 0 && unit < 0x80) {
            bytes += char(unit);
        } else {
            if (unit < 0x800) {
                bytes += char(0xC0 | unit >> 6);
            } else {
                bytes += char(0xE0 | unit >> 12);
                bytes += char(0x80 | (unit >> 6 & 0x3F));
            }
            bytes += char(0x80 | (unit & 0x3F));
        }
    }
    std::memcpy(buffer, bytes.constData(), size_t(bytes.size()));
    buffer[bytes.size()] = 0;
    std::memset(buffer + bytes.size() + 1, 0xFF,
                size_t(varchar::storageSize(size)) - size_t(bytes.size()) - 1);
}

QString varchar::read(const unsigned char *buffer, int length)
{
    QString text;
    text.reserve(length);
    while (*buffer != 0) {
        const unsigned first = *buffer++;
        unsigned unit = first;
        if (first >= 0xE0)
            unit = (first & 0x0F) << 12 | unsigned(*buffer++ & 0x3F) << 6;
        else if (first >= 0xC0)
            unit = (first & 0x1F) << 6;
        if (first >= 0x80)
            unit |= *buffer++ & 0x3F;
        text += QChar(char16_t(unit));
    }
    return text;
}
