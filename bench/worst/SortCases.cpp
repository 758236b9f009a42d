// SPDX-License-Identifier: Apache-2.0
//
// Lists of 10,000 keys: random ones, and in orders that are bad for quicksorts.
#include <algorithm>
#include <memory>
#include <numeric>

#include "bench/worst/Cases.h"
#include "match/FPMatch.h"
#include "tests/support/SortLists.h"

namespace worst {
namespace {

using testsupport::Random;
using Keys = std::vector<int32_t>;

constexpr size_t kLength = 10000;
constexpr double kBoundOfScores = 5;
constexpr double kBoundOfAnyOrder = 60;

// Every pivot is the second-lowest key of its range, so that every partition reads the whole range and
// takes off two keys. (What a partition makes of such a list is the next shorter one.)
Keys SecondLowestFirst() {
    Keys keys = {0, 1};
    while (keys.size() + 2 <= kLength) {
        Keys longer = {1, keys.back() + 2};
        for (size_t i = 0; i + 1 < keys.size(); ++i) {
            longer.push_back(keys[i] + 2);
        }
        longer.push_back(0);
        keys = longer;
    }
    return keys;
}

struct NamedKeys {
    std::string name;
    Keys keys;
};

Keys RandomKeys(int32_t values, Random& random) {
    Keys keys;
    for (size_t i = 0; i < kLength; ++i) {
        keys.push_back(random.Below(values));
    }
    return keys;
}

// As index scores may come: equal ones, few different ones, in order.
std::vector<NamedKeys> ListsOfScores(Random& random) {
    std::vector<NamedKeys> lists = {{"all equal", Keys(kLength, 7)}};
    for (const int32_t values : {1000000, 600, 20, 2}) {
        const std::string ofValues = ", " + std::to_string(values) + " values";
        Keys keys = RandomKeys(values, random);
        if (values < 1000000) {
            lists.push_back({"random" + ofValues, keys});
        }
        std::sort(keys.begin(), keys.end());
        lists.push_back({"ascending" + ofValues, keys});
        std::reverse(keys.begin(), keys.end());
        lists.push_back({"descending" + ofValues, keys});
    }
    return lists;
}

// Keys that are all different, in an order made for this sort.
std::vector<NamedKeys> HostileLists() {
    Keys organPipe;
    for (size_t i = 0; i < kLength; ++i) {
        const int32_t key = static_cast<int32_t>(std::min(i, kLength - i));
        organPipe.push_back(2 * key + (i < kLength / 2 ? 0 : 1));
    }
    Keys medians(kLength);
    testsupport::FillWithMedianPivots(medians, 0, kLength);
    return {{"up and down", organPipe},
            {"medians first", medians},
            {"second-lowest first", SecondLowestFirst()}};
}

Input Sorting(const std::string& name, bool isOrdinary, const Keys& keys, bool hasValues) {
    struct State {
        Keys keys;
        Keys values;
    };
    return {name, isOrdinary, [keys, hasValues] {
                const auto state = std::make_shared<State>();
                return Prepared{[state, hasValues] {
                                    int32_t scratch[40];
                                    if (hasValues) {
                                        quickSortEx(state->keys.data(), state->values.data(),
                                                    kLength, scratch);
                                    } else {
                                        quickSort(state->keys.data(), kLength, scratch);
                                    }
                                },
                                [state, keys] { state->keys = state->values = keys; }};
            }};
}

}  // namespace

std::vector<Call> SortCalls() {
    Random random(1);
    std::vector<Call> calls;
    for (const bool hasValues : {false, true}) {
        const std::string name = hasValues ? "quickSortEx of 10,000" : "quickSort of 10,000";
        Call scores = {name + ", scores", kBoundOfScores, {}};
        Call anyOrder = {name + ", any order", kBoundOfAnyOrder, {}};
        for (int32_t i = 0; i < 3; ++i) {
            const Keys keys = RandomKeys(1000000, random);
            scores.inputs.push_back(Sorting("random", true, keys, hasValues));
            anyOrder.inputs.push_back(Sorting("random", true, keys, hasValues));
        }
        for (const NamedKeys& list : ListsOfScores(random)) {
            scores.inputs.push_back(Sorting(list.name, false, list.keys, hasValues));
        }
        for (const NamedKeys& list : HostileLists()) {
            anyOrder.inputs.push_back(Sorting(list.name, false, list.keys, hasValues));
        }
        calls.push_back(std::move(scores));
        calls.push_back(std::move(anyOrder));
    }
    return calls;
}

}  // namespace worst
