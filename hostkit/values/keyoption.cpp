// SPDX-License-Identifier: MIT
#include <hostkit/values/keyoption.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>

#include <data/keyvalue.h>
#include <data/table.h>
#include <filters/securitiessessionfilter.h>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

std::unique_ptr<ValueFilter> filterOf(Table &table, const KeyOption &option)
{
    const QList<int> columns = ColumnsFilter::columnsByName(table, option.columns);
    std::unique_ptr<ValueFilter> filter;
    if (option.keep)
        filter = std::make_unique<ShowOnlyFilter>(table, columns);
    else
        filter = std::make_unique<ValueListFilter>(table, columns);
    filter->setValue(option.keys);
    return filter;
}

} // namespace

std::vector<std::unique_ptr<ValueFilter>> filtersFromOptions(Table &table, const QList<KeyOption> &options,
                                                             const QStringList &sessionColumns)
{
    std::vector<std::unique_ptr<ValueFilter>> filters;
    for (const KeyOption &option : options) {
        std::unique_ptr<ValueFilter> filter = filterOf(table, option);
        const auto same = std::find_if(filters.begin(), filters.end(), [&filter](const auto &other) {
            return other->metaObject() == filter->metaObject() && other->columns() == filter->columns();
        });
        if (same == filters.end()) {
            filters.push_back(std::move(filter));
            continue;
        }
        for (const KeyValue &key : filter->getAllExcludedKeys())
            (*same)->addExcludedKey(key);
    }
    if (!sessionColumns.isEmpty()) {
        const QList<int> columns = ColumnsFilter::columnsByName(table, sessionColumns);
        filters.push_back(std::make_unique<SecuritiesSessionFilter>(table, columns.first(), columns,
                                                                    columns.last(), nullptr));
    }
    for (const auto &filter : filters)
        filter->setEnabled(true);
    return filters;
}

} // namespace sito
