// SPDX-License-Identifier: Apache-2.0
//
// Difference tables of the index keys' levels.

#include "extract/FixedMath.h"
#include "extract/Repeat.h"
#include "match/FPMatch.h"

namespace {

constexpr uint8_t CircularLevels(int32_t difference) {
    const int32_t distance = qorfp::Absolute(difference);
    return static_cast<uint8_t>(qorfp::Min(distance, qorfp::kTurnLevels - distance));
}
static_assert(CircularLevels(-29) == 1 && CircularLevels(15) == 15 && CircularLevels(16) == 14,
              "folded at half a turn");

}  // namespace

#define QORFP_CIRCULAR(i) CircularLevels((i)-30)
const uint8_t gbFA[60] = {QORFP_REPEAT_32(QORFP_CIRCULAR, 0), QORFP_REPEAT_16(QORFP_CIRCULAR, 32),
                          QORFP_REPEAT_8(QORFP_CIRCULAR, 48), QORFP_REPEAT_4(QORFP_CIRCULAR, 56)};

#define QORFP_ABSOLUTE(i) qorfp::Absolute((i)-16)
const uint8_t gbFD[32] = {QORFP_REPEAT_32(QORFP_ABSOLUTE, 0)};
