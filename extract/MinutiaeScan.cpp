// SPDX-License-Identifier: Apache-2.0
//
// The candidate scan: endings and bifurcations of the skeleton, found pixel by pixel. Most pixels
// are passed over 16 at a time, by the parity of their branches.

#include <stddef.h>
#include <string.h>

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

// Four blocks side by side are looked at together.
constexpr int32_t kGroupBlocks = kVectorBytes / kBlockSide;

// Where their pixels are ridge with one or three branches: not 0.
struct Seeds {
    uint8_t rows[kBlockSide][kVectorBytes];
};

// 16 pixels of a row, and their neighbours to either side.
struct RowVectors {
    U8x16 left;
    U8x16 middle;
    U8x16 right;
};

RowVectors LoadRow(const uint8_t* pixels) {
    return {LoadVector<U8x16>(pixels - 1), LoadVector<U8x16>(pixels),
            LoadVector<U8x16>(pixels + 1)};
}

// Finds the seeds of the blocks from (bx, by) on. False when there is none. A block's pixels lie one
// to the right and below the block grid. Of the blocks beyond the last one it finds something else,
// reading at most the image rows below.
bool FindSeeds(const Skeleton& skeleton, int32_t bx, int32_t by, Seeds* seeds) {
    constexpr uint8_t kBackgroundBit = 0x80;
    const ptrdiff_t width = skeleton.width;
    const uint8_t* pixels = skeleton.pixels + (kBlockSide * by + 1) * width + kBlockSide * bx + 1;
    RowVectors above = LoadRow(pixels - width);
    RowVectors at = LoadRow(pixels);
    U8x16 any = {};
    for (int32_t row = 0; row < kBlockSide; ++row) {
        pixels += width;
        const RowVectors below = LoadRow(pixels);
        const PixelNeighbours<U8x16> neighbours = {above.left,   above.middle, above.right,
                                                   at.left,      at.right,     below.left,
                                                   below.middle, below.right};
        const U8x16 found = HasOddRuns(neighbours) & ~at.middle & kBackgroundBit;
        StoreVector(found, seeds->rows[row]);
        any |= found;
        above = at;
        at = below;
    }
    return !IsZero(any);
}

// False when none of the four blocks from (bx, by) on is reliable.
bool MayBeReliable(const Skeleton& skeleton, int32_t bx, int32_t by) {
    constexpr uint32_t kFlags = kBackgroundFlag * 0x01010101u;
    const int32_t left = Min(bx, skeleton.blockColumns - kGroupBlocks);  // inside the map
    if (left < 0) {
        return true;
    }
    const uint8_t* directions = skeleton.directionMap + by * skeleton.blockColumns + left;
    uint32_t here, above, below;
    static_assert(sizeof(here) == kGroupBlocks, "a byte a block");
    memcpy(&here, directions, sizeof(here));
    memcpy(&above, directions - skeleton.blockColumns, sizeof(above));
    memcpy(&below, directions + skeleton.blockColumns, sizeof(below));
    return ((here | above | below) & kFlags) != kFlags;
}

bool HasSeed(const Seeds& seeds, int32_t block) {
    uint8_t any = 0;
    for (int32_t row = 0; row < kBlockSide; ++row) {
        for (int32_t column = 0; column < kBlockSide; ++column) {
            any |= seeds.rows[row][kBlockSide * block + column];
        }
    }
    return any != 0;
}

// Appends the candidates of the block (firstBlock + block, by).
void ScanBlock(const Skeleton& skeleton, int32_t firstBlock, int32_t by, int32_t block,
               Seeds* seeds, CandidateList* list) {
    const int32_t left = kBlockSide * (firstBlock + block) + 1;
    const int32_t top = kBlockSide * by + 1;
    for (int32_t row = 0; row < kBlockSide; ++row) {
        for (int32_t column = 0; column < kBlockSide; ++column) {
            const Position seed = {left + column, top + row};
            if (seeds->rows[row][kBlockSide * block + column] == 0 ||
                skeleton.pixels[seed.y * skeleton.width + seed.x] != 0) {
                continue;
            }
            const bool isEnding = gnBC[NeighbourCode(skeleton, seed)] == 1;
            const Candidate candidate =
                isEnding ? EndingAt(skeleton, seed) : BifurcationAt(skeleton, seed);
            if (!isEnding) {
                FindSeeds(skeleton, firstBlock, by, seeds);  // spurs may have been erased
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
}

}  // namespace

void qorfp::ScanCandidates(const Skeleton& skeleton, CandidateList* list) {
    *list = {};
    const int32_t end = skeleton.blockColumns - 1;
    for (int32_t by = 1; by < skeleton.blockRows - 1; ++by) {
        for (int32_t first = 1; first < end; first += kGroupBlocks) {
            Seeds seeds;
            if (!MayBeReliable(skeleton, first, by) || !FindSeeds(skeleton, first, by, &seeds)) {
                continue;
            }
            for (int32_t block = 0; block < kGroupBlocks && first + block < end; ++block) {
                if (HasSeed(seeds, block) && IsReliable(skeleton, first + block, by)) {
                    ScanBlock(skeleton, first, by, block, &seeds, list);
                }
                if (list->count == kMaxCandidates) {
                    return;
                }
            }
        }
    }
}
