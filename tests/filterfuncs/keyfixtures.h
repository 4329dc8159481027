// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>
#include <data/record.h>

#include <QList>

/// The key that \a record has in \a columns.
inline KeyValue keyOf(const Record &record, const QList<int> &columns)
{
    KeyValue key;
    for (const int column : columns)
        key.append(FieldValue(record.field(column)));
    return key;
}

/// The plainest loop: whether \a record equals one of \a keys by Field::compare().
inline bool equalsAKey(const Record &record, const QList<Record> &keys, const QList<int> &columns)
{
    for (const Record &key : keys) {
        bool equal = true;
        for (const int column : columns)
            equal = equal && record.field(column).compare(key.field(column)) == 0;
        if (equal)
            return true;
    }
    return false;
}
