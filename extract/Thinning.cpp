// SPDX-License-Identifier: Apache-2.0
//
// Thinning of the ridges to a skeleton. Each pass deletes contour pixels in two sub-iterations,
// which decide by the eight neighbours.
//
// A binary image is thinned as bit rows, 128 pixels at a time. Whatever is left takes the plain
// form, a table lookup a pixel: images that are not binary, of which each neighbour gives one bit of
// its own value, and images that leave no room for the bit rows.

#include <stddef.h>
#include <string.h>

#include "extract/BitRows.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/ThinningRule.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kMostPasses = 6;
constexpr int32_t kSubIterations = 2;
constexpr int32_t kCodes = 256;

// Rows in which a sub-iteration has once found nothing to delete.
struct QuietRows {
    uint8_t isQuiet[kSubIterations][kMaxStageHeight];
};

// Both lie behind both maps: minutiae detection still needs the ridge-period map.
struct PlainScratch {
    QuietRows quiet;
    uint8_t rows[3][kMaxStageWidth];  // unchanged copies of the rows above, at and below
};
static_assert(FitsEveryImage(sizeof(PlainScratch)), "fits behind every accepted image");

struct BitScratch {
    QuietRows quiet;
    uint8_t found[2][kMaxSegment];  // bits to delete, of a row and of the one above it
    uint8_t inner[kMaxSegment];     // the columns that may be deleted
    BitRowLine line;
    uint8_t rows[BitRowBytes(kMaxStageHeight)];
};
static_assert(FitsEveryImage(sizeof(BitScratch)), "fits behind every accepted image");

// Runs the two sub-iterations, run(0 or 1), until a pass deletes nothing. Each says whether it has.
template <class Run>
void RunPasses(Run run) {
    bool hasDeleted = true;
    for (int32_t pass = 0; pass < kMostPasses && hasDeleted; ++pass) {
        const bool hasFirst = run(0);
        const bool hasSecond = run(1);
        hasDeleted = hasFirst || hasSecond;
    }
}

// --- Bit rows ------------------------------------------------------------------------------------

using Neighbours = PixelNeighbours<U8x16>;
using Rule = U8x16(const Neighbours&);

// Finds the pixels of a row that its sub-iteration deletes. False when there is none.
template <Rule IsDeleted>
bool FindDeletions(const BitRows& bits, const uint8_t* row, const uint8_t* inner, uint8_t* found) {
    const uint8_t* above = row - bits.Stride();
    const uint8_t* below = row + bits.Stride();
    U8x16 any = {};
    for (ptrdiff_t j = 0; j < bits.segment; j += kVectorBytes) {
        const Neighbours neighbours = {
            LoadVector<U8x16>(above + j - 1), LoadVector<U8x16>(above + j),
            LoadVector<U8x16>(above + j + 1), LoadVector<U8x16>(row + j - 1),
            LoadVector<U8x16>(row + j + 1),   LoadVector<U8x16>(below + j - 1),
            LoadVector<U8x16>(below + j),     LoadVector<U8x16>(below + j + 1)};
        const U8x16 deleted =
            IsDeleted(neighbours) & ~LoadVector<U8x16>(row + j) & LoadVector<U8x16>(inner + j);
        StoreVector(deleted, found + j);
        any |= deleted;
    }
    return !IsZero(any);
}

void Delete(const BitRows& bits, uint8_t* row, const uint8_t* found) {
    for (ptrdiff_t j = 0; j < bits.segment; j += kVectorBytes) {
        StoreVector(LoadVector<U8x16>(row + j) | LoadVector<U8x16>(found + j), row + j);
    }
    CloseBitRow(row, bits.segment);
}

// Deliberate: a row in which this sub-iteration once found nothing to delete is never looked at
// again by it, even if deletions around it would make some of its pixels deletable.
template <Rule IsDeleted>
bool ThinBitRows(const BitRows& bits, int32_t height, uint8_t* isQuiet, BitScratch* scratch) {
    bool hasDeleted = false;
    uint8_t* found = scratch->found[0];
    uint8_t* foundAbove = scratch->found[1];
    uint8_t* rowToDelete = nullptr;  // the row above, where something has been found
    uint8_t* row = bits.Row(1);
    for (int32_t y = 1; y < height - 1; ++y) {
        bool hasFound = false;
        if (isQuiet[y] == 0) {
            hasFound = FindDeletions<IsDeleted>(bits, row, scratch->inner, found);
            isQuiet[y] = hasFound ? 0 : 1;
        }
        if (rowToDelete != nullptr) {
            Delete(bits, rowToDelete, foundAbove);  // no row needs its old state now
            hasDeleted = true;
            rowToDelete = nullptr;
        }
        if (hasFound) {
            rowToDelete = row;
            uint8_t* const other = foundAbove;
            foundAbove = found;
            found = other;
        }
        row += bits.Stride();
    }
    if (rowToDelete != nullptr) {
        Delete(bits, rowToDelete, foundAbove);
        hasDeleted = true;
    }
    return hasDeleted;
}

