// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>

#include <QList>
#include <QString>

class Table;
class ValueFilter;

namespace sito {

/// Checks of columns, and of texts from which keys are made. Each function throws Exception with a message
/// that names the column. Where there is a parameter \a key, it is the text of the whole key, for the
/// message.
namespace keychecks {

/// Throws for a Raw or Block column: its values always compare equal, so any key would match every row.
void requireComparable(const Table &table, const QList<int> &columns);

/// Throws unless a key of \a fields values is one for \a columns columns.
void requireFieldCount(qsizetype fields, qsizetype columns, const QString &key);

/// Throws for a key with fewer values than \a columns: it cannot be compared with other keys of these
/// columns.
void requireWhole(const KeyValue &key, qsizetype columns);

/// Throws where \a column of \a table admits no absent values.
void requireNullable(const Table &table, int column, const QString &key);

/// Whether \a field, which was read from \a text by FieldValue::fromText(), holds the value in \a text.
bool isFaithful(const FieldValue &field, const QString &text);

/// Throws because \a text cannot be a value of \a column.
[[noreturn]] void refuseValue(const Table &table, int column, const QString &text, const QString &key);

/// The key that \a filter 's keyToValue() writes as \a value, checked by all of the above.
KeyValue keyFromText(const ValueFilter &filter, const QString &value);

} // namespace keychecks

} // namespace sito
