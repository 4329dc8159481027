// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

class Filter;

namespace sito {

/// The name of \a filter in menus and in the panel: its own or, when it has none, a description of what it
/// does.
HOSTKIT_EXPORT QString displayName(const Filter &filter);
/// The value of \a filter, for users.
HOSTKIT_EXPORT QString displayText(const Filter &filter);

} // namespace sito
