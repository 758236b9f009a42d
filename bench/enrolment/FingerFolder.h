// SPDX-License-Identifier: Apache-2.0
//
// Templates of a folder of images named <finger>_<impression>.pgm, and what is measured on them.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace enrolment {

using Template = std::array<uint8_t, 512>;

/// Templates of one finger by impression; images without a usable template are missing.
using Impressions = std::map<int, Template>;

struct Fingers {
    std::map<int, Impressions> fingers;
    int images = 0;
    int failedExtractions = 0;
};

/// Extracts all images of a folder. Throws std::runtime_error when it holds none.
Fingers ReadFingers(const std::string& folder);

/// The score of an enrolled template as the first and a probe as the second argument.
int32_t ScoreOf(const Template& enrolled, const Template& probe);

/// `count` of `all`, also as a percentage.
std::string Share(int count, int all);

/// Impressions 1 to 3 enrolled, impressions 4 and 5 as probes, the others as later samples: single
/// template, fused template, and fused template after up to five improvements.
void MeasureEnrolment(const Fingers& fingers);

}  // namespace enrolment
