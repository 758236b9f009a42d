// SPDX-License-Identifier: Apache-2.0
//
// Extraction behind the exported call: how a template is finished, and its quality.

#include "api/Fpm.h"
#include "api/State.h"
#include "engine/FPEngine.h"

namespace {

using namespace qorfp;

// Quality of a template without a quality byte, by its minutia count.
// clang-format off
constexpr uint8_t kQualityByCount[kMaxMinutiae + 1] = {
      0,   0,   0,   0,                                 //  0..3
      6,   8,  11,  13,  15,  18,  20,  22,             //  4..11
     24,  27,  29,  31,  33,  36,  38,  40,             // 12..19
     43,  45,  47,  49,  52,  54,  56,  59,             // 20..27
     61,  63,  65,  68,  70,  73,  75,  77,             // 28..35
     79,  82,  84,  86,  88,  91,  93,  95,  98,        // 36..44
    100, 100, 100, 100, 100, 100, 100, 100,             // 45..52
    100, 100, 100, 100, 100, 100, 100, 100,             // 53..60
};
// clang-format on

}  // namespace

int32_t FPM_FeatureExtract(const uint8_t* image, int32_t width, int32_t height,
                           uint8_t* templateOut) {
    if (image == nullptr || templateOut == nullptr) {
        return QORFP_BAD_ARGUMENT;
    }
    return ExtractFrom(g_bFPEngineBuffer, width, height, templateOut);
}

int32_t qorfp::ExtractFrom(const uint8_t* image, int32_t width, int32_t height,
                           uint8_t* templateOut) {
    int32_t quality = 0;
    if (CreateTemplateFrom(image, g_bFPEngineBuffer, width, height, templateOut, &quality) != 0) {
        return QORFP_FAILED;
    }
    if (ICreateIndex(g_bFPEngineBuffer, templateOut, templateOut + kIndexOffset) != 0) {
        return QORFP_FAILED;
    }
    templateOut[kQualityOffset] = static_cast<uint8_t>(quality & 255);
    WriteChecksum(templateOut);
    return QORFP_OK;
}

int32_t FPM_GetQuality(const uint8_t* bytes) {
    if (bytes == nullptr || !(IsVersion300(bytes) || IsVersion301(bytes))) {
        return 0;
    }
    const int32_t count = bytes[kCountOffset];
    if (count > kMaxMinutiae) {
        return 0;
    }
    const uint8_t stored = bytes[kQualityOffset];
    return stored != 0 ? stored : kQualityByCount[count];
}
