// SPDX-License-Identifier: MIT
#include <hostkit/cellfilters.h>

#include <data/exception.h>
#include <data/table.h>
#include <hostkit/filterlist.h>
#include <hostkit/showonlyfilter.h>
#include <hostkit/tablemodel.h>
#include <hostkit/valuelistfilter.h>

#include "keychecks_p.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace {

struct CellFilters
{
    Q_DECLARE_TR_FUNCTIONS(CellFilters)
};

/// The rows and the columns that can be compared of a selection, in ascending order, the columns as indexes of
/// the table.
struct Selection
{
    Selection(const TableModel &model, const QItemSelection &cells)
    {
        std::vector<int> sections;
        // Most ranges of one selection are over the same rows.
        std::vector<std::pair<int, int>> blocks;
        for (const QItemSelectionRange &range : cells) {
            if (range.isEmpty())
                continue;
            blocks.emplace_back(range.top(), range.bottom());
            for (int section = range.left(); section <= range.right(); ++section)
                sections.push_back(section);
        }
        std::sort(blocks.begin(), blocks.end());
        for (const auto &[top, bottom] : blocks) {
            for (int row = rows.empty() ? top : std::max(top, rows.back() + 1); row <= bottom; ++row)
                rows.push_back(row);
        }
        std::sort(sections.begin(), sections.end());
        sections.erase(std::unique(sections.begin(), sections.end()), sections.end());
        if (rows.empty())
            throw Exception(CellFilters::tr("Не выделено ни одной ячейки"));
        for (const int section : sections) {
            const int column = model.columns().at(section);
            const FieldType::Type type = model.table()->columnDef(column)->type;
            if (type != FieldType::Raw && type != FieldType::Block)
                columns.append(column);
        }
        if (columns.isEmpty()) {
            throw Exception(CellFilters::tr(
                "В выделенных столбцах нет значений, которые можно сравнивать: все они двоичные"));
        }
    }

    std::vector<int> rows;
    QList<int> columns;
};

KeyValue keyOf(const Record &record, const QList<int> &columns)
{
    KeyValue key;
    key.reserve(columns.size());
    for (const int column : columns) {
        const Field field = record.field(column);
        if (field.def->type == FieldType::Double && field.isPresent() && std::isnan(field.value<double>())) {
            throw Exception(
                CellFilters::tr("В столбце «%1» выделено «не число»: оно равно любому числу, и отбор по нему "
                                "невозможен")
                    .arg(record.table()->columnName(column)));
        }
        key.append(FieldValue(field));
    }
    return key;
}

/// Whether \a key, which has a value for each of \a columns, is in strict order with the keys of rows.
bool isOrdered(const Table &table, const QList<int> &columns, const KeyValue &key)
{
    for (qsizetype i = 0; i < columns.size(); ++i) {
        const FieldValue &field = key.at(i);
        if (field.def->type != table.columnDef(columns.at(i))->type)
            return false;
        if (field.def->type == FieldType::Double && field.isPresent() && std::isnan(field.value<double>()))
            return false;
    }
    return true;
}

/// The keys of the selected rows over \a columns and those of \a others, each once. Throws Exception for one
/// of \a others that has too few values.
QList<KeyValue> keysOf(const TableModel &model, const Selection &selection, const QList<int> &columns,
                       const QList<KeyValue> &others = {})
{
    QList<KeyValue> keys;
    QList<KeyValue> unordered;
    keys.reserve(others.size() + qsizetype(selection.rows.size()));
    for (KeyValue key : others) {
        keychecks::requireWhole(key, columns.size());
        // Predicates ignore what is behind the last column.
        key.remove(columns.size(), key.size() - columns.size());
        (isOrdered(*model.table(), columns, key) ? keys : unordered).append(key);
    }
    for (const int row : selection.rows)
        keys.append(keyOf(model.record(row), columns));
    std::sort(keys.begin(), keys.end());
    const auto last = std::unique(keys.begin(), keys.end(),
                                  [](const KeyValue &a, const KeyValue &b) { return !(a < b) && !(b < a); });
    keys.resize(last - keys.begin());
    return keys + unordered;
}

/// The first filter of that kind in \a filters over \a columns, in any order; null when there is none.
template <typename Kind>
Kind *findFilter(const FilterList &filters, const QList<int> &columns)
{
    for (Filter *filter : filters.filters()) {
        auto *found = qobject_cast<Kind *>(filter);
        if (found && std::is_permutation(found->columns().cbegin(), found->columns().cend(), columns.cbegin(),
                                         columns.cend())) {
            return found;
        }
    }
    return nullptr;
}

/// Gives \a filter its keys and switches it on; the list tells of it once.
Filter *take(FilterList &filters, ValueFilter *filter, const QList<KeyValue> &keys)
{
    filter->setAllExcludedKeys(keys);
    if (filter->isEnabled())
        filters.notifyChanged(filter);
    else
        filter->setEnabled(true);
    return filter;
}

Filter *add(FilterList &filters, std::unique_ptr<ValueFilter> filter, const QList<KeyValue> &keys)
{
    filter->setAllExcludedKeys(keys);
    filter->setEnabled(true);
    filters.add(filter.get());
    return filter.release();
}

QItemSelection selectionOf(const QModelIndexList &cells)
{
    QItemSelection selection;
    for (const QModelIndex &cell : cells)
        selection.append(QItemSelectionRange(cell));
    return selection;
}

} // namespace

Filter *hideValues(FilterList &filters, const TableModel &model, const QItemSelection &cells)
{
    const Selection selection(model, cells);
    if (auto *filter = findFilter<ValueListFilter>(filters, selection.columns)) {
        return take(filters, filter,
                    keysOf(model, selection, filter->columns(), filter->getAllExcludedKeys()));
    }
    auto filter = std::make_unique<ValueListFilter>(*filters.table(), selection.columns);
    filter->setSiblings(&filters);
    return add(filters, std::move(filter), keysOf(model, selection, selection.columns));
}

Filter *showOnlyValues(FilterList &filters, const TableModel &model, const QItemSelection &cells)
{
    const Selection selection(model, cells);
    if (auto *filter = findFilter<ShowOnlyFilter>(filters, selection.columns))
        return take(filters, filter, keysOf(model, selection, filter->columns()));
    return add(filters, std::make_unique<ShowOnlyFilter>(*filters.table(), selection.columns),
               keysOf(model, selection, selection.columns));
}

Filter *hideValues(FilterList &filters, const TableModel &model, const QModelIndexList &cells)
{
    return hideValues(filters, model, selectionOf(cells));
}

Filter *showOnlyValues(FilterList &filters, const TableModel &model, const QModelIndexList &cells)
{
    return showOnlyValues(filters, model, selectionOf(cells));
}
