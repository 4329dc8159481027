// SPDX-License-Identifier: MIT
#include <hostkit/values/columnids_p.h>

#include <hostkit/values/numberids_p.h>
#include <hostkit/values/textids_p.h>

namespace sito {

std::unique_ptr<ColumnIds> ColumnIds::make(Table *table, int column)
{
    switch (table->columnDef(column)->type) {
    case FieldType::VarChar:
    case FieldType::String:
        return std::make_unique<TextIds>(table, column);
    case FieldType::Int:
        return std::make_unique<NumberIds<quint32>>(table, column);
    case FieldType::XDecimal:
        return std::make_unique<NumberIds<Words128>>(table, column);
    default:
        return std::make_unique<NumberIds<quint64>>(table, column);
    }
}

std::vector<radixsort::Item> ColumnIds::presentItems() const
{
    std::vector<radixsort::Item> items(size() - 1);
    for (size_t i = 0; i < items.size(); ++i)
        items[i].id = quint32(i) + 1;
    return items;
}

} // namespace sito
