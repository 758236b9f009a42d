// SPDX-License-Identifier: Apache-2.0
//
// Log lines on standard output. Level 0 prints nothing, any other level prints; the library logs
// at level 1. Every line ends with a newline and one blank, so the next line starts with a blank.
#pragma once

#include <stdint.h>

extern "C" {

/// Prints "[QOR_FPR]:" and the formatted text; what does not fit 1,023 characters is cut.
/// @return 0
__attribute__((format(printf, 2, 3))) int32_t LOGEE(int32_t level, const char* format, ...);

/// Prints a title line and a hex dump, "%02x." a byte, 16 bytes a line. Kept as a diagnostic.
/// @return 0
int32_t LOGHEX(int32_t level, const char* title, const uint8_t* data, int32_t length);

}  // extern "C"