// False, with nothing done, when the image is not binary.
bool ThinBinary(uint8_t* image, int32_t width, int32_t height, BitScratch* scratch) {
    const BitRows bits = {scratch->rows, SegmentOf(width)};
    for (int32_t y = 0; y < height; ++y) {
        if (!PackBitRow(image + y * width, width, &scratch->line, bits, y)) {
            return false;
        }
    }
    memset(scratch->quiet.isQuiet, 0, sizeof(scratch->quiet.isQuiet));
    memset(scratch->inner, 0, sizeof(scratch->inner));
    int32_t x = 0;
    for (int32_t k = 0; k < kSegments; ++k) {
        for (int32_t j = 0; j < bits.segment; ++j) {
            const bool isInner = x > 0 && x < width - 1;
            scratch->inner[j] |= static_cast<uint8_t>(isInner ? 1 << k : 0);
            ++x;
        }
    }
    RunPasses([&](int32_t sub) {
        uint8_t* isQuiet = scratch->quiet.isQuiet[sub];
        return sub == 0 ? ThinBitRows<IsDeletedFirst>(bits, height, isQuiet, scratch)
                        : ThinBitRows<IsDeletedSecond>(bits, height, isQuiet, scratch);
    });
    for (int32_t y = 1; y < height - 1; ++y) {
        UnpackBitRow(bits, y, &scratch->line, width, image + y * width);
    }
    return true;
}

// --- The plain form ------------------------------------------------------------------------------

// The neighbours' background bits, weighted
//
//      1   4  16
//     64   .  128
//      2   8  32
uint32_t CodeAt(const uint8_t* above, const uint8_t* row, const uint8_t* below, int32_t x) {
    return (above[x - 1] & 1u) | (below[x - 1] & 2u) | (above[x] & 4u) | (below[x] & 8u) |
           (above[x + 1] & 16u) | (below[x + 1] & 32u) | (row[x - 1] & 64u) | (row[x + 1] & 128u);
}

bool ThinPixelRow(const uint8_t* above, const uint8_t* row, const uint8_t* below, int32_t width,
                  const uint8_t* table, uint8_t* out) {
    bool hasDeleted = false;
    for (int32_t x = 1; x < width - 1; ++x) {
        if (row[x] == 0 && table[CodeAt(above, row, below, x)] != 0) {
            out[x] = 255;
            hasDeleted = true;
        }
    }
    return hasDeleted;
}

bool ThinPixelRows(uint8_t* image, int32_t width, int32_t height, const uint8_t* table,
                   uint8_t* isQuiet, PlainScratch* scratch) {
    const size_t rowBytes = static_cast<size_t>(width);
    uint8_t* above = scratch->rows[0];
    uint8_t* row = scratch->rows[1];
    uint8_t* below = scratch->rows[2];
    memcpy(above, image, rowBytes);
    memcpy(row, image + width, rowBytes);
    bool hasDeleted = false;
    for (int32_t y = 1; y < height - 1; ++y) {
        memcpy(below, image + (y + 1) * width, rowBytes);
        if (isQuiet[y] == 0) {
            const bool isChanged = ThinPixelRow(above, row, below, width, table, image + y * width);
            isQuiet[y] = isChanged ? 0 : 1;
            hasDeleted = hasDeleted || isChanged;
        }
        uint8_t* leaving = above;
        above = row;
        row = below;
        below = leaving;
    }
    return hasDeleted;
}

void ThinPixels(uint8_t* image, int32_t width, int32_t height, PlainScratch* scratch) {
    memset(scratch->quiet.isQuiet, 0, sizeof(scratch->quiet.isQuiet));
    RunPasses([&](int32_t sub) {
        return ThinPixelRows(image, width, height, gbThin + sub * kCodes,
                             scratch->quiet.isQuiet[sub], scratch);
    });
}

}  // namespace

void Thinning(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (height < 3 || !layout.isUsable || !HasRoom(layout.scratch, sizeof(PlainScratch))) {
        return;
    }
    const bool hasRoomForBits = HasRoom(layout.scratch, sizeof(BitScratch));
    static_assert(sizeof(PlainScratch) <= sizeof(BitScratch), "either is in its bytes");
    const StageMemory memory(
        buffer, {ImageOf(layout), hasRoomForBits ? ScratchOf<BitScratch>(layout.scratch)
                                                 : ScratchOf<PlainScratch>(layout.scratch)});
    uint8_t* scratch = buffer + layout.scratch;
    if (!hasRoomForBits || !ThinBinary(buffer, width, height, WorkAt<BitScratch>(scratch))) {
        ThinPixels(buffer, width, height, WorkAt<PlainScratch>(scratch));
    }
}
