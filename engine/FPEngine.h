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

/// Makes the keys and planes of a probe, which stay in `buffer` for the index scores.
/// @return 0, or non-zero when the probe does not decode (it then has no keys)
int32_t ISetIndex(uint8_t* buffer, const uint8_t* probe);

/// Index scores of `count` candidates against the probe of the last ISetIndex: of index areas of
/// 140 bytes back to back, of templates back to back, and of templates by pointers.
/// @return 0
int32_t IGetScore(uint8_t* buffer, const uint8_t* areas, int32_t count, int32_t* scores);
int32_t IGetScoreA(uint8_t* buffer, const uint8_t* templates, int32_t count, int32_t* scores);
int32_t IGetScoreB(uint8_t* buffer, const uint8_t* const* templates, int32_t count,
                   int32_t* scores);

/// Matches two templates, 0..2047 into `*score` (0 when either does not decode).
/// @param probe decoded and prepared as the reference side, which stays in `buffer`; null: go on
///        with the one that the last call prepared there
/// @return 0
int32_t IMatch(uint8_t* buffer, const uint8_t* probe, const uint8_t* candidate, int32_t* score);

/// Fuses three template heads of 370 bytes, back to back; the result replaces the first.
/// @return 0, or non-zero when they cannot be fused (nothing written)
int32_t IEnroll(uint8_t* buffer, uint8_t* templates);

/// Matches a fresh template with an enrolled one and updates bytes 0..369 of the latter when that
/// makes it better.
/// @param score out, 0..2047
/// @param improved out: 1 when `enrolled` was rewritten, else 0
/// @return 0
int32_t IImprove(uint8_t* buffer, const uint8_t* sample, uint8_t* enrolled, int32_t* score,
                 int32_t* improved);

/// True (1) when an updated template is better than the one it replaces: more minutiae, or a sum of
/// confidences that is higher by 5 or more.
int32_t CheckEffectImprovement(const uint8_t* oldBytes, const uint8_t* newBytes);

}  // extern "C"

namespace qorfp {

/// ICreateTemplate of an image that lies anywhere, as far as it is no larger than those of the public
/// calls: outside of `buffer`, where it stays as it is, or at its start.
int32_t CreateTemplateFrom(const uint8_t* image, uint8_t* buffer, int32_t width, int32_t height,
                           uint8_t* bytes, int32_t* quality);

}  // namespace qorfp
