// SPDX-License-Identifier: Apache-2.0
// Random numbers of the generator: independent streams, each named by seed, finger, impression and
// purpose, so that any finger or impression can be made again without those before it and a change
// in one stage does not disturb the others.
#pragma once

#include <cstdint>

namespace qorfp::synth {

/// What a stream is drawn for. The values are part of the output: append, never renumber.
enum class Purpose : uint32_t {
    kClass = 1,
    kOrientation = 2,
    kPeriod = 3,
    kGrowth = 4,
    kPores = 5,
    kCreases = 6,
    kShape = 7,
    kPlacement = 8,
    kDistortion = 9,
    kSkin = 10,
    kScratches = 11,
    kSensor = 12,
};

/// A stream of 64-bit numbers (a Weyl sequence through a mixing function).
class Random {
  public:
    /// Stream of a whole finger (impression 0) or of one impression (1, 2, ...).
    Random(uint64_t seed, uint32_t finger, uint32_t impression, Purpose purpose);

    uint64_t Next();

    /// Uniform in [0, 1), a multiple of 2^-53.
    double Uniform();

    /// Uniform in [low, high).
    double Uniform(double low, double high);

    /// Roughly normal: mean 0, deviation 1, always within +-3.47 (the sum of four uniform numbers).
    double Normal();

    /// Integer 0 .. bound - 1; bound at least 1. The bias, at most bound / 2^32, is of no account
    /// for the small bounds used here.
    uint32_t Below(uint32_t bound);

  private:
    uint64_t state_;
};

}  // namespace qorfp::synth
