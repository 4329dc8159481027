// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// \a text in one line that a terminal shows as it is: control characters become U+FFFD.
QString printable(QString text);
