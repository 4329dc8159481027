// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

namespace sito {

/// The icon of the program: a sieve.
QIcon applicationIcon();

} // namespace sito
