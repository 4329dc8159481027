// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <data/keyvalue.h>

#include <QList>

class FilterFunc;
class QObject;
class Table;

/// Which of the key predicates to take.
namespace keypredicates {

/// A new predicate, a child of \a parent or, without one, the caller's. Its answers are those of
/// KeyFilterFunc over the same arguments: it is a KeyFilterFunc for few keys, a KeyFilterFunc_Hash for many.
/// KeyFilterFunc_Fast is never made, since its answers may be others: it compares bytes.
///
/// Throws Exception when a key cannot be converted, see keyconversion::keyToRecord().
SITO_EXPORT FilterFunc *makeQuickest(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                                     QObject *parent = nullptr);

} // namespace keypredicates
