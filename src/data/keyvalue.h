// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldvalue.h>

#include <QList>

/// A key: one value per key column, in the order of the columns. Implicitly shared, as any QList.
///
/// **Threads.** As any QList: a key must not be changed in one thread while another one uses it.
///
/// **Cost.** A copy takes constant time. A comparison ends at the first field that differs.
class KeyValue : public QList<FieldValue>
{
public:
    using QList<FieldValue>::QList;

    /// Whether this key sorts before \a other: lexicographic order by Field::compare() over the fields of
    /// this key. Two keys are equal when neither sorts before the other.
    ///
    /// \a other must have at least as many fields as this key. Keys of one column list are strictly ordered
    /// unless one of them holds a NaN, which equals every double.
    inline bool operator<(const KeyValue &other) const;
};

inline bool KeyValue::operator<(const KeyValue &other) const
{
    const FieldValue *mine = constData();
    const FieldValue *theirs = other.constData();
    for (const FieldValue *end = mine + size(); mine != end; ++mine, ++theirs) {
        // Most keys are made of integers: these are compared without a call.
        if (mine->def->type == FieldType::Int && theirs->def->type == FieldType::Int && mine->isPresent() &&
            theirs->isPresent()) {
            const auto a = mine->value<qint32>();
            const auto b = theirs->value<qint32>();
            if (a != b)
                return a < b;
        } else if (const int order = mine->compare(*theirs)) {
            return order < 0;
        }
    }
    return false;
}

static_assert(sizeof(KeyValue) == sizeof(QList<FieldValue>));
Q_DECLARE_TYPEINFO(KeyValue, Q_RELOCATABLE_TYPE);
