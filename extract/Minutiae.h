// SPDX-License-Identifier: Apache-2.0
//
// Minutiae detection on the skeleton, step by step: scan, repair of broken ridges, filters, and
// the assembly of the minutia set. CreateTemplate calls the steps in the order of this header.
//
// Pixel values of the skeleton while detection works:
//   0    ridge                     254  ridge marked as visited by a trace: reads as background
//   255  background                1    background painted as ridge by the repair
// A mark is taken back by AND 1, which turns 254 into 0.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "extract/ExtractLayout.h"

namespace qorfp {

/// Most candidates that a scan keeps.
constexpr int32_t kMaxCandidates = 200;

/// Candidate::direction of a deleted candidate.
constexpr uint8_t kDeleted = 255;

/// A possible minutia.
struct Candidate {
    int16_t x;
    int16_t y;
    uint8_t type;       ///< kEnding or kBifurcation
    uint8_t direction;  ///< 0..239 from the minutia into its ridge, or kDeleted
};

struct CandidateList {
    int32_t count;
    Candidate items[kMaxCandidates];
};

static_assert(sizeof(Candidate) == 6, "the same record on every machine");
static_assert(sizeof(CandidateList) == 1204, "the same record on every machine");

/// Scratch of minutiae detection, behind both block maps.
struct MinutiaeScratch {
    CandidateList candidates;
    MinutiaSet set;
};

static_assert(FitsEveryImage(sizeof(MinutiaeScratch)), "fits behind every accepted image");

/// The skeleton and the block maps that detection reads.
struct Skeleton {
    uint8_t* pixels;
    int32_t width;
    int32_t height;
    const uint8_t* directionMap;
    const uint8_t* periodMap;
    int32_t blockColumns;
    int32_t blockRows;
};

/// The skeleton in a work buffer after Thinning. The layout must be usable.
Skeleton SkeletonIn(uint8_t* buffer, int32_t width, int32_t height);

/// Fills `list` with endings and bifurcations of the skeleton, block by block, at most 200. May
/// erase spurs (pixels become 254).
void ScanCandidates(const Skeleton& skeleton, CandidateList* list);

/// Deletes pairs of endings that face each other across a gap of at most 15 pixels, and paints the
/// gap (pixels become 1).
void RepairBrokenRidges(const Skeleton& skeleton, CandidateList* list);

/// Deletes candidates near the image border or near background, and settles the direction of the
/// others by traces of up to 20 pixels; deletes those whose ridges are too short or do not fork.
void RefineCandidates(const Skeleton& skeleton, CandidateList* list);

/// Removes the deleted candidates, keeping the order of the rest.
void CompactCandidates(CandidateList* list);

/// Deletes candidates with more than four others within 20 pixels.
void DeleteCrowded(CandidateList* list);

/// Deletes pairs of candidates that are too close to be two minutiae.
void DeleteClosePairs(CandidateList* list);

/// Copies the candidates that are left into `set`, at most 60, with their local attributes.
void AssembleMinutiae(const Skeleton& skeleton, const CandidateList& list, MinutiaSet* set);

}  // namespace qorfp
