// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

class QColor;

namespace sito::SettingsText {

/// Writes \a color as "#RRGGBB", or as a call like "hsv(0.5, 1, 1, 1)" where that would lose a part of it.
QString colorText(const QColor &color);
/// Reads such a text or the English name of a colour. Returns nothing, and why in \a problem, when \a text is
/// none.
std::optional<QColor> colorOf(const QString &text, QString *problem);

} // namespace sito::SettingsText
