// SPDX-License-Identifier: MIT
#include <filters/valuefilter.h>

#include <data/record.h>
#include <data/table.h>
#include <filterfuncs/keyfilterfunc.h>

#include <QDebug>
#include <QMessageLogger>
#include <QStringView>
#include <QVarLengthArray>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// The standard library's searches promise nothing for a set that is not in strict order (see ValueFilter on
// NaN). These probe the middle of each range, whatever the set, always end, and never leave it.

/// Halves the range [first, last): a key for which \a before holds moves the start past itself.
template <typename Before>
qsizetype bisect(const KeyValue *keys, qsizetype first, qsizetype last, Before before)
{
    qsizetype length = last - first;
    while (length > 0) {
        const qsizetype half = length / 2;
        if (before(keys[first + half])) {
            first += half + 1;
            length -= half + 1;
        } else {
            length = half;
        }
    }
    return first;
}

/// Whether \a key begins with a present Int.
bool beginsWithInt(const KeyValue &key)
{
    return !key.isEmpty() && key.constData()->def->type == FieldType::Int && key.constData()->isPresent();
}

/// Whether \a key holds nothing but present values of the types Int and Int64. Nothing but absent values and
/// each other sorts before these, so they are in order in any set. A DateTime may stand in a circle, see
/// ValueFilter.
bool isOfIntegers(const KeyValue &key)
{
    return std::all_of(key.begin(), key.end(), [](const FieldValue &field) {
        return field.isPresent() &&
               (field.def->type == FieldType::Int || field.def->type == FieldType::Int64);
    });
}

/// The first place in [first, last) whose key does not sort before \a key.
qsizetype lowerBound(const KeyValue *keys, qsizetype first, qsizetype last, const KeyValue &key)
{
    const auto sortsBeforeKey = [&key](const KeyValue &probe) { return probe < key; };
    if (!beginsWithInt(key))
        return bisect(keys, first, last, sortsBeforeKey);

    // The first integers nearly always decide; comparing them here saves a call.
    const auto number = key.constData()->value<qint32>();
    return bisect(keys, first, last, [&](const KeyValue &probe) {
        if (!beginsWithInt(probe) || probe.constData()->value<qint32>() == number)
            return sortsBeforeKey(probe);
        return probe.constData()->value<qint32>() < number;
    });
}

/// Whether lowerBound() is certainly the end of \a list: keys often come in ascending order. Whatever else
/// the list holds, all keys in front of one of integers sort before it, so every probe would give the same
/// result.
bool sortsBehindAll(const QList<KeyValue> &list, const KeyValue &key)
{
    return !list.isEmpty() && isOfIntegers(key) && isOfIntegers(list.constLast()) && list.constLast() < key;
}

/// The first place in [first, last) whose key sorts after \a key.
qsizetype upperBound(const KeyValue *keys, qsizetype first, qsizetype last, const KeyValue &key)
{
    return bisect(keys, first, last, [&key](const KeyValue &probe) { return !(key < probe); });
}

/// The run of keys equal to \a key.
std::pair<qsizetype, qsizetype> equalRange(const QList<KeyValue> &list, const KeyValue &key)
{
    const KeyValue *keys = list.constData();
    qsizetype first = 0;
    qsizetype last = list.size();
    while (first < last) {
        const qsizetype middle = first + (last - first) / 2;
        if (keys[middle] < key)
            first = middle + 1;
        else if (key < keys[middle])
            last = middle;
        else
            return {lowerBound(keys, first, middle, key), upperBound(keys, middle + 1, last, key)};
    }
    return {first, first};
}

/// A key to be sorted, with the integers it begins with in one word, so that most comparisons need not look
/// at the key.
struct SortEntry
{
    quint64 lead;
    KeyValue *key;
};

/// The order of KeyValue::operator<(): keys whose leads differ sort as their leads do.
bool sortsBefore(const SortEntry &a, const SortEntry &b)
{
    return a.lead != b.lead ? a.lead < b.lead : *a.key < *b.key;
}

quint64 unsignedOrder(qint32 number)
{
    return quint32(number) ^ (quint32(1) << 31);
}

quint64 unsignedOrder(qint64 number)
{
    return quint64(number) ^ (quint64(1) << 63);
}

/// What a field adds to a lead, and how many bits of it: none but for a present integer.
struct Lead
{
    FieldType::Type type = FieldType::Raw;
    int bits = 0;
    quint64 value = 0;
};

Lead leadOf(const KeyValue &key, qsizetype position)
{
    if (position >= key.size())
        return {};
    const FieldValue &field = key.constData()[position];
    if (!field.isPresent())
        return {};
    switch (field.def->type) {
    case FieldType::Int:
        return {FieldType::Int, 32, unsignedOrder(field.value<qint32>())};
    case FieldType::Int64:
    case FieldType::DateTime:
        return {field.def->type, 64, unsignedOrder(field.value<qint64>())};
    default:
        return {};
    }
}

