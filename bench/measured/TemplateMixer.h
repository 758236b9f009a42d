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

    /// Minutiae of two sources on either side of a random line, and the others of the two.
    struct Halves {
        std::vector<Minutia> taken;
        std::vector<Minutia> spare;
    };
    Halves TwoHalves();

    /// Brings the taken ones to `count`.
    void FillUp(int32_t count, Halves* halves);
    void Thin(int32_t count, std::vector<Minutia>* taken);

    /// A little moved and turned.
    Minutia Jittered(Minutia minutia);

    std::vector<MinutiaSet> sources_;
    std::mt19937 random_;
};

}  // namespace measure
