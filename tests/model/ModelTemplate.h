// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the stored template: encoding and decoding of minutia sets, the checksum and the
// quality value. Templates are vectors of at least 370 bytes (512 when finished); byte access is
// bounds-checked.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace model {

using TemplateBytes = std::vector<uint8_t>;

/// Writes bytes 0..369 of `bytes` (which must hold at least 370) and may shift the coordinates in
/// `set`. The set's `count` says how many records are encoded. Uses set.confidence when
/// `withConfidence`, else 8 for every minutia. Returns 0, or 1 on failure.
int32_t EncodeTemplate(MinutiaSet& set, bool withConfidence, TemplateBytes& bytes);

/// Decodes into `set` (cleared first), confidences too. set.minutiae holds the records decoded:
/// `count` of them on success; on failure those before the bad one and the bad one itself with
/// type, x and y only. All further records of a 60-record set would be zero. Returns 0 or 1.
int32_t DecodeTemplate(const TemplateBytes& bytes, MinutiaSet& set);

/// Sum of bytes 0..509 modulo 65536.
uint16_t Checksum(const TemplateBytes& bytes);

/// Writes the checksum into bytes 510 (low) and 511 (high).
void WriteChecksum(TemplateBytes& bytes);

/// The quality 0..100 that a template reports; 0 for an unusable one.
int32_t TemplateQuality(const TemplateBytes& bytes);

}  // namespace model
