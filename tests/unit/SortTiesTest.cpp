// SPDX-License-Identifier: Apache-2.0
//
// The sorts against the plain form in the model: they know what a partition does around a pivot that
// no key is below, or none above, and must leave every key and value, and the partial order of a
// sort that gives up, where plain partitions leave them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "match/FPMatch.h"
#include "tests/model/ModelSort.h"
#include "tests/support/SortLists.h"
#include "tests/support/TestImages.h"

namespace {

using testsupport::Random;
using Ints = std::vector<int32_t>;

Ints Counting(size_t count) {
    Ints values(count);
    std::iota(values.begin(), values.end(), 0);
    return values;
}

std::string Text(const Ints& keys) {
    std::string text;
    for (size_t i = 0; i < std::min<size_t>(keys.size(), 100); ++i) {
        text += std::to_string(keys[i]) + " ";
    }
    return text;
}

/// Compares both sorts with the model on `keys`; gives the model's return code.
int32_t Compare(const Ints& keys) {
    const int32_t n = static_cast<int32_t>(keys.size());
    Ints wantedKeys = keys;
    Ints wantedValues = Counting(keys.size());
    const int32_t wanted = model::QuickSortEx(wantedKeys, wantedValues);
    int32_t scratch[40];

    Ints pairedKeys = keys;
    Ints values = Counting(keys.size());
    EXPECT_EQ(quickSortEx(pairedKeys.data(), values.data(), n, scratch), wanted) << Text(keys);
    EXPECT_TRUE(pairedKeys == wantedKeys) << Text(keys);
    EXPECT_TRUE(values == wantedValues) << Text(keys);

    Ints keysAlone = keys;
    EXPECT_EQ(quickSort(keysAlone.data(), n, scratch), wanted) << Text(keys);
    EXPECT_TRUE(keysAlone == wantedKeys) << Text(keys);
    return wanted;
}

/// Every list of `length` keys from 0..kinds - 1.
void CompareAll(size_t length, int32_t kinds) {
    Ints keys(length, 0);
    for (;;) {
        ASSERT_EQ(Compare(keys), 1);
        size_t place = 0;
        while (place < length && keys[place] == kinds - 1) {
            keys[place] = 0;
            ++place;
        }
        if (place == length) {
            return;
        }
        ++keys[place];
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

TEST(SortTies, EveryShortListOfFewValues) {
    CompareAll(3, 3);
    CompareAll(6, 6);  // 46,656 lists, every order of six different keys among them
    CompareAll(8, 4);
    CompareAll(10, 3);
    CompareAll(15, 2);
}

/// A list in one of the orders that matter to the bounds.
Ints ListOf(int32_t order, size_t count, int32_t kinds, int32_t lowest, Random& random) {
    Ints keys(count);
    for (int32_t& key : keys) {
        key = static_cast<int32_t>(int64_t{lowest} + random.Below(kinds));
    }
    const auto half = keys.begin() + static_cast<Ints::difference_type>(count / 2);
    switch (order) {
        case 1:
            std::sort(keys.begin(), keys.end());
            break;
        case 2:
            std::sort(keys.rbegin(), keys.rend());
            break;
        case 3:  // up, then down
            std::sort(keys.begin(), half);
            std::sort(half, keys.end(), std::greater<int32_t>());
            break;
        case 4:  // the highest first and last
            if (count > 1) {
                keys.front() = keys.back() = lowest + (kinds - 1);
            }
            break;
        case 5:  // almost in order
            std::sort(keys.begin(), keys.end());
            if (count > 0) {
                std::swap(keys.front(),
                          keys[static_cast<size_t>(random.Below(static_cast<int32_t>(count)))]);
            }
            break;
        default:
            break;
    }
    return keys;
}

TEST(SortTies, RandomListsOfManyKinds) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const int32_t least = std::numeric_limits<int32_t>::min();
    const int32_t greatest = std::numeric_limits<int32_t>::max();
    for (int32_t round = 0; round < 200000; ++round) {
        const size_t count = static_cast<size_t>(random.Below(round % 100 == 0 ? 600 : 40));
        const int32_t kinds = random.Between(1, random.OneIn(3) ? 100 : 6);
        const int32_t lowest = random.OneIn(10)  ? least
                               : random.OneIn(9) ? greatest - (kinds - 1)
                                                 : -random.Below(kinds + 1);
        ASSERT_EQ(Compare(ListOf(random.Below(6), count, kinds, lowest, random)), 1);
        if (HasFailure()) {
            break;
        }
    }
}

TEST(SortTies, LongLists) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t order = 0; order < 6; ++order) {
        for (const int32_t kinds : {1, 2, 3, 40, 3000, 1000000}) {
            EXPECT_EQ(Compare(ListOf(order, 5000, kinds, -kinds, random)), 1);
        }
    }
}

/// The smallest list whose pivots can all be medians down to the level at which a sort gives up.
constexpr size_t kEnough = 3 * (size_t{1} << 18) - 1;

/// Median pivots, then neighbouring values made equal: groups of `width`, the first one of
/// `firstWidth`.
Ints MedianPivotsWithTies(size_t count, int32_t width, int32_t firstWidth) {
    Ints keys(count);
    testsupport::FillWithMedianPivots(keys, 0, count);
    for (int32_t& key : keys) {
        key = (key + width - firstWidth) / width;
    }
    return keys;
}

TEST(SortTies, ListsThatFillTheRangeStack) {
    int32_t full = 0;
    int32_t lists = 0;
    for (const size_t count : {kEnough, kEnough + 1, 2 * kEnough}) {
        for (const int32_t width : {1, 2, 3, 5}) {
            for (int32_t firstWidth = 1; firstWidth <= width; ++firstWidth) {
                full += 1 - Compare(MedianPivotsWithTies(count, width, firstWidth));
                ++lists;
                ASSERT_FALSE(HasFailure()) << count << " keys, groups of " << width;
            }
        }
    }
    // Both ways of ending, so that what is done at the last level decides.
    EXPECT_GE(full, 10);
    EXPECT_GE(lists - full, 10);
}

}  // namespace
