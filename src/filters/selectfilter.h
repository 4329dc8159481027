// SPDX-License-Identifier: MIT
#pragma once

#include <filters/valuefilter.h>

/// The base of value filters that a host offers behind a "select" action. It names the action; the host's
/// subclass implements it.
///
/// **Threads.** As ValueFilter; select() is for the GUI thread.
///
/// **Cost.** As ValueFilter.
class SITO_EXPORT SelectFilter : public ValueFilter
{
    Q_OBJECT
public:
    SelectFilter(Table &table, int column, QObject *parent);
    SelectFilter(Table &table, int firstId, const QList<int> &columns, int secondId, QObject *parent);
    ~SelectFilter() override;

    /// The name of the action in a menu or on a button: "Выбрать", translated in the context SelectFilter.
    virtual QString selectActionName() const;
    /// Lets the user choose the keys in a window over \a parent, which may be null, and applies the choice to
    /// the filter. The subclass decides how, and whether the call waits for the user; nothing in this library
    /// calls it.
    virtual void select(QWidget *parent) = 0;
};
