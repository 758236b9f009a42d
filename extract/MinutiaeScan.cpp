// SPDX-License-Identifier: Apache-2.0
//
// The candidate scan: endings and bifurcations of the skeleton, found pixel by pixel. Most pixels
// are passed over 128 at a time, by the parity of their branches.

#include <stddef.h>
#include <string.h>

#include "extract/BitRows.h"
#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "extract/Minutiae.h"
#include "extract/PixelNeighbours.h"
#include "extract/RidgeTrace.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kShortestBranch = 4;    // steps; a shorter one gives no direction
constexpr int32_t kSpurRidgeLength = 10;  // steps of the ridge that is left when spurs are erased

// All nine blocks around a block are foreground.
bool IsReliable(const Skeleton& skeleton, int32_t bx, int32_t by) {
    uint8_t flags = 0;
    for (int32_t y = by - 1; y <= by + 1; ++y) {
        for (int32_t x = bx - 1; x <= bx + 1; ++x) {
            flags |= skeleton.directionMap[y * skeleton.blockColumns + x];
        }
    }
    return (flags & kBackgroundFlag) == 0;
}

// Direction of a traced ridge, or kDeleted when it is too short to have one.
uint8_t RidgeDirection(Position seed, const RidgeTrace& trace) {
    return trace.steps < kShortestBranch ? kDeleted : DirectionBetween(seed, trace.end);
}

// The candidate at a pixel with one branch; direction kDeleted for none.
Candidate EndingAt(const Skeleton& skeleton, Position seed) {
    RidgeTrace trace;
    TraceRidge(skeleton, seed, kScanSteps, &trace);
    Unmark(skeleton, trace);
    return {static_cast<int16_t>(seed.x), static_cast<int16_t>(seed.y), kEnding,
            RidgeDirection(seed, trace)};
}

// A free branch: one that ran into another ridge is none, however short it is.
bool IsShort(const RidgeTrace& trace) {
    return trace.steps < kShortestBranch && !trace.hitRidge;
}

// Two short free branches and one long one are an ending with a frayed tip. Gives the long branch,
// or -1.
int32_t FindSpurRidge(const RidgeTrace traces[kBranches]) {
    int32_t shortBranches = 0;
    int32_t ridge = -1;
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        if (IsShort(traces[branch])) {
            ++shortBranches;
        } else {
            ridge = branch;
        }
    }
    const bool isSpur = shortBranches == kBranches - 1 && traces[ridge].steps >= kSpurRidgeLength;
    return isSpur ? ridge : -1;
}

// The candidate at a pixel with three branches; direction kDeleted for none. The two short branches
// of a spur stay marked: they are erased from the skeleton.
Candidate BifurcationAt(const Skeleton& skeleton, Position seed) {
    Candidate candidate = {static_cast<int16_t>(seed.x), static_cast<int16_t>(seed.y), kBifurcation,
                           kDeleted};
    Position firstPixels[kBranches];
    RidgeTrace traces[kBranches];
    if (!TraceBranches(skeleton, seed, kScanSteps, firstPixels, traces)) {
        return candidate;
    }
    const int32_t spurRidge = FindSpurRidge(traces);
    bool hasAllDirections = true;
    Unmark(skeleton, seed);
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        if (spurRidge < 0 || branch == spurRidge) {
            Unmark(skeleton, firstPixels[branch]);
            Unmark(skeleton, traces[branch]);
        }
        hasAllDirections = hasAllDirections && traces[branch].steps >= kShortestBranch;
    }
    if (spurRidge >= 0) {
        candidate.type = kEnding;
        candidate.direction = RidgeDirection(seed, traces[spurRidge]);
    } else if (hasAllDirections) {
        candidate.direction =
            RidgeDirection(seed, traces[0]);  // provisional: refinement replaces it
    }
    return candidate;
}

// The pixels of a block row lie one to the right and below the block grid. They are looked at as bit
// rows, together with the rows above and below.
constexpr int32_t kScanRows = 1 + kBlockSide + 1;
constexpr int32_t kCommonRows = 2;  // with the next block row
constexpr int32_t kGroupBlocks = 4;

// A block row.
struct ScanRow {
    int32_t offsets[kSegments];  // where the segments begin, inside the image
    uint8_t bits[kScanRows * (kMaxSegment + 2)];
    // Where pixels of each block are ridge with one or three branches: bits 0..15, row by row.
    uint16_t seeds[kMaxBlockColumns / kGroupBlocks * kGroupBlocks + kGroupBlocks];
};

// Makes bit rows first .. kScanRows - 1 of the image rows from `pixels` on, 1 for background. What they
// have for the columns outside the image does not matter; at most as many pixels as a segment has are
// read behind the last row's end.
void PackRows(const uint8_t* pixels, const int32_t* offsets, int32_t width, const BitRows& rows,
              int32_t first) {
    for (int32_t y = first; y < kScanRows; ++y) {
        uint8_t* row = rows.Row(y);
        for (ptrdiff_t j = 0; j < rows.segment; j += kVectorBytes) {
            // Erased pixels are 254: segment 0 takes another bit than its own.
            U8x16 bits = LoadVector<U8x16>(pixels + j) >> 7;
            for (int32_t k = 1; k < kSegments; ++k) {
                bits |= LoadVector<U8x16>(pixels + offsets[k] + j) & static_cast<uint8_t>(1 << k);
            }
            StoreVector(bits, row + j);
        }
        CloseBitRow(row, rows.segment);
        pixels += width;
    }
}

