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
/// of a type that is never ordered (Raw, Block) are all equal. The record may be one of another table: its
/// columns of the same numbers are looked at, in the order of the columns given, and none behind one that
/// differs from the key, so that it may lack those.
///
/// The predicate is a copy: it holds one row of the table per key, in the order given, duplicates included,
/// and no later change of the lists reaches it. The time of a call grows with the number of keys. A call
/// allocates nothing, except that a VarChar beside a String, which only a record of another table can have,
/// has its text made. The table is not owned and must outlive the predicate.
class SITO_EXPORT KeyFilterFunc : public FilterFunc
{
    Q_OBJECT
public:
    /// Converts each of \a keys, in order, into a row of \a table whose \a columns hold the values of the
    /// key.
    ///
    /// Throws Exception when a key cannot be converted, see keyToRecord().
    KeyFilterFunc(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                  QObject *parent = nullptr);
    ~KeyFilterFunc() override;

    /// Whether the key columns of \a record equal one of the keys. False when there are no keys; true when
    /// there are keys but no columns. Throws nothing.
    bool filter(const Record &record) const override;

    /// A new row of the table whose key columns hold the values of \a key, in the types of the columns;
    /// values beyond the number of columns are ignored. An absent value makes its column absent; a column
    /// that admits no absent values then keeps its default without an error.
    ///
    /// An empty text that is converted makes a column absent that admits it; copied between equal types
    /// (VarChars also of equal length and size) it stays a value. A double loses its fraction when it becomes
    /// an integer (2147483647.9 gives 2147483647); a NaN or one out of range gives the most negative integer.
    /// An Int64 is limited to the range of an Int. Decimals keep their own scale; XDecimals made of integers
    /// have scale 0, of doubles 6, whatever the column's; but a number that has no room at the column's scale
    /// is refused.
    ///
    /// Throws Exception:
    /// - "Can't convert from %1 to %2" for a value whose type cannot become the column's. An XDecimal is
    ///   named Decimal there, and a text that was to become a Raw or Block is named VarChar;
    /// - "Can't convert from '%1' to %2" for a text that cannot be read as an Int, Int64 or Double;
    /// - "Can't convert double to datetime." and "Can't convert from decimal to datetime.";
    /// - "Key of %1 values for %2 columns" for a key with fewer values than there are columns;
    /// - what decimal and xdecimal throw for a text that is no number or a number that does not fit.
    Record keyToRecord(const KeyValue &key) const;

private:
    Table *table;
    QList<Record> keyRecords;
    QList<int> columns;
    /// Looks for a record among the rows; null when there is nothing to compare.
    std::unique_ptr<const KeyMatcher> matcher;
};