/// The entries of \a keys in the same order. A field goes into the leads only where it is a present integer
/// of one type in all of the keys: then Field::compare() orders it as the integers, absent values and other
/// types never come into it. Two Ints fit, or one Int64 or DateTime.
std::vector<SortEntry> sortEntries(QList<KeyValue> &keys)
{
    std::vector<SortEntry> entries;
    entries.reserve(size_t(keys.size()));
    const Lead first = leadOf(keys.constFirst(), 0);
    bool one = first.bits != 0;
    bool two = first.bits == 32;
    for (KeyValue &key : keys) {
        const Lead lead = one ? leadOf(key, 0) : Lead();
        const Lead second = two ? leadOf(key, 1) : Lead();
        one = one && lead.type == first.type && lead.bits != 0;
        two = two && second.type == FieldType::Int;
        const quint64 word = first.bits == 32 ? lead.value << 32 | (two ? second.value : 0) : lead.value;
        entries.push_back({word, &key});
    }
    // What one key lacks is in none of the leads.
    const quint64 kept = !one ? 0 : first.bits == 32 && !two ? ~quint64(0) << 32 : ~quint64(0);
    if (kept != ~quint64(0)) {
        for (SortEntry &entry : entries)
            entry.lead &= kept;
    }
    return entries;
}

/// Sorts [first, last) by insertion.
void sortRun(SortEntry *first, SortEntry *last)
{
    for (SortEntry *next = first + 1; next < last; ++next) {
        const SortEntry entry = *next;
        SortEntry *place = next;
        while (place != first && sortsBefore(entry, place[-1])) {
            *place = place[-1];
            --place;
        }
        *place = entry;
    }
}

/// Merges the runs [first, middle) and [middle, last) into \a out; of equal entries those of the first run
/// come first.
void mergeRuns(const SortEntry *first, const SortEntry *middle, const SortEntry *last, SortEntry *out)
{
    const SortEntry *left = first;
    const SortEntry *right = middle;
    if (left != middle && right != last && sortsBefore(*right, middle[-1])) {
        while (left != middle && right != last)
            *out++ = sortsBefore(*right, *left) ? *right++ : *left++;
    }
    out = std::copy(left, middle, out);
    std::copy(right, last, out);
}

/// Sorts \a keys, which nobody else shares, ascending; equal ones stay in the order they came in.
///
/// A merge sort, not std::sort, which may leave the range or never end when the order is not strict. A single
/// NaN among the keys is enough for that. Here positions alone bound every step, and steps only move entries:
/// whatever the order, the result holds the same keys. Nothing is changed when a comparison throws.
void sortKeys(QList<KeyValue> &keys)
{
    if (keys.size() < 2)
        return;
    std::vector<SortEntry> entries = sortEntries(keys);
    const size_t count = entries.size();
    constexpr size_t runLength = 8;
    for (size_t first = 0; first < count; first += runLength)
        sortRun(entries.data() + first, entries.data() + std::min(first + runLength, count));
    std::vector<SortEntry> merged(count);
    for (size_t width = runLength; width < count; width *= 2) {
        for (size_t first = 0; first < count; first += 2 * width) {
            const size_t middle = std::min(first + width, count);
            const size_t last = std::min(first + 2 * width, count);
            mergeRuns(entries.data() + first, entries.data() + middle, entries.data() + last,
                      merged.data() + first);
        }
        entries.swap(merged);
    }

    QList<KeyValue> sorted;
    sorted.reserve(qsizetype(entries.size()));
    for (const SortEntry &entry : entries)
        sorted.append(std::move(*entry.key));
    keys.swap(sorted);
}

/// QStringView::indexOf() for the short parts of keys, where the calls would cost more than the search.
qsizetype indexOf(QStringView text, QChar character)
{
    const auto place = std::find(text.begin(), text.end(), character);
    return place == text.end() ? -1 : place - text.begin();
}

/// Calls \a read with every part of \a text between \a separator, empty ones included, one after the other.
/// The parts are texts of their own, as those of QString::split() are: \a read may keep them.
template <typename Read>
void forEachPart(const QString &text, QChar separator, Read read)
{
    qsizetype from = 0;
    for (;;) {
        const qsizetype to = text.indexOf(separator, from);
        if (to < 0)
            break;
        read(text.mid(from, to - from));
        from = to + 1;
    }
    read(text.mid(from));
}

/// The texts that \a form gives for the keys, joined with "|".
template <typename Form>
QString joinedKeys(const QList<KeyValue> &keys, Form form)
{
    QString result;
    bool first = true;
    for (const KeyValue &key : keys) {
        if (!first)
            result += u'|';
        first = false;
        result += form(key);
    }
    return result;
}

QString joinedFields(const KeyValue &key)
{
    QVarLengthArray<QChar, 128> result;
    bool first = true;
    for (const FieldValue &field : key) {
        if (!first)
            result.append(u',');
        first = false;
        const QString text = field.toText();
        result.append(text.constData(), text.size());
    }
    return QString(result.constData(), result.size());
}

} // namespace

ValueFilter::ValueFilter(Table &table, int column, QObject *parent)
    : ValueFilter(table, column, QList<int>{column}, -1, parent)
{
}

