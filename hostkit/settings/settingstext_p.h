// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <optional>

namespace sito {

/// Texts in which values of one type are edited: exact both ways, the same in every locale; that of a font
/// leaves some of it out.
namespace SettingsText {

/// Whether values of \a type have such a text.
bool isKnown(QMetaType type);
/// The text of \a value, whose type is known.
QString fromValue(const QVariant &value);
/// The value that \a text, an edited text of \a old, means; nothing, and why in \a problem, when there is none.
/// What the text does not tell is as in \a old.
std::optional<QVariant> toValue(const QVariant &old, const QString &text, QString *problem);

/// Whether a text field would change \a c or show nothing of it.
bool isLostInTextFields(QChar c);
/// \a text with "\" and everything that no text editor keeps written as "\\", "\n", "\u0001".
QString escaped(const QString &text);
/// The text of which \a text is the escaped form; nothing when it is none.
std::optional<QString> unescaped(const QString &text);

} // namespace SettingsText

} // namespace sito
