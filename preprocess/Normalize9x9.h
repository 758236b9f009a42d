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

/// Scratch of Normalize9x9. Numbers of columns are kept apart for the even and the odd ones, or the two
/// together, as they come out of vectors of bytes.
struct Normalize9x9Scratch {
    static constexpr int32_t kMaxWidth = 512;
    static constexpr int32_t kPairs = kMaxWidth / 2;
    static constexpr int32_t kEdge = 8;  // empty columns on either side of each kind
    static constexpr int32_t kRowCounts = kReachOf9x9 + 1;

    /// A ring of rows, row y in row y % kSideOf9x9; 0 behind their ends.
    using Ring = uint8_t[kSideOf9x9][kMaxWidth];

    /// Sums of the columns of a window that slides down the image, at most 9 x 255.
    struct Columns {
        uint16_t even[kEdge + kPairs + kEdge];
        uint16_t pairs[kEdge + kPairs + kEdge];  // of an even column and the odd one after it
    };

    struct Reciprocals {
        uint16_t even[kPairs];
        uint16_t odd[kPairs];
    };

    Reciprocals reciprocals[kRowCounts];  // of the windows' pixel counts
    Columns pixelColumns;
    Columns deviationColumns;  // of |mean - pixel|
    Ring pixels;               // of an image whose rows are not whole vectors
    Ring means;
    Ring deviations;
    uint8_t emptyRow[kMaxWidth];  // above and below the image
    uint8_t ranges[kMaxWidth];    // of the row that is stretched
    uint8_t insides[kMaxWidth];
    uint8_t out[kMaxWidth];
};

/// True for the sizes that Normalize9x9 takes: not so low that the window is cut to the image, and
/// wide enough for vectors.
constexpr bool TakesNormalize9x9(int32_t width, int32_t height) {
    return width >= kVectorBytes && width <= Normalize9x9Scratch::kMaxWidth && height >= kSideOf9x9;
}

/// An output row is written when the windows have left the row that far above it.
constexpr int32_t kRowsBeforeNormalize9x9 = kReachOf9x9 + 1;

/// NormalizeImage with both radii 4.
/// @param source the unfiltered image
/// @param out may overlap `source` if it begins kRowsBeforeNormalize9x9 rows or more before it
void Normalize9x9(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                  Normalize9x9Scratch* scratch);

}  // namespace qorfp
