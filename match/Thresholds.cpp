// SPDX-License-Identifier: Apache-2.0

#include "match/Thresholds.h"

const int32_t gnMatchThr[8] = {140, 150, 165, 180, 195, 210, 225, 240};
