// SPDX-License-Identifier: Apache-2.0
//
// Bars: pairs of neighbouring minutiae, described by their distance and by the angles that the two
// minutiae make with the line between them. These do not change when the finger turns or moves.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

constexpr int32_t kMinMinutiaeForBars = 3;
constexpr int32_t kShortestSquared = kMinBarLength * kMinBarLength;
constexpr int32_t kLongestSquared = kMaxBarLength * kMaxBarLength;
constexpr int32_t kMostNeighbours = 10;
constexpr int32_t kFewNeighbours = 19;  // up to here the farthest are removed one by one
constexpr int32_t kNoNeighbour = -1;
constexpr int32_t kLongestTableSide = 127;

int32_t* DistanceRow(MatchContext* context, int32_t i) {
    return context->neighbourDistance + i * kMaxMinutiae;
}

// Squared distances of all pairs that can make a bar, and each minutia's number of neighbours.
void FindNeighbours(MatchContext* context, const MinutiaSet& set) {
    for (int32_t i = 0; i < set.count; ++i) {
        context->neighbourCount[i] = 0;
        for (int32_t j = 0; j < set.count; ++j) {
            DistanceRow(context, i)[j] = kNoNeighbour;
        }
    }
    for (int32_t i = 0; i < set.count; ++i) {
        for (int32_t j = i + 1; j < set.count; ++j) {
            const int32_t dx = set.minutiae[j].x - set.minutiae[i].x;
            const int32_t dy = set.minutiae[j].y - set.minutiae[i].y;
            if (Absolute(dx) > kMaxBarLength || Absolute(dy) > kMaxBarLength) {
                continue;
            }
            const int32_t distSquared = Square(dx) + Square(dy);
            if (distSquared >= kShortestSquared && distSquared <= kLongestSquared) {
                DistanceRow(context, i)[j] = distSquared;
                DistanceRow(context, j)[i] = distSquared;
                ++context->neighbourCount[i];
                ++context->neighbourCount[j];
            }
        }
    }
}

// Removes the farthest neighbours, the lowest-numbered first among equals, until ten are left.
void RemoveFarthest(int32_t* row, int32_t minutiae, int32_t neighbours) {
    for (; neighbours > kMostNeighbours; --neighbours) {
        int32_t farthest = 0;
        for (int32_t j = 1; j < minutiae; ++j) {
            if (row[j] > row[farthest]) {
                farthest = j;
            }
        }
        row[farthest] = kNoNeighbour;
    }
}

// Removes all neighbours beyond the length at which ten are reached and, at that length, the
// highest-numbered ones.
void RemoveBeyondTenth(int32_t* row, int32_t minutiae, int32_t* histogram) {
    memset(histogram, 0, kLengthBins * sizeof(histogram[0]));
    for (int32_t j = 0; j < minutiae; ++j) {
        if (row[j] != kNoNeighbour) {
            ++histogram[sqrtA(row[j])];
        }
    }
    int32_t limit = kMinBarLength;
    int32_t kept = histogram[limit];
    while (kept < kMostNeighbours) {
        ++limit;
        kept += histogram[limit];
    }
    for (int32_t j = minutiae - 1; j >= 0; --j) {
        if (row[j] == kNoNeighbour) {
            continue;
        }
        const int32_t length = sqrtA(row[j]);
        if (length > limit) {
            row[j] = kNoNeighbour;
        } else if (length == limit && kept > kMostNeighbours) {
            row[j] = kNoNeighbour;
            --kept;
        }
    }
}

void KeepNearestNeighbours(MatchContext* context, int32_t minutiae) {
    for (int32_t i = 0; i < minutiae; ++i) {
        const int32_t neighbours = context->neighbourCount[i];
        if (neighbours > kFewNeighbours) {
            RemoveBeyondTenth(DistanceRow(context, i), minutiae, context->lengthHistogram);
        } else {
            RemoveFarthest(DistanceRow(context, i), minutiae, neighbours);
        }
    }
}

Bar BarBetween(const MinutiaSet& set, int32_t first, int32_t second, int32_t distSquared) {
    const Minutia& from = set.minutiae[first];
    const Minutia& to = set.minutiae[second];
    const int32_t length = sqrtA(distSquared);
    int32_t dx = to.x - from.x;
    int32_t dy = to.y - from.y;
    if (Absolute(dx) > kLongestTableSide || Absolute(dy) > kLongestTableSide) {
        dx = dx * kLongestTableSide / length;
        dy = dy * kLongestTableSide / length;
    }
    const int32_t direction = atanB(0, 0, dx, dy);
    Bar bar;
    bar.first = static_cast<int16_t>(first);
    bar.second = static_cast<int16_t>(second);
    bar.length = length;
    bar.direction = static_cast<uint8_t>(direction);
    bar.angleFirst = static_cast<uint8_t>(WrapAngle240(direction - from.direction));
    bar.angleSecond = static_cast<uint8_t>(WrapAngle240(direction + kHalfTurn - to.direction));
    return bar;
}

Bar Reversed(const Bar& bar) {
    Bar reverse;
    reverse.first = bar.second;
    reverse.second = bar.first;
    reverse.length = bar.length;
    reverse.direction = static_cast<uint8_t>(WrapAngle240(bar.direction + kHalfTurn));
    reverse.angleFirst = bar.angleSecond;
    reverse.angleSecond = bar.angleFirst;
    return reverse;
}

// One bar for each pair of which either side has kept the other as neighbour, at most 200.
int32_t GenerateBars(MatchContext* context, const MinutiaSet& set, Bar* bars) {
    int32_t count = 0;
    for (int32_t i = 0; i < set.count; ++i) {
        const int32_t* row = DistanceRow(context, i);
        for (int32_t j = 0; j < set.count; ++j) {
            if (row[j] == kNoNeighbour) {
                continue;
            }
            bars[count] = BarBetween(set, i, j, row[j]);
            DistanceRow(context, j)[i] = kNoNeighbour;  // not again from the other side
            ++count;
            if (count == kMaxBarPairs) {
                return count;
            }
        }
    }
    return count;
}

// Counting sort by length, equal lengths in reverse order of generation; each bar is followed by
// its reverse.
void OrderByLength(MatchContext* context, int32_t count, Bar* bars) {
    int32_t* histogram = context->lengthHistogram;
    memset(histogram, 0, sizeof(context->lengthHistogram));
    for (int32_t i = 0; i < count; ++i) {
        ++histogram[context->unsortedBars[i].length];
    }
    int32_t last = -1;  // last position of each length's range
    for (int32_t length = 0; length < kLengthBins; ++length) {
        last += histogram[length];
        histogram[length] = last;
    }
    for (int32_t i = 0; i < count; ++i) {
        const Bar& bar = context->unsortedBars[i];
        const int32_t position = histogram[bar.length];
        --histogram[bar.length];
        bars[2 * position] = bar;
        bars[2 * position + 1] = Reversed(bar);
    }
}

}  // namespace

int32_t MakeBar(MatchContext* context, const MinutiaSet* set, Bar* bars, int32_t mode) {
    if (set->count < kMinMinutiaeForBars || set->count > kMaxMinutiae) {
        return 0;
    }
    FindNeighbours(context, *set);
    KeepNearestNeighbours(context, set->count);
    if (mode == 0) {
        return GenerateBars(context, *set, bars);
    }
    const int32_t count = GenerateBars(context, *set, context->unsortedBars);
    OrderByLength(context, count, bars);
    return 2 * count;
}
