// SPDX-License-Identifier: MIT
#pragma once

#include <data/fieldconstvalue.h>
#include <data/keyvalue.h>
#include <filters/valuefilter.h>

#include <QMetaMethod>
#include <QMetaProperty>
#include <QStringList>

#include <initializer_list>

/// Completes \a Base, an abstract filter, by a name and the lack of a widget, and changes nothing else.
template <typename Base>
class Completed : public Base
{
public:
    using Base::Base;

    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString name() const override { return QStringLiteral("plain"); }
};

using PlainFilter = Completed<ValueFilter>;

/// A key of integer constants.
inline KeyValue intKey(std::initializer_list<int> numbers)
{
    KeyValue key;
    for (const int number : numbers)
        key.append(FieldConstValue(number));
    return key;
}

/// The fields of every key joined with ",", key after key: what the keys look like, made without a filter.
inline QStringList shown(const QList<KeyValue> &keys)
{
    QStringList result;
    for (const KeyValue &key : keys) {
        QStringList fields;
        for (const FieldValue &field : key)
            fields.append(field.toText());
        result.append(fields.join(u','));
    }
    return result;
}

/// Everything that the meta-object \a meta adds to that of its base class.
inline QStringList ownSurface(const QMetaObject &meta)
{
    QStringList result;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        result.append(QString::fromLatin1(meta.method(i).methodSignature()));
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
        result.append(QString::fromLatin1(meta.property(i).name()));
    for (int i = meta.enumeratorOffset(); i < meta.enumeratorCount(); ++i)
        result.append(QString::fromLatin1(meta.enumerator(i).name()));
    for (int i = meta.classInfoOffset(); i < meta.classInfoCount(); ++i)
        result.append(QString::fromLatin1(meta.classInfo(i).name()));
    for (int i = 0; i < meta.constructorCount(); ++i)
        result.append(QString::fromLatin1(meta.constructor(i).methodSignature()));
    return result;
}
