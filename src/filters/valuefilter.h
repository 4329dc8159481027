// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>
#include <filters/filter.h>

#include <QList>

class Record;
class Table;

/// The filter that hides the rows whose key is in a set of excluded keys. A key is made of the values of a
/// record in a fixed list of columns, in that order.
///
/// **The set** is always sorted by KeyValue::operator<(); keys are *equal* when neither sorts before the
/// other. A change emits no signal: a host that shows the filtered rows calls createFilterFunc() again.
/// Changing the set never switches the filter on or off.
///
/// **Keys must match.** Neither the number of the fields of a key nor their types are checked against the
/// columns. All keys of one filter must have the same number of fields. Values of different types sort by
/// their type, whatever they hold, except that VarChar and String compare as texts: a set over an Int64
/// column that was filled with FieldConstValue integers (of type Int) holds other keys than the same set
/// restored from its text, whose keys take their types from the table.
///
/// **Not a number.** A NaN equals every double, and texts of VarChar and String columns that are mixed with
/// dates in one place of a key have no consistent order either. Keys with such values may be in any order,
/// and searches may miss them. Adding and sorting never invent keys, and sorting loses none; removing erases
/// the run that the search finds, which may then hold other keys.
///
/// **The text** of a set joins the fields of a key with "," and the keys with "|", without quotes or escapes:
/// 12,3|15,1. It is ambiguous on purpose where the values hold these characters: a "|" in a value makes two
/// keys of one when the text is read, and a "," makes a key with a field too many, which is refused. A set
/// with the one key of one empty text is saved as the empty text and comes back as the empty set; over one
/// column the text "|" is two keys from empty texts, which are equal, so that the set then holds one.
///
/// The table is not owned and must outlive the filter, its keys and its predicates.
///
/// **Threads.** As Filter.
///
/// **Cost.** For n keys: looking for one takes log n comparisons; adding or removing one also moves the keys
/// behind it. setAllExcludedKeys() takes n log n, or n for keys in order. value(), text() and
/// createFilterFunc() grow with n; a predicate holds one row of the table per key.
class SITO_EXPORT ValueFilter : public Filter
{
    Q_OBJECT
public:
    /// A filter over one column, whose index is also its firstId().
    ValueFilter(Table &table, int column, QObject *parent);
    /// A filter over \a columns, indexes of columns of \a table in the order of a key's fields.
    ValueFilter(Table &table, int firstId, const QList<int> &columns, int secondId, QObject *parent);
    ~ValueFilter() override;

    /// The table whose records are filtered; never null.
    Table *table() const { return m_table; }
    /// The columns that make a key.
    const QList<int> &columns() const { return m_columns; }

    /// Whether a key equal to \a key is in the set.
    bool hasExcludedKey(const KeyValue &key) const;
    /// Inserts \a key at its place in the set, unless an equal key is there already.
    void addExcludedKey(const KeyValue &key);
    /// Removes every key equal to \a key from the set (see Not a number).
    void removeExcludedKey(const KeyValue &key);
    /// Makes \a keys, sorted, the whole set. Deliberately keeps equal keys, side by side and in any order;
    /// \a keys itself is not touched. Far quicker than adding the keys one by one.
    void setAllExcludedKeys(const QList<KeyValue> &keys);
    /// The set, sorted; the reference follows the set as long as the filter lives.
    const QList<KeyValue> &getAllExcludedKeys() const;

    /// A new KeyFilterFunc for the keys of the set as it is now: true for the records that the filter
    /// excludes.
    ///
    /// Throws the Exception of KeyFilterFunc for a key that cannot be converted to the types of the columns.
    /// When something beneath it throws a QString, the predicate is made a second time. When that succeeds,
    /// one warning in the category "default", without file, line or function in every build type, says "Can't
    /// use optimized KeyFilterFunc for '<table>' <message>" (the words are fixed; there is no optimized
    /// predicate here). Otherwise what the second attempt throws reaches the caller, even a QString.
    FilterFunc *createFilterFunc(QObject *parent) const override;

    /// The keys as keyToText() shows them, in ascending order, joined with "|".
    QString text() const override;
    /// Whether the set holds any key.
    bool hasValue() const override;
    /// The keys as keyToValue() writes them, in ascending order, joined with "|".
    QString value() const override;
    /// Empties the set and adds the keys that valueToKey() reads from the parts of \a value between "|", one
    /// after the other; of equal keys the first stays. An empty text leaves the set empty.
    ///
    /// When valueToKey() or a comparison throws, the keys of the parts before stay in the set. The time grows
    /// with n log n for n keys in ascending order, as value() writes them. It grows with n * n for keys in
    /// random order, because each one moves those behind it.
    void setValue(const QString &value) override;
    /// Empties the set; does not call setValue().
    void clear() override;

    /// The key of \a record, which must refer to a row: its values in columns(), read through the row's own
    /// table.
    virtual KeyValue keyFromRecord(const Record &record) const;
    /// The text of a key for value(): the texts of its fields joined with ",".
    virtual QString keyToValue(const KeyValue &key) const;
    /// The key that keyToValue() writes as \a value; the types are those of columns() in table(). \a value
    /// lives as long as the call.
    ///
    /// Throws the QString "ValueFilter can't restore from text. Incorrect columns numbers: %1 != %2" when the
    /// text has %1 parts for %2 columns. A part that cannot be read as a value of its column is no error; see
    /// FieldValue::fromText() for the value that it gives.
    virtual KeyValue valueToKey(const QString &value) const;
    /// The text of a key for text(): the same as that of keyToValue(), until a subclass shows keys
    /// differently.
    virtual QString keyToText(const KeyValue &key) const;

private:
    Table *m_table;
    QList<int> m_columns;
    QList<KeyValue> m_excludedKeys;
};
