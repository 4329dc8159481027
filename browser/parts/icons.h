// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

namespace sito {

/// The program's own icons. They are drawn from paths when they are painted, in the palette's colours at that
/// time: sharp at any scale, and right in a palette that has changed since.
namespace Icons {

enum class Shape {
    Add,
    Close,
    Columns,
    Copy,
    Edit,
    Export,
    Filter,
    FilterOff,
    Information,
    Open,
    Server,
    Session,
    Sets,
    Settings,
    Table,
    Trash,
    Warning,
};

QIcon icon(Shape shape);

/// The icon of the program: a sieve.
QIcon application();

} // namespace Icons

} // namespace sito
