// SPDX-License-Identifier: Apache-2.0
//
// Engine dispatch: the thin layer between the API and the algorithms. Each call takes the work
// buffer (204,800 bytes, 8-aligned) first and lays its own records out in it; nothing else is kept
// between calls. What a call leaves in the buffer for the next one is said at the call.
#pragma once

#include <stdint.h>

#include "engine/Template.h"
#include "engine/Work.h"

extern "C" {

/// The buffer hook of the initialisation: the buffer is static, so nothing is registered.
/// @return 0
int32_t ISetBuffer(uint8_t* buffer);

/// Makes bytes 0..369 of a template from the grey image at the start of `buffer`
/// (width x height bytes, row-major; destroyed).
/// @param quality out, 0..100: mean coherence of the reliable blocks; written on failure too
/// @return 0, or 1 when no usable template could be made
int32_t ICreateTemplate(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                        int32_t* quality);

/// Writes the 140-byte index area of a template (its bytes 370..509).
/// @return 0, or non-zero when the template does not decode (nothing written)
int32_t ICreateIndex(uint8_t* buffer, const uint8_t* bytes, uint8_t* indexArea);

/// Matches two templates, 0..2047 into `*score` (0 when either does not decode).
/// @param probe decoded and prepared as the reference side, which stays in `buffer`; null: go on
///        with the one that the last call prepared there
/// @return 0
int32_t IMatch(uint8_t* buffer, const uint8_t* probe, const uint8_t* candidate, int32_t* score);

}  // extern "C"
