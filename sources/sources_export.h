// SPDX-License-Identifier: MIT
#pragma once

#include <sito_qt.h>

/// Marks what libsito-sources exports.
#if defined(SOURCES_LIBRARY)
#define SOURCES_EXPORT Q_DECL_EXPORT
#elif defined(SITO_STATIC)
#define SOURCES_EXPORT
#else
#define SOURCES_EXPORT Q_DECL_IMPORT
#endif
