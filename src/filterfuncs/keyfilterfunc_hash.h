// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/filterfunc.h>

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>

#include <memory>

class KeyHash;
class Table;

/// The predicate over a set of keys for hosts with many of them: the answers are exactly those of
/// KeyFilterFunc over the same arguments, for every column type, and the time of a call does not grow with
/// the number of keys.
///
/// Some cases take longer. Every call compares the keys that hold a NaN, which equals every double. A record
/// that holds a NaN, and a record of another table, is compared with all keys. An XDecimal is looked up by
/// comparisons, in a time that grows with the logarithm of the number of keys.
///
/// The predicate is a copy: it holds one row of the table per key, in the order given, duplicates included.
/// The table is not owned and must outlive the predicate.
///
/// **Threads.** As FilterFunc: several threads may call one predicate at once as long as nobody writes the
/// rows.
///
/// **Cost.** Beside the cases above, the time of a call does not grow with the number of keys; it allocates
/// nothing, as with KeyFilterFunc. Making the predicate makes a row and an entry of the hash table per key.
class SITO_EXPORT KeyFilterFunc_Hash : public FilterFunc
{
    Q_OBJECT
public:
    /// Converts each of \a keys, in order, into a row of \a table whose \a columns hold the values of the
    /// key.
    ///
    /// Throws Exception when a key cannot be converted, see keyconversion::keyToRecord().
    KeyFilterFunc_Hash(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                       QObject *parent = nullptr);
    ~KeyFilterFunc_Hash() override;

    /// As KeyFilterFunc::filter().
    bool filter(const Record &record) const override;

    /// As KeyFilterFunc::keyToRecord().
    Record keyToRecord(const KeyValue &key) const;

private:
    Table *table;
    QList<Record> keyRecords;
    QList<int> columns;
    /// Finds a record among the rows; null when there is nothing to compare.
    std::unique_ptr<const KeyHash> hash;
};
