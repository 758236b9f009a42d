// SPDX-License-Identifier: Apache-2.0
//
// Sector lists in which bars crowd. Fingers have a few dozen bars in a list at the most; a template
// made for it can have all 400 of them in one, each of which corresponds to each probe bar. Their
// best partners are kept in lanes, too.
#pragma once

#include "match/MatchContext.h"

namespace qorfp {

/// Compares the probe bars whose part of a list is a crowd, remembers the best partners of both
/// sides, and leaves nothing to compare for these bars.
void CompareCrowds(MatchContext* context);

}  // namespace qorfp
