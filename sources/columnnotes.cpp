// SPDX-License-Identifier: MIT
#include <sources/columnnotes.h>

#include <database/memorytable.h>

#include <QCoreApplication>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

QString columnTypeText(const ColumnSpec &column)
{
    QString text = FieldType::typeName(column.type);
    if (column.type == FieldType::Decimal || column.type == FieldType::XDecimal || column.length > 0)
        text += u"(%1)"_s.arg(column.length);
    if (column.nullable)
        text += ", NULL"_L1;
    return text;
}

QStringList widerColumnNotes(const QList<ColumnSpec> &declared, const MemoryTable &table)
{
    QStringList notes;
    const int columns = std::min(int(declared.size()), table.columnCount());
    for (int column = 0; column < columns; ++column) {
        const ColumnSpec &actual = table.columnSpec(column);
        if (actual != declared.at(column)) {
            notes.append(QCoreApplication::translate("ColumnNotes",
                                                     "Столбец «%1» объявлен как %2, но значениям нужен %3")
                             .arg(actual.name, columnTypeText(declared.at(column)), columnTypeText(actual)));
        }
    }
    return notes;
}

} // namespace sito
