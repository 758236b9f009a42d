// SPDX-License-Identifier: Apache-2.0
//
// Matching and index scores behind the exported calls.

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

int32_t FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score) {
    return IMatch(g_bFPEngineBuffer, probe, candidate, score);
}

int32_t FPM_SetIndex(const uint8_t* probe) {
    return ISetIndex(g_bFPEngineBuffer, probe);
}

int32_t FPM_GetScoreA(const uint8_t* list, int32_t count, int32_t* scores) {
    return IGetScoreA(g_bFPEngineBuffer, list, count, scores);
}

int32_t FPM_GetScoreB(const uint8_t* const* list, int32_t count, int32_t* scores) {
    return IGetScoreB(g_bFPEngineBuffer, list, count, scores);
}
