// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>

class Table;

/// How a key becomes a row of the table whose rows it is compared with; the only place of the library where
/// values change their type.
namespace keyconversion {

/// A new row of \a table whose column columns[i] holds the i-th value of \a key, in the type of the column.
/// The other columns hold what a new row holds. Values beyond the number of columns are ignored. An absent
/// value makes its column absent; a column that admits no absent values then keeps its default without an
/// error.
///
/// An empty text that is converted makes a column absent that admits it; copied between equal types (VarChars
/// also of equal length and size) it stays a value. A double loses its fraction when it becomes an integer
/// (2147483647.9 gives 2147483647); a NaN or one out of range gives the most negative integer. An Int64 is
/// limited to the range of an Int. Decimals keep their own scale; XDecimals made of integers have scale 0, of
/// doubles 6, whatever the column's; but a number that has no room at the column's scale is refused.
///
/// Throws Exception, and gives the row back then:
/// - "Can't convert from %1 to %2" for a value whose type cannot become the column's. An XDecimal is named
///   Decimal there, and a text that was to become a Raw or Block is named VarChar;
/// - "Can't convert from '%1' to %2" for a text that cannot be read as an Int, Int64 or Double;
/// - "Can't convert double to datetime." and "Can't convert from decimal to datetime.";
/// - "Key of %1 values for %2 columns" for a key with fewer values than there are columns;
/// - what decimal and xdecimal throw for a text that is no number or a number that does not fit.
SITO_EXPORT Record keyToRecord(const Table *table, const QList<int> &columns, const KeyValue &key);

/// The rows of \a keys in their order, duplicates included. Throws what keyToRecord() throws, and gives the
/// rows made so far back then.
SITO_EXPORT QList<Record> keysToRecords(const Table *table, const QList<int> &columns,
                                        const QList<KeyValue> &keys);

} // namespace keyconversion
