// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// Marks what libsources exports.
#ifdef SOURCES_LIBRARY
#define SOURCES_EXPORT Q_DECL_EXPORT
#else
#define SOURCES_EXPORT Q_DECL_IMPORT
#endif