ValueFilter::ValueFilter(Table &table, int firstId, const QList<int> &columns, int secondId, QObject *parent)
    : Filter(firstId, secondId, parent), m_table(&table), m_columns(columns)
{
}

ValueFilter::~ValueFilter() = default;

bool ValueFilter::hasExcludedKey(const KeyValue &key) const
{
    const KeyValue *keys = m_excludedKeys.constData();
    const qsizetype place = lowerBound(keys, 0, m_excludedKeys.size(), key);
    return place != m_excludedKeys.size() && !(key < keys[place]);
}

void ValueFilter::addExcludedKey(const KeyValue &key)
{
    m_excludedKeys.detach();
    if (sortsBehindAll(m_excludedKeys, key)) {
        m_excludedKeys.append(key);
        return;
    }
    const KeyValue *keys = m_excludedKeys.constData();
    const qsizetype place = lowerBound(keys, 0, m_excludedKeys.size(), key);
    if (place != m_excludedKeys.size() && !(key < keys[place]))
        return;
    m_excludedKeys.insert(place, key);
}

void ValueFilter::removeExcludedKey(const KeyValue &key)
{
    const auto [first, last] = equalRange(m_excludedKeys, key);
    if (first != last)
        m_excludedKeys.remove(first, last - first);
}

void ValueFilter::setAllExcludedKeys(const QList<KeyValue> &keys)
{
    // Detached first: this never reorders the caller's list, and the caller cannot change the set through a
    // reference into that list. The caller's list may be the set itself; it stays as it was when anything is
    // thrown.
    QList<KeyValue> sorted = keys;
    sorted.detach();
    const auto outOfPlace = [](const KeyValue &a, const KeyValue &b) { return b < a; };
    if (std::adjacent_find(sorted.cbegin(), sorted.cend(), outOfPlace) != sorted.cend())
        sortKeys(sorted);
    m_excludedKeys.swap(sorted);
}

const QList<KeyValue> &ValueFilter::getAllExcludedKeys() const
{
    return m_excludedKeys;
}

FilterFunc *ValueFilter::createFilterFunc(QObject *parent) const
{
    QString refusal;
    try {
        return new KeyFilterFunc(m_table, m_excludedKeys, m_columns, parent);
    } catch (const QString &message) {
        refusal = message;
    }
    // The same again, on purpose: it is the fallback of a predicate that may refuse columns.
    auto func = std::make_unique<KeyFilterFunc>(m_table, m_excludedKeys, m_columns, parent);
    const QString name = m_table->name();
    // Not qWarning(): in debug builds that adds file, line and function.
    QMessageLogger(nullptr, 0, nullptr).warning().nospace().noquote()
        << "Can't use optimized KeyFilterFunc for '" << name << "' " << refusal;
    return func.release();
}

QString ValueFilter::text() const
{
    // A copy of the list, which costs nothing: an overridden keyToText() may reach code that changes the set.
    return joinedKeys(QList<KeyValue>(m_excludedKeys),
                      [this](const KeyValue &key) { return keyToText(key); });
}

bool ValueFilter::hasValue() const
{
    return !m_excludedKeys.isEmpty();
}

QString ValueFilter::value() const
{
    return joinedKeys(QList<KeyValue>(m_excludedKeys),
                      [this](const KeyValue &key) { return keyToValue(key); });
}

void ValueFilter::setValue(const QString &value)
{
    // A copy: an overridden valueToKey() may change the caller's string.
    const QString text = value; // NOLINT(performance-unnecessary-copy-initialization)
    m_excludedKeys.clear();
    if (text.isEmpty())
        return;
    // One by one: an overridden valueToKey() sees the set with all keys before its own.
    forEachPart(text, u'|', [this](const QString &part) { addExcludedKey(valueToKey(part)); });
}

void ValueFilter::clear()
{
    // Keeps the storage unless it is shared.
    m_excludedKeys.clear();
}

KeyValue ValueFilter::keyFromRecord(const Record &record) const
{
    KeyValue key;
    key.reserve(m_columns.size());
    for (const int column : m_columns)
        key.emplaceBack(record.field(column));
    return key;
}

QString ValueFilter::keyToValue(const KeyValue &key) const
{
    return joinedFields(key);
}

KeyValue ValueFilter::valueToKey(const QString &value) const
{
    const qsizetype parts = std::count(value.begin(), value.end(), u',') + 1;
    if (parts != m_columns.size()) {
        throw u"ValueFilter can't restore from text. Incorrect columns numbers: %1 != %2"_s.arg(parts).arg(
            m_columns.size());
    }
    KeyValue key;
    key.reserve(parts);
    QStringView rest = value;
    for (const int column : m_columns) {
        const qsizetype comma = indexOf(rest, u',');
        key.emplaceBack(m_table, column).fromText(comma < 0 ? rest : rest.first(comma));
        rest = rest.sliced(comma < 0 ? rest.size() : comma + 1);
    }
    return key;
}

QString ValueFilter::keyToText(const KeyValue &key) const
{
    return joinedFields(key);
}
