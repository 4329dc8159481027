// SPDX-License-Identifier: MIT
#pragma once

#include <sito_qt.h>

/// Marks what the database library exports: the operations that these headers only declare.
#if defined(DATABASE_LIBRARY)
#define DATABASE_EXPORT Q_DECL_EXPORT
#elif defined(SITO_STATIC)
#define DATABASE_EXPORT
#else
#define DATABASE_EXPORT Q_DECL_IMPORT
#endif
