// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/views/icons.h>

#include <QKeySequence>

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

} // namespace sito
