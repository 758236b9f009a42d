// SPDX-License-Identifier: Apache-2.0
//
// Enrolment behind the exported call: three captures become one finished template.

#include <string.h>

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

using namespace qorfp;

int32_t FPM_GenFeature(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out) {
    if (a == nullptr || b == nullptr || c == nullptr || out == nullptr) {
        return QORFP_BAD_ARGUMENT;
    }
    uint8_t heads[3 * kTemplateHeadBytes];
    memcpy(heads, a, kTemplateHeadBytes);
    memcpy(heads + kTemplateHeadBytes, b, kTemplateHeadBytes);
    memcpy(heads + 2 * kTemplateHeadBytes, c, kTemplateHeadBytes);
    if (IEnroll(g_bFPEngineBuffer, heads) != 0) {
        return QORFP_FAILED;
    }
    memcpy(out, heads, kTemplateHeadBytes);
    if (ICreateIndex(g_bFPEngineBuffer, out, out + kIndexOffset) != 0) {
        return QORFP_FAILED;
    }
    // Read only now: where `out` is one of the inputs, its quality byte is 0 and the minutia count
    // decides.
    const int32_t quality = (FPM_GetQuality(a) + FPM_GetQuality(b) + FPM_GetQuality(c)) / 3;
    out[kQualityOffset] = static_cast<uint8_t>(quality);
    WriteChecksum(out);
    return QORFP_OK;
}
