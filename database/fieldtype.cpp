// SPDX-License-Identifier: MIT
#include <data/fieldtype.h>

#include <algorithm>
#include <cstring>

QString FieldType::typeName(Type type)
{
    switch (type) {
    case Raw:
        return QStringLiteral("Raw");
    case Int:
        return QStringLiteral("Int");
    case Int64:
        return QStringLiteral("Int64");
    case Double:
        return QStringLiteral("Double");
    case Decimal:
        return QStringLiteral("Decimal");
    case XDecimal:
        return QStringLiteral("XDecimal");
    case VarChar:
        return QStringLiteral("VarChar");
    case DateTime:
        return QStringLiteral("DateTime");
    case String:
        return QStringLiteral("String");
    case Block:
        return QStringLiteral("Block");
    }
    return QStringLiteral("Unknown");
}

void FieldType::stringToVarChar(unsigned char *buffer, int size, const QStringView &text)
{
    qsizetype units = std::min<qsizetype>(text.size(), size);
    const bool cut = units < text.size();
    if (cut && units > 0 && text[units - 1].isHighSurrogate() && text[units].isLowSurrogate())
        --units;
    const auto bytes = size_t(units) * sizeof(char16_t);
    // The text may be the text of this value itself. A null text has no memory.
    if (bytes != 0)
        std::memmove(buffer, text.utf16(), bytes);
    std::memset(buffer + bytes, 0, size_t(size) * sizeof(char16_t) - bytes);
}
