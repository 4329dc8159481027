// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldtype.h>

#include <QString>
#include <QStringList>

/// \a text with the names of types replaced by those of the database library that is tested: each library
/// chooses its own.
inline QString withTypeNames(const QString &text)
{
    static const QStringList names{
        QStringLiteral("Raw"),     QStringLiteral("Int"),      QStringLiteral("Int64"),
        QStringLiteral("Double"),  QStringLiteral("Decimal"),  QStringLiteral("XDecimal"),
        QStringLiteral("VarChar"), QStringLiteral("DateTime"), QStringLiteral("String"),
        QStringLiteral("Block"),   QStringLiteral("Unknown")};
    QString result;
    QString word;
    for (const QChar character : text + QChar(u'\0')) {
        if (character.isLetterOrNumber()) {
            word += character;
            continue;
        }
        const qsizetype code = names.indexOf(word);
        result += code < 0 ? word : FieldType::typeName(FieldType::Type(code));
        result += character;
        word.clear();
    }
    result.chop(1);
    return result;
}
