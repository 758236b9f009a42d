// SPDX-License-Identifier: Apache-2.0
// The oriented band-pass filters that grow ridges: a cosine across the ridges under a Gaussian
// bell, one kernel for every pair of quantised orientation and period, in 16-bit integers so that a
// filter sum is exact and may be computed in any order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorfp::synth {

constexpr int kFilterRadius = 7;
constexpr int kFilterSide = 2 * kFilterRadius + 1;
constexpr int kFilterStride = 16;   // a kernel row: 15 weights and a 0
constexpr int kFilterOneBits = 14;  // a wave of the kernel's own pitch passes with factor 2^14

class RidgeFilterBank {
  public:
    RidgeFilterBank();

    /// Number of the kernel for an orientation in radians (any value, modulo pi) and a period in
    /// pixels (taken into 7 .. 11).
    static uint16_t KernelIndex(double orientation, double period);

    /// kFilterSide rows of kFilterStride weights, whose absolute values sum to less than 2^15.
    const int16_t* Kernel(uint16_t index) const;

  private:
    std::vector<int16_t> weights_;
};

}  // namespace qorfp::synth
