// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace sito {

/// The colours of the whole application.
namespace Look {

enum class Scheme {
    /// The scheme of the desktop, also when it changes.
    System,
    Light,
    Dark,
};

/// The names for settings and command lines, in the order of Scheme: "system", "light" and "dark".
QStringList names();
QString name(Scheme scheme);
/// The scheme of that name; System for any other text.
Scheme fromName(const QString &name);

/// Gives the application the colours of \a scheme; the widgets follow at once.
void apply(Scheme scheme);
/// The scheme applied last.
Scheme current();

} // namespace Look

} // namespace sito
