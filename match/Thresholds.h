// SPDX-License-Identifier: Apache-2.0
//
// The score thresholds of matching.
#pragma once

#include <stdint.h>

extern "C" {

/// Levels 1..5 of the public calls accept at entries 1..5. Entry 5 also gates fusion, entry 6
/// improvement and the early end of a search; 0 and 7 are not used.
extern const int32_t gnMatchThr[8];

}  // extern "C"

namespace qorfp {

/// Security levels of the public calls.
constexpr int32_t kLowestLevel = 1;
constexpr int32_t kHighestLevel = 5;

constexpr int32_t kFusionThreshold = 5;   ///< index into gnMatchThr
constexpr int32_t kCertainThreshold = 6;  ///< index into gnMatchThr: no doubt left

}  // namespace qorfp
