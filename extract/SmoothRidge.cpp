// SPDX-License-Identifier: Apache-2.0
//
// Ridge smoothing: a short line average along the ridge at every pixel. All pixels of a block share
// the block's orientation, so the samples that they take at one place of the line form a 4 x 4 tile
// of the image; for this stage a block's pixels lie one to the right and below those of the
// orientation grid, so row 0 and column 0 belong to none and keep their values.
//
// The source is kept as quad rows: four image rows, column by column. A tile is then 16 bytes in one
// piece, wherever it lies:
//
//      row top      a e i m ..
//      row top + 1  b f j n ..      quad row top:  a b c d e f g h i j k l m n o p ..
//      row top + 2  c g k o ..
//      row top + 3  d h l p ..

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kMostPairs = 7;
constexpr int32_t kReach = 5;  // no sample lies further off, in rows or in columns
constexpr int32_t kTileBytes = kBlockSide * kBlockSide;
static_assert(kTileBytes == kVectorBytes, "a tile is a vector");

// A block row samples the quad rows whose top rows lie up to kReach above and below its own: eleven,
// of the twelve in three groups of four. Each block row needs one new group. A group is stored
// twice, three groups apart, so that any three groups in sequence lie in one piece.
constexpr int32_t kGroups = 3;
constexpr int32_t kQuadRows = kGroups * kBlockSide;
constexpr int32_t kRowsOfGroup = 2 * kBlockSide - 1;  // of the image
static_assert(kQuadRows > 2 * kReach, "from kReach above to kReach below");

// Room for the samples to the left of column 0 and to the right of the last one.
constexpr int32_t kQuadColumns = kReach + kMaxStageWidth + kReach;
constexpr int32_t kQuadBytes = kBlockSide * kQuadColumns;

// The top row of a group's first quad row. The groups of block row by are by, by + 1 and by + 2.
constexpr int32_t TopOfGroup(int32_t group) {
    return kBlockSide * group - kReach;
}

// Two samples, on either side of the centre.
struct SamplePair {
    int32_t offset;  // from tile to tile, in bytes
    uint16_t weights[kVectorBytes / 2];
};

// The line filter of one orientation. The pairs behind the last one have no weight.
struct SampleLine {
    int32_t pairCount;
    uint16_t centreWeights[kVectorBytes / 2];
    SamplePair pairs[kMostPairs];
};

struct SmoothRidgeScratch {
    SampleLine lines[kOrientations];
    uint8_t quads[2 * kQuadRows][kQuadBytes];
    uint32_t inside[kQuadRows]
                   [kQuadColumns];  // all ones for each byte that is a pixel of the image
    uint8_t tiles[kMaxStageWidth / kBlockSide][kTileBytes];  // a block row, smoothed
    uint8_t rows[kBlockSide][kMaxStageWidth];                // the same, row by row
    uint8_t narrow[kRowsOfGroup][kVectorBytes];
};
static_assert(FitsEveryImage(sizeof(SmoothRidgeScratch)), "fits behind every accepted image");

// ceil(2^24 / weight), in place of a division by a weight.
struct Reciprocals {
    uint32_t of[257];

    constexpr Reciprocals() : of() {
        for (uint32_t weight = 1; weight <= 256; ++weight) {
            of[weight] = ((1u << 24) + weight - 1) / weight;
        }
    }

    // sum x reciprocal / 2^24 is the quotient of every sum up to 255 x weight: the reciprocal is
    // too large by excess / weight, which must not amount to 1 / weight of 2^24; and the product
    // must fit 32 bits.
    constexpr bool AreExact() const {
        for (uint64_t weight = 1; weight <= 256; ++weight) {
            const uint64_t sum = 255 * weight;
            const uint64_t excess = of[weight] * weight - (1u << 24);
            if (sum * excess >= 1u << 24 || sum * of[weight] > UINT32_MAX) {
                return false;
            }
        }
        return true;
    }
};
constexpr Reciprocals kReciprocals;
static_assert(kReciprocals.AreExact(), "quotients without a division");

struct Image {
    uint8_t* pixels;
    int32_t width;
    int32_t height;

    uint8_t* Row(int32_t y) const { return pixels + y * width; }
};

void MakeLines(SampleLine* lines) {
    for (int32_t orientation = 0; orientation < kOrientations; ++orientation) {
        SampleLine* line = &lines[orientation];
        line->pairCount = gnPC[orientation];
        StoreVector(U16x8{} + gnCW[orientation], line->centreWeights);
        for (int32_t k = 0; k < kMostPairs; ++k) {
            const int32_t entry = orientation * kMostPairs + k;
            line->pairs[k].offset = gnDY[entry] * kQuadBytes + gnDX[entry] * kBlockSide;
            StoreVector(U16x8{} + gnPW[entry], line->pairs[k].weights);
        }
    }
}

