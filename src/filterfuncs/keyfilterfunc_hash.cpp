// SPDX-License-Identifier: MIT
#include <filterfuncs/keyfilterfunc_hash.h>

#include <filterfuncs/keyhash_p.h>
#include <filterfuncs/keytorecord.h>

KeyFilterFunc_Hash::KeyFilterFunc_Hash(Table *keyTable, const QList<KeyValue> &keys,
                                       const QList<int> &keyColumns, QObject *parent)
    : FilterFunc(parent),
      table(keyTable),
      keyRecords(keyconversion::keysToRecords(keyTable, keyColumns, keys)),
      columns(keyColumns)
{
    if (!keyRecords.isEmpty() && !columns.isEmpty())
        hash = std::make_unique<const KeyHash>(table, keyRecords, columns);
}

KeyFilterFunc_Hash::~KeyFilterFunc_Hash() = default;

bool KeyFilterFunc_Hash::filter(const Record &record) const
{
    return hash ? hash->contains(record) : !keyRecords.isEmpty();
}

Record KeyFilterFunc_Hash::keyToRecord(const KeyValue &key) const
{
    return keyconversion::keyToRecord(table, columns, key);
}
