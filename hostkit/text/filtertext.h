// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

class Filter;

namespace sito {

/// What \a filter is called in menus and in the panel: its own name or, where it has none, what it does.
HOSTKIT_EXPORT QString displayName(const Filter &filter);
/// The value of \a filter for a person to read.
HOSTKIT_EXPORT QString displayText(const Filter &filter);

} // namespace sito