// Makes the quad rows of a group, of columns 0..width: the one behind a row's end is the next row's
// first. What stands for rows outside the image does not matter.
void MakeGroup(const Image& image, int32_t group, SmoothRidgeScratch* scratch) {
    int32_t columns = image.width + 1;
    const uint8_t* rows[kRowsOfGroup];
    for (int32_t row = 0; row < kRowsOfGroup; ++row) {
        rows[row] = image.Row(Clamp(TopOfGroup(group) + row, 0, image.height - 1));
        if (columns < kVectorBytes) {
            memcpy(scratch->narrow[row], rows[row], static_cast<size_t>(columns));
            rows[row] = scratch->narrow[row];
        }
    }
    columns = Max(columns, kVectorBytes);
    uint8_t* quads = scratch->quads[group % kGroups * kBlockSide] + kBlockSide * kReach;
    uint8_t* again = quads + kQuadRows * kQuadBytes;
    for (int32_t next = 0; next < columns; next += kVectorBytes) {
        const int32_t x = Min(next, columns - kVectorBytes);  // the last two may overlap
        U8x16 pixels[kRowsOfGroup];
        for (int32_t row = 0; row < kRowsOfGroup; ++row) {
            pixels[row] = LoadVector<U8x16>(rows[row] + x);
        }
        // Each row with the second one below it; then two such pairs make a quad row.
        U8x16 lows[kRowsOfGroup - 2];
        U8x16 highs[kRowsOfGroup - 2];
        for (int32_t row = 0; row < kRowsOfGroup - 2; ++row) {
            lows[row] = InterleaveLow(pixels[row], pixels[row + 2]);
            highs[row] = InterleaveHigh(pixels[row], pixels[row + 2]);
        }
        for (int32_t row = 0; row < kBlockSide; ++row) {
            const U8x16 tiles[] = {InterleaveLow(lows[row], lows[row + 1]),
                                   InterleaveHigh(lows[row], lows[row + 1]),
                                   InterleaveLow(highs[row], highs[row + 1]),
                                   InterleaveHigh(highs[row], highs[row + 1])};
            int32_t at = row * kQuadBytes + kBlockSide * x;
            for (const U8x16& tile : tiles) {
                StoreVector(tile, quads + at);
                StoreVector(tile, again + at);
                at += kTileBytes;
            }
        }
    }
}

// Marks what is a pixel of the image in the quad rows of a block row.
void MarkInside(const Image& image, int32_t by, SmoothRidgeScratch* scratch) {
    memset(scratch->inside, 0, sizeof(scratch->inside));
    for (int32_t quad = 0; quad < kQuadRows; ++quad) {
        uint8_t marks[kBlockSide];
        for (int32_t row = 0; row < kBlockSide; ++row) {
            const int32_t y = TopOfGroup(by) + quad + row;
            marks[row] = y >= 0 && y < image.height ? 255 : 0;
        }
        uint32_t column;
        memcpy(&column, marks, sizeof(column));
        for (int32_t x = 0; x < image.width; ++x) {
            scratch->inside[quad][kReach + x] = column;
        }
    }
}

// Every sample is taken as it lies in memory. (On images of a width 1 modulo 4 some are the first
// pixel of the next row.)
//
// Two pixels share a 16-bit lane, 256 x upper + lower. Both have weighted sums of at most
// 256 x 255: the upper one is summed by itself, the lower one is what then remains of the lanes' own
// sum, modulo 65,536.
//
// Out of line: in the loop over the blocks the compiler runs out of registers for it.
__attribute__((noinline)) void SmoothInside(const uint8_t* tile, const SampleLine& line,
                                            uint8_t* out) {
    const U16x8 centre = LoadVector<U16x8>(tile);
    const U16x8 centreWeights = LoadVector<U16x8>(line.centreWeights);
    U16x8 laneSums = centre * centreWeights;
    U16x8 upperSums = (centre >> 8) * centreWeights;
    for (const SamplePair& pair : line.pairs) {
        const U16x8 a = LoadVector<U16x8>(tile + pair.offset);
        const U16x8 b = LoadVector<U16x8>(tile - pair.offset);
        const U16x8 weights = LoadVector<U16x8>(pair.weights);
        laneSums += (a + b) * weights;
        upperSums += ((a >> 8) + (b >> 8)) * weights;
    }
    const U16x8 lowerSums = laneSums - (upperSums << 8);
    constexpr uint16_t kUpper = 0xFF00;
    StoreVector((upperSums & kUpper) | (lowerSums >> 8), out);  // the weights sum to 256
}

