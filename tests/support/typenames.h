// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldtype.h>

#include <QString>
#include <QStringList>

/// \a text with the names of types in it replaced by those that the database library at hand has for them: their
/// wording is the library's own.
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
