// SPDX-License-Identifier: Apache-2.0
//
// The grey-level stretch before the orientation field: what GetHistMap makes a table of.
#pragma once

#include <stdint.h>

#include "extract/FixedMath.h"
#include "extract/Vector.h"

namespace qorfp {

constexpr int32_t kGreyLevels = 256;

/// The levels `low` .. `low` + `range` are stretched onto 0 .. 255, with rounding.
struct GreyStretch {
    int32_t low;    ///< 0..254
    int32_t range;  ///< 1..255 - low

    constexpr int32_t Of(int32_t level) const {
        return level < low ? 0 : Min((510 * (level - low) / range + 1) / 2, 255);
    }
};

/// The same for vectors of levels, without a division.
class GreyStretcher {
  public:
    constexpr explicit GreyStretcher(GreyStretch stretch)
        : low_(static_cast<uint8_t>(stretch.low)),
          range_(static_cast<uint8_t>(stretch.range)),
          offset_(static_cast<uint16_t>(stretch.range / 2)),
          reciprocal_(0),
          shift_(0) {
        while (2 << shift_ <= stretch.range) {
            ++shift_;
        }
        // A reciprocal that is not far above the true one divides exactly; so does one below it,
        // when the dividend is raised by 1.
        const int32_t one = 1 << (16 + shift_);
        const int32_t above = one / stretch.range + 1;
        if (above * stretch.range - one < 1 << shift_) {
            reciprocal_ = static_cast<uint16_t>(above);
        } else {
            reciprocal_ = static_cast<uint16_t>(Min(one / stretch.range, 65535));
            ++offset_;
        }
    }

    /// Distances 0..range of levels from the lowest one.
    U8x16 DistancesOf(U8x16 levels) const {
        return Least(SubtractToZero(levels, low_ + U8x16{}), range_ + U8x16{});
    }

    /// The stretch of levels at such distances d: (510 x d / range + 1) / 2 =
    /// (255 x d + range / 2) / range.
    I16x8 OfDistances(U16x8 distances) const {
        const U16x8 raised = distances * Factor(255) + offset_;
        return AsLanes<I16x8>(MultiplyHigh(raised, EveryLane(reciprocal_)) >> shift_);
    }

  private:
    uint8_t low_;
    uint8_t range_;
    uint16_t offset_;
    uint16_t reciprocal_;
    int32_t shift_;
};

/// The stretch by the image's histogram, its darkest and lightest 1403 pixels cut.
/// @param histogram scratch, kGreyLevels counts
GreyStretch FindGreyStretch(const uint8_t* image, int32_t width, int32_t height,
                            int32_t* histogram);

}  // namespace qorfp
