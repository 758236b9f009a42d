// SPDX-License-Identifier: Apache-2.0
//
// The local contrast stretch with windows of 9 x 9, the form that every extraction uses.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "extract/Vector.h"

namespace qorfp {

constexpr int32_t kReachOf9x9 = 4;
constexpr int32_t kSideOf9x9 = 2 * kReachOf9x9 + 1;

/// Scratch of Normalize9x9.
struct Normalize9x9Scratch {
    static constexpr int32_t kMaxWidth = 512;
    static constexpr int32_t kRingRows = kSideOf9x9 + 1;
    static constexpr int32_t kRowCounts = kReachOf9x9 + 1;

    /// Sums of the columns of a window that slides down the image, at most 9 x 255, with empty
    /// columns on either side.
    using Columns = uint16_t[kMaxWidth + 2 * kReachOf9x9];

    uint16_t reciprocals[kRowCounts][kMaxWidth];  // of the windows' pixel counts
    Columns pixelColumns[2];                      // before and after a row has entered
    Columns deviationColumns[2];                  // of |mean - pixel|
    Columns threes;                               // sums of three columns
    uint8_t means[kRingRows][kMaxWidth];          // local means, row y in row y % kRingRows
    uint8_t deviations[kRingRows][kMaxWidth];
    uint8_t emptyRow[kMaxWidth];  // above and below the image
    uint8_t ranges[kMaxWidth];    // of the row that is stretched
    uint8_t insides[kMaxWidth];
};

/// True for the sizes that Normalize9x9 takes: not so low that the window is cut to the image, and
/// wide enough for vectors.
constexpr bool TakesNormalize9x9(int32_t width, int32_t height) {
    return width >= kVectorBytes && width <= Normalize9x9Scratch::kMaxWidth && height >= kSideOf9x9;
}

/// NormalizeImage with both radii 4.
/// @param source the unfiltered image
/// @param out may be `source` minus five rows or more
void Normalize9x9(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                  Normalize9x9Scratch* scratch);

}  // namespace qorfp
