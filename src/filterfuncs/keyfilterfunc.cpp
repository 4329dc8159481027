// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>

#include <filterfuncs/keycompare_p.h>
#include <filterfuncs/keytorecord_p.h>

#include <algorithm>

KeyFilterFunc::KeyFilterFunc(Table *keyTable, const QList<KeyValue> &keys, const QList<int> &keyColumns,
                             QObject *parent)
    : FilterFunc(parent), table(keyTable), columns(keyColumns)
{
    keyRecords.reserve(keys.size());
    for (const KeyValue &key : keys)
        keyRecords.append(keyToRecord(key));
}

KeyFilterFunc::~KeyFilterFunc() = default;

bool KeyFilterFunc::filter(const Record &record) const
{
    return std::any_of(keyRecords.cbegin(), keyRecords.cend(), [&](const Record &key) {
        return std::all_of(columns.cbegin(), columns.cend(), [&](int column) {
            return keycompare::sameField(record.field(column), key.field(column));
        });
    });
}

Record KeyFilterFunc::keyToRecord(const KeyValue &key) const
{
    return keyconversion::keyToRecord(table, columns, key);
}
