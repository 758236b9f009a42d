// SPDX-License-Identifier: Apache-2.0
//
// Ridge smoothing: a short line average along the ridge at every pixel. All pixels of a block share
// the block's orientation, so the samples that they take at one place of the line form a 4 x 4 tile
// of the image (extract/LineFilter.h). For this stage a block's pixels lie one to the right and
// below those of the orientation grid, so row 0 and column 0 belong to none and keep their values.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/LineFilter.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

// A block row samples the quad rows whose top rows lie up to kLineReach above and below its own, and of
// grey images one more: twelve, in three groups of four. Each block row needs one new group. Three are
// kept, and copies of two behind them, so that any three in sequence lie in one piece.
constexpr int32_t kGroups = 3;
constexpr int32_t kQuadRows = kGroups * kBlockSide;
constexpr int32_t kCopiedGroups = kGroups - 1;
constexpr int32_t kGroupBytes = kBlockSide * kQuadBytes;
constexpr int32_t kRowsOfGroup = 2 * kBlockSide - 1;  // of the image
static_assert(kQuadRows == kLineReach + 1 + kLineReach + 1, "above, at and below, and one more");

// The top row of a group's first quad row. The groups of block row by are by, by + 1 and by + 2.
constexpr int32_t TopOfGroup(int32_t group) {
    return kBlockSide * group + 1 - kLineReach;
}

struct SmoothRidgeScratch {
    uint8_t lines[sizeof(SampleLines) + kVectorBytes];  // from the first multiple of 16 on
    uint8_t quads[(kGroups + kCopiedGroups) * kGroupBytes];
    uint32_t inside[kQuadRows][kQuadColumns];     // of a block row: 1 for each pixel of the image
    uint8_t tiles[kMaxBlockColumns][kTileBytes];  // a block row, smoothed
    uint8_t narrow[kRowsOfGroup][kVectorBytes];   // rows shorter than a vector
    uint8_t blank[kMaxStageWidth];                // what stands for rows outside the image
};
static_assert(FitsEveryImage(sizeof(SmoothRidgeScratch)), "fits behind every accepted image");

SampleLines* LinesIn(SmoothRidgeScratch* scratch) {
    return WorkAt<SampleLines>(FirstVectorAt(scratch->lines));
}

struct Image {
    uint8_t* pixels;
    int32_t width;
    int32_t height;

    uint8_t* Row(int32_t y) const { return pixels + y * width; }
};

// In quad rows and pair rows stands 0 for what lies outside the image: white, or black.
constexpr uint8_t BlankPixel(bool isBinary) {
    return isBinary ? 255 : 0;
}

void ClearMargins(const Image& image, bool isBinary, SmoothRidgeScratch* scratch) {
    for (int32_t row = 0; row < (kGroups + kCopiedGroups) * kBlockSide; ++row) {
        uint8_t* quads = scratch->quads + row * kQuadBytes;
        const int32_t end = kBlockSide * (kLineReach + Max(image.width, kVectorBytes));
        memset(quads, 0, kBlockSide * kLineReach);
        memset(quads + end, 0, kBlockSide * kLineReach);
    }
    memset(scratch->blank, BlankPixel(isBinary), sizeof(scratch->blank));
    memset(scratch->narrow, BlankPixel(isBinary), sizeof(scratch->narrow));
}

// Makes the quad rows of a group, of a binary image; of a grey one, its pair rows.
template <bool kIsBinary>
void MakeGroup(const Image& image, int32_t group, SmoothRidgeScratch* scratch) {
    int32_t columns = image.width;
    const uint8_t* rows[kRowsOfGroup];
    for (int32_t row = 0; row < kRowsOfGroup; ++row) {
        const int32_t y = TopOfGroup(group) + row;
        rows[row] = y >= 0 && y < image.height ? image.Row(y) : scratch->blank;
        if (columns < kVectorBytes) {
            memcpy(scratch->narrow[row], rows[row], static_cast<size_t>(columns));
            rows[row] = scratch->narrow[row];
        }
    }
    columns = Max(columns, kVectorBytes);
    const int32_t slot = group % kGroups;
    uint8_t* quads = scratch->quads + slot * kGroupBytes + kBlockSide * kLineReach;
    ForEachVector(0, columns, [&](ptrdiff_t x) {
        U8x16 pixels[kRowsOfGroup];
        for (int32_t row = 0; row < kRowsOfGroup; ++row) {
            pixels[row] = LoadVector<U8x16>(rows[row] + x);
            if constexpr (kIsBinary) {
                pixels[row] += uint8_t{1};  // 1 for black
            }
        }
        // Each row with the second one below it; then two such pairs make a quad row.
        U8x16 lows[kRowsOfGroup - 2];
        U8x16 highs[kRowsOfGroup - 2];
        for (int32_t row = 0; row < kRowsOfGroup - 2; ++row) {
            lows[row] = InterleaveLow(pixels[row], pixels[row + 2]);
            highs[row] = InterleaveHigh(pixels[row], pixels[row + 2]);
        }
        uint8_t* out = quads + kBlockSide * x;
        for (int32_t row = 0; row < kBlockSide; ++row) {
            if constexpr (kIsBinary) {
                StoreVector(InterleaveLow(lows[row], lows[row + 1]), out);
                StoreVector(InterleaveHigh(lows[row], lows[row + 1]), out + kTileBytes);
                StoreVector(InterleaveLow(highs[row], highs[row + 1]), out + 2 * kTileBytes);
                StoreVector(InterleaveHigh(highs[row], highs[row + 1]), out + 3 * kTileBytes);
            } else {
                StoreVector(WidenLow(lows[row]), out);
                StoreVector(WidenHigh(lows[row]), out + kTileBytes);
                StoreVector(WidenLow(highs[row]), out + 2 * kTileBytes);
                StoreVector(WidenHigh(highs[row]), out + 3 * kTileBytes);
            }
            out += kQuadBytes;
        }
    });
    if (slot < kCopiedGroups) {
        for (int32_t row = 0; row < kBlockSide; ++row) {
            memcpy(quads + kGroups * kGroupBytes + row * kQuadBytes, quads + row * kQuadBytes,
                   static_cast<size_t>(kBlockSide * columns));
        }
    }
}

