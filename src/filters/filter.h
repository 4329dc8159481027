// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <QObject>
#include <QString>

class FilterFunc;
class QWidget;

/// What a view attaches to a table to restrict the rows it shows: a switch, a value that can be saved as text
/// and restored, a widget to edit it, and the predicate that applies it to records.
///
/// Switch and value are independent: neither setting nor clearing the value touches the switch, and switching
/// off keeps the value. A new filter is switched off and has no value. A change of the value emits no signal:
/// a host creates a new predicate after each change it makes.
///
/// A filter belongs to its parent or, without one, to its creator, and is used from the thread that owns it.
/// Members and virtual operations keep their order: they are compiled into hosts.
///
/// **Threads.** Used from the thread that owns it, as any QObject; the predicates are for any thread, see
/// FilterFunc.
///
/// **Cost.** What is implemented here takes constant time, but for the slots that enabledChanged() calls.
class SITO_EXPORT Filter : public QObject
{
    Q_OBJECT
    /// Writing it reaches the most derived setEnabled().
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY enabledChanged)
public:
    /// A filter with the second number -1; see firstId().
    Filter(int firstId, QObject *parent);
    Filter(int firstId, int secondId, QObject *parent);
    ~Filter() override;

    /// Whether the filter is switched on; false for a new one.
    bool isEnabled() const { return m_enabled; }

    /// The two numbers given at construction. Only the host gives them a meaning; nothing in this library
    /// reads them.
    int firstId() const { return m_firstId; }
    /// See firstId().
    int secondId() const { return m_secondId; }

    /// A new predicate for the filter's current value; later changes do not affect it. It belongs to
    /// \a parent or, when that is null, to the caller; the filter keeps no pointer to it.
    virtual FilterFunc *createFilterFunc(QObject *parent) const = 0;

    /// A new widget to edit the filter with, a child of \a parent; null for a filter without one.
    virtual QWidget *createFilterWidget(QWidget *parent) = 0;
    /// Applies the user's input in \a widget, one made by createFilterWidget(), to the filter.
    virtual void apply(QWidget *widget) = 0;
    /// Shows the filter's state in \a widget, one made by createFilterWidget().
    virtual void init(QWidget *widget) = 0;

    /// The value for people to read.
    virtual QString text() const = 0;
    /// The filter's display name.
    virtual QString name() const = 0;

    /// Whether the value restricts anything. A filter without a value of its own never does.
    virtual bool hasValue() const;
    /// The value as a text that setValue() restores; empty without a value.
    virtual QString value() const;
    /// Restores the value from a text of value(); an empty one means no value. Does nothing in a filter
    /// without a value of its own.
    virtual void setValue(const QString &value);
    /// Removes the value: calls setValue() with a null text, unless a subclass overrides it. Exceptions of
    /// setValue() pass through.
    virtual void clear();

    /// Switches the filter on or off and emits enabledChanged(). It is deliberately emitted on every call,
    /// also when nothing changes.
    virtual void setEnabled(bool enabled);

Q_SIGNALS:
    /// Emitted by every call of setEnabled(), with its argument.
    void enabledChanged(bool enabled);
    /// For subclasses and hosts to emit; nothing in this library does. The name is spelled so on purpose.
    void asincChanged();

private:
    bool m_enabled = false;
    int m_firstId;
    int m_secondId;
};
