// SPDX-License-Identifier: Apache-2.0
//
// The oriented line filter of ridge smoothing, for all 16 pixels of a block at once.
//
// The source of a binary image is kept as quad rows: four image rows, column by column, 1 for a black
// pixel and 0 for a white one. A 4 x 4 tile of the image is then 16 bytes in one piece, wherever it
// lies:
//
//      row top      a e i m ..
//      row top + 1  b f j n ..      quad row top:  a b c d e f g h i j k l m n o p ..
//      row top + 2  c g k o ..
//      row top + 3  d h l p ..
//
// That of a grey one is kept as pair rows of 16-bit numbers, of as many bytes: two image rows, one
// between them. A tile is then a vector of two pair rows each:
//
//      pair row top:  a c e g i k m o ..       pair row top + 1:  b d f h j l n p ..
#pragma once

#include <stdint.h>

#include "extract/ExtractLayout.h"
#include "extract/Vector.h"

namespace qorfp {

/// Bytes of a tile: a vector.
constexpr int32_t kTileBytes = kBlockSide * kBlockSide;
static_assert(kTileBytes == kVectorBytes, "a tile is a vector");

/// No sample of a line lies further off, in rows or in columns.
constexpr int32_t kLineReach = 5;

/// Room for the samples to the left of column 0 and to the right of the last one.
constexpr int32_t kQuadColumns = kLineReach + kMaxStageWidth + kLineReach;
constexpr int32_t kQuadBytes = kBlockSide * kQuadColumns;

constexpr int32_t kMostPairs = 7;

/// A weight in each 16-bit lane.
struct LineWeight {
    uint16_t lanes[kVectorBytes / 2];
};

/// Two samples, on either side of the centre: offsets from tile to tile, in bytes.
struct SamplePair {
    int32_t ahead;
    int32_t behind;
};

/// The line of one orientation. The pairs behind the last one have no weight.
struct SampleLine {
    LineWeight centreWeight;
    LineWeight weights[kMostPairs];
    SamplePair pairs[kMostPairs];
    uint8_t toWholeVectors[8];
};
static_assert(sizeof(SampleLine) % kVectorBytes == 0, "the weights of all lines are aligned alike");

/// A line for each value of the orientation's bits. Those from 120 on, which only a damaged map has,
/// leave a pixel as it is. Lies at a multiple of 16: a product takes a weight from where it is.
struct SampleLines {
    SampleLine of[kOrientationMask + 1];
};

/// @param isBinary for binary images, else for grey ones
void MakeSampleLines(bool isBinary, SampleLines* lines);

/// Smooths `blocks` blocks side by side, of a grey image, of which every sample is taken as it lies in
/// memory.
/// @param map their orientations
/// @param tile the first one's tile in the pair rows
/// @param out the smoothed tiles, columns of four pixels
void SmoothInside(const SampleLines& lines, const uint8_t* map, int32_t blocks, const uint8_t* tile,
                  uint8_t* out);

/// The same of a binary image and its quad rows.
void SmoothBinaryInside(const SampleLines& lines, const uint8_t* map, int32_t blocks,
                        const uint8_t* tile, uint8_t* out);

/// Smooths a block whose samples outside the image do not count.
/// @param tile in quad rows of a binary image, in pair rows of a grey one; 0 outside the image
/// @param inside what `tile` is to the quad rows, in quad rows of 1 for each pixel of the image and 0
///        outside
template <bool kIsBinary>
void SmoothAtBorder(const SampleLine& line, const uint8_t* tile, const uint8_t* inside,
                    uint8_t* out);

/// Takes a tile as it is.
void CopyTile(bool isBinary, const uint8_t* tile, uint8_t* out);

}  // namespace qorfp
