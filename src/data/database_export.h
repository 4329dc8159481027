// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

/// Marks what the database library exports: the operations that these headers only declare.
#ifdef DATABASE_LIBRARY
#define DATABASE_EXPORT Q_DECL_EXPORT
#else
#define DATABASE_EXPORT Q_DECL_IMPORT
#endif