// Adds the seeds that lie in eight bytes of a bit row to those of their blocks.
void AddSeeds(uint64_t found, int32_t firstByte, int32_t segment, int32_t row, uint16_t* seeds) {
    for (; found != 0; found &= found - 1) {
        const int32_t bit = __builtin_ctzll(found);
        const int32_t x = bit % kSegments * segment + firstByte + bit / kSegments - 1;
        if (x >= 0) {
            seeds[x / kBlockSide] |=
                static_cast<uint16_t>(1 << (kBlockSide * row + x % kBlockSide));
        }
    }
}

// Adds the seeds of a block row, of which the first `packed` bit rows are made already, to scan->seeds.
// Those of the columns outside the block grid may be anything.
void FindSeeds(const Skeleton& skeleton, int32_t by, int32_t packed, ScanRow* scan) {
    const int32_t width = skeleton.width;
    const BitRows rows = {scan->bits, SegmentOf(width)};
    PackRows(skeleton.pixels + (kBlockSide * by + packed) * width, scan->offsets, width, rows,
             packed);
    for (int32_t row = 0; row < kBlockSide; ++row) {
        for (int32_t j = 0; j < rows.segment; j += kVectorBytes) {
            const uint8_t* at = rows.Row(row + 1) + j;
            const uint8_t* above = at - rows.Stride();
            const uint8_t* below = at + rows.Stride();
            const PixelNeighbours<U8x16> neighbours = {
                LoadVector<U8x16>(above - 1), LoadVector<U8x16>(above),
                LoadVector<U8x16>(above + 1), LoadVector<U8x16>(at - 1),
                LoadVector<U8x16>(at + 1),    LoadVector<U8x16>(below - 1),
                LoadVector<U8x16>(below),     LoadVector<U8x16>(below + 1)};
            const U8x16 seeds = HasOddRuns(neighbours) & ~LoadVector<U8x16>(at);
            if (IsZero(seeds)) {
                continue;
            }
            uint64_t found[kVectorBytes / sizeof(uint64_t)];
            StoreVector(seeds, found);
            for (const uint64_t& eight : found) {
                const int32_t firstByte = j + static_cast<int32_t>(8 * (&eight - found));
                AddSeeds(kIsBigEndian ? __builtin_bswap64(eight) : eight, firstByte, rows.segment,
                         row, scan->seeds);
            }
        }
    }
}

// Appends the candidates of the block (bx, by).
void ScanBlock(const Skeleton& skeleton, int32_t bx, int32_t by, ScanRow* scan,
               CandidateList* list) {
    uint32_t seeds = scan->seeds[bx];
    while (seeds != 0) {
        const int32_t place = __builtin_ctz(seeds);
        seeds &= seeds - 1;
        const Position seed = {kBlockSide * bx + 1 + place % kBlockSide,
                               kBlockSide * by + 1 + place / kBlockSide};
        if (skeleton.pixels[seed.y * skeleton.width + seed.x] != 0) {
            continue;
        }
        const bool isEnding = gnBC[NeighbourCode(skeleton, seed)] == 1;
        const Candidate candidate =
            isEnding ? EndingAt(skeleton, seed) : BifurcationAt(skeleton, seed);
        if (!isEnding && candidate.type == kEnding) {  // spurs have been erased
            memset(scan->seeds, 0, sizeof(scan->seeds));
            FindSeeds(skeleton, by, 0, scan);
            seeds = scan->seeds[bx] & ~((2u << place) - 1);
        }
        if (candidate.direction == kDeleted) {
            continue;
        }
        list->items[list->count] = candidate;
        ++list->count;
        if (list->count == kMaxCandidates) {
            return;
        }
    }
}

// Whether any of four blocks has a seed.
bool HaveSeeds(const uint16_t* seeds) {
    uint64_t four;
    static_assert(sizeof(four) == kGroupBlocks * sizeof(*seeds), "four at once");
    memcpy(&four, seeds, sizeof(four));
    return four != 0;
}

}  // namespace

void qorfp::ScanCandidates(const Skeleton& skeleton, CandidateList* list) {
    *list = {};
    ScanRow scan;
    const BitRows rows = {scan.bits, SegmentOf(skeleton.width)};
    for (int32_t k = 0; k < kSegments; ++k) {
        scan.offsets[k] = Min(k * rows.segment, skeleton.width);
    }
    // So that there are 13 columns or more; below a block row that is scanned lie three more rows.
    const int32_t end = skeleton.blockColumns - 1;
    if (end <= 1) {
        return;
    }
    memset(scan.seeds, 0, sizeof(scan.seeds));
    for (int32_t by = 1; by < skeleton.blockRows - 1; ++by) {
        int32_t packed = 0;
        if (by > 1) {
            packed = kCommonRows;
            memmove(scan.bits, scan.bits + (kScanRows - kCommonRows) * rows.Stride(),
                    static_cast<size_t>(kCommonRows * rows.Stride()));
        }
        FindSeeds(skeleton, by, packed, &scan);
        for (int32_t first = 0; first < end; first += kGroupBlocks) {
            if (!HaveSeeds(scan.seeds + first)) {
                continue;
            }
            for (int32_t bx = Max(first, 1); bx < Min(first + kGroupBlocks, end); ++bx) {
                if (scan.seeds[bx] != 0 && IsReliable(skeleton, bx, by)) {
                    ScanBlock(skeleton, bx, by, &scan, list);
                }
                if (list->count == kMaxCandidates) {
                    return;
                }
            }
            memset(scan.seeds + first, 0, kGroupBlocks * sizeof(*scan.seeds));
        }
    }
}
