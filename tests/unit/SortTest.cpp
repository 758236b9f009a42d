// SPDX-License-Identifier: Apache-2.0
//
// The two sorts: order, companions, ties, and the limit of the range stack, which is reached by an
// array built so that every pivot is the median.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "match/FPMatch.h"
#include "tests/model/ModelSort.h"
#include "tests/support/SortLists.h"
#include "tests/support/TestImages.h"

namespace {

using testsupport::FillWithMedianPivots;
using testsupport::Random;
using Ints = std::vector<int32_t>;

/// Runs quickSort with exactly the 40 integers of scratch that it may use.
int32_t Sort(Ints& keys) {
    Ints scratch(40, -7);
    return quickSort(keys.data(), static_cast<int32_t>(keys.size()), scratch.data());
}

int32_t SortEx(Ints& keys, Ints& values) {
    Ints scratch(40, -7);
    return quickSortEx(keys.data(), values.data(), static_cast<int32_t>(keys.size()),
                       scratch.data());
}

Ints Counting(size_t count) {
    Ints values(count);
    std::iota(values.begin(), values.end(), 0);
    return values;
}

TEST(QuickSort, LeavesNothingAndSingleKeysAlone) {
    for (const int32_t n : {0, 1, -1, std::numeric_limits<int32_t>::min()}) {
        Ints keys = {9, 3};
        Ints values = {1, 2};
        Ints scratch(40, 0);
        EXPECT_EQ(quickSort(keys.data(), n, scratch.data()), 1) << n;
        EXPECT_EQ(quickSortEx(keys.data(), values.data(), n, scratch.data()), 1) << n;
        EXPECT_EQ(keys, (Ints{9, 3}));
        EXPECT_EQ(values, (Ints{1, 2}));
    }
}

TEST(QuickSort, MovesTheHoleAsTheRuleSays) {
    // 3 is lifted out; the 1 at the end falls into the hole; the pivot ends behind its equal.
    Ints keys = {3, 3, 1};
    Ints values = {0, 1, 2};
    EXPECT_EQ(SortEx(keys, values), 1);
    EXPECT_EQ(keys, (Ints{1, 3, 3}));
    EXPECT_EQ(values, (Ints{2, 1, 0}));

    // Equal keys that never meet a smaller one stay in place.
    keys = {2, 2, 2};
    values = {0, 1, 2};
    EXPECT_EQ(SortEx(keys, values), 1);
    EXPECT_EQ(values, (Ints{0, 1, 2}));

    // 5 out; 2 falls in; 7 goes to the end; 4 falls in; 5 ends between.
    keys = {5, 7, 4, 2};
    values = {10, 11, 12, 13};
    EXPECT_EQ(SortEx(keys, values), 1);
    EXPECT_EQ(keys, (Ints{2, 4, 5, 7}));
    EXPECT_EQ(values, (Ints{13, 12, 10, 11}));
}

TEST(QuickSort, SortsOrderedEqualAndReversedArrays) {
    Ints ascending = Counting(3000);
    EXPECT_EQ(Sort(ascending), 1);
    EXPECT_EQ(ascending, Counting(3000));

    Ints equal(3000, -4);
    Ints values = Counting(3000);
    EXPECT_EQ(SortEx(equal, values), 1);
    EXPECT_EQ(equal, Ints(3000, -4));
    EXPECT_EQ(values, Counting(3000));

    Ints descending = Counting(3000);
    std::reverse(descending.begin(), descending.end());
    EXPECT_EQ(Sort(descending), 1);
    EXPECT_EQ(descending, Counting(3000));
}

TEST(QuickSort, OrdersTheExtremesOfTheRange) {
    const int32_t low = std::numeric_limits<int32_t>::min();
    const int32_t high = std::numeric_limits<int32_t>::max();
    Ints keys = {high, 0, low, -1, high, low, 1};
    EXPECT_EQ(Sort(keys), 1);
    EXPECT_EQ(keys, (Ints{low, low, -1, 0, 1, high, high}));
}

TEST(QuickSort, PutsNegatedScoresInDescendingOrderOfScore) {
    const Ints scores = {12, 400, 0, 77, 400, 3};
    Ints keys;
    for (const int32_t score : scores) {
        keys.push_back(-score);
    }
    Ints numbers = Counting(scores.size());
    EXPECT_EQ(SortEx(keys, numbers), 1);
    for (size_t k = 0; k < scores.size(); ++k) {
        EXPECT_EQ(-keys[k], scores[static_cast<size_t>(numbers[k])]);
    }
    EXPECT_EQ(keys, (Ints{-400, -400, -77, -12, -3, 0}));
}

TEST(QuickSort, ReportsAFullRangeStack) {
    // With every pivot the median, each partition adds a level. The 19th partition needs two keys
    // at level 18, five at level 17, ..., 3 x 2^18 - 1 at level 0; with one key fewer the shorter
    // side, which is always taken first, has run out one level before.
    const size_t enough = 3 * (size_t{1} << 18) - 1;
    Ints keys(enough);
    FillWithMedianPivots(keys, 0, enough);
    EXPECT_EQ(Sort(keys), 0);
    EXPECT_FALSE(std::is_sorted(keys.begin(), keys.end()));

    keys.assign(enough - 1, 0);
    FillWithMedianPivots(keys, 0, enough - 1);
    EXPECT_EQ(Sort(keys), 1);
    EXPECT_EQ(keys, Counting(enough - 1));
}

TEST(QuickSortAgainstModel, LeavesTheSamePartialOrderWhenTheStackIsFull) {
    const size_t enough = 3 * (size_t{1} << 18) - 1;
    Ints keys(enough);
    FillWithMedianPivots(keys, 0, enough);
    Ints values = Counting(enough);
    Ints wantedKeys = keys;
    Ints wantedValues = values;
    EXPECT_EQ(model::QuickSortEx(wantedKeys, wantedValues), 0);
    EXPECT_EQ(SortEx(keys, values), 0);
    EXPECT_TRUE(keys == wantedKeys);
    EXPECT_TRUE(values == wantedValues);
}

TEST(QuickSortAgainstModel, MovesEveryValueAlike) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 400; ++round) {
        const size_t count = static_cast<size_t>(random.Below(round < 300 ? 70 : 1500));
        const int32_t kinds = random.OneIn(2) ? random.Between(1, 12) : 1 << 30;
        Ints keys(count);
        for (int32_t& key : keys) {
            key = random.Below(kinds) - kinds / 2;
        }
        Ints keysAlone = keys;
        Ints values = Counting(count);
        Ints wantedKeys = keys;
        Ints wantedValues = values;
        ASSERT_EQ(model::QuickSortEx(wantedKeys, wantedValues), 1);
        ASSERT_EQ(SortEx(keys, values), 1);
        ASSERT_EQ(keys, wantedKeys) << "round " << round;
        ASSERT_EQ(values, wantedValues) << "round " << round;
        ASSERT_TRUE(std::is_sorted(keys.begin(), keys.end()));
        ASSERT_EQ(Sort(keysAlone), 1);
        ASSERT_EQ(keysAlone, wantedKeys);
    }
}

}  // namespace
