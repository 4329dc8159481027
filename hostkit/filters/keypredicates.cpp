// SPDX-License-Identifier: MIT
#include <hostkit/filters/keypredicates_p.h>

#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

namespace sito {

FilterFunc *keypredicates::make(Table *table, const QList<KeyValue> &keys, const QList<int> &columns,
                                QObject *parent)
{
    constexpr qsizetype manyKeys = 64;
    if (keys.size() >= manyKeys)
        return new KeyFilterFunc_Hash(table, keys, columns, parent);
    return new KeyFilterFunc(table, keys, columns, parent);
}

} // namespace sito
