// SPDX-License-Identifier: Apache-2.0
//
// The length of a bar.
#pragma once

#include <stdint.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"

namespace qorfp {

/// floor(sqrt(distSquared)) for 225..40000: sqrtA without branches in the range of bars. The
/// segments of gnSqrt from 256 on grow fourfold, and their places in the table follow from that;
/// what lies below 256 reads the root of 256, one too many.
inline int32_t LengthOf(int32_t distSquared) {
    const int32_t sample = Max(distSquared, 256);
    const int32_t segment = (__builtin_clz(static_cast<uint32_t>(sample)) ^ 31) >> 1;  // 4..7
    const int32_t root = gnSqrt[208 + (2 << segment) + (sample >> segment)];
    return root - (distSquared < root * root ? 1 : 0);
}

}  // namespace qorfp
