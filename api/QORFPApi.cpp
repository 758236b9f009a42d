// SPDX-License-Identifier: Apache-2.0
//
// The exported calls: lock, check, forward, unlock.

#include "include/QORFPApi.h"

#include <stdio.h>
#include <string.h>

#include "api/FingerCheck.h"
#include "api/Fpm.h"
#include "api/Log.h"
#include "api/Search.h"
#include "api/State.h"
#include "engine/FPEngine.h"
#include "match/IndexWorkspace.h"
#include "match/Thresholds.h"

namespace {

using namespace qorfp;

constexpr char kAlgorithmName[] = "AI3";
constexpr char kAlgorithmVersion[] = "V1.1.3";
constexpr char kBuildTime[] = "2020-08-20 15:23:14";
static_assert(sizeof(kBuildTime) == QORFP_BUILD_TIME_BYTES, "as the header says");

constexpr int32_t kMinFingerPercentage = 55;

constexpr int32_t kMinEnrolledTemplates = 2;

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
    if (width == kSensorWidth && height == kSensorHeight) {
        FPM_ImageScaleTo508(kSensorWidth, kSensorHeight, image, kScaledWidth, kScaledHeight,
                            g_bFPEngineBuffer);
        image = g_bFPEngineBuffer;
        width = kScaledWidth;
        height = kScaledHeight;
    }
    const int32_t result = ExtractFrom(image, width, height, templateOut);
    if (result == QORFP_OK) {
        *quality = FPM_GetQuality(templateOut);
    }
    return static_cast<uint32_t>(result);
}

uint32_t Enroll(const uint8_t* templates, int32_t n, uint8_t* templateOut, int32_t* quality) {
    if (g_isQrBio == 0) {
        return QORFP_NOT_INITIALISED;
    }
    if (templates == nullptr || templateOut == nullptr || quality == nullptr ||
        n < kMinEnrolledTemplates) {
        return QORFP_BAD_ARGUMENT;
    }
    const uint8_t* second = templates + kTemplateBytes;
    // Of two templates, the first stands in for the missing third.
    const uint8_t* third = n == kMinEnrolledTemplates ? templates : second + kTemplateBytes;
    const int32_t result = FPM_GenFeature(templates, second, third, templateOut);
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

bool HasUsableIndex(const uint8_t* bytes) {
    const uint8_t* area = bytes + kIndexOffset;
    return area[0] >= 1 && area[0] <= kMaxStoredKeys && area[1] == 0;
}

uint32_t CheckFeature(uint8_t* bytes, int32_t* converted) {
    if (bytes == nullptr || converted == nullptr) {
        return QORFP_BAD_ARGUMENT;
    }
    *converted = 0;
    if (IsVersion301(bytes) && bytes[kCountOffset] > 0) {
        const bool isUsable = bytes[kCountOffset] <= kMaxMinutiae && HasUsableIndex(bytes);
        return isUsable ? QORFP_OK : QORFP_BAD_TEMPLATE;
    }
    // A "301" template without minutiae is treated like an old one.
    if (!HasKnownVersion(bytes) || FPM_Template300to301(bytes) != 0) {
        return QORFP_BAD_TEMPLATE;
    }
    *converted = 1;
    return QORFP_OK;
}

uint32_t Improve(const uint8_t* sample, uint8_t* enrolled) {
    if (sample == nullptr || enrolled == nullptr) {
        return QORFP_BAD_ARGUMENT;
    }
    // Deliberate: the enrolled template is not tested. One whose minutiae decode is improved
    // whatever its version text, and becomes "301".
    if (FPM_CheckTemplateValidity(sample) != QORFP_OK) {
        return QORFP_BAD_TEMPLATE;
    }
    return FPM_Improve(sample, enrolled) == 0 ? QORFP_OK : QORFP_FAILED;
}

void LogIdentifyProbe() {
    LOGEE(1, "%s_%d", "QORFP_Identify", 662);
}

void LogIdentifyEntry(uint32_t entry, const uint8_t* bytes) {
    LOGEE(1, "%s_%d_%d  [%02x][%02x][%02x][%02x]", "QORFP_Identify", 676,
          static_cast<int32_t>(entry), bytes[0], bytes[1], bytes[2], bytes[3]);
}

void LogSearchProbe() {
    LOGEE(1, "%s_%d", "QORFP_Search", 800);
}

void LogSearchEntry(uint32_t entry, const uint8_t* /*bytes*/) {
    LOGEE(1, "%s_%d_%d TemplateValidity", "QORFP_Search", 808, static_cast<int32_t>(entry));
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

uint32_t QORFP_Enroll(const uint8_t* templates, int32_t n, uint8_t* templateOut, int32_t* quality) {
    const EngineLock lock;
    return Enroll(templates, n, templateOut, quality);
}

uint32_t QORFP_Identify(const uint8_t* probe, const uint8_t* const* list, uint32_t count,
                        uint32_t level, uint32_t* index, int32_t* score) {
    const CandidateArrays arrays(count);
    const EngineLock lock;
    return SearchList(probe, TemplateList::OfPointers(list), count, level, arrays,
                      {LogIdentifyProbe, LogIdentifyEntry}, index, score);
}

uint32_t QORFP_Search(const uint8_t* probe, const uint8_t* list, uint32_t count, uint32_t level,
                      uint32_t* index, int32_t* score) {
    const CandidateArrays arrays(count);
    const EngineLock lock;
    return SearchList(probe, TemplateList::Contiguous(list), count, level, arrays,
                      {LogSearchProbe, LogSearchEntry}, index, score);
}

uint32_t QORFP_CheckFeature(uint8_t* templateInOut, int32_t* converted) {
    const EngineLock lock;
    return CheckFeature(templateInOut, converted);
}

uint32_t QORFP_Improve(const uint8_t* sample, uint8_t* enrolled) {
    const EngineLock lock;
    return Improve(sample, enrolled);
}
