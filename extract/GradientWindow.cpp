// SPDX-License-Identifier: Apache-2.0
//
// Sums over a sliding window of blocks.

#include "extract/GradientWindow.h"

#include <stddef.h>
#include <string.h>

namespace {

using namespace qorfp;

// Adds a change of eight columns to their sums.
void AddTo(int32_t* sums, I16x8 change) {
    StoreVector(LoadVector<I32x4>(sums) + WidenLow(change), sums);
    StoreVector(LoadVector<I32x4>(sums + 4) + WidenHigh(change), sums + 4);
}

void AddTo(uint8_t* sums, U8x16 change) {
    StoreVector(LoadVector<U8x16>(sums) + change, sums);
}

// The vector of as many sums as it holds, and the one of what enters them.
template <class Sum>
struct VectorOf;
template <>
struct VectorOf<int32_t> {
    using Type = I32x4;
    using Entering = I16x8;
};
template <>
struct VectorOf<uint8_t> {
    using Type = U8x16;
    using Entering = U8x16;
};

// from[0] + from[offset] + last[0], a vector of them.
template <class Sum>
typename VectorOf<Sum>::Type SumOfThree(const Sum* from, ptrdiff_t offset, const Sum* last) {
    using Vector = typename VectorOf<Sum>::Type;
    return LoadVector<Vector>(from) + LoadVector<Vector>(from + offset) + LoadVector<Vector>(last);
}

}  // namespace

template <class Sum>
void WindowSum<Sum>::Clear(int32_t reach) {
    memset(this, 0, sizeof(*this));
    reach_ = reach;
}

template <class Sum>
void WindowSum<Sum>::Slide(int32_t blockColumns, const Entering& entering) {
    using Vector = typename VectorOf<Sum>::Entering;
    constexpr ptrdiff_t kStep = kVectorBytes / sizeof(entering[0]);
    auto* ringRow = rows_[ringRow_];
    ringRow_ = ringRow_ == 2 * reach_ ? 0 : ringRow_ + 1;
    Sum* columns = columns_ + reach_;
    for (ptrdiff_t column = 0; column < blockColumns; column += kStep) {
        const Vector values = LoadVector<Vector>(entering + column);
        const Vector change = values - LoadVector<Vector>(ringRow + column);
        StoreVector(values, ringRow + column);
        AddTo(columns + column, change);
    }
}

template <class Sum>
void WindowSum<Sum>::SumAcross(int32_t blockColumns, Sums* sums) const {
    constexpr ptrdiff_t kStep = kVectorBytes / sizeof(rows_[0][0]);
    constexpr ptrdiff_t kLanes = kVectorBytes / sizeof(Sum);
    Sum threes[kColumns];
    for (ptrdiff_t column = 0; column < blockColumns + 2 * reach_ - 2; column += kStep) {
        for (ptrdiff_t lane = 0; lane < kStep; lane += kLanes) {
            const Sum* at = columns_ + column + lane;
            StoreVector(SumOfThree(at, 1, at + 2), threes + column + lane);
        }
    }
    // Nine columns are three threes, seven are two and a single one.
    const Sum* last = (reach_ == 4 ? threes : columns_) + 6;
    for (ptrdiff_t column = 0; column < blockColumns; column += kStep) {
        for (ptrdiff_t lane = 0; lane < kStep; lane += kLanes) {
            const ptrdiff_t at = column + lane;
            StoreVector(SumOfThree(threes + at, 3, last + at), *sums + at);
        }
    }
}

template class qorfp::WindowSum<int32_t>;
template class qorfp::WindowSum<uint8_t>;
