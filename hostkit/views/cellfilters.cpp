// SPDX-License-Identifier: MIT
#include <hostkit/views/cellfilters.h>

#include <data/exception.h>
#include <data/table.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/hashslots_p.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>

#include <hostkit/text/keychecks_p.h>

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

namespace sito {

namespace {

struct CellFilters
{
    Q_DECLARE_TR_FUNCTIONS(CellFilters)
};

/// The rows of a selection, and its columns that can be compared, as indexes of the table; both ascending.
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

/// Calls \a take with the stored form of a present \a field: its bits, or its text. Values with the same form
/// are equal; equal values may have different forms, as 0.0 and -0.0.
template <typename Take>
auto withStoredForm(const Field &field, Take take)
{
    switch (field.def->type) {
    case FieldType::Int:
        return take(field.value<quint32>());
    case FieldType::XDecimal:
        return take(field.value<std::array<quint64, 2>>());
    case FieldType::VarChar:
        return take(field.asStaticString());
    case FieldType::String:
        return take(field.toString());
    default:
        return take(field.value<quint64>());
    }
}

size_t hashOf(const QString &text, size_t seed)
{
    return qHash(text, seed);
}

size_t hashOf(const std::array<quint64, 2> &words, size_t seed)
{
    return qHashMulti(seed, words[0], words[1]);
}

/// Moves the top bits, in which doubles differ, down to those that choose the slot.
size_t hashOf(quint64 bits, size_t seed)
{
    bits ^= seed ^ bits >> 32;
    const quint64 product = bits * 0x9E3779B97F4A7C15u;
    return size_t(product ^ product >> 32);
}

/// Tells rows of one table apart by the stored forms of their values in some columns.
struct StoredForms
{
    const Table *table;
    const QList<int> *columns;

    /// The hash value of \a row.
    size_t operator()(unsigned char *row) const
    {
        size_t seed = 0;
        for (const int column : *columns) {
            const Field field = table->dataPtr(row, column);
            seed = field.isPresent()
                       ? withStoredForm(field, [seed](const auto &form) { return hashOf(form, seed); })
                       : ~seed;
        }
        return seed;
    }
    /// Whether \a a and \a b have the same forms.
    bool operator()(unsigned char *a, unsigned char *b) const
    {
        return std::all_of(columns->begin(), columns->end(), [this, a, b](int column) {
            const Field one = table->dataPtr(a, column);
            const Field two = table->dataPtr(b, column);
            if (!one.isPresent() || !two.isPresent())
                return one.isPresent() == two.isPresent();
            return withStoredForm(one, [&two](const auto &form) {
                return withStoredForm(two, [&form](const auto &other) {
                    if constexpr (std::is_same_v<decltype(form), decltype(other)>)
                        return form == other;
                    else
                        return false;
                });
            });
        });
    }
};

/// The rows that differ from all that were added before.
class DifferentRows
{
public:
    explicit DifferentRows(const StoredForms &forms) : m_forms(forms) {}

    /// Whether no row like \a row was added before.
    bool add(unsigned char *row)
    {
        const size_t hash = m_forms(row);
        Slot &slot = m_slots.slot(
            hash, [&](const Slot &other) { return other.hash == hash && m_forms(other.row, row); });
        if (!slot.isFree())
            return false;
        slot = {hash, row};
        m_slots.added([](const Slot &other) { return other.hash; });
        return true;
    }

private:
    struct Slot
    {
        size_t hash = 0;
        /// Null in a free slot.
        unsigned char *row = nullptr;

        bool isFree() const { return row == nullptr; }
    };

    const StoredForms m_forms;
    HashSlots<Slot> m_slots;
};

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
    for (KeyValue key : others) {
        keychecks::requireWhole(key, columns.size());
        // Predicates ignore what is behind the last column.
        key.remove(columns.size(), key.size() - columns.size());
        (isOrdered(*model.table(), columns, key) ? keys : unordered).append(key);
    }
    // A key costs far more than a look at the row, and most rows hold what another one held.
    DifferentRows seen({model.table(), &columns});
    std::unique_lock lock(*model.table(), std::defer_lock);
    if (model.followed())
        lock.lock(); // others may write
    for (const int row : selection.rows) {
        const Record record = model.record(row);
        if (seen.add(record.row()))
            keys.append(keyOf(record, columns));
    }
    if (lock.owns_lock())
        lock.unlock();
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

/// Gives \a filter its keys and switches it on; the list reports it once.
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

} // namespace sito
