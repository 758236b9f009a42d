// SPDX-License-Identifier: Apache-2.0
//
// Records of fusion and improvement at the start of the work buffer. Nothing of them outlives a
// call.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "engine/Work.h"
#include "match/MatchContext.h"

namespace qorfp {

constexpr int32_t kMaxHullPoints = 62;
constexpr int32_t kFusedTemplates = 3;
constexpr int32_t kOrderedPairs = 6;                   ///< of three templates
constexpr int32_t kMaxConflicts = 2 * kMaxMatchPairs;  ///< two a pair that is walked

}  // namespace qorfp

/// Minutia pairs that a reconciliation found in conflict, numbered B-then-A.
struct ConflictList {
    int32_t count;
    int16_t b[qorfp::kMaxConflicts];
    int16_t a[qorfp::kMaxConflicts];
};

/// Scratch of ArrangeMinutiaIndex.
struct ArrangeScratch {
    int16_t partnerOfB[qorfp::kMaxMinutiae];  ///< by the reverse list; -1: none
    int16_t partnerOfA[qorfp::kMaxMinutiae];
    uint8_t isFlagged[qorfp::kMaxMinutiae];  ///< A minutiae whose pairs are dropped
};

/// Points and, after GetConvexHull, the corners of their outline in order.
struct HullContext {
    int32_t count;
    int32_t x[qorfp::kMaxHullPoints];
    int32_t y[qorfp::kMaxHullPoints];

    // Scratch of GetConvexHull.
    uint8_t isUsed[qorfp::kMaxHullPoints];
    int32_t order[qorfp::kMaxHullPoints];  ///< indices of the corners
    int32_t cornerX[qorfp::kMaxHullPoints];
    int32_t cornerY[qorfp::kMaxHullPoints];
};

namespace qorfp {

/// What GeneralizeTemplate lays out.
struct FusionWork {
    MatchWork match;
    MinutiaSet inputs[kFusedTemplates];
    MatchResult pairs[kOrderedPairs];  ///< (0,1) (0,2) (1,0) (1,2) (2,0) (2,1)
    ArrangeScratch arrange;
    ConflictList conflicts[2];
    uint8_t isUsed[kFusedTemplates][kMaxMinutiae];  ///< by role: first, second, third
    MinutiaSet result;
    HullContext hull;
};

/// What MatchWithImprove lays out.
struct ImproveWork {
    MatchWork match;
    MinutiaSet enrolled;
    uint8_t enrolledConfidence[kMaxMinutiae];
    uint8_t isSampleMatched[kMaxMinutiae];
    uint8_t isEnrolledMatched[kMaxMinutiae];
    MinutiaSet result;
    uint8_t resultConfidence[kMaxMinutiae];
};

static_assert(sizeof(FusionWork) <= static_cast<size_t>(kWorkBytes), "fits the work buffer");
static_assert(sizeof(ImproveWork) <= static_cast<size_t>(kWorkBytes), "fits the work buffer");

}  // namespace qorfp
