// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/icons.h>

#include <QKeySequence>
#include <QList>

#include <optional>

class QAction;
class QWidget;

namespace sito {

/// How an action looks and what it is called; the texts are in the source language.
struct ActionSpec
{
    const char *objectName;
    std::optional<Icons::Shape> icon;
    QKeySequence shortcut;
    const char *text;
    /// In a tool bar; null for the text.
    const char *shortText = nullptr;
    /// In tool tips and the status bar; null for none but the text.
    const char *hint = nullptr;

    /// A new action, without its texts, whose shortcut works in the window of \a owner, its parent.
    QAction *make(QWidget &owner) const;
    /// Gives \a action its texts in the user's language; they are looked up in \a context.
    void translate(QAction &action, const char *context) const;
};

/// The actions that a \a Class has as members, and how they look.
template <typename Class>
struct ActionTable
{
    struct Entry
    {
        QAction *Class::*action;
        ActionSpec spec;
    };

    /// As ActionSpec::make() and ActionSpec::translate(), for all.
    void make(Class &actions, QWidget &owner) const
    {
        for (const Entry &entry : entries)
            actions.*entry.action = entry.spec.make(owner);
    }
    void translate(const Class &actions, const char *context) const
    {
        for (const Entry &entry : entries)
            entry.spec.translate(*(actions.*entry.action), context);
    }

    QList<Entry> entries;
};

} // namespace sito
