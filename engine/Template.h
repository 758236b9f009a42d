// SPDX-License-Identifier: Apache-2.0
//
// The 512-byte stored template: its layout, and the codec between it and a MinutiaSet.
//
//   0..2    version text "301" (older: "300", the same bytes 3..369, no index, no checksum)
//   3       number of minutiae, 6..60
//   4..     6 bytes a minutia, then zeros up to 368:
//             24-bit little-endian word: y + 256 (bits 0-9), x + 256 (10-19), type (20-21)
//             16-bit little-endian word: confidence (bits 0-3), attributes (4-15)
//             direction
//   369     quality 0..100
//   370..   140 bytes of index keys: key count, zero, 7 bytes a key, zeros
//   510     16-bit little-endian sum of bytes 0..509; written, never verified
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"

namespace qorfp {

constexpr int32_t kTemplateBytes = 512;
constexpr int32_t kTemplateHeadBytes = 370;  ///< what EncodeTemplate writes: bytes 0..369
constexpr int32_t kCountOffset = 3;
constexpr int32_t kEntriesOffset = 4;
constexpr int32_t kEntryBytes = 6;
constexpr int32_t kQualityOffset = 369;
constexpr int32_t kIndexOffset = 370;
constexpr int32_t kIndexBytes = 140;
constexpr int32_t kChecksumOffset = 510;

/// Confidence of a minutia that no second capture has confirmed or denied yet.
constexpr uint8_t kInitialConfidence = 8;

/// True when bytes 0..2 read "301".
bool IsVersion301(const uint8_t* bytes);

/// True when bytes 0..2 read "300".
bool IsVersion300(const uint8_t* bytes);

/// Writes the sum of bytes 0..509 into bytes 510..511.
void WriteChecksum(uint8_t* bytes);

}  // namespace qorfp

extern "C" {

/// Packs `set` into bytes 0..369 of `bytes`; bytes 370..511 are left alone, quality becomes 0.
///
/// A set that sticks out of -256..767 is first shifted just far enough, inside `set` itself.
/// @param confidence one byte a minutia (low 4 bits count), or null: 8 for all
/// @return 0; 1 for fewer than 6 or more than 60 minutiae, or a span of 1024 pixels or more in x
///         or y (nothing written), or a span beyond 32 bits (`bytes` partly written)
int32_t EncodeTemplate(MinutiaSet* set, const uint8_t* confidence, uint8_t* bytes);

/// Unpacks bytes 3.. of `bytes` into `set`. Looks neither at the version text nor at anything
/// behind the minutiae. The whole set is cleared first.
/// @param confidence out, one byte a minutia, or null
/// @return 0; 1 when the count is outside 6..60 (the set then holds the count and no minutia), or
///         at the first minutia of type 0 or 3 (which is left with type, x and y only)
int32_t DecodeTemplate(const uint8_t* bytes, MinutiaSet* set, uint8_t* confidence);

}  // extern "C"
