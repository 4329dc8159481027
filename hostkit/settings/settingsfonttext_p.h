// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

class QFont;

namespace sito::SettingsText {

/// The text of \a font as QFont writes it, which leaves out a part of the font.
QString fontText(const QFont &font);
/// Changes in \a old what \a text says differently from the text of \a old. Returns nothing, and why in
/// \a problem, when \a text is no font.
std::optional<QFont> fontOf(const QFont &old, const QString &text, QString *problem);

} // namespace sito::SettingsText
