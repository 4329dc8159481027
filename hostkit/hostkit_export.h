// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// Marks what libhostkit exports.
#ifdef HOSTKIT_LIBRARY
#define HOSTKIT_EXPORT Q_DECL_EXPORT
#else
#define HOSTKIT_EXPORT Q_DECL_IMPORT
#endif
