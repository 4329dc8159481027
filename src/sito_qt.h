// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

// The headers name classes of Qt as global ones, and the names of classes are part of the binary interface.
#ifdef QT_NAMESPACE
#error "Sito does not support a Qt with QT_NAMESPACE"
#endif
