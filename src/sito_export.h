// SPDX-License-Identifier: MIT
#pragma once

#include <sito_qt.h>

/// Marks what libsito exports.
#if defined(SITO_LIBRARY)
#define SITO_EXPORT Q_DECL_EXPORT
#elif defined(SITO_STATIC)
#define SITO_EXPORT
#else
#define SITO_EXPORT Q_DECL_IMPORT
#endif
