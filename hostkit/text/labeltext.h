// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

namespace sito {

/// \a text for a label, a button or a menu, which would take a single "&" for the mark of a mnemonic: each
/// "&" is doubled, so that \a text is shown as it is.
HOSTKIT_EXPORT QString labelText(QString text);

} // namespace sito
