// SPDX-License-Identifier: Apache-2.0
//
// The matcher's working record at the start of the work buffer, and the record of a match.
//
// Bars and minutiae refer to each other by index, never by pointer, so the record has the same
// size everywhere and could be moved.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "engine/Minutia.h"
#include "engine/Work.h"
#include "match/Neighbours.h"

namespace qorfp {

constexpr int32_t kMaxBarPairs = 200;                    ///< pairs of neighbouring minutiae a set
constexpr int32_t kMaxReferenceBars = 2 * kMaxBarPairs;  ///< a bar and its reverse each
constexpr int32_t kMaxProbeBars = 200;
constexpr int32_t kSectors = 12;  ///< of 20 angle steps, 30 degrees
constexpr int32_t kSectorLists = kSectors * kSectors;
constexpr int32_t kListsPerBar = 4;
constexpr int32_t kSectorEntries = kListsPerBar * kMaxReferenceBars;
constexpr int32_t kLengthBins = kMaxBarLength + 1;
constexpr int32_t kLengthTolerance = 12;  ///< pixels by which corresponding bars may differ
constexpr int32_t kMarkedPairs = 16;
constexpr int32_t kListMarks = (UINT8_MAX + kMarkedPairs - 1) / kMarkedPairs + 1;  ///< for any byte
constexpr int32_t kShiftBins = 512;  ///< bin 256 is a shift of 0
constexpr int32_t kShiftZeroBin = 256;
constexpr int32_t kComparedBars = 8;  ///< sector bars that are compared at once
constexpr int32_t kNearPairs = 512;   ///< of bars that are kept at once
constexpr int32_t kMaxMatchPairs = 120;

}  // namespace qorfp

/// An ordered pair of neighbouring minutiae. Length and the two angles do not change when the
/// finger is turned or shifted; the direction turns with it.
struct Bar {
    int16_t first;        ///< index of the first minutia in its set
    int16_t second;       ///< index of the second minutia
    int32_t length;       ///< distance in pixels, 15..200
    uint8_t direction;    ///< of the line from first to second, 0..239
    uint8_t angleFirst;   ///< direction - direction of first, mod 240
    uint8_t angleSecond;  ///< direction + 120 - direction of second, mod 240
};

/// A reference bar and the probe bar that is taken for the same pair of minutiae.
struct BarPair {
    int16_t reference;  ///< index of the reference bar
    int16_t probe;      ///< index of the probe bar
    int32_t weight;
};

/// Scratch of FindCorrespondences.
struct CorrespondenceWork {
    uint64_t probeBars[qorfp::kMaxProbeBars];     ///< by PackBar
    int16_t listBegin[qorfp::kMaxProbeBars + 1];  ///< of each probe bar's list
    int16_t listEnd[qorfp::kMaxProbeBars];
    /// Pairs of a probe bar and an entry of the sector lists, by NearPair, and their weights. Eight are
    /// written where there is one more, and eight read.
    uint32_t nearPairs[qorfp::kNearPairs + 2 * qorfp::kComparedBars];
    uint16_t weights[qorfp::kNearPairs + 2 * qorfp::kComparedBars];
    uint16_t crowdWeights[qorfp::kSectorEntries + qorfp::kComparedBars - 1];  ///< best, by entry
    uint16_t crowdPartners[qorfp::kSectorEntries + qorfp::kComparedBars - 1];
    uint32_t probeBest[qorfp::kMaxProbeBars];  ///< by BestOf
    uint32_t referenceBest[qorfp::kMaxReferenceBars];
};

/// The outcome of an alignment; also the pair record of fusion.
struct MatchResult {
    int32_t pairCount;                                ///< 0..120
    int16_t referenceIndices[qorfp::kMaxMatchPairs];  ///< minutia numbers, entry k of both
    int16_t probeIndices[qorfp::kMaxMatchPairs];      ///< arrays makes matched pair k
    int16_t score;
    int16_t xShift;  ///< applied to the probe after the rotation, pixels
    int16_t yShift;
    int16_t angle;  ///< applied to the probe, 0..239
};

/// Everything that a match works on. The part up to acceptedCount is cleared by Match; the
/// reference side survives from Match (or MakeFirstInfo) to the following MatchNext calls, the
/// rest is written before it is read in each alignment.
struct MatchContext {
    // Reference side: prepared by MakeFirstInfo.
    MinutiaSet reference;
    Bar referenceBars[qorfp::kMaxReferenceBars];  ///< bar and reverse at 2k, 2k + 1; by length
    int32_t referenceBarCount;
    int32_t referenceCentreX;
    int32_t referenceCentreY;
    int16_t sectorEntries[qorfp::kSectorEntries];  ///< the 144 lists, one after the other
    int16_t sectorStart[qorfp::kSectorLists];
    int16_t sectorLength[qorfp::kSectorLists];

    // Probe side: replaced by every alignment.
    MinutiaSet probe;
    Bar probeBars[qorfp::kMaxProbeBars];
    int32_t probeBarCount;
    int32_t probeCentreX;
    int32_t probeCentreY;

    // Corresponding bars.
    BarPair pairs[qorfp::kMaxProbeBars];
    int32_t pairCount;
    int16_t accepted[qorfp::kMaxProbeBars];  ///< indices into pairs
    int32_t acceptedCount;

    // Reference side: more of it, which holds no index that is trusted.
    /// The bars of sectorEntries by PackBar, entry by entry. Of what is read behind a list nothing is
    /// used.
    uint64_t sectorBars[qorfp::kSectorEntries + qorfp::kComparedBars - 1];
    uint8_t shorterPairs[qorfp::kMaxBarLength + qorfp::kLengthTolerance + 2];  ///< than each length
    /// Where, in each list, the entries of every kMarkedPairs-th pair and those behind it begin.
    int16_t listMarks[qorfp::kListMarks][qorfp::kSectorLists];

    // Scratch.
    CorrespondenceWork correspondence;
    int32_t angleHistogram[240];
    int32_t xShiftHistogram[2 * qorfp::kShiftBins];  ///< bins, then working room
    int32_t yShiftHistogram[2 * qorfp::kShiftBins];
    qorfp::NeighbourWork neighbourWork;
    uint8_t lengthPositions[qorfp::kLengthBins];  ///< where each length begins, in pairs
    Bar unsortedBars[qorfp::kMaxBarPairs];
};

/// What Match lays out in the work buffer.
struct MatchWork {
    MatchContext context;
    MatchResult result;
};

static_assert(sizeof(Bar) == 12, "the same record on every machine");
static_assert(sizeof(BarPair) == 8, "the same record on every machine");
static_assert(sizeof(MatchResult) == 492, "the same record on every machine");
static_assert(sizeof(MatchWork) <= static_cast<size_t>(qorfp::kWorkBytes), "fits the work buffer");
