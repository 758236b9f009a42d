// SPDX-License-Identifier: Apache-2.0
//
// Noise removal: a 3 x 3 majority vote on the binary image, 128 pixels at a time. Images that are not
// binary, of which the sum counts, and those without room for bit rows take the plain form.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/BitRows.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kMajority = 1152;  // more than 4.5 x 255: at least five of nine pixels are 255
constexpr int32_t kRows = 3;

struct BitScratch {
    uint8_t frame[kMaxSegment];  // columns that become background
    BitRowLine line;
};
static_assert(FitsBeforeBitImages(sizeof(BitScratch)), "fits behind every accepted image");

// Copies of the unchanged rows above, at and below the one that is written.
struct PlainScratch {
    int32_t columnSums[kMaxStageWidth];
    uint8_t rows[kRows][kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(PlainScratch)), "fits behind every accepted image");

// --- Bit rows ------------------------------------------------------------------------------------

// How many of some pixels are background, as bits.
struct Count {
    U8x16 ones;
    U8x16 twos;
};

// Of three bits.
Count Add(U8x16 a, U8x16 b, U8x16 c) {
    const U8x16 differ = a ^ b;
    return {differ ^ c, (a & b) | (differ & c)};
}

// Of each pixel of a row and its neighbours to either side.
Count CountRow(const uint8_t* bits) {
    return Add(LoadVector<U8x16>(bits - 1), LoadVector<U8x16>(bits), LoadVector<U8x16>(bits + 1));
}

// Whether three counts of 0..3 add up to five or more.
U8x16 IsMajority(Count a, Count b, Count c) {
    const Count ones = Add(a.ones, b.ones, c.ones);
    const Count twos = Add(a.twos, b.twos, c.twos);  // twos, and fours
    return (twos.twos & (ones.ones | ones.twos | twos.ones)) | (ones.ones & ones.twos & twos.ones);
}

void VoteBits(const BitRows& from, int32_t width, int32_t height, const BitRows& to,
              BitScratch* scratch) {
    const int32_t segment = from.segment;
    const ptrdiff_t stride = from.Stride();
    MarkFrame(width, segment, scratch->frame);
    for (int32_t j = 0; j < segment; j += kVectorBytes) {
        const U8x16 frame = LoadVector<U8x16>(scratch->frame + j);
        const uint8_t* below = from.Row(1) + j;
        uint8_t* out = to.Row(1) + j;
        Count above = CountRow(below - stride);
        Count at = CountRow(below);
        for (int32_t y = 1; y < height - 1; ++y) {
            below += stride;
            const Count next = CountRow(below);
            StoreVector(IsMajority(above, at, next) | frame, out);
            out += stride;
            above = at;
            at = next;
        }
    }
    for (int32_t y = 1; y < height - 1; ++y) {
        CloseBitRow(to.Row(y), segment);
    }
    memset(to.Row(0) - 1, 255, static_cast<size_t>(stride));
    memset(to.Row(height - 1) - 1, 255, static_cast<size_t>(stride));
}

// Votes on bit image 0, and writes what comes out to bit image 1 and to the image.
void RemoveInBits(uint8_t* buffer, int32_t width, int32_t height, BitScratch* scratch) {
    const BitRows to = BitImage(buffer, 1, width);
    VoteBits(BitImage(buffer, 0, width), width, height, to, scratch);
    UnpackBitRows(to, 0, height, &scratch->line, width, buffer);
}

// False, with nothing done, when the image is not binary.
bool RemoveBinary(uint8_t* buffer, int32_t width, int32_t height, BitScratch* scratch) {
    const BitRows from = BitImage(buffer, 0, width);
    for (int32_t y = 0; y < height; ++y) {
        if (!PackBitRow(buffer + y * width, width, &scratch->line, from, y)) {
            return false;
        }
    }
    RemoveInBits(buffer, width, height, scratch);
    return true;
}

// --- The plain form ------------------------------------------------------------------------------

void VoteRow(const int32_t* columnSums, int32_t width, uint8_t* row) {
    row[0] = 255;
    row[width - 1] = 255;
    for (int32_t x = 1; x < width - 1; ++x) {
        const int32_t sum = columnSums[x - 1] + columnSums[x] + columnSums[x + 1];
        row[x] = sum >= kMajority ? 255 : 0;
    }
}

void RemoveAny(uint8_t* image, int32_t width, int32_t height, PlainScratch* scratch) {
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    for (int32_t entering = 0; entering < height; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kRows];
        if (entering >= kRows) {
            for (int32_t x = 0; x < width; ++x) {
                scratch->columnSums[x] -= ringRow[x];
            }
        }
        memcpy(ringRow, image + entering * width, static_cast<size_t>(width));
        for (int32_t x = 0; x < width; ++x) {
            scratch->columnSums[x] += ringRow[x];
        }
        if (entering >= 2) {
            VoteRow(scratch->columnSums, width, image + (entering - 1) * width);
        }
    }
}

}  // namespace

void qorfp::RemoveNoiseFromBits(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    const StageMemory memory(buffer, {ImageOf(layout), ScratchOf<BitScratch>(layout.periodMap),
                                      BitImageIn(0), NewBitImageIn(1)});
    RemoveInBits(buffer, width, height, WorkAt<BitScratch>(buffer + layout.periodMap));
}

void RemoveNoise(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(PlainScratch))) {
        return;
    }
    uint8_t* scratch = buffer + layout.periodMap;
    if (height > 2 && HasBitImages(width, height, layout.periodMap, sizeof(BitScratch))) {
        const StageMemory memory(buffer, {ImageOf(layout), ScratchOf<BitScratch>(layout.periodMap),
                                          NewBitImageIn(0), NewBitImageIn(1)});
        if (RemoveBinary(buffer, width, height, WorkAt<BitScratch>(scratch))) {
            return;
        }
    }
    const StageMemory memory(buffer, {ImageOf(layout), ScratchOf<PlainScratch>(layout.periodMap)});
    RemoveAny(buffer, width, height, WorkAt<PlainScratch>(scratch));
    memset(buffer, 255, static_cast<size_t>(width));
    memset(buffer + (height - 1) * width, 255, static_cast<size_t>(width));
}