// On images of a width 1 modulo 4, samples of blocks inside go to the column behind a row's end: that is
// the next row's first pixel, which is never smoothed. Gives the pixels of that column in the quad rows
// of a block row, or blank ones.
template <bool kIsBinary>
void SetEndColumn(const Image& image, int32_t by, bool isBlank, SmoothRidgeScratch* scratch) {
    uint8_t* quads =
        scratch->quads + by % kGroups * kGroupBytes + kBlockSide * (kLineReach + image.width);
    for (int32_t quad = 0; quad < kQuadRows; ++quad) {
        uint8_t pixels[kBlockSide];
        for (int32_t row = 0; row < kBlockSide; ++row) {
            const int32_t y = TopOfGroup(by) + quad + row + 1;
            pixels[row] =
                isBlank || y < 0 || y >= image.height ? BlankPixel(kIsBinary) : *image.Row(y);
            if constexpr (kIsBinary) {
                pixels[row] = static_cast<uint8_t>(pixels[row] + 1);  // 0 of 255, as all samples
            }
        }
        if constexpr (kIsBinary) {
            memcpy(quads, pixels, sizeof(pixels));
        } else {
            const uint16_t pair[2] = {pixels[0], pixels[2]};
            memcpy(quads, pair, sizeof(pair));
        }
        quads += kQuadBytes;
    }
}

// Marks what is a pixel of the image in the quad rows of a block row. Those of the block row above are
// marked already.
void MarkInside(const Image& image, int32_t by, SmoothRidgeScratch* scratch) {
    for (int32_t quad = 0; quad < kQuadRows; ++quad) {
        uint8_t marks[kBlockSide];
        for (int32_t row = 0; row < kBlockSide; ++row) {
            const int32_t y = TopOfGroup(by) + quad + row;
            marks[row] = y >= 0 && y < image.height ? 1 : 0;
        }
        uint32_t column;
        memcpy(&column, marks, sizeof(column));
        uint32_t* columns = scratch->inside[quad];
        if (by > 0 && columns[kLineReach] == column) {
            continue;
        }
        memset(columns, 0, kLineReach * sizeof(column));
        columns += kLineReach;
        const int32_t width = image.width;
        for (int32_t x = 0; x < width; ++x) {
            columns[x] = column;
        }
        memset(columns + width, 0, kLineReach * sizeof(column));
    }
}

