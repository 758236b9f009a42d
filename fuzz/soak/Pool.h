// SPDX-License-Identifier: Apache-2.0
//
// What the calls of a soak run are made on: images and templates, good and hostile, all from a seed.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/model/ModelTypes.h"
#include "tests/support/TestImages.h"
#include "tests/support/TestMinutiae.h"

namespace soak {

using testsupport::Random;
using testsupport::TemplateBytes;

class Pool {
  public:
    explicit Pool(uint64_t seed);

    const model::Grid& AnyImage(Random& random) const;

    /// A template of the pool, one in four with a few bytes changed.
    TemplateBytes AnyTemplate(Random& random) const;

    /// Most are further captures of one finger, as enrolment and improvement take them.
    TemplateBytes Capture(Random& random) const;

    /// Takes the place of another one, so that what calls give becomes what others take.
    void Put(const TemplateBytes& bytes, Random& random);

  private:
    std::vector<model::Grid> images_;
    std::vector<TemplateBytes> kept_;      ///< as made from the seed
    std::vector<TemplateBytes> changing_;  ///< what calls have given
    std::vector<std::vector<TemplateBytes>> fingers_;
};

}  // namespace soak
