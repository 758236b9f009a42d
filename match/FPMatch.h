// SPDX-License-Identifier: Apache-2.0
//
// Matching and indexing: every function of this folder that has a fixed name. Minutiae lie where a
// template can hold them, -256..767, or where an alignment has moved them from there; with these,
// no sum or square leaves 32 bits. `work` is the work
// buffer (204,800 bytes, 8-aligned); the matcher lays a MatchContext out in it, the index an
// IndexWorkspace.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "include/QORFPApi.h"
#include "match/FusionWork.h"
#include "match/IndexWorkspace.h"
#include "match/MatchContext.h"

extern "C" {

// --- Descriptors ---------------------------------------------------------------------------------

/// Makes the bars (pairs of neighbouring minutiae) of `set`. Overwrites the context's scratch.
/// @param bars out: mode 0, at most 200, one a pair in order of generation; mode 1, at most 400,
///        a bar and its reverse at 2k and 2k + 1, by increasing length
/// @return number of bars; 0 for fewer than 3 minutiae
int32_t MakeBar(MatchContext* context, const MinutiaSet* set, Bar* bars, int32_t mode);

/// Prepares the reference side from the context's reference set: its centre, its bars in both
/// orientations and the sector index.
/// @return 1; 0 when the set is empty or yields no bars
int32_t MakeFirstInfo(MatchContext* context);

// --- Alignment and score -------------------------------------------------------------------------

/// Matches two templates; the reference stays prepared in `work` for MatchNext.
/// @return the score, 0 when either does not decode or the reference yields no bars
int32_t Match(uint8_t* work, const uint8_t* reference, const uint8_t* probe);

/// Matches another probe with the reference that the last Match (or MakeFirstInfo) prepared.
int32_t MatchNext(uint8_t* work, const uint8_t* probe);

/// Brings the context's probe set onto its reference set by votes of corresponding bars, and
/// scores the result. The probe's minutiae are moved in place.
/// @param wantPairs not 0: also write the matched index pairs into `result`
/// @return the score, 0 when the probe yields no bars
int32_t Alignment(MatchContext* context, MatchResult* result, int32_t wantPairs);

/// Smooths the circular angle histogram (1 2 4 8 16 8 4 2 1) and writes its first peak to `*angle`,
/// 0 when it is empty.
void GetRotationAngle(MatchContext* context, int32_t* angle);

/// Turns the probe set about the probe centre, and the probe bars with it, by `angle` (0..239).
void RotateInfo(MatchContext* context, int32_t angle);

/// First peak of a shift histogram under a window of 11 bins, as a shift (bin - 256).
/// @param histogram 512 bins, replaced by their window sums from the low to the high bin; 512 more
///        behind them are working room
int32_t EstimateMoveVector(int32_t* histogram, int32_t lowBin, int32_t highBin);

/// Scores the accepted bar pairs of an aligned probe.
/// @param wantPairs not 0: write the matched index pairs, at most 120, into `result`
int32_t GetSimScore(MatchContext* context, MatchResult* result, int32_t wantPairs);

// --- Fusion and improvement ----------------------------------------------------------------------

/// Reconciles the match lists of two templates A and B. Pairs found in both directions stay, and
/// pairs found in one whose minutiae are free in the other. Where the directions disagree, the
/// pairs of the A minutia that the reverse list names are dropped.
/// @param reverse in and out: the pairs with B as reference and A as probe
/// @param forward in: the pairs with A as reference and B as probe; out: the same list as `reverse`
/// @param conflicts out: the pairs in conflict; `conflictsCopy` receives the same
void ArrangeMinutiaIndex(ArrangeScratch* work, MatchResult* reverse, MatchResult* forward,
                         ConflictList* conflicts, ConflictList* conflictsCopy);

/// Replaces the points by the corners of their convex outline, in order; points on an edge stay.
/// @return number of points; fewer than 3 points are left as they are
int32_t GetConvexHull(HullContext* hull);

/// @return 1 when the position lies outside the outline or the outline has fewer than 3 corners,
///         0 when it lies inside or on an edge
int32_t GetDistFromPolygon(HullContext* hull, int32_t x, int32_t y);

/// Fuses three template heads of 370 bytes each, back to back, of one finger; the result is written
/// over the first.
/// @return 0; non-zero, with nothing written, when an input does not decode or the three do not
///         match well enough
int32_t GeneralizeTemplate(uint8_t* work, uint8_t* templates);

/// Matches a fresh template with an enrolled one and, at a score of 225 or more, updates bytes
/// 0..369 of the enrolled one in place.
/// @param updated out: 1 when `enrolled` was rewritten, else 0
/// @return the score
int32_t MatchWithImprove(uint8_t* work, const uint8_t* sample, uint8_t* enrolled, int32_t* updated);

// --- Sorting: exported ---------------------------------------------------------------------------

/// Sorts `keys` ascending, in place, without recursion. Not stable.
/// @param scratch 40 integers
/// @return 1; 0 when the range stack overflowed (the array is then only partly ordered)
QORFP_EXPORT int32_t quickSort(int32_t* keys, int32_t n, int32_t* scratch);

/// quickSort that moves `values` with the keys.
QORFP_EXPORT int32_t quickSortEx(int32_t* keys, int32_t* values, int32_t n, int32_t* scratch);

// --- Index keys ----------------------------------------------------------------------------------

/// Makes the rotation-invariant local keys of a template.
/// @param out 140 bytes for at most 19 packed keys, or null: at most 30 keys stay in the
///        IndexWorkspace at the start of `work`
/// @return 0, or non-zero when the template does not decode (`out` is then untouched)
int32_t CreateIndex(uint8_t* work, const uint8_t* bytes, uint8_t* out);

/// Files the work keys that CreateIndex left in `work` in its three planes.
/// @return 0
int32_t CreateTri(uint8_t* work);

// --- Index scores --------------------------------------------------------------------------------

// How much of the probe's keys reappears in each of n candidates at one consistent rotation; 0 and
// up, not normalised. The probe's keys and planes must lie in `work` (ISetIndex). With n < 1
// nothing is written. All return 0.

/// Candidates: index areas of 140 bytes, back to back.
int32_t GetIndexScore(uint8_t* work, const uint8_t* areas, int32_t n, int32_t* scores);

/// Candidates: templates of 512 bytes, back to back.
int32_t GetIndexScoreA(uint8_t* work, const uint8_t* templates, int32_t n, int32_t* scores);

/// Candidates: pointers to templates.
int32_t GetIndexScoreB(uint8_t* work, const uint8_t* const* templates, int32_t n, int32_t* scores);

/// Circular difference of two values on 30 levels, at [difference + 30].
extern const uint8_t gbFA[60];

/// Absolute difference, at [difference + 16].
extern const uint8_t gbFD[32];

}  // extern "C"
