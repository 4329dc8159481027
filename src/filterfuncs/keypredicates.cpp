// SPDX-License-Identifier: MIT
#include <filterfuncs/keypredicates.h>

#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

FilterFunc *keypredicates::makeQuickest(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                                        QObject *parent)
{
    // From here on a look-up takes less time than a search in most types of columns.
    constexpr qsizetype manyKeys = 64;
    if (keys.size() >= manyKeys)
        return new KeyFilterFunc_Hash(table, keys, columns, parent);
    return new KeyFilterFunc(table, keys, columns, parent);
}
