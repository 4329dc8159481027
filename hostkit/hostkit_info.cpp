// SPDX-License-Identifier: MIT
#include <hostkit/hostkit_export.h>