// Samples outside the image, with 0 at their place in `inside`, do not count.
void SmoothAtBorder(const uint8_t* tile, const uint8_t* inside, const SampleLine& line,
                    uint8_t* out) {
    const U16x8 centre = LoadVector<U16x8>(tile);
    const U16x8 centreWeights = LoadVector<U16x8>(line.centreWeights);
    U16x8 laneSums = centre * centreWeights;
    U16x8 upperSums = (centre >> 8) * centreWeights;
    U16x8 laneWeights = {};  // without the centre's: less than 256, upper and lower
    const auto add = [&](int32_t offset, U16x8 weights) {
        const U16x8 mask = LoadVector<U16x8>(inside + offset);
        const U16x8 samples = LoadVector<U16x8>(tile + offset) & mask;
        laneSums += samples * weights;
        upperSums += (samples >> 8) * weights;
        laneWeights += (weights << 8 | weights) & mask;
    };
    const SamplePair* end = line.pairs + line.pairCount;
    for (const SamplePair* pair = line.pairs; pair != end; ++pair) {
        const U16x8 weights = LoadVector<U16x8>(pair->weights);
        add(pair->offset, weights);
        add(-pair->offset, weights);
    }
    const U16x8 lowerSums = laneSums - (upperSums << 8);
    constexpr uint16_t kLower = 0x00FF;
    uint16_t sums[kTileBytes];  // the upper pixels, then the lower ones
    uint16_t weights[kTileBytes];
    StoreVector(upperSums, sums);
    StoreVector(lowerSums, sums + kTileBytes / 2);
    StoreVector((laneWeights >> 8) + centreWeights, weights);
    StoreVector((laneWeights & kLower) + centreWeights, weights + kTileBytes / 2);
    for (int32_t i = 0; i < kTileBytes; ++i) {
        sums[i] = static_cast<uint16_t>(sums[i] * kReciprocals.of[weights[i]] >> 24);
    }
    StoreVector(LoadVector<U16x8>(sums) << 8 | LoadVector<U16x8>(sums + kTileBytes / 2), out);
}

void SmoothBlockRow(const Image& image, const ExtractLayout& layout, int32_t by,
                    SmoothRidgeScratch* scratch) {
    // Deliberate: two block rows at the bottom, but one block column at the right. Where no sample
    // leaves the image, the border's formula gives the same as the other.
    const bool isBorderRow = by == 0 || by >= layout.blockRows - 2;
    const int32_t top = kBlockSide * by + 1;
    const bool leavesImage = top < kReach || top + kBlockSide + kReach > image.height;
    const int32_t firstInside = 1;
    const int32_t endInside = !isBorderRow  ? layout.blockColumns - 1
                              : leavesImage ? firstInside
                                            : layout.blockColumns - 2;

    const uint8_t* map = image.pixels + layout.directionMap + by * layout.blockColumns;
    const uint8_t* quads = scratch->quads[by % kGroups * kBlockSide];
    const uint8_t* inside = reinterpret_cast<const uint8_t*>(scratch->inside);
    int32_t at = (top - TopOfGroup(by)) * kQuadBytes + kBlockSide * (kReach + 1);
    for (int32_t bx = 0; bx < layout.blockColumns; ++bx) {
        const int32_t orientation = map[bx] & kOrientationMask;
        uint8_t* out = scratch->tiles[bx];
        if (orientation >= kOrientations) {
            memcpy(out, quads + at, kTileBytes);  // only a damaged map has it
        } else if (bx >= firstInside && bx < endInside) {
            SmoothInside(quads + at, scratch->lines[orientation], out);
        } else {
            SmoothAtBorder(quads + at, inside + at, scratch->lines[orientation], out);
        }
        at += kTileBytes;
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

void WriteBack(const Image& image, int32_t by, int32_t blockColumns, SmoothRidgeScratch* scratch) {
    for (int32_t bx = 0; bx < blockColumns; bx += 4) {
        FourVectors four;
        for (int32_t i = 0; i < 4; ++i) {
            four.v[i] = LoadVector<U8x16>(scratch->tiles[bx + i]);
        }
        // Twice, this makes tiles of rows; six times, it changes nothing: here, rows of tiles.
        four = Interleave(Interleave(Interleave(Interleave(four))));
        for (int32_t row = 0; row < kBlockSide; ++row) {
            StoreVector(four.v[row], scratch->rows[row] + kBlockSide * bx);
        }
    }
    for (int32_t row = 0; row < kBlockSide; ++row) {
        memcpy(image.Row(kBlockSide * by + 1 + row) + 1, scratch->rows[row],
               static_cast<size_t>(kBlockSide * blockColumns));
    }
}

}  // namespace

void SmoothRidge(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(SmoothRidgeScratch)) ||
        layout.blockColumns == 0 || layout.blockRows == 0) {
        return;
    }
    const Image image = {buffer, width, height};
    SmoothRidgeScratch* scratch = WorkAt<SmoothRidgeScratch>(buffer + layout.periodMap);
    MakeLines(scratch->lines);
    MakeGroup(image, 0, scratch);
    MakeGroup(image, 1, scratch);
    for (int32_t by = 0; by < layout.blockRows; ++by) {
        // The group's rows lie below all that has been written back so far.
        MakeGroup(image, by + 2, scratch);
        if (by <= 1 || by >= layout.blockRows - 2) {
            MarkInside(image, by, scratch);  // the same for all block rows between
        }
        SmoothBlockRow(image, layout, by, scratch);
        WriteBack(image, by, layout.blockColumns, scratch);
    }
}
