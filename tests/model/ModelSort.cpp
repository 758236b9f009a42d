// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the two sorts, see ModelSort.h.
#include "tests/model/ModelSort.h"

#include <cstddef>
#include <utility>

namespace model {
namespace {

struct Item {
    int32_t key = 0;
    int32_t value = 0;
};

struct Range {
    int64_t start = 0;
    int64_t end = 0;  // one behind the last
};

/// Splits [range.start, range.end) around its first element; returns where that element ends up.
int64_t Partition(std::vector<Item>& items, Range range) {
    const auto at = [&items](int64_t place) -> Item& {
        return items.at(static_cast<size_t>(place));
    };
    int64_t left = range.start;
    int64_t right = range.end - 1;
    const Item pivot = at(left);
    while (left < right) {
        while (left < right && at(right).key >= pivot.key) {
            --right;
        }
        if (left < right) {
            at(left) = at(right);
            ++left;
        }
        while (left < right && at(left).key <= pivot.key) {
            ++left;
        }
        if (left < right) {
            at(right) = at(left);
            --right;
        }
    }
    at(left) = pivot;
    return left;
}

int32_t SortItems(std::vector<Item>& items) {
    std::vector<Range> ranges = {{0, static_cast<int64_t>(items.size())}};
    while (!ranges.empty()) {
        const Range top = ranges.back();
        if (top.start >= top.end - 1) {
            ranges.pop_back();
            continue;
        }
        const int64_t middle = Partition(items, top);
        Range lower = {top.start, middle};
        Range upper = {middle + 1, top.end};
        if (upper.end - upper.start > lower.end - lower.start) {
            std::swap(lower, upper);
        }
        ranges.back() = lower;
        ranges.push_back(upper);
        if (ranges.size() - 1 == 19) {
            return 0;
        }
    }
    return 1;
}

}  // namespace

int32_t QuickSortEx(std::vector<int32_t>& keys, std::vector<int32_t>& values) {
    std::vector<Item> items;
    for (size_t i = 0; i < keys.size(); ++i) {
        items.push_back({keys.at(i), values.at(i)});
    }
    const int32_t result = SortItems(items);
    for (size_t i = 0; i < keys.size(); ++i) {
        keys.at(i) = items.at(i).key;
        values.at(i) = items.at(i).value;
    }
    return result;
}

int32_t QuickSort(std::vector<int32_t>& keys) {
    std::vector<int32_t> unused(keys.size(), 0);
    return QuickSortEx(keys, unused);
}

}  // namespace model
