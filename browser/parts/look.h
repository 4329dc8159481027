// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace sito {

/// The colours of the whole application.
namespace Look {

enum class Scheme {
    /// What the desktop says, also when it changes its mind.
    System,
    Light,
    Dark,
};

/// "system", "light", "dark": for settings and command lines.
QString name(Scheme scheme);
/// The scheme of that name; System for any other text.
Scheme fromName(const QString &name);

/// Gives the application the colours of \a scheme; the widgets follow at once.
void apply(Scheme scheme);
/// What was applied last.
Scheme current();

} // namespace Look

} // namespace sito
