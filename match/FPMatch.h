// SPDX-License-Identifier: Apache-2.0
//
// Matching and indexing: every function of this folder that has a fixed name. `work` is the work
// buffer (204,800 bytes, 8-aligned); the matcher lays a MatchContext out in it, the index an
// IndexWorkspace.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "include/QORFPApi.h"
#include "match/IndexWorkspace.h"
#include "match/MatchContext.h"

extern "C" {

// --- Descriptors -----------------------------------------------------------------------------------

/// Makes the bars (pairs of neighbouring minutiae) of `set`. Overwrites the context's scratch.
/// @param bars out: mode 0, at most 200, one a pair in order of generation; mode 1, at most 400,
///        a bar and its reverse at 2k and 2k + 1, by increasing length
/// @return number of bars; 0 for fewer than 3 minutiae
int32_t MakeBar(MatchContext* context, const MinutiaSet* set, Bar* bars, int32_t mode);

/// Prepares the reference side from the context's reference set: its centre, its bars in both
/// orientations and the sector index.
/// @return 1; 0 when the set is empty or yields no bars
int32_t MakeFirstInfo(MatchContext* context);

// --- Alignment and score ----------------------------------------------------------------------------

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

// --- Sorting: exported ---------------------------------------------------------------------------------

/// Sorts `keys` ascending, in place, without recursion. Not stable.
/// @param scratch 40 integers
/// @return 1; 0 when the range stack overflowed (the array is then only partly ordered)
QORFP_EXPORT int32_t quickSort(int32_t* keys, int32_t n, int32_t* scratch);

/// quickSort that moves `values` with the keys.
QORFP_EXPORT int32_t quickSortEx(int32_t* keys, int32_t* values, int32_t n, int32_t* scratch);

// --- Index keys -------------------------------------------------------------------------------------------

/// Makes the rotation-invariant local keys of a template.
/// @param out 140 bytes for at most 19 packed keys, or null: at most 30 keys stay in the
///        IndexWorkspace at the start of `work`
/// @return 0, or non-zero when the template does not decode (`out` is then untouched)
int32_t CreateIndex(uint8_t* work, const uint8_t* bytes, uint8_t* out);

/// Circular difference of two values on 30 levels, at [difference + 30].
extern const uint8_t gbFA[60];

/// Absolute difference, at [difference + 16].
extern const uint8_t gbFD[32];

}  // extern "C"
