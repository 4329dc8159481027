// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>
#include <QStringView>

/// How a key becomes a row of the table whose rows it is compared with. Private to the predicates, which
/// share this one routine; the only place of the library where values change their type.
///
/// Every failure is an Exception. A type without a conversion is "Can't convert from %1 to %2", a text that
/// cannot be read as an integer or a double is "Can't convert from '%1' to %2"; what the number types throw
/// passes through.
namespace keyconversion {

/// Stores the value of \a source into \a target, converted to its type. An absent source makes the target
/// absent, whatever the types; a target that admits no absent values then keeps what it holds.
void assignField(Field &target, const Field &source);

/// Stores what \a text says in the type of \a target. An empty text makes a target absent whose column admits
/// it, whatever its type.
void assignText(Field &target, QStringView text);

/// A new row of \a table whose column columns[i] holds the i-th value of \a key; the other columns hold what
/// a new row holds. Values beyond the number of columns are ignored.
///
/// Throws Exception "Key of %1 values for %2 columns" when there are fewer values than columns, and what
/// assignField() throws; the row is given back then.
Record keyToRecord(const Table *table, const QList<int> &columns, const KeyValue &key);

} // namespace keyconversion
