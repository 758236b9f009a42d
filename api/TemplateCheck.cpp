// SPDX-License-Identifier: Apache-2.0
//
// Checks of stored templates, and the upgrade of the older form.

#include <string.h>

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

using namespace qorfp;

int32_t FPM_CheckTemplateValidity(const uint8_t* bytes) {
    const bool isValid = IsVersion301(bytes) && bytes[kCountOffset] <= kMaxMinutiae;
    return isValid ? QORFP_OK : QORFP_BAD_TEMPLATE;
}

int32_t FPM_Template300to301(uint8_t* bytes) {
    uint8_t upgraded[kTemplateBytes] = {};
    memcpy(upgraded, bytes, kTemplateHeadBytes);
    memcpy(upgraded, "301", 3);
    if (ICreateIndex(g_bFPEngineBuffer, upgraded, upgraded + kIndexOffset) != 0) {
        return 1;
    }
    WriteChecksum(upgraded);
    memcpy(bytes, upgraded, kTemplateBytes);
    return 0;
}
