// SPDX-License-Identifier: MIT
#include <sources/sourcecell_p.h>

#include <sources/rowbits_p.h>
#include <sources/sourceconnection.h>
#include <sources/tableshape_p.h>
#include <sources/tablesource_p.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <algorithm>

namespace sito {

SourceCell SourceCell::of(const MemoryTable &loaded, const Record &row, int column, qint64 limit)
{
    SourceCell cell{.table = loaded.name(), .column = column, .limit = limit};
    for (int i = 0; i < loaded.columnCount(); ++i)
        cell.row.push_back(RowBits::cell(row.field(i)));
    return cell;
}

void SourceCell::requireBytes(const TableShape &shape) const
{
    if (column < 0 || column >= int(shape.columns.size()) || !shape.columns[size_t(column)].hasBytes()) {
        throw Exception(SourceConnection::tr("В столбце %1 таблицы «%2» не показано байтов")
                            .arg(QString::number(column), table));
    }
}

TableShape SourceCell::presentShape(const TableSource &origin, const TableShape &shape) const
{
    requireBytes(shape);
    const auto isKey = [](const TableSource::Column &declared) { return declared.isKey; };
    if (std::none_of(shape.declared.cbegin(), shape.declared.cend(), isKey)) {
        throw Exception(SourceConnection::tr("У таблицы «%1» нет первичного ключа, строку не найти, чтобы "
                                             "прочитать значение целиком")
                            .arg(table));
    }
    const auto all = origin.tables();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [this](const TableSource::Table &known) { return known.name == table; });
    if (found == all.end() || origin.columns(*found) != shape.declared)
        throw Exception(SourceConnection::tr("Таблица «%1» теперь другая, обновите её").arg(table));
    TableShape present = shape;
    present.table = *found;
    return present;
}

} // namespace sito
