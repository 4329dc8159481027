// SPDX-License-Identifier: MIT
#include <data/field.h>

#include <database/fieldtext_p.h>

QString Field::toString() const
{
    return isPresent() ? presentFieldText(*this) : QString();
}

QString Field::asStaticString() const
{
    const auto *text = reinterpret_cast<const char16_t *>(data);
    qsizetype units = def->length;
    while (units > 0 && text[units - 1] == 0)
        --units;
    return QString::fromRawData(reinterpret_cast<const QChar *>(text), units);
}

void Field::storeString(const QStringView &text)
{
    *reinterpret_cast<QString *>(data) = text.toString();
}
