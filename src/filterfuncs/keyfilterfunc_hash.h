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
/// Some cases take longer. Keys that hold a NaN, which equals every double, are looked at by every call, and
/// a record that holds one is compared with all keys; so is a record of another table. An XDecimal is looked
/// up by comparing it, in a time that grows with the logarithm of the number of keys.
///
/// The predicate is a copy: it holds one row of the table per key, in the order given, duplicates included. A
/// call allocates nothing, as with KeyFilterFunc; one predicate may be asked from several threads at once as
/// long as nobody writes the rows. The table is not owned and must outlive the predicate.
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
