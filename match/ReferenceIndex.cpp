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

namespace {

using namespace qorfp;

constexpr int32_t kAngleMargin = 10;  // angle steps

// The lists of a bar: the margins are a sector apart, so each angle gives two neighbouring sectors.
struct BarLists {
    int32_t lists[kListsPerBar];
};

int32_t SectorOf(int32_t angle) {
    return gbDiv20[WrapAngle240(angle)];
}

BarLists ListsOf(const Bar& bar) {
    const int32_t low1 = SectorOf(bar.angleFirst - kAngleMargin) * kSectors;
    const int32_t high1 = SectorOf(bar.angleFirst + kAngleMargin) * kSectors;
    const int32_t low2 = SectorOf(bar.angleSecond - kAngleMargin);
    const int32_t high2 = SectorOf(bar.angleSecond + kAngleMargin);
    return {{low1 + low2, low1 + high2, high1 + low2, high1 + high2}};
}

void BuildSectorIndex(MatchContext* context) {
    memset(context->sectorLength, 0, sizeof(context->sectorLength));
    for (int32_t bar = 0; bar < context->referenceBarCount; ++bar) {
        const BarLists lists = ListsOf(context->referenceBars[bar]);
        for (const int32_t list : lists.lists) {
            ++context->sectorLength[list];
        }
    }
    int16_t start = 0;
    for (int32_t list = 0; list < kSectorLists; ++list) {
        context->sectorStart[list] = start;
        start = static_cast<int16_t>(start + context->sectorLength[list]);
        context->sectorLength[list] = 0;
    }
    for (int32_t bar = 0; bar < context->referenceBarCount; ++bar) {
        const BarLists lists = ListsOf(context->referenceBars[bar]);
        for (const int32_t list : lists.lists) {
            const int32_t position = context->sectorStart[list] + context->sectorLength[list];
            context->sectorEntries[position] = static_cast<int16_t>(bar);
            ++context->sectorLength[list];
        }
    }
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
    BuildSectorIndex(context);
    return 1;
}
