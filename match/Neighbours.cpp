// SPDX-License-Identifier: Apache-2.0
//
// The ten nearest neighbours, for eight minutiae at once: a lane is a minutia, and each step deals
// with its distance to one other.

#include "match/Neighbours.h"

#include <string.h>

#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/BarLength.h"

namespace {

using namespace qorfp;

constexpr int32_t kShortestSquared = kMinBarLength * kMinBarLength;
constexpr int32_t kLongestSquared = kMaxBarLength * kMaxBarLength;
constexpr int32_t kFewNeighbours = 19;  // up to here the squared distance decides, then the length

// Distances are compared as keys: squared distance - 225 as an unsigned number of 16 bits, shifted
// to the signed range. Neighbours have the lowest keys; minutiae too near have wrapped to high ones.
constexpr int32_t kKeyOffset = INT16_MIN - kShortestSquared;
constexpr int16_t kPastLastKey = kLongestSquared + 1 + kKeyOffset;

I16x8 AllLanes(int16_t value) {
    return value + I16x8{};
}

I16x8 Least(I16x8 a, I16x8 b) {
    return a < b ? a : b;
}

I16x8 Greatest(I16x8 a, I16x8 b) {
    return a > b ? a : b;
}

int16_t KeyOf(int32_t distSquared) {
    return static_cast<int16_t>(distSquared + kKeyOffset);
}

int32_t DistSquaredOf(int16_t key) {
    return key - kKeyOffset;
}

void CopyPositions(const MinutiaSet& set, NeighbourWork* work) {
    // A last group that is not full has neighbours of its idle lanes sought too.
    memset(work->positions + 2 * set.count, 0, 2 * kMinutiaLanes * sizeof(work->positions[0]));
    for (int32_t i = 0; i < set.count; ++i) {
        work->positions[2 * i] = static_cast<int16_t>(set.minutiae[i].x);
        work->positions[2 * i + 1] = static_cast<int16_t>(set.minutiae[i].y);
    }
}

I16x8 KeysOf(const NeighbourWork& work, int32_t j) {
    return LoadVector<I16x8>(work.keys + j * kMinutiaLanes);
}

// The positions of eight minutiae, to be compared with one.
#if defined(__SSE2__)
class EightPositions {
  public:
    explicit EightPositions(const int16_t* positions)
        : low_(LoadVector<I16x8>(positions)), high_(LoadVector<I16x8>(positions + kMinutiaLanes)) {}

    // Sums of squares in 32 bits. Packing cuts what is too near to the lowest number, and the last step
    // turns that into the highest one.
    I16x8 KeysTo(const int16_t* position) const {
        uint32_t both;
        memcpy(&both, position, sizeof(both));
        const I16x8 other = AsLanes<I16x8>(both + U32x4{});
        const I32x4 low = MultiplyPairs(low_ - other, low_ - other) + (kKeyOffset + 1);
        const I32x4 high = MultiplyPairs(high_ - other, high_ - other) + (kKeyOffset + 1);
        const __m128i keys = _mm_packs_epi32(AsLanes<__m128i>(low), AsLanes<__m128i>(high));
        return AsLanes<I16x8>(AsLanes<U16x8>(keys) - 1);
    }

  private:
    I16x8 low_;
    I16x8 high_;
};
#else
// What keeps the squares of farther sides in 16 bits, and their sum beyond the longest distance.
constexpr int16_t kSideLimit = kMaxBarLength + 1;
constexpr int16_t kSideSumLimit = 283;
static_assert(Square(kSideLimit) > kLongestSquared, "a cut side is still too long");
static_assert(Square(kSideSumLimit) > 2 * kLongestSquared, "so is the pair of cut sides");
static_assert(Square(kSideLimit) + Square(kSideSumLimit - kSideLimit) <= UINT16_MAX, "16 bits");

// |a - b|
I16x8 Difference(I16x8 a, I16x8 b) {
    return Greatest(a - b, b - a);
}

I16x8 CutSide(I16x8 side) {
    return Least(side, AllLanes(kSideLimit));
}

class EightPositions {
  public:
    explicit EightPositions(const int16_t* positions) {
        for (int32_t lane = 0; lane < kMinutiaLanes; ++lane) {
            x_[lane] = positions[2 * lane];
            y_[lane] = positions[2 * lane + 1];
        }
    }

    // All in 16 bits.
    I16x8 KeysTo(const int16_t* position) const {
        const I16x8 width = CutSide(Difference(x_, AllLanes(position[0])));
        const I16x8 height =
            Least(CutSide(Difference(y_, AllLanes(position[1]))), AllLanes(kSideSumLimit) - width);
        const U16x8 w = AsLanes<U16x8>(width);
        const U16x8 h = AsLanes<U16x8>(height);
        const U16x8 offset = EveryLane(static_cast<uint16_t>(kKeyOffset & UINT16_MAX));
        return AsLanes<I16x8>(w * w + h * h + offset);
    }

