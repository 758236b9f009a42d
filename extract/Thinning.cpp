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

#include "extract/BinaryImage.h"
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

// Both lie behind both maps: minutiae detection still needs the ridge-period map.
struct PlainScratch {
    uint8_t isQuiet[kSubIterations][kMaxStageHeight];  // rows with nothing to delete
    uint8_t rows[3][kMaxStageWidth];  // unchanged copies of the rows above, at and below
};
static_assert(FitsEveryImage(sizeof(PlainScratch)), "fits behind every accepted image");

struct BitScratch {
    uint16_t active[kSubIterations][kMaxStageHeight];  // rows to be looked at, see ThinActiveRows
    uint8_t found[2][kMaxSegment];  // bits to delete, of a row and of the one before
    uint8_t frame[kMaxSegment];     // columns that are left as they are
    BitRowLine line;
};
static_assert(FitsBeforeBitImages(sizeof(BitScratch)), "fits behind every accepted image");
static_assert(kBitImageBytes <= 65536, "distances of rows are 16-bit numbers");

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
bool FindDeletions(const uint8_t* row, ptrdiff_t segment, ptrdiff_t stride, const uint8_t* frame,
                   uint8_t* found) {
    const uint8_t* above = row - stride;
    const uint8_t* below = row + stride;
    U8x16 any = {};
    for (ptrdiff_t j = 0; j < segment; j += kVectorBytes) {
        const Neighbours neighbours = {
            LoadVector<U8x16>(above + j - 1), LoadVector<U8x16>(above + j),
            LoadVector<U8x16>(above + j + 1), LoadVector<U8x16>(row + j - 1),
            LoadVector<U8x16>(row + j + 1),   LoadVector<U8x16>(below + j - 1),
            LoadVector<U8x16>(below + j),     LoadVector<U8x16>(below + j + 1)};
        const U8x16 deleted =
            IsDeleted(neighbours) & ~(LoadVector<U8x16>(row + j) | LoadVector<U8x16>(frame + j));
        StoreVector(deleted, found + j);
        any |= deleted;
    }
    return !IsZero(any);
}

void Delete(uint8_t* row, ptrdiff_t segment, const uint8_t* found) {
    for (ptrdiff_t j = 0; j < segment; j += kVectorBytes) {
        StoreVector(LoadVector<U8x16>(row + j) | LoadVector<U8x16>(found + j), row + j);
    }
    CloseBitRow(row, static_cast<int32_t>(segment));
}

// Deliberate: a row in which this sub-iteration once found nothing to delete is never looked at
// again by it, even if deletions around it would make some of its pixels deletable.
// The active rows are those that are left, by their distances from row 0, from the top down. Returns
// their new number.
template <Rule IsDeleted>
int32_t ThinActiveRows(const BitRows& bits, uint16_t* active, int32_t count, BitScratch* scratch) {
    const ptrdiff_t segment = bits.segment;
    const ptrdiff_t stride = bits.Stride();
    int32_t kept = 0;
    uint8_t* found = scratch->found[0];
    uint8_t* foundBefore = scratch->found[1];
    uint8_t* rowToDelete = nullptr;  // the row looked at before, where something has been found
    for (const uint16_t *at = active, *end = active + count; at != end; ++at) {
        uint8_t* row = bits.Row(0) + *at;
        const bool hasFound = FindDeletions<IsDeleted>(row, segment, stride, scratch->frame, found);
        if (rowToDelete != nullptr) {
            Delete(rowToDelete, segment, foundBefore);  // no row needs its old state now
            rowToDelete = nullptr;
        }
        if (hasFound) {
            active[kept] = *at;
            ++kept;
            rowToDelete = row;
            uint8_t* const other = foundBefore;
            foundBefore = found;
            found = other;
        }
    }
    if (rowToDelete != nullptr) {
        Delete(rowToDelete, segment, foundBefore);
    }
    return kept;
}

// Thins bit image 1, and writes what comes out to the image.
void ThinInBits(uint8_t* buffer, int32_t width, int32_t height, BitScratch* scratch) {
    const BitRows bits = BitImage(buffer, 1, width);
    MarkFrame(width, bits.segment, scratch->frame);
    int32_t counts[kSubIterations];
    for (int32_t sub = 0; sub < kSubIterations; ++sub) {
        counts[sub] = height - 2;
        for (int32_t y = 1; y < height - 1; ++y) {
            scratch->active[sub][y - 1] = static_cast<uint16_t>(bits.Stride() * y);
        }
    }
    RunPasses([&](int32_t sub) {
        uint16_t* active = scratch->active[sub];
        counts[sub] = sub == 0
                          ? ThinActiveRows<IsDeletedFirst>(bits, active, counts[sub], scratch)
                          : ThinActiveRows<IsDeletedSecond>(bits, active, counts[sub], scratch);
        return counts[sub] != 0;
    });
    UnpackBitRows(bits, 1, height - 1, &scratch->line, width, buffer + width);
}

// False, with nothing done, when the image is not binary.
bool ThinBinary(uint8_t* buffer, int32_t width, int32_t height, BitScratch* scratch) {
    const BitRows bits = BitImage(buffer, 1, width);
    for (int32_t y = 0; y < height; ++y) {
        if (!PackBitRow(buffer + y * width, width, &scratch->line, bits, y)) {
            return false;
        }
    }
    ThinInBits(buffer, width, height, scratch);
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
    memset(scratch->isQuiet, 0, sizeof(scratch->isQuiet));
    RunPasses([&](int32_t sub) {
        return ThinPixelRows(image, width, height, gbThin + sub * kCodes, scratch->isQuiet[sub],
                             scratch);
    });
}

}  // namespace

void qorfp::ThinBits(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    const StageMemory memory(
        buffer, {ImageOf(layout), ScratchOf<BitScratch>(layout.scratch), BitImageIn(1)});
    ThinInBits(buffer, width, height, WorkAt<BitScratch>(buffer + layout.scratch));
}

void Thinning(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (height < 3 || !layout.isUsable || !HasRoom(layout.scratch, sizeof(PlainScratch))) {
        return;
    }
    uint8_t* scratch = buffer + layout.scratch;
    if (HasBitImages(width, height, layout.scratch, sizeof(BitScratch))) {
        const StageMemory memory(
            buffer, {ImageOf(layout), ScratchOf<BitScratch>(layout.scratch), NewBitImageIn(1)});
        if (ThinBinary(buffer, width, height, WorkAt<BitScratch>(scratch))) {
            return;
        }
    }
    const StageMemory memory(buffer, {ImageOf(layout), ScratchOf<PlainScratch>(layout.scratch)});
    ThinPixels(buffer, width, height, WorkAt<PlainScratch>(scratch));
}
