// SPDX-License-Identifier: MIT
#pragma once

#include <filters/valuefilter.h>

/// The base of value filters that a host offers behind a "select" action: it names the action, the host's
/// subclass carries it out.
class SITO_EXPORT SelectFilter : public ValueFilter
{
    Q_OBJECT
public:
    SelectFilter(Table &table, int column, QObject *parent);
    SelectFilter(Table &table, int firstId, const QList<int> &columns, int secondId, QObject *parent);
    ~SelectFilter() override;

    /// What the action is called in a menu or on a button: "Выбрать", translated in the context SelectFilter.
    virtual QString selectActionName() const;
    /// Lets the user choose the keys in the host's own way, in a window over \a parent, which may be null,
    /// and takes the choice into the filter. What that is, and whether it waits for the user, is for the
    /// subclass to say; nothing in this library calls it.
    virtual void select(QWidget *parent) = 0;
};
