// SPDX-License-Identifier: Apache-2.0
//
// Quicksort with an explicit stack: first element as pivot, a hole that moves, the shorter range
// first. The order in which it leaves equal keys is part of the library's results.

#include "match/FPMatch.h"

namespace {

using namespace qorfp;

// The two arrays that a sort permutes; values may be absent.
struct Columns {
    int32_t* keys;
    int32_t* values;
};

struct Element {
    int32_t key;
    int32_t value;
};

template <bool kHasValues>
Element Take(const Columns& columns, int32_t at) {
    return {columns.keys[at], kHasValues ? columns.values[at] : 0};
}

template <bool kHasValues>
void Put(const Columns& columns, int32_t at, Element element) {
    columns.keys[at] = element.key;
    if (kHasValues) {
        columns.values[at] = element.value;
    }
}

// Splits left..right (inclusive, left < right) around its first element; gives where that ends.
template <bool kHasValues>
int32_t Partition(const Columns& columns, int32_t left, int32_t right) {
    const Element pivot = Take<kHasValues>(columns, left);
    while (left < right) {
        while (columns.keys[right] >= pivot.key && left < right) {
            --right;
        }
        if (left < right) {
            Put<kHasValues>(columns, left, Take<kHasValues>(columns, right));
            ++left;
        }
        while (columns.keys[left] <= pivot.key && left < right) {
            ++left;
        }
        if (left < right) {
            Put<kHasValues>(columns, right, Take<kHasValues>(columns, left));
            --right;
        }
    }
    Put<kHasValues>(columns, left, pivot);
    return left;
}

void Swap(int32_t* a, int32_t* b) {
    const int32_t kept = *a;
    *a = *b;
    *b = kept;
}

template <bool kHasValues>
int32_t Sort(const Columns& columns, int32_t n, int32_t* scratch) {
    if (n < 1) {
        return 1;
    }
    int32_t* starts = scratch;
    int32_t* ends = scratch + kSortLevels;
    starts[0] = 0;
    ends[0] = n;
    int32_t level = 0;  // of the top range
    while (level >= 0) {
        if (starts[level] >= ends[level] - 1) {
            --level;
            continue;
        }
        const int32_t middle = Partition<kHasValues>(columns, starts[level], ends[level] - 1);
        starts[level + 1] = middle + 1;
        ends[level + 1] = ends[level];
        ends[level] = middle;
        ++level;
        if (ends[level] - starts[level] > ends[level - 1] - starts[level - 1]) {
            Swap(&starts[level], &starts[level - 1]);
            Swap(&ends[level], &ends[level - 1]);
        }
        if (level == kSortLevels - 1) {
            return 0;
        }
    }
    return 1;
}

}  // namespace

int32_t quickSort(int32_t* keys, int32_t n, int32_t* scratch) {
    return Sort<false>({keys, nullptr}, n, scratch);
}

int32_t quickSortEx(int32_t* keys, int32_t* values, int32_t n, int32_t* scratch) {
    return Sort<true>({keys, values}, n, scratch);
}
