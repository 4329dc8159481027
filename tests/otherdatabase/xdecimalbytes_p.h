// SPDX-License-Identifier: MIT
#pragma once

#include <data/xdecimal.h>

#include "decimalkernel_p.h"

/// The number in the 16 bytes: the scale and, in the lowest bit, the sign; then the magnitude, highest byte
/// first.
DecimalKernel numberOf(const xdecimal &value);
