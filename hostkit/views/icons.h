// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QIcon>

#include <functional>

class QPainter;

namespace sito {

/// Icons for tables and filters. They are drawn whenever they are painted, in the current colours of the
/// palette, so they are sharp at any scale and follow the palette. For the GUI thread.
namespace Icons {

/// What an icon shows.
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

/// The icon of \a shape, in all sizes.
HOSTKIT_EXPORT QIcon icon(Shape shape);

/// An icon that calls \a draw when it is painted. \a draw draws into the square from (0, 0) to (16, 16),
/// which is scaled to the size requested.
HOSTKIT_EXPORT QIcon drawn(const std::function<void(QPainter &, QIcon::Mode)> &draw);

} // namespace Icons

} // namespace sito