  private:
    I16x8 x_;
    I16x8 y_;
};
#endif

// Distance keys of all minutiae to minutiae first .. first + 7; gives each one's neighbours.
I16x8 MakeKeys(NeighbourWork* work, int32_t count, int32_t first) {
    const EightPositions eight(work->positions + 2 * first);
    I16x8 neighbours = {};
    for (int32_t j = 0; j < count; ++j) {
        const I16x8 keys = eight.KeysTo(work->positions + 2 * j);
        StoreVector(keys, work->keys + j * kMinutiaLanes);
        neighbours -= keys < AllLanes(kPastLastKey);
    }
    return neighbours;
}

// The tenth lowest key of each lane; no neighbour's where there are fewer.
I16x8 TenthKeys(const NeighbourWork& work, int32_t count) {
    I16x8 lowest[kMostNeighbours];  // ascending
    for (I16x8& keys : lowest) {
        keys = AllLanes(INT16_MAX);
    }
    for (int32_t j = 0; j < count; ++j) {
        I16x8 keys = KeysOf(work, j);
        for (I16x8& low : lowest) {
            const I16x8 higher = Greatest(low, keys);
            low = Least(low, keys);
            keys = higher;
        }
    }
    return lowest[kMostNeighbours - 1];
}

// Which keys of eight lanes make a neighbour: those below the cut, and of those at it the few that
// complete the ten.
struct Cuts {
    int16_t below[kMinutiaLanes];   // keys under it are nearer than the cut
    int16_t within[kMinutiaLanes];  // keys under it are not beyond the cut
};

// The cut of a minutia with more than ten neighbours lies at the distance of the tenth, compared by
// squared distance among few of them and by whole length among many.
Cuts CutsOf(I16x8 tenthKeys, I16x8 neighbours) {
    Cuts cuts;
    for (int32_t lane = 0; lane < kMinutiaLanes; ++lane) {
        if (neighbours[lane] <= kMostNeighbours) {
            cuts.below[lane] = kPastLastKey;
            cuts.within[lane] = kPastLastKey;
        } else if (neighbours[lane] <= kFewNeighbours) {
            cuts.below[lane] = tenthKeys[lane];
            cuts.within[lane] = static_cast<int16_t>(tenthKeys[lane] + 1);
        } else {
            const int32_t length = LengthOf(DistSquaredOf(tenthKeys[lane]));
            cuts.below[lane] = KeyOf(Square(length));
            cuts.within[lane] = KeyOf(Min(Square(length + 1), kLongestSquared + 1));
        }
    }
    return cuts;
}

// A bit for each minutia whose key lies below its cut, sixteen minutiae a word.
constexpr int32_t kWordBits = 16;
constexpr int32_t kWords = (kMaxMinutiae + kWordBits - 1) / kWordBits;

struct LaneBits {
    uint16_t words[kWords][kMinutiaLanes];
};

NeighbourBits BitsOf(const LaneBits& bits, int32_t lane) {
    NeighbourBits all = 0;
    for (int32_t word = 0; word < kWords; ++word) {
        all |= static_cast<NeighbourBits>(bits.words[word][lane]) << (word * kWordBits);
    }
    return all;
}

// Gives the number of keys below the cuts, lane by lane.
I16x8 CompareWithCuts(const NeighbourWork& work, int32_t count, const Cuts& cuts, LaneBits* below,
                      LaneBits* within) {
    const I16x8 belowCut = LoadVector<I16x8>(cuts.below);
    const I16x8 withinCut = LoadVector<I16x8>(cuts.within);
    I16x8 belowCount = {};
    for (int32_t word = 0; word < kWords; ++word) {
        U16x8 belowBits = {};
        U16x8 withinBits = {};
        const int32_t end = Min((word + 1) * kWordBits, count);
        for (int32_t j = end - 1; j >= word * kWordBits; --j) {
            const I16x8 keys = KeysOf(work, j);
            const I16x8 isBelow = keys < belowCut;
            belowCount -= isBelow;
            belowBits = belowBits + belowBits - AsLanes<U16x8>(isBelow);
            withinBits = withinBits + withinBits - AsLanes<U16x8>(keys < withinCut);
        }
        StoreVector(belowBits, below->words[word]);
        StoreVector(withinBits, within->words[word]);
    }
    return belowCount;
}

NeighbourBits LowestOf(NeighbourBits bits) {
    return bits & (~bits + 1);
}

NeighbourBits HighestOf(NeighbourBits bits) {
    return static_cast<NeighbourBits>(1) << (63 - __builtin_clzll(bits));
}

// Of equal distances, among many neighbours the lowest-numbered stay, among few the highest.
NeighbourBits FillUp(NeighbourBits below, NeighbourBits atCut, int32_t missing, bool areMany) {
    for (; missing > 0 && atCut != 0; --missing) {
        const NeighbourBits taken = areMany ? LowestOf(atCut) : HighestOf(atCut);
        below |= taken;
        atCut ^= taken;
    }
    return below;
}

}  // namespace

void qorfp::FindNeighbours(const MinutiaSet& set, NeighbourWork* work) {
    CopyPositions(set, work);
    for (int32_t first = 0; first < set.count; first += kMinutiaLanes) {
        const I16x8 neighbours = MakeKeys(work, set.count, first);
        const I16x8 tenthKeys = TenthKeys(*work, set.count);
        const Cuts cuts = CutsOf(tenthKeys, neighbours);
        LaneBits below;
        LaneBits within;
        const I16x8 belowCounts = CompareWithCuts(*work, set.count, cuts, &below, &within);
        const int32_t lanes = Min(set.count - first, kMinutiaLanes);
        for (int32_t lane = 0; lane < lanes; ++lane) {
            const NeighbourBits nearer = BitsOf(below, lane);
            const NeighbourBits atCut = BitsOf(within, lane) & ~nearer;
            work->neighbours[first + lane] =
                FillUp(nearer, atCut, kMostNeighbours - belowCounts[lane],
                       neighbours[lane] > kFewNeighbours);
        }
    }
}
