// SPDX-License-Identifier: Apache-2.0
//
// Naive model of minutiae detection: from the skeleton and the block maps to the minutia set, with
// the candidate list after every step.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace model {

/// Candidate::direction of a deleted candidate, and of a ridge too short to have a direction.
constexpr int32_t kNoDirection = 255;

struct Candidate {
    int32_t x = 0;
    int32_t y = 0;
    int32_t type = 0;  // 1 ending, 2 bifurcation
    int32_t direction = kNoDirection;
};

inline bool operator==(const Candidate& a, const Candidate& b) {
    return a.x == b.x && a.y == b.y && a.type == b.type && a.direction == b.direction;
}

using Candidates = std::vector<Candidate>;

/// Finds at most 200 candidates; may erase spurs of the skeleton (their pixels stay 254).
Candidates ScanCandidates(Grid& skeleton, const Grid& directionMap);

/// Deletes pairs of endings across a gap and paints the gap (1) into the skeleton.
void RepairBrokenRidges(Grid& skeleton, Candidates& candidates);

/// Border and background filter, and the final directions.
void RefineCandidates(Grid& skeleton, const Grid& directionMap, Candidates& candidates);

/// Removes the deleted ones.
void CompactCandidates(Candidates& candidates);

/// Deletes those with more than four others closer than 20 pixels.
void DeleteCrowded(Candidates& candidates);

/// Deletes pairs that are too close.
void DeleteClosePairs(Candidates& candidates);

/// The first 60 that are left, with their local attributes.
MinutiaSet AssembleMinutiae(const Candidates& candidates, const Grid& directionMap,
                            const Grid& periodMap);

/// Everything from the finished skeleton on.
struct Detection {
    int32_t result = 1;  // 1 no usable template, 0 the set may be encoded
    Candidates scanned;
    Candidates repaired;
    Candidates refined;
    Candidates compacted;
    Candidates survivors;  // after both last filters, without the deleted ones
    MinutiaSet set;
    Grid skeleton;  // as the last trace leaves it
};

Detection DetectMinutiae(const Grid& skeleton, const Grid& directionMap, const Grid& periodMap);

}  // namespace model
