// SPDX-License-Identifier: Apache-2.0
//
// Follows the library's Match, but asks Alignment for its pairs.
#include "tools/qorfp/MatchedPairs.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "engine/Template.h"
#include "match/FPMatch.h"

namespace qorfp::cli {
namespace {

constexpr int kDirections = 240;
constexpr double kDegreesPerDirection = 1.5;
constexpr int kHighestScore = 2047;

MinutiaView ViewOf(const Minutia& minutia) {
    MinutiaView view;
    view.x = minutia.x;
    view.y = minutia.y;
    view.type = minutia.type;
    view.direction = minutia.direction;
    view.disorder = DisorderOf(minutia.attributes);
    view.ridgePeriod = RidgeDensityOf(minutia.attributes);
    return view;
}

}  // namespace

MatchedPairs FindMatchedPairs(const TemplateBytes& first, const TemplateBytes& second) {
    MatchedPairs found;
    const auto context = std::make_unique<MatchContext>();
    if (DecodeTemplate(first.data(), &context->reference, nullptr) != 0 ||
        DecodeTemplate(second.data(), &context->probe, nullptr) != 0 ||
        MakeFirstInfo(context.get()) == 0) {
        return found;
    }
    MatchResult result = {};
    found.score = std::clamp(Alignment(context.get(), &result, 1), 0, kHighestScore);
    found.turn = result.angle;
    found.moveX = result.xShift;
    found.moveY = result.yShift;
    for (int32_t i = 0; i < result.pairCount; ++i) {
        found.pairs.push_back({static_cast<size_t>(result.referenceIndices[i]),
                               static_cast<size_t>(result.probeIndices[i])});
    }
    for (int32_t i = 0; i < context->probe.count; ++i) {
        found.aligned.push_back(ViewOf(context->probe.minutiae[i]));
    }
    return found;
}

std::string AlignmentText(const MatchedPairs& match) {
    const bool isClockwise = match.turn <= kDirections / 2;
    const double degrees =
        (isClockwise ? match.turn : kDirections - match.turn) * kDegreesPerDirection;
    char text[96];
    std::snprintf(text, sizeof text, "turned by %.1f degrees%s, moved by %d, %d pixels", degrees,
                  match.turn == 0 ? ""
                  : isClockwise   ? " clockwise"
                                  : " counter-clockwise",
                  match.moveX, match.moveY);
    return text;
}

}  // namespace qorfp::cli
