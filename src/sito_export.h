// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// Marks what libsito exports.
#ifdef SITO_LIBRARY
#define SITO_EXPORT Q_DECL_EXPORT
#else
#define SITO_EXPORT Q_DECL_IMPORT
#endif
