// SPDX-License-Identifier: Apache-2.0
//
// Engine dispatch.

#include "engine/FPEngine.h"

#include <string.h>

#include "extract/FPExtract.h"
#include "extract/PrepareImage.h"
#include "match/FPMatch.h"
#include "preprocess/FPPreprocess.h"
#include "preprocess/Normalize9x9.h"

namespace {

// Radii of the contrast normalisation, in pixels.
constexpr int32_t kMeanRadius = 4;
constexpr int32_t kDeviationRadius = 4;

using namespace qorfp;

constexpr int32_t kHighestScore = 2047;

// By how much an update of no more minutiae must lift the sum of confidences, at the least.
constexpr int32_t kEffectiveGain = 5;

int32_t ClampScore(int32_t score) {
    return score < kHighestScore ? score : kHighestScore;
}

int32_t ConfidenceSum(const uint8_t* bytes) {
    const int32_t count = bytes[kCountOffset] < kMaxMinutiae ? bytes[kCountOffset] : kMaxMinutiae;
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i) {
        sum += bytes[kEntriesOffset + i * kEntryBytes + 3] & 15;
    }
    return sum;
}

}  // namespace

int32_t ISetBuffer(uint8_t* /*buffer*/) {
    return 0;
}

int32_t ICreateTemplate(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                        int32_t* quality) {
    return CreateTemplateFrom(buffer, buffer, width, height, bytes, quality);
}

int32_t qorfp::CreateTemplateFrom(const uint8_t* image, uint8_t* buffer, int32_t width,
                                  int32_t height, uint8_t* bytes, int32_t* quality) {
    static_assert(kMeanRadius == kReachOf9x9 && kDeviationRadius == kReachOf9x9, "as it prepares");
    if (PrepareImage(image, width, height, buffer)) {
        return CreateTemplateOfPrepared(buffer, width, height, bytes, quality);
    }
    if (image != buffer && width > 0 && height > 0) {
        memcpy(buffer, image, static_cast<size_t>(width) * static_cast<size_t>(height));
    }
    Preprocess(width, height, buffer, kMeanRadius, kDeviationRadius);
    return CreateTemplate(buffer, width, height, bytes, quality);
}

int32_t ICreateIndex(uint8_t* buffer, const uint8_t* bytes, uint8_t* indexArea) {
    return CreateIndex(buffer, bytes, indexArea);
}

int32_t IMatch(uint8_t* buffer, const uint8_t* probe, const uint8_t* candidate, int32_t* score) {
    const int32_t raw =
        probe != nullptr ? Match(buffer, probe, candidate) : MatchNext(buffer, candidate);
    *score = ClampScore(raw);
    return 0;
}

int32_t ISetIndex(uint8_t* buffer, const uint8_t* probe) {
    const int32_t error = CreateIndex(buffer, probe, nullptr);
    return error != 0 ? error : CreateTri(buffer);
}

int32_t IGetScore(uint8_t* buffer, const uint8_t* areas, int32_t count, int32_t* scores) {
    return GetIndexScore(buffer, areas, count, scores);
}

int32_t IGetScoreA(uint8_t* buffer, const uint8_t* templates, int32_t count, int32_t* scores) {
    return GetIndexScoreA(buffer, templates, count, scores);
}

int32_t IGetScoreB(uint8_t* buffer, const uint8_t* const* templates, int32_t count,
                   int32_t* scores) {
    return GetIndexScoreB(buffer, templates, count, scores);
}

int32_t IEnroll(uint8_t* buffer, uint8_t* templates) {
    return GeneralizeTemplate(buffer, templates);
}

int32_t CheckEffectImprovement(const uint8_t* oldBytes, const uint8_t* newBytes) {
    if (oldBytes[kCountOffset] < newBytes[kCountOffset]) {
        return 1;
    }
    return ConfidenceSum(newBytes) >= ConfidenceSum(oldBytes) + kEffectiveGain ? 1 : 0;
}

int32_t IImprove(uint8_t* buffer, const uint8_t* sample, uint8_t* enrolled, int32_t* score,
                 int32_t* improved) {
    uint8_t working[kTemplateHeadBytes];
    memcpy(working, enrolled, sizeof(working));
    *score = ClampScore(MatchWithImprove(buffer, sample, working, improved));
    if (*improved == 0) {
        return 0;
    }
    if (CheckEffectImprovement(enrolled, working) != 0) {
        memcpy(enrolled, working, sizeof(working));
    } else {
        *improved = 0;
    }
    return 0;
}
