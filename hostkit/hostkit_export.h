// SPDX-License-Identifier: MIT
#pragma once

#include <sito_qt.h>

/// Marks what libsito-hostkit exports.
#if defined(HOSTKIT_LIBRARY)
#define HOSTKIT_EXPORT Q_DECL_EXPORT
#elif defined(SITO_STATIC)
#define HOSTKIT_EXPORT
#else
#define HOSTKIT_EXPORT Q_DECL_IMPORT
#endif
