// SPDX-License-Identifier: Apache-2.0
//
// Weighted 3 x 3 smoothing that closes small gaps.

#include <stddef.h>
#include <string.h>

#include "engine/Work.h"
#include "extract/Vector.h"
#include "preprocess/FPPreprocess.h"

namespace {

using namespace qorfp;

constexpr int32_t kCentreWeight = 72;
constexpr int32_t kEdgeWeight = 7;
constexpr int32_t kCornerWeight = 5;
constexpr int32_t kWeightSum = kCentreWeight + 4 * kEdgeWeight + 4 * kCornerWeight;
static_assert(kWeightSum == 120, "a uniform image stays as it is");

// --- By vectors -----------------------------------------------------------------------------

// sum / 120 = (sum / 8) / 15 = ((sum >> 3) x reciprocal) >> 16.
constexpr uint16_t kReciprocalOf15 = 65536 / 15 + 1;

constexpr bool DividesExactly() {
    for (uint32_t sum = 0; sum <= 255 * kWeightSum; ++sum) {
        if ((sum >> 3) * kReciprocalOf15 >> 16 != sum / kWeightSum) {
            return false;
        }
    }
    return true;
}
static_assert(DividesExactly(), "every weighted sum, which also fits 16 bits");

constexpr int32_t kMinVectorWidth = kVectorBytes + 2;

// What 16 pixels of a row, from `pixels` on, give to the weighted sums of their own row, and to
// those of the rows above and below.
struct Shares {
    U16x16 own;
    U16x16 neighbours;
};

Shares SharesOf(const uint8_t* pixels) {
    const U16x16 centre = Widen(LoadVector<U8x16>(pixels));
    const U16x16 sides =
        Widen(LoadVector<U8x16>(pixels - 1)) + Widen(LoadVector<U8x16>(pixels + 1));
    // The weights in as few steps as there are, with the eightfold centre used twice.
    static_assert(kCentreWeight == 8 * 9 && kEdgeWeight == 8 - 1 && kCornerWeight == 4 + 1,
                  "as calculated");
    const U16x16 eightfold = centre << 3;
    return {((eightfold + centre + sides) << 3) - sides,
            (eightfold - centre) + ((sides << 2) + sides)};
}

// The shares of a row whose pixels are overwritten.
struct RowShares {
    uint16_t* own;
    uint16_t* neighbours;

    void Store(const Shares& shares, ptrdiff_t x) const {
        StoreLanes(shares.own, own + x);
        StoreLanes(shares.neighbours, neighbours + x);
    }
};
constexpr int32_t kRowsOfShares = 3;  // above, at and below the row that is written

void FilterByVectors(int32_t width, int32_t height, uint8_t* image, uint16_t* scratch) {
    RowShares above = {scratch, scratch + width};
    RowShares here = {scratch + 2 * width, scratch + 3 * width};
    RowShares below = {scratch + 4 * width, scratch + 5 * width};
    ForEachVector(1, width - 1, [=](ptrdiff_t x) {
        above.Store(SharesOf(image + x), x);
        here.Store(SharesOf(image + width + x), x);
    });
    for (int32_t y = 1; y < height - 1; ++y) {
        uint8_t* row = image + y * width;
        ForEachVector(1, width - 1, [=](ptrdiff_t x) {
            const Shares shares = SharesOf(row + width + x);
            below.Store(shares, x);
            const U16x16 sum =
                LoadLanes(above.neighbours + x) + LoadLanes(here.own + x) + shares.neighbours;
            StoreVector(Narrow(MultiplyHigh(sum >> 3, kReciprocalOf15)), row + x);
        });
        const RowShares done = above;
        above = here;
        here = below;
        below = done;
    }
}

// --- Pixel by pixel, for narrow images and where there is little room -----------------------

void FilterRow(int32_t width, const uint8_t* row, uint8_t* outRow) {
    const uint8_t* above = row - width;
    const uint8_t* below = row + width;
    for (int32_t x = 1; x < width - 1; ++x) {
        const int32_t edges = above[x] + below[x] + row[x - 1] + row[x + 1];
        const int32_t corners = above[x - 1] + above[x + 1] + below[x - 1] + below[x + 1];
        const int32_t sum = kCentreWeight * row[x] + kEdgeWeight * edges + kCornerWeight * corners;
        outRow[x] = static_cast<uint8_t>(sum / kWeightSum);
    }
}

// A filtered row waits in one of two scratch rows until the row below it has been filtered, which
// still reads it unfiltered.
void FilterByPixels(int32_t width, int32_t height, uint8_t* image, uint8_t* scratch) {
    uint8_t* current = scratch;
    uint8_t* waiting = current + width;
    const size_t interiorBytes = static_cast<size_t>(width) - 2;
    for (int32_t y = 1; y < height - 1; ++y) {
        FilterRow(width, image + y * width, current);
        if (y > 1) {
            memcpy(image + (y - 1) * width + 1, waiting + 1, interiorBytes);
        }
        uint8_t* filtered = current;
        current = waiting;
        waiting = filtered;
    }
    memcpy(image + (height - 2) * width + 1, waiting + 1, interiorBytes);
}

}  // namespace

void PuttyImage(int32_t width, int32_t height, uint8_t* image) {
    if (width < 3 || height < 3) {
        return;
    }
    const int64_t scratchAt = static_cast<int64_t>(width) * height;
    const int64_t sharesAt = (scratchAt + 1) / 2 * 2;
    const int64_t rowBytes = width;
    const int64_t sharesBytes = 2 * kRowsOfShares * 2 * rowBytes;
    if (width >= kMinVectorWidth && sharesAt + sharesBytes <= kWorkBytes) {
        FilterByVectors(width, height, image, WorkAt<uint16_t>(image + sharesAt));
    } else if (scratchAt + 2 * rowBytes <= kWorkBytes) {
        FilterByPixels(width, height, image, image + scratchAt);
    }
}
