// SPDX-License-Identifier: Apache-2.0
//
// Two fingers side by side, the minutiae that the matcher takes for the same ones joined by lines.
#pragma once

#include <optional>
#include <string>

#include "tools/qorfp/Canvas.h"
#include "tools/qorfp/GreyImage.h"
#include "tools/qorfp/MatchedPairs.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

struct PairSide {
    std::string caption;
    std::optional<GreyImage> finger;  // as the engine sees it; without it: minutiae on white
    TemplateView view;
};

/// A picture with a caption under each finger, then the two lines of text, the first in bold. `scale`
/// is picture pixels a finger pixel. Returns a PNG file.
Bytes PaintPair(const PairSide& first, const PairSide& second, const MatchedPairs& match, int scale,
                const std::string& headline, const std::string& detail);

}  // namespace qorfp::cli
