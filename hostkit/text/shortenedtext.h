// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

namespace sito {

/// \a text, or its beginning and "…" when it is longer than \a longest UTF-16 units, of which there is at
/// least one. The result is no longer than that and never ends in half a surrogate pair before the "…".
HOSTKIT_EXPORT QString shortenedText(QString text, qsizetype longest);

} // namespace sito
