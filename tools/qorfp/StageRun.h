// SPDX-License-Identifier: Apache-2.0
//
// Extraction step by step: the image and maps as every stage leaves them, for pictures. The stages
// are called one by one in the order of the real extraction, on a buffer of their own.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/GreyImage.h"
#include "tools/qorfp/MinutiaMarks.h"

namespace qorfp::cli {

enum class StageView {
    kImage,        // the image itself tells the result
    kOrientation,  // the block direction map
    kPeriod,       // the ridge-period map
    kMinutiae,     // candidates or minutiae over the image
};

struct Stage {
    std::string name;     // of the function that ran
    std::string caption;  // what it did, a few words
    StageView view = StageView::kImage;
    GreyImage image;       // after the stage
    GreyImage directions;  // block direction map, one byte a 4 x 4 block; for the two map views
    GreyImage periods;     // ridge-period map, likewise; for its own view
    int quality = 0;       // of the stage that tells it, CalcDirA
    std::vector<MinutiaMark> marks;  // in image pixels
};

/// Runs all stages on an image of legal size.
std::vector<Stage> RunStages(const GreyImage& finger);

}  // namespace qorfp::cli
