// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/filterfunc.h>

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>

#include <memory>

class KeyRuns;
class Table;

/// The predicate over a set of keys that compares only bytes of the rows: true for a record whose run of key
/// bytes is that of one of the keys.
///
/// The key columns must lie side by side in the row: consecutive ascending columns of the types Int, Int64,
/// Decimal, VarChar and DateTime that admit no absent values. Other columns are refused; KeyFilterFunc takes
/// them all. The database library must lay consecutive columns out in index order, each at the next multiple
/// of 8, and keep the bytes between and behind the values fixed, those behind the text of a VarChar included.
/// Builds with assertions check where the columns lie.
///
/// The answers are those of KeyFilterFunc, except where equal numbers have different bytes: decimals of
/// different scales, 1.5 and 1.50, are different here. A key that is made from a decimal keeps its scale.
///
/// The predicate is a copy: it holds one row of the table per key, in the order given, duplicates included.
/// The table is not owned and must outlive the predicate.
///
/// **Threads.** As FilterFunc.
///
/// **Cost.** The time of a call grows with the number of keys; a call allocates nothing. Making the predicate
/// makes a row per key.
class SITO_EXPORT KeyFilterFunc_Fast : public FilterFunc
{
    Q_OBJECT
public:
    /// Checks the columns by setup(), then converts each of \a keys, in order, into a row of \a table.
    ///
    /// Throws a QString when the columns are refused, see setup(), before any key is converted; throws
    /// Exception when a key cannot be converted, see keyconversion::keyToRecord().
    KeyFilterFunc_Fast(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                       QObject *parent = nullptr);
    ~KeyFilterFunc_Fast() override;

    /// Checks the columns and works out where the run of key bytes lies. Called by the constructor; calling
    /// it again changes nothing.
    ///
    /// Throws a QString for the first column that is refused:
    /// - "Columns must be sequenced: %1(%3) / %2" with its index, the index expected and its name;
    /// - "Type '%1' unsuported for %2" with the names of its type and of the column;
    /// - "Columns can't be nullable %1" with its name;
    /// - "Columns can't be empty" when there is no column at all.
    void setup();

    /// Whether the key bytes of \a record are those of one of the keys; false when there are no keys.
    /// \a record must be a row of the table or of one with the same layout. Throws nothing.
    bool filter(const Record &record) const override;

    /// As KeyFilterFunc::keyToRecord().
    Record keyToRecord(const KeyValue &key) const;

private:
    Table *table;
    QList<Record> keyRecords;
    QList<int> columns;
    /// Where the run begins, in bytes from the start of a row block, and how long it is.
    quint64 keyOffset = 0;
    quint64 keyLength = 0;
    /// The key bytes of the rows, side by side.
    std::unique_ptr<const KeyRuns> keyRuns;
};
