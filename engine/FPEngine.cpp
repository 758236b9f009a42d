// SPDX-License-Identifier: Apache-2.0
//
// Engine dispatch.

#include "engine/FPEngine.h"

#include "extract/FPExtract.h"
#include "match/FPMatch.h"
#include "preprocess/FPPreprocess.h"

namespace {

// Radii of the contrast normalisation, in pixels.
constexpr int32_t kMeanRadius = 4;
constexpr int32_t kDeviationRadius = 4;

constexpr int32_t kHighestScore = 2047;

}  // namespace

int32_t ISetBuffer(uint8_t* /*buffer*/) {
    return 0;
}

int32_t ICreateTemplate(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                        int32_t* quality) {
    Preprocess(width, height, buffer, kMeanRadius, kDeviationRadius);
    return CreateTemplate(buffer, width, height, bytes, quality);
}

int32_t ICreateIndex(uint8_t* buffer, const uint8_t* bytes, uint8_t* indexArea) {
    return CreateIndex(buffer, bytes, indexArea);
}

int32_t IMatch(uint8_t* buffer, const uint8_t* probe, const uint8_t* candidate, int32_t* score) {
    const int32_t raw =
        probe != nullptr ? Match(buffer, probe, candidate) : MatchNext(buffer, candidate);
    *score = raw < kHighestScore ? raw : kHighestScore;
    return 0;
}
