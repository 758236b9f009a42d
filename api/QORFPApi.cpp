// SPDX-License-Identifier: Apache-2.0
//
// The exported calls: lock, check, forward, unlock.

#include "include/QORFPApi.h"

#include <stdio.h>
#include <string.h>

#include "api/FingerCheck.h"
#include "api/Fpm.h"
#include "api/Log.h"
#include "api/State.h"
#include "engine/FPEngine.h"

namespace {

using namespace qorfp;

constexpr char kAlgorithmName[] = "AI3";
constexpr char kAlgorithmVersion[] = "V1.1.3";
constexpr char kBuildTime[] = "2020-08-20 15:23:14";
static_assert(sizeof(kBuildTime) == QORFP_BUILD_TIME_BYTES, "as the header says");

constexpr int32_t kLowestLevel = 1;
constexpr int32_t kHighestLevel = 5;

constexpr int32_t kMinFingerPercentage = 55;

// Upper limits only: sizes of 0 and below pass here and hold no pixel.
bool IsImageSizeAllowed(int32_t width, int32_t height) {
    return width <= QORFP_MAX_WIDTH && height <= QORFP_MAX_HEIGHT && width % 4 == 0 &&
           height % 4 == 0;
}

uint32_t Extract(const uint8_t* image, int32_t width, int32_t height, uint8_t* templateOut,
                 int32_t* quality) {
    if (g_isQrBio == 0) {
        return QORFP_NOT_INITIALISED;
    }
    if (image == nullptr || templateOut == nullptr || quality == nullptr ||
        !IsImageSizeAllowed(width, height)) {
        return QORFP_BAD_ARGUMENT;
    }
    if (width > 0 && height > 0) {
        memcpy(g_bFPEngineBuffer, image, static_cast<size_t>(width) * static_cast<size_t>(height));
    }
    if (width == kSensorWidth && height == kSensorHeight) {
        FPM_fpc1011_scale_image(g_bFPEngineBuffer);
        width = kScaledWidth;
        height = kScaledHeight;
    }
    const int32_t result = FPM_FeatureExtract(g_bFPEngineBuffer, width, height, templateOut);
    if (result == QORFP_OK) {
        *quality = FPM_GetQuality(templateOut);
    }
    return static_cast<uint32_t>(result);
}

bool HasKnownVersion(const uint8_t* bytes) {
    return IsVersion300(bytes) || IsVersion301(bytes);
}

uint32_t Verify(const uint8_t* t1, const uint8_t* t2, int32_t level, int32_t* score) {
    if (t1 == nullptr || t2 == nullptr || score == nullptr || level < kLowestLevel ||
        level > kHighestLevel) {
        return QORFP_BAD_ARGUMENT;
    }
    if (!HasKnownVersion(t1) || !HasKnownVersion(t2)) {
        return QORFP_BAD_TEMPLATE;
    }
    if (FPM_Match(t1, t2, score) != 0) {
        return QORFP_FAILED;
    }
    return *score < gnMatchThr[level] ? QORFP_FAILED : QORFP_OK;
}

uint32_t CheckFinger(const uint8_t* image, uint32_t width, int32_t height) {
    // The width is unsigned: a negative one arrives as a huge one and is refused.
    if (width > QORFP_MAX_WIDTH || !IsImageSizeAllowed(static_cast<int32_t>(width), height)) {
        return QORFP_BAD_ARGUMENT;
    }
    const int32_t signedWidth = static_cast<int32_t>(width);
    if (image == nullptr && HasFingerBlocks(signedWidth, height)) {
        return QORFP_BAD_ARGUMENT;
    }
    const int32_t percentage = FingerPercentage(image, signedWidth, height);
    return percentage >= kMinFingerPercentage ? QORFP_OK : QORFP_NO_FINGER;
}

}  // namespace

uint32_t QORFP_Initial(int32_t /*reserved*/) {
    g_isQrBio = 0;
    ISetBuffer(g_bFPEngineBuffer);
    LOGEE(1, "%s_%d_QORFP_Initial SUCC", "QORFP_Initial", 431);
    g_isQrBio = 1;
    return QORFP_OK;
}

uint32_t QORFP_Version(char* dst) {
    if (dst == nullptr) {
        return QORFP_NULL_OUTPUT;
    }
    snprintf(dst, QORFP_VERSION_BYTES, "MEL_FPR_%s_%s", kAlgorithmName, kAlgorithmVersion);
    return QORFP_OK;
}

uint32_t QORFP_BuildTime(char* dst) {
    if (dst == nullptr) {
        return QORFP_NULL_OUTPUT;
    }
    memcpy(dst, kBuildTime, sizeof(kBuildTime));
    return QORFP_OK;
}

uint32_t QORFP_Extract(const uint8_t* image, int32_t width, int32_t height, uint8_t* templateOut,
                       int32_t* quality) {
    const EngineLock lock;
    return Extract(image, width, height, templateOut, quality);
}

uint32_t QORFP_Verify(const uint8_t* t1, const uint8_t* t2, int32_t level, int32_t* score) {
    const EngineLock lock;
    return Verify(t1, t2, level, score);
}

uint32_t QORFP_CheckFinger(const uint8_t* image, uint32_t width, int32_t height) {
    const EngineLock lock;
    return CheckFinger(image, width, height);
}
