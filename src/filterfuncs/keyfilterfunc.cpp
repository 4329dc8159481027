// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc.h>

#include <filterfuncs/keymatcher_p.h>
#include <filterfuncs/keytorecord.h>

KeyFilterFunc::KeyFilterFunc(Table *keyTable, const QList<KeyValue> &keys, const QList<int> &keyColumns,
                             QObject *parent)
    : FilterFunc(parent),
      table(keyTable),
      keyRecords(keyconversion::keysToRecords(keyTable, keyColumns, keys)),
      columns(keyColumns)
{
    if (!keyRecords.isEmpty() && !columns.isEmpty())
        matcher = std::make_unique<const KeyMatcher>(table, keyRecords, columns);
}

KeyFilterFunc::~KeyFilterFunc() = default;

bool KeyFilterFunc::filter(const Record &record) const
{
    return matcher ? matcher->contains(record) : !keyRecords.isEmpty();
}

Record KeyFilterFunc::keyToRecord(const KeyValue &key) const
{
    return keyconversion::keyToRecord(table, columns, key);
}
