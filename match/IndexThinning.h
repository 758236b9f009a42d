// SPDX-License-Identifier: Apache-2.0
//
// Thinning of index keys before they are stored.
#pragma once

#include "match/IndexWorkspace.h"

namespace qorfp {

/// Leaves at most 19 keys, in order: of keys that resemble each other, those farther from the centre
/// go first, then those at the end.
void ThinKeys(IndexWorkspace* work);

}  // namespace qorfp
