// SPDX-License-Identifier: Apache-2.0
//
// Bars: pairs of neighbouring minutiae, described by their distance and by the angles that the two
// minutiae make with the line between them. These do not change when the finger turns or moves.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/BarLength.h"
#include "match/FPMatch.h"
#include "match/Neighbours.h"

namespace {

using namespace qorfp;

constexpr int32_t kMinMinutiaeForBars = 3;
constexpr int32_t kLongestTableSide = 127;
constexpr int32_t kTableRow = 128;

// The direction, 0..239, that a difference or sum of two directions stands for.
int32_t WrapDifference(int32_t difference) {
    return difference < 0 ? difference + kTurn : difference;
}

int32_t WrapSum(int32_t sum) {
    return sum >= kTurn ? sum - kTurn : sum;
}

// Direction of the vector (dx, dy), each side at most 127 long: that of atanB, without branches.
int32_t DirectionOf(int32_t dx, int32_t dy) {
    const int32_t angle = gnAtanB[Absolute(dy) * kTableRow + Absolute(dx)];
    // All ones where the vector points left, and where it turns back from its half of the x axis.
    const int32_t isLeft = -static_cast<int32_t>(dx <= 0);
    const int32_t isBack = ((dy ^ isLeft) - isLeft) >> 31;
    return WrapDifference((kHalfTurn & isLeft) + ((angle ^ isBack) - isBack));
}

// A minutia as an end of bars.
struct BarEnd {
    int32_t number;
    int32_t x;
    int32_t y;
    int32_t direction;  // 0..239
};

BarEnd EndAt(const MinutiaSet& set, int32_t number) {
    const Minutia& minutia = set.minutiae[number];
    // Damaged templates have directions up to 255.
    return {number, minutia.x, minutia.y, WrapSum(minutia.direction)};
}

Bar BarBetween(const BarEnd& from, const BarEnd& to) {
    int32_t dx = to.x - from.x;
    int32_t dy = to.y - from.y;
    const int32_t length = LengthOf(Square(dx) + Square(dy));
    if (Absolute(dx) > kLongestTableSide || Absolute(dy) > kLongestTableSide) {
        dx = dx * kLongestTableSide / length;
        dy = dy * kLongestTableSide / length;
    }
    const int32_t direction = DirectionOf(dx, dy);
    Bar bar;
    bar.first = static_cast<int16_t>(from.number);
    bar.second = static_cast<int16_t>(to.number);
    bar.length = length;
    bar.direction = static_cast<uint8_t>(direction);
    bar.angleFirst = static_cast<uint8_t>(WrapDifference(direction - from.direction));
    bar.angleSecond =
        static_cast<uint8_t>(WrapDifference(WrapSum(direction + kHalfTurn) - to.direction));
    return bar;
}

Bar Reversed(const Bar& bar) {
    Bar reverse;
    reverse.first = bar.second;
    reverse.second = bar.first;
    reverse.length = bar.length;
    reverse.direction = static_cast<uint8_t>(WrapSum(bar.direction + kHalfTurn));
    reverse.angleFirst = bar.angleSecond;
    reverse.angleSecond = bar.angleFirst;
    return reverse;
}

// One bar for each pair of which either side has the other as neighbour, at most 200.
int32_t GenerateBars(const MinutiaSet& set, NeighbourBits* neighbours, Bar* bars) {
    int32_t count = 0;
    for (int32_t i = 0; i < set.count; ++i) {
        const BarEnd from = EndAt(set, i);
        const NeighbourBits self = static_cast<NeighbourBits>(1) << i;
        for (NeighbourBits others = neighbours[i]; others != 0; others &= others - 1) {
            const int32_t j = __builtin_ctzll(others);
            neighbours[j] &= ~self;  // not again from the other side
            bars[count] = BarBetween(from, EndAt(set, j));
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
    uint8_t* histogram = context->lengthPositions;
    memset(histogram, 0, sizeof(context->lengthPositions));
    int32_t shortest = kMaxBarLength;
    int32_t longest = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t length = context->unsortedBars[i].length;
        ++histogram[length];
        shortest = Min(shortest, length);
        longest = Max(longest, length);
    }
    int32_t end = 0;  // of each length's range of positions
    for (int32_t length = shortest; length <= longest; ++length) {
        end += histogram[length];
        histogram[length] = static_cast<uint8_t>(end);
    }
    for (int32_t i = 0; i < count; ++i) {
        const Bar& bar = context->unsortedBars[i];
        const int32_t position = --histogram[bar.length];
        bars[2 * position] = bar;
        bars[2 * position + 1] = Reversed(bar);
    }
}

}  // namespace

int32_t MakeBar(MatchContext* context, const MinutiaSet* set, Bar* bars, int32_t mode) {
    if (set->count < kMinMinutiaeForBars || set->count > kMaxMinutiae) {
        return 0;
    }
    FindNeighbours(*set, &context->neighbourWork);
    NeighbourBits* neighbours = context->neighbourWork.neighbours;
    if (mode == 0) {
        return GenerateBars(*set, neighbours, bars);
    }
    const int32_t count = GenerateBars(*set, neighbours, context->unsortedBars);
    OrderByLength(context, count, bars);
    return 2 * count;
}
