// SPDX-License-Identifier: Apache-2.0
//
// The reference side of a comparison, prepared once: its bars, and lists of them by the sectors of
// their two angles. A bar is entered under the sectors of its angles plus and minus 10, so a probe
// bar finds every reference bar within 10 steps of it in the one list of its own sectors.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/MinutiaBox.h"
#include "match/SectorBar.h"

namespace {

using namespace qorfp;

constexpr int32_t kAngleMargin = 10;  // angle steps
static_assert(2 * kAngleMargin * kSectors == kTurn, "the margins lie in neighbouring sectors");

// The sector of an angle minus the margin; that of the angle plus the margin is the next.
uint8_t LowSectorOf(int32_t angle) {
    const int32_t low = angle - kAngleMargin;
    return gbDiv20[low < 0 ? low + kTurn : low];
}

constexpr int32_t Next(int32_t sector) {
    return sector + 1 < kSectors ? sector + 1 : 0;
}

constexpr int32_t Previous(int32_t sector) {
    return sector > 0 ? sector - 1 : kSectors - 1;
}

// The low sectors of both angles of each pair's first bar; those of the reverse are exchanged.
struct PairSectors {
    uint8_t first[kMaxBarPairs];
    uint8_t second[kMaxBarPairs];
};

// Bars by the low sectors of their angles.
struct SectorCounts {
    int16_t bars[kSectors][kSectors];
};

void CountBars(const MatchContext& context, PairSectors* sectors, SectorCounts* counts) {
    memset(counts, 0, sizeof(*counts));
    for (int32_t pair = 0; 2 * pair < context.referenceBarCount; ++pair) {
        const Bar& bar = context.referenceBars[2 * pair];
        const uint8_t first = LowSectorOf(bar.angleFirst);
        const uint8_t second = LowSectorOf(bar.angleSecond);
        sectors->first[pair] = first;
        sectors->second[pair] = second;
        ++counts->bars[first][second];
        ++counts->bars[second][first];
    }
}

// A list holds the bars whose low or high sectors are its own.
void LayOutLists(const SectorCounts& counts, MatchContext* context) {
    int16_t start = 0;
    for (int32_t s = 0; s < kSectors; ++s) {
        const int16_t* const bars = counts.bars[s];
        const int16_t* const barsBefore = counts.bars[Previous(s)];
        for (int32_t t = 0; t < kSectors; ++t) {
            const int32_t before = Previous(t);
            const int32_t length = bars[t] + bars[before] + barsBefore[t] + barsBefore[before];
            context->sectorStart[s * kSectors + t] = start;
            context->sectorLength[s * kSectors + t] = static_cast<int16_t>(length);
            start = static_cast<int16_t>(start + length);
        }
    }
}

// Fills the lists in order of the bars.
class ListFiller {
  public:
    explicit ListFiller(MatchContext* context) : context_(context) {
        memcpy(next_, context->sectorStart, sizeof(next_));
    }

    // Marks where the entries of the bars from here on begin.
    void Mark(int32_t mark) { memcpy(context_->listMarks[mark], next_, sizeof(next_)); }

    void Enter(int32_t index, uint64_t bar, int32_t first, int32_t second) {
        const int32_t low = first * kSectors;
        const int32_t high = Next(first) * kSectors;
        Append(index, bar, low + second);
        Append(index, bar, low + Next(second));
        Append(index, bar, high + second);
        Append(index, bar, high + Next(second));
    }

  private:
    void Append(int32_t index, uint64_t bar, int32_t list) {
        const int32_t position = next_[list];
        ++next_[list];
        context_->sectorEntries[position] = static_cast<int16_t>(index);
        context_->sectorBars[position] = bar;
    }

    MatchContext* context_;
    int16_t next_[kSectorLists];  // where the next entry of each list goes
};

// Counts the pairs below each length: MakeBar has left that for the lengths that occur.
void CountShorterPairs(MatchContext* context) {
    const int32_t pairs = context->referenceBarCount / 2;
    const size_t shortest = static_cast<size_t>(context->referenceBars[0].length);
    const size_t longest = static_cast<size_t>(context->referenceBars[2 * pairs - 2].length);
    uint8_t* const counts = context->shorterPairs;
    memset(counts, 0, shortest);
    memcpy(counts + shortest, context->lengthPositions + shortest, longest + 1 - shortest);
    memset(counts + longest + 1, pairs, sizeof(context->shorterPairs) - longest - 1);
}

void BuildSectorIndex(MatchContext* context) {
    PairSectors sectors;
    SectorCounts counts;
    CountBars(*context, &sectors, &counts);
    LayOutLists(counts, context);
    EndFeatures features;
    CollectFeatures(context->reference, &features);
    ListFiller filler(context);
    const int32_t pairs = context->referenceBarCount / 2;
    for (int32_t pair = 0; pair < pairs; ++pair) {
        if (pair % kMarkedPairs == 0) {
            filler.Mark(pair / kMarkedPairs);
        }
        const Bar* const bar = &context->referenceBars[2 * pair];
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): CountBars writes every pair's
        const int32_t first = sectors.first[pair];
        const int32_t second = sectors.second[pair];
        filler.Enter(2 * pair, PackBar(bar[0], features), first, second);
        filler.Enter(2 * pair + 1, PackBar(bar[1], features), second, first);
    }
    filler.Mark((pairs + kMarkedPairs - 1) / kMarkedPairs);
}

}  // namespace

int32_t MakeFirstInfo(MatchContext* context) {
    if (context->reference.count < 1 || context->reference.count > kMaxMinutiae) {
        context->referenceCentreX = 0;
        return 0;
    }
    const Centre centre = CentreOf(context->reference);
    context->referenceCentreX = centre.x;
    context->referenceCentreY = centre.y;
    context->referenceBarCount = MakeBar(context, &context->reference, context->referenceBars, 1);
    if (context->referenceBarCount == 0) {
        return 0;
    }
    CountShorterPairs(context);
    BuildSectorIndex(context);
    return 1;
}
