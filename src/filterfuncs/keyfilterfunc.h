// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/filterfunc.h>

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>

#include <memory>

class KeyMatcher;
class Table;

/// The predicate over a set of keys: true for a record whose key columns equal those of one of the keys. It
/// works for every column type and for columns with absent values; KeyFilterFunc_Fast is quicker where the
/// columns allow it, and KeyFilterFunc_Hash where there are many keys.
///
/// Values are equal as Field::compare() says: absent equals absent and nothing else, VarChar and String
/// compare as texts, other values of different types are never equal, a NaN equals every double, and values
/// of a type that is never ordered (Raw, Block) are all equal. The record may belong to another table. Its
/// columns with the same numbers are compared, in the order of the columns given; no column behind one that
/// differs from the key is read, so the table may lack those.
///
/// The predicate is a copy: it holds one row of the table per key, in the order given, duplicates included,
/// and later changes of the lists do not affect it. The table is not owned and must outlive the predicate.
///
/// **Threads.** As FilterFunc.
///
/// **Cost.** The time of a call grows with the number of keys. A call allocates nothing but the texts of
/// VarChars: over the in-memory library only where one is compared with a String, which only a record of
/// another table can have. Making the predicate makes a row per key.
class SITO_EXPORT KeyFilterFunc : public FilterFunc
{
    Q_OBJECT
public:
    /// Converts each of \a keys, in order, into a row of \a table whose \a columns hold the values of the
    /// key.
    ///
    /// Throws Exception when a key cannot be converted, see keyconversion::keyToRecord().
    KeyFilterFunc(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                  QObject *parent = nullptr);
    ~KeyFilterFunc() override;

    /// Whether the key columns of \a record equal one of the keys. False when there are no keys; true when
    /// there are keys but no columns. Throws nothing.
    bool filter(const Record &record) const override;

    /// As keyconversion::keyToRecord() for the table and the columns of the predicate, with its exceptions.
    Record keyToRecord(const KeyValue &key) const;

private:
    Table *table;
    QList<Record> keyRecords;
    QList<int> columns;
    /// Looks for a record among the rows; null when there is nothing to compare.
    std::unique_ptr<const KeyMatcher> matcher;
};