void SmoothBlockRow(const Image& image, const ExtractLayout& layout, int32_t by, bool isBinary,
                    SmoothRidgeScratch* scratch) {
    // Deliberate: two block rows at the bottom, but one block column at the right. Where no sample
    // leaves the image, the border's formula gives the same as the other.
    const bool isBorderRow = by == 0 || by >= layout.blockRows - 2;
    const int32_t top = kBlockSide * by + 1;
    const bool leavesImage = top < kLineReach || top + kBlockSide + kLineReach > image.height;
    const int32_t firstInside = 1;
    const int32_t endInside = !isBorderRow  ? layout.blockColumns - 1
                              : leavesImage ? firstInside
                                            : layout.blockColumns - 2;

    const uint8_t* map = image.pixels + layout.directionMap + by * layout.blockColumns;
    const int32_t offset = (top - TopOfGroup(by)) * kQuadBytes + kBlockSide * (kLineReach + 1);
    const uint8_t* tiles = scratch->quads + by % kGroups * kGroupBytes + offset;
    const uint8_t* inside = reinterpret_cast<const uint8_t*>(scratch->inside) + offset;
    const SampleLines& lines = *LinesIn(scratch);
    if (firstInside < endInside) {
        const bool goesBehindRows = image.width % kBlockSide == 1;
        const auto setEndColumn = isBinary ? SetEndColumn<true> : SetEndColumn<false>;
        if (goesBehindRows) {
            setEndColumn(image, by, false, scratch);
        }
        const auto smooth = isBinary ? SmoothBinaryInside : SmoothInside;
        smooth(lines, map + firstInside, endInside - firstInside, tiles + kTileBytes * firstInside,
               scratch->tiles[firstInside]);
        if (goesBehindRows) {
            setEndColumn(image, by, true, scratch);
        }
    }
    const auto smoothAtBorder = isBinary ? SmoothAtBorder<true> : SmoothAtBorder<false>;
    for (int32_t bx = 0; bx < layout.blockColumns; ++bx) {
        if (bx == firstInside && firstInside < endInside) {
            bx = endInside;
        }
        const uint8_t* tile = tiles + kTileBytes * bx;
        const int32_t orientation = map[bx] & kOrientationMask;
        if (orientation < kOrientations) {
            smoothAtBorder(lines.of[orientation], tile, inside + kTileBytes * bx,
                           scratch->tiles[bx]);
        } else {
            CopyTile(isBinary, tile, scratch->tiles[bx]);
        }
    }
}

// 64 bytes: four tiles, or 16 pixels of four rows.
struct FourVectors {
    U8x16 v[4];
};

// The first 32 bytes interleaved with the last 32.
FourVectors Interleave(const FourVectors& from) {
    return {{InterleaveLow(from.v[0], from.v[2]), InterleaveHigh(from.v[0], from.v[2]),
             InterleaveLow(from.v[1], from.v[3]), InterleaveHigh(from.v[1], from.v[3])}};
}

void WriteBack(const Image& image, int32_t by, int32_t blockColumns,
               const SmoothRidgeScratch& scratch) {
    constexpr int32_t kTiles = kVectorBytes / kBlockSide;
    uint8_t* pixels = image.Row(kBlockSide * by + 1) + 1;
    const ptrdiff_t width = image.width;
    if (blockColumns >= kTiles) {
        const uint8_t* tiles = scratch.tiles[0];
        ForEachVector(0, kBlockSide * blockColumns, [=](ptrdiff_t x) {
            const uint8_t* from = tiles + kBlockSide * x;
            FourVectors four = {{LoadVector<U8x16>(from), LoadVector<U8x16>(from + kTileBytes),
                                 LoadVector<U8x16>(from + 2 * kTileBytes),
                                 LoadVector<U8x16>(from + 3 * kTileBytes)}};
            // Twice, this makes tiles of rows; six times, it changes nothing: here, rows of tiles.
            four = Interleave(Interleave(Interleave(Interleave(four))));
            uint8_t* out = pixels + x;
            StoreVector(four.v[0], out);
            StoreVector(four.v[1], out + width);
            StoreVector(four.v[2], out + 2 * width);
            StoreVector(four.v[3], out + 3 * width);
        });
        return;
    }
    for (int32_t bx = 0; bx < blockColumns; ++bx) {
        for (int32_t i = 0; i < kTileBytes; ++i) {
            pixels[i % kBlockSide * image.width + kBlockSide * bx + i / kBlockSide] =
                scratch.tiles[bx][i];
        }
    }
}

}  // namespace

void qorfp::SmoothRidgeOf(uint8_t* buffer, int32_t width, int32_t height, bool isKnownBinary) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(SmoothRidgeScratch)) ||
        layout.blockColumns == 0 || layout.blockRows == 0) {
        return;
    }
    const StageMemory memory(buffer, {ImageOf(layout), DirectionsOf(layout),
                                      ScratchOf<SmoothRidgeScratch>(layout.periodMap)});
    const Image image = {buffer, width, height};
    SmoothRidgeScratch* scratch = WorkAt<SmoothRidgeScratch>(buffer + layout.periodMap);
    const bool isBinary = isKnownBinary || IsBinary(buffer, width, height);
    MakeSampleLines(isBinary, LinesIn(scratch));
    ClearMargins(image, isBinary, scratch);
    const auto makeGroup = isBinary ? MakeGroup<true> : MakeGroup<false>;
    makeGroup(image, 0, scratch);
    makeGroup(image, 1, scratch);
    for (int32_t by = 0; by < layout.blockRows; ++by) {
        // The group's rows lie below all that has been written back so far.
        makeGroup(image, by + 2, scratch);
        if (by <= 1 || by >= layout.blockRows - 2) {
            MarkInside(image, by, scratch);  // the same for all block rows between
        }
        SmoothBlockRow(image, layout, by, isBinary, scratch);
        WriteBack(image, by, layout.blockColumns, *scratch);
    }
}

void SmoothRidge(uint8_t* buffer, int32_t width, int32_t height) {
    SmoothRidgeOf(buffer, width, height, false);
}
