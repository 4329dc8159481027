// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace sito {

/// \a text in one line that a terminal shows as it is: control characters become U+FFFD.
QString printable(QString text);

} // namespace sito
