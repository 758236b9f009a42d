// SPDX-License-Identifier: Apache-2.0
//
// 1:1 matching behind the exported calls, and the thresholds of all matching.

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

const int32_t gnMatchThr[8] = {140, 150, 165, 180, 195, 210, 225, 240};

int32_t FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score) {
    return IMatch(g_bFPEngineBuffer, probe, candidate, score);
}
