// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace sito::SettingsText {

/// Whether a text field would change \a c or not show it.
bool isLostInTextFields(QChar c);
/// Writes "\", and every character that a text field would lose, as "\\", "\n", "\u0001".
QString escaped(const QString &text);
/// Reverses escaped(). Returns nothing when \a text has a wrong escape.
std::optional<QString> unescaped(const QString &text);

/// Writes "\", and every byte that is no printable ASCII character, as "\\", "\xff".
QString bytesText(const QByteArray &bytes);
/// Reverses bytesText(). Returns nothing, and why in \a problem, when \a text has a wrong escape.
std::optional<QByteArray> bytesOf(const QString &text, QString *problem);

} // namespace sito::SettingsText
