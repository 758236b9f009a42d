// SPDX-License-Identifier: Apache-2.0
//
// Walking along the ridges of the skeleton.

#include "extract/RidgeTrace.h"

#include <stddef.h>

#include "extract/FPTable.h"

namespace {

using namespace qorfp;

constexpr uint8_t kVisited = 254;

uint8_t& PixelAt(const Skeleton& skeleton, Position at) {
    return skeleton.pixels[at.y * skeleton.width + at.x];
}

// The neighbour code of the pixel at `row`.
inline int32_t CodeAt(const uint8_t* row, ptrdiff_t width) {
    const uint8_t* above = row - width;
    const uint8_t* below = row + width;
    // Each neighbour gives one bit of its own value: 254 and 255 read as background, 0 and 1 as
    // ridge.
    return (above[-1] & 128) | (row[-1] & 64) | (below[-1] & 32) | (below[0] & 16) |
           (below[1] & 8) | (row[1] & 4) | (above[1] & 2) | (above[0] >> 1 & 1);
}

}  // namespace

int32_t qorfp::NeighbourCode(const Skeleton& skeleton, Position at) {
    return CodeAt(&PixelAt(skeleton, at), skeleton.width);
}

void qorfp::MarkVisited(const Skeleton& skeleton, Position at) {
    PixelAt(skeleton, at) = kVisited;
}

void qorfp::Unmark(const Skeleton& skeleton, Position at) {
    PixelAt(skeleton, at) &= 1;
}

void qorfp::Unmark(const Skeleton& skeleton, const RidgeTrace& trace) {
    for (int32_t i = 0; i < trace.steps; ++i) {
        skeleton.pixels[trace.passed[i]] &= 1;
    }
}

void qorfp::TraceRidge(const Skeleton& skeleton, Position start, int32_t maxSteps,
                       RidgeTrace* trace) {
    uint8_t* const pixels = skeleton.pixels;
    const int32_t width = skeleton.width;
    const uint32_t innerColumns = static_cast<uint32_t>(width - 2);
    const uint32_t innerRows = static_cast<uint32_t>(skeleton.height - 2);
    int32_t x = start.x;
    int32_t y = start.y;
    int32_t offset = y * width + x;
    int32_t steps = 0;
    bool hitRidge = false;
    // Inside the frame.
    while (steps < maxSteps && static_cast<uint32_t>(x - 1) < innerColumns &&
           static_cast<uint32_t>(y - 1) < innerRows) {
        const int32_t code = CodeAt(pixels + offset, width);
        if (gnBC[code] != 1) {
            hitRidge = gnBC[code] >= 2;
            break;
        }
        pixels[offset] = kVisited;
        trace->passed[steps] = offset;
        ++steps;
        x += gnTX[code];
        y += gnTY[code];
        offset += gnTX[code] + gnTY[code] * width;
    }
    trace->hitRidge = hitRidge;
    trace->steps = steps;
    trace->end = {x, y};
}

int32_t qorfp::FindBranches(const Skeleton& skeleton, Position seed,
                            Position firstPixels[kBranches]) {
    const int32_t code = NeighbourCode(skeleton, seed);
    const int32_t branches = gnBC[code];
    int32_t found = 0;
    bool wasRidge = false;
    for (int32_t place = 0; place < kNeighbours && found < branches && found < kBranches; ++place) {
        if (IsRidgeAt(code, place) && !wasRidge) {
            const Position step = StepIntoRun(code, place);
            firstPixels[found] = {seed.x + step.x, seed.y + step.y};
            ++found;
        }
        wasRidge = IsRidgeAt(code, place);
    }
    return branches;
}

bool qorfp::TraceBranches(const Skeleton& skeleton, Position seed, int32_t maxSteps,
                          Position firstPixels[kBranches], RidgeTrace traces[kBranches]) {
    if (FindBranches(skeleton, seed, firstPixels) < kBranches) {
        return false;
    }
    MarkVisited(skeleton, seed);
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        MarkVisited(skeleton, firstPixels[branch]);
    }
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        TraceRidge(skeleton, firstPixels[branch], maxSteps, &traces[branch]);
    }
    return true;
}

uint8_t qorfp::DirectionBetween(Position from, Position to) {
    return static_cast<uint8_t>(atanB(from.x, from.y, to.x, to.y));
}
