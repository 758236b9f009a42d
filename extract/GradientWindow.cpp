// SPDX-License-Identifier: Apache-2.0
//
// Sums over a sliding window of blocks.

#include "extract/GradientWindow.h"

#include <stddef.h>
#include <string.h>

using namespace qorfp;

void WindowSum::Clear(int32_t reach) {
    memset(this, 0, sizeof(*this));
    reach_ = reach;
}

void WindowSum::Slide(int32_t row, int32_t blockColumns, const int16_t* entering) {
    int16_t* ringRow = rows_[row % (2 * reach_ + 1)];
    int32_t* columns = columns_ + reach_;
    for (ptrdiff_t column = 0; column < blockColumns; column += 8) {
        const I16x8 values = LoadVector<I16x8>(entering + column);
        const I16x8 change = values - LoadVector<I16x8>(ringRow + column);
        StoreVector(values, ringRow + column);
        int32_t* at = columns + column;
        StoreVector(LoadVector<I32x4>(at) + WidenLow(change), at);
        StoreVector(LoadVector<I32x4>(at + 4) + WidenHigh(change), at + 4);
    }
}

void WindowSum::SumAcross(int32_t blockColumns, WindowRow* sums) const {
    int32_t threes[kColumns];
    for (ptrdiff_t column = 0; column < blockColumns + 2 * reach_ - 2; column += 4) {
        const int32_t* at = columns_ + column;
        StoreVector(LoadVector<I32x4>(at) + LoadVector<I32x4>(at + 1) + LoadVector<I32x4>(at + 2),
                    threes + column);
    }
    // Nine columns are three threes, seven are two and a single one.
    const int32_t* last = reach_ == 4 ? threes : columns_;
    for (ptrdiff_t column = 0; column < blockColumns; column += 4) {
        const int32_t* at = threes + column;
        StoreVector(LoadVector<I32x4>(at) + LoadVector<I32x4>(at + 3) +
                        LoadVector<I32x4>(last + column + 6),
                    *sums + column);
    }
}
