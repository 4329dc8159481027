// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>
#include <filterfuncs/keypredicates.h>

#include <QList>
#include <QMetaType>
#include <QString>
#include <QTest>

#include <memory>

using Make = FilterFunc *(*)(Table *, const QList<KeyValue> &, const QList<int> &, QObject *);

template <typename Predicate>
FilterFunc *makeOf(Table *table, const QList<KeyValue> &keys, const QList<int> &columns, QObject *parent)
{
    return new Predicate(table, keys, columns, parent);
}

Q_DECLARE_METATYPE(Make)

/// A predicate of any class.
class Predicate
{
public:
    Predicate(Make make, Table *table, const QList<KeyValue> &keys, const QList<int> &columns)
        : m_func(make(table, keys, columns, nullptr))
    {
    }

    bool filter(const Record &record) const { return m_func->filter(record); }

private:
    const std::unique_ptr<FilterFunc> m_func;
};

/// Rows for the predicates that compare as Field::compare() does: all but the fast one.
inline void addComparingPredicates()
{
    using namespace Qt::StringLiterals;
    QTest::addColumn<Make>("make");
    QTest::addColumn<QString>("name");
    QTest::newRow("general") << Make(makeOf<KeyFilterFunc>) << u"KeyFilterFunc"_s;
    QTest::newRow("hash") << Make(makeOf<KeyFilterFunc_Hash>) << u"KeyFilterFunc_Hash"_s;
    QTest::newRow("quickest") << Make(keypredicates::makeQuickest) << u"KeyFilterFunc"_s;
}
