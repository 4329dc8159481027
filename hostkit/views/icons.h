// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QIcon>

#include <functional>

class QPainter;

namespace sito {

/// Icons for tables and filters. They are drawn when they are painted, in the palette's colours at that time:
/// sharp at any scale, and right in a palette that has changed since. For the GUI thread.
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

HOSTKIT_EXPORT QIcon icon(Shape shape);

/// An icon that \a draw draws at paint time into the square from (0, 0) to (16, 16), which is scaled to the size
/// that is asked for.
HOSTKIT_EXPORT QIcon drawn(const std::function<void(QPainter &, QIcon::Mode)> &draw);

} // namespace Icons

} // namespace sito
