// SPDX-License-Identifier: Apache-2.0
//
// Corresponding bars: the pairs of a reference bar and a probe bar that are each other's best.
#pragma once

#include "match/MatchContext.h"

namespace qorfp {

/// Writes the context's pairs, in order of the probe bars, from both sides' minutiae and bars and
/// the reference side's sector index. `accepted` and the histograms are left alone.
void FindCorrespondences(MatchContext* context);

}  // namespace qorfp
