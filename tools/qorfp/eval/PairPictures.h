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
    std::string caption;  // names, score, how the second (B) lies to the first (A)
};

/// Both captures must have a template. Reads the images again. With reasons, the caption also says what
/// is poor about the fingers, as a refusal does.
PairPicture DrawPair(const FingerSet& set, const Pair& pair, const ImageOptions& options,
                     bool withReasons);

}  // namespace qorfp::cli
