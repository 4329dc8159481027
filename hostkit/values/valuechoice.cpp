// SPDX-License-Identifier: MIT
#include <hostkit/values/valuechoice_p.h>

namespace sito {

QList<KeyValue> ValueChoice::excludedKeys(qsizetype columnCount) const
{
    QList<KeyValue> keys;
    for (size_t number = 0; number < unchecked.size(); ++number) {
        if (unchecked[number])
            keys.append(values->key(qsizetype(number)));
    }
    for (qsizetype i = 0; i < givenKeys.size(); ++i) {
        if (values->keyIndexes()[size_t(i)] >= 0)
            continue;
        // Without the values that predicates ignore: keys of one set are compared value by value.
        KeyValue key = givenKeys.at(i);
        key.remove(columnCount, key.size() - columnCount);
        keys.append(key);
    }
    return keys;
}

} // namespace sito
