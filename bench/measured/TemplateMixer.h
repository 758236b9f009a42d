// SPDX-License-Identifier: Apache-2.0
//
// Templates in any number, made of the minutiae of a few: one side of a random line from one
// finger, the other side from another, a little moved, some lost. Index and matcher take them for
// templates of as many fingers: their scores are about those of two different fingers.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "bench/measured/Inputs.h"

namespace measure {

class TemplateMixer {
  public:
    /// Needs at least two sets.
    explicit TemplateMixer(std::vector<MinutiaSet> sources);

    /// The next template, of as many minutiae as one of the sources.
    Template Next();

    /// The next template, of `count` minutiae (6..60).
    Template Next(int32_t count);

  private:
    int32_t Below(int32_t bound);
    int32_t Between(int32_t low, int32_t high);
    const MinutiaSet& RandomSource();

    std::vector<MinutiaSet> sources_;
    std::mt19937 random_;
};

}  // namespace measure
