// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the fast index score: how much of a stored template's key structure reappears in
// a probe's, at one consistent rotation.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/model/ModelIndexKeys.h"

namespace model {

/// The keys of a 140-byte index area; none when its key count is above 19.
std::vector<IndexKey> UnpackIndexArea(const std::vector<uint8_t>& area);

/// Score of one index area against the probe's keys.
uint32_t IndexScore(const std::vector<IndexKey>& probe, const std::vector<uint8_t>& area);

/// The same with the area of a 512-byte template.
uint32_t IndexScoreOfTemplate(const std::vector<IndexKey>& probe, const TemplateBytes& bytes);

}  // namespace model
