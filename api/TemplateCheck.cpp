// SPDX-License-Identifier: Apache-2.0
//
// Checks of stored templates.

#include "api/Fpm.h"
#include "engine/Template.h"

int32_t FPM_CheckTemplateValidity(const uint8_t* bytes) {
    const bool isValid =
        qorfp::IsVersion301(bytes) && bytes[qorfp::kCountOffset] <= qorfp::kMaxMinutiae;
    return isValid ? QORFP_OK : QORFP_BAD_TEMPLATE;
}
