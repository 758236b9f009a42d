// SPDX-License-Identifier: Apache-2.0
//
// The sort behind a search, alone: keys as index scores give them, and lists that are bad for a
// quicksort.

#include <algorithm>
#include <memory>
#include <random>

#include "bench/measured/Work.h"
#include "match/FPMatch.h"

namespace measure {

namespace {

constexpr int32_t kLength = 100000;
constexpr int32_t kHighestScore = 500;
constexpr int32_t kSteps = 685;  // index scores: multiples of 4 up to 144 for each of 19 keys

// Negated scores, small ones more often.
std::vector<int32_t> OrdinaryKeys(int32_t n) {
    std::mt19937 random(1);
    std::vector<int32_t> keys(static_cast<size_t>(n));
    for (int32_t& key : keys) {
        const auto one = static_cast<int32_t>(random() % kHighestScore);
        const auto other = static_cast<int32_t>(random() % kHighestScore);
        key = -std::min(one, other);
    }
    return keys;
}

std::vector<int32_t> SortedKeys(int32_t n) {
    std::vector<int32_t> keys = OrdinaryKeys(n);
    std::sort(keys.begin(), keys.end());
    return keys;
}

std::vector<int32_t> ReversedKeys(int32_t n) {
    std::vector<int32_t> keys = SortedKeys(n);
    std::reverse(keys.begin(), keys.end());
    return keys;
}

std::vector<int32_t> EqualKeys(int32_t n) {
    return std::vector<int32_t>(static_cast<size_t>(n), -kHighestScore);
}

std::vector<int32_t> TwoKeys(int32_t n) {
    std::vector<int32_t> keys = OrdinaryKeys(n);
    for (int32_t& key : keys) {
        key = key % 2;
    }
    return keys;
}

// Each key but the last once, in order, then the last only: every split takes off one key.
std::vector<int32_t> StaircaseKeys(int32_t n) {
    std::vector<int32_t> keys(static_cast<size_t>(n), 0);
    for (int32_t i = 0; i < std::min(n, kSteps); ++i) {
        keys[static_cast<size_t>(i)] = i - kSteps;
    }
    return keys;
}

struct NamedKeys {
    const char* name;
    std::vector<int32_t> (*make)(int32_t);
};

constexpr NamedKeys kKeys[] = {
    {"sort/100000", OrdinaryKeys},         {"sort/100000-equal", EqualKeys},
    {"sort/100000-ascending", SortedKeys}, {"sort/100000-descending", ReversedKeys},
    {"sort/100000-two-values", TwoKeys},   {"sort/100000-staircase", StaircaseKeys},
};

Work Sorting(const Inputs& inputs, std::vector<int32_t> (*make)(int32_t)) {
    const std::vector<int32_t> given = make(inputs.ListLength(kLength));
    auto keys = std::make_shared<std::vector<int32_t>>(given);
    auto values = std::make_shared<std::vector<int32_t>>(given);
    Work work;
    work.restore = [given, keys](int) { *keys = given; };
    work.run = [keys, values](int) {
        int32_t scratch[qorfp::kSortScratch];
        quickSortEx(keys->data(), values->data(), static_cast<int32_t>(keys->size()), scratch);
    };
    return work;
}

}  // namespace

void AddSorting(Inputs& inputs, std::vector<NamedWork>* works) {
    for (const NamedKeys& keys : kKeys) {
        works->push_back({keys.name, [&inputs, &keys] { return Sorting(inputs, keys.make); }});
    }
}

}  // namespace measure
