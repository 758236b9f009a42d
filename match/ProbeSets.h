// SPDX-License-Identifier: Apache-2.0
//
// What the index scores compare stored keys with.
#pragma once

#include "match/IndexWorkspace.h"

namespace qorfp {

/// What a neighbour has more in its b value for each slot that it stands higher: the slots are 60
/// angle steps, or seven and a half levels, apart.
constexpr int32_t kSlotShift = 7;

/// Makes the sets from the keys and planes of an index.
/// @return false when these are not what CreateTri leaves: something else has used the buffer since
bool MakeProbeSets(const IndexWorkspace& index, ProbeSets* sets);

}  // namespace qorfp
