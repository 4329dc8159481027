// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>

#include <QList>

class FilterFunc;
class QObject;
class Table;

namespace sito {

namespace keypredicates {

/// A new predicate, a child of \a parent, that is true for the records whose \a columns hold one of \a keys: the
/// one of the library's that is quickest for so many. Throws Exception for a key that cannot be converted.
FilterFunc *make(Table *table, const QList<KeyValue> &keys, const QList<int> &columns, QObject *parent);

} // namespace keypredicates

} // namespace sito
