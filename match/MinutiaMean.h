// SPDX-License-Identifier: Apache-2.0
//
// Means of minutiae: of two or three captures that agree, and of an enrolled minutia with a fresh
// observation of it.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"

namespace qorfp {

/// Equal mean of 2 or 3 minutiae.
Minutia MeanOf(const Minutia* const* minutiae, int32_t count);

/// Mean of an enrolled minutia, weight 3, and an observation of it, weight 1; type as enrolled.
Minutia MeanThreeToOne(const Minutia& enrolled, const Minutia& observed);

}  // namespace qorfp
