// SPDX-License-Identifier: Apache-2.0
//
// Quicksort with an explicit stack: first element as pivot, a hole that moves, the shorter range
// first. The order in which it leaves equal keys is part of the library's results.
//
// Index scores have few values, so long lists hold many equal ones, for which plain partitions would
// take quadratic time. Each range therefore carries bounds of its keys: what a partition does around
// a pivot that equals a bound is known without looking at every key. Any other pivot leaves fewer
// values on either side, so a list of d different keys is read at most about d times. A range that is
// in order is read twice.

#include "extract/FixedMath.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

constexpr int32_t kHighestLevel = kSortLevels - 1;  // a sort that reaches it gives up

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

// A scan that has passed this many keys compares as many at once from there on, which compilers turn
// into vectors: runs are short where keys are mixed, and long where few are left on one side.
constexpr int32_t kRun = 32;

bool HasBelow(const int32_t* keys, int32_t pivot) {
    int32_t found = 0;
    for (int32_t i = 0; i < kRun; ++i) {
        found |= keys[i] < pivot ? 1 : 0;
    }
    return found != 0;
}

bool HasAbove(const int32_t* keys, int32_t pivot) {
    int32_t found = 0;
    for (int32_t i = 0; i < kRun; ++i) {
        found |= keys[i] > pivot ? 1 : 0;
    }
    return found != 0;
}

// The last of the keys left..right that is below the pivot, or left.
int32_t LastBelow(const int32_t* keys, int32_t left, int32_t right, int32_t pivot) {
    const int32_t start = right;
    while (left < right && keys[right] >= pivot) {
        --right;
        if (start - right == kRun) {
            while (right - left >= kRun && !HasBelow(keys + right - kRun + 1, pivot)) {
                right -= kRun;
            }
        }
    }
    return right;
}

// The first of the keys left..right that is above the pivot, or right.
int32_t FirstAbove(const int32_t* keys, int32_t left, int32_t right, int32_t pivot) {
    const int32_t start = left;
    while (left < right && keys[left] <= pivot) {
        ++left;
        if (left - start == kRun) {
            while (right - left >= kRun && !HasAbove(keys + left, pivot)) {
                left += kRun;
            }
        }
    }
    return left;
}

// Splits left..right (inclusive, left < right) around its first element; gives where that ends.
template <bool kHasValues>
int32_t Partition(const Columns& columns, int32_t left, int32_t right) {
    const Element pivot = Take<kHasValues>(columns, left);
    while (left < right) {
        right = LastBelow(columns.keys, left, right, pivot.key);
        if (left < right) {
            Put<kHasValues>(columns, left, Take<kHasValues>(columns, right));
            ++left;
        }
        left = FirstAbove(columns.keys, left, right, pivot.key);
        if (left < right) {
            Put<kHasValues>(columns, right, Take<kHasValues>(columns, left));
            --right;
        }
    }
    Put<kHasValues>(columns, left, pivot);
    return left;
}

// The same where no key of the range is above the pivot: only the last one below it moves.
template <bool kHasValues>
int32_t PartitionAtHighest(const Columns& columns, int32_t left, int32_t right) {
    const Element pivot = Take<kHasValues>(columns, left);
    while (left < right && columns.keys[right] == pivot.key) {
        --right;
    }
    Put<kHasValues>(columns, left, Take<kHasValues>(columns, right));
    Put<kHasValues>(columns, right, pivot);
    return right;
}

bool IsAscending(const int32_t* keys, int32_t start, int32_t end) {
    int32_t i = start + 1;
    while (i < end && keys[i - 1] <= keys[i]) {
        ++i;
    }
    return i == end;
}

bool IsDescending(const int32_t* keys, int32_t start, int32_t end) {
    int32_t i = start + 1;
    while (i < end && keys[i - 1] >= keys[i]) {
        ++i;
    }
    return i == end;
}

// low <= every key of a range <= high.
struct KeyBounds {
    int32_t low;
    int32_t high;
};

KeyBounds BoundsOf(const int32_t* keys, int32_t n) {
    KeyBounds bounds = {keys[0], keys[0]};
    for (int32_t i = 1; i < n; ++i) {
        bounds.low = Min(bounds.low, keys[i]);
        bounds.high = Max(bounds.high, keys[i]);
    }
    return bounds;
}

template <class Value>
void Swap(Value* a, Value* b) {
    const Value kept = *a;
    *a = *b;
    *b = kept;
}

// Sorts a range that is in order already, either way, as partitions would in quadratic time: where keys
// ascend they move nothing, and where keys descend each two of them exchange the outermost elements
// as long as their keys differ. False, and nothing done, for any other range.
template <bool kHasValues>
bool SortOrdered(const Columns& columns, int32_t start, int32_t end) {
    if (IsAscending(columns.keys, start, end)) {
        return true;
    }
    if (!IsDescending(columns.keys, start, end)) {
        return false;
    }
    for (int32_t i = start, k = end - 1; i < k && columns.keys[i] != columns.keys[k]; ++i, --k) {
        Swap(&columns.keys[i], &columns.keys[k]);
        if (kHasValues) {
            Swap(&columns.values[i], &columns.values[k]);
        }
    }
    return true;
}

template <bool kHasValues>
int32_t Sort(const Columns& columns, int32_t n, int32_t* scratch) {
    if (n < 1) {
        return 1;
    }
    int32_t* starts = scratch;
    int32_t* ends = scratch + kSortLevels;
    KeyBounds bounds[kSortLevels];
    starts[0] = 0;
    ends[0] = n;
    bounds[0] = BoundsOf(columns.keys, n);
    int32_t level = 0;  // of the top range
    while (level >= 0) {
        const int32_t start = starts[level];
        const int32_t end = ends[level];
        if (start >= end - 1) {
            --level;
            continue;
        }
        const KeyBounds range = bounds[level];
        const int32_t pivot = columns.keys[start];
        if (pivot == range.low) {
            // A partition would move nothing and put an empty range on top of the other keys.
            if (level + 1 == kHighestLevel) {
                return 0;
            }
            starts[level] = range.low == range.high ? end : start + 1;
            continue;
        }
        // Here a partition would read the whole range, and look at an order at no greater cost. Where
        // it would find no level for the rest it has to take place.
        if (pivot != range.high && level + 1 < kHighestLevel &&
            SortOrdered<kHasValues>(columns, start, end)) {
            starts[level] = end;
            continue;
        }
        const int32_t middle = pivot == range.high
                                   ? PartitionAtHighest<kHasValues>(columns, start, end - 1)
                                   : Partition<kHasValues>(columns, start, end - 1);
        starts[level + 1] = middle + 1;
        ends[level + 1] = end;
        bounds[level + 1] = {pivot, range.high};
        ends[level] = middle;
        bounds[level] = {range.low, pivot};
        ++level;
        if (ends[level] - starts[level] > ends[level - 1] - starts[level - 1]) {
            Swap(&starts[level], &starts[level - 1]);
            Swap(&ends[level], &ends[level - 1]);
            Swap(&bounds[level], &bounds[level - 1]);
        }
        if (level == kHighestLevel) {
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
