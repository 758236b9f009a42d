// SPDX-License-Identifier: Apache-2.0
//
// The minutiae that the matcher takes for the same ones in two templates, and how it lays the second
// finger on the first: its own alignment, run once more for what the public call does not tell.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

struct MatchedPair {
    size_t first = 0;  // number of the minutia in each template
    size_t second = 0;
};

struct MatchedPairs {
    int score = 0;  // that of Verify
    int turn = 0;   // of the second finger, 0..239 in 1.5 degrees, clockwise, around the middle
    int moveX = 0;  // and then, in pixels; the matcher settles for 5 pixels off
    int moveY = 0;
    std::vector<MatchedPair> pairs;  // at most 120; a minutia may stand in several
    /// The second finger's minutiae where the alignment puts them, in the first finger's pixels.
    std::vector<MinutiaView> aligned;
};

/// Both templates must have passed CheckTemplate. Where one cannot be matched, nothing is found. May
/// run in several threads at once.
MatchedPairs FindMatchedPairs(const TemplateBytes& first, const TemplateBytes& second);

/// "turned by 3.0 degrees clockwise, moved by 4, -2 pixels": what is done to the second finger.
std::string AlignmentText(const MatchedPairs& match);

}  // namespace qorfp::cli
