// SPDX-License-Identifier: Apache-2.0
//
// Two captures side by side, with the minutiae that the matcher joins.
#pragma once

#include <string>

#include "tools/qorfp/eval/FingerSet.h"
#include "tools/qorfp/eval/Pairs.h"

namespace qorfp::cli {

struct PairPicture {
    Bytes png;
    std::string caption;  // names, score, and how the second lies to the first
};

/// Both captures must have a template. Reads the images again.
PairPicture DrawPair(const FingerSet& set, const Pair& pair, const ImageOptions& options);

}  // namespace qorfp::cli
