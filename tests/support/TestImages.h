// SPDX-License-Identifier: Apache-2.0
//
// Deterministic images for tests: noise, patterns with known ridges, and drawings that look like
// fingers. Nothing here calls the library. Every random choice comes from a seed, which tests name
// in their messages; the environment variable SEED replaces the default.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace testsupport {

using model::Grid;

/// The seed of this run: the environment variable SEED, else a fixed number.
uint64_t Seed();

/// "SEED=..." and more, for SCOPED_TRACE.
std::string SeedNote(uint64_t seed);

/// A small integer generator, the same on every machine.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint32_t Next();
    int32_t Below(int32_t bound);                ///< 0..bound - 1; bound at least 1
    int32_t Between(int32_t low, int32_t high);  ///< both inclusive
    bool OneIn(int32_t chances) { return Below(chances) == 0; }

  private:
    uint64_t state_;
};

Grid UniformImage(int32_t width, int32_t height, uint8_t grey);
Grid NoiseImage(int32_t width, int32_t height, Random& random);

/// Each pixel 0 with the given chance in per cent, else 255.
Grid BinaryNoise(int32_t width, int32_t height, Random& random, int32_t zeroPerCent);

/// Squares of `cell` pixels, alternately low and high; the first one low.
Grid Checkerboard(int32_t width, int32_t height, int32_t cell, uint8_t low, uint8_t high);

/// Straight waves. `direction240` is the direction across the stripes, in 1/240 turn (0: vertical
/// stripes); `period` in pixels.
Grid StripeImage(int32_t width, int32_t height, double period, int32_t direction240, uint8_t low,
                 uint8_t high);

/// Rings around a point, like the core of a whorl.
Grid RingImage(int32_t width, int32_t height, double period, int32_t centreX, int32_t centreY);

/// A spiral with `arms` arms around the middle.
Grid SpiralImage(int32_t width, int32_t height, double period, int32_t arms);

/// A ramp from 0 to 255 along x and a step along y; smooth, with no ridges.
Grid RampImage(int32_t width, int32_t height);

/// Bent ridges with random breaks and forks on an elliptic dark area, light ground and noise.
Grid FingerImage(int32_t width, int32_t height, Random& random);

/// 0 where the pixel is below 128, else 255.
Grid Binarised(const Grid& image);

/// Rows and columns exchanged.
Grid Transposed(const Grid& image);

/// A block direction map of random bytes. `hostile`: any byte; else orientations 0..119, about one
/// in four blocks background.
Grid RandomDirectionMap(int32_t columns, int32_t rows, Random& random, bool hostile);

struct NamedImage {
    std::string name;
    Grid image;
};

/// Every size of 1..18 x 1..18 once, with noise of changing kind.
std::vector<NamedImage> TinyImages(uint64_t seed);

/// All kinds of pattern at sizes up to about 170, sides of every remainder modulo 4.
std::vector<NamedImage> MediumImages(uint64_t seed);

/// A few images near the largest size.
std::vector<NamedImage> LargeImages(uint64_t seed);

/// Where two images of one shape first differ, for messages; empty when they are equal.
std::string FirstDifference(const Grid& expected, const Grid& actual);

}  // namespace testsupport
