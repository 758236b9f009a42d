// SPDX-License-Identifier: Apache-2.0
//
// The plots of an evaluation, each as SVG.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/eval/ErrorRates.h"
#include "tools/qorfp/eval/FingerSet.h"

namespace qorfp::cli {

/// Both error rates against each other, with the five levels marked.
std::string DetPlot(const ErrorRates& rates);

/// Both error rates against the threshold, with their 95 % intervals.
std::string ThresholdPlot(const ErrorRates& rates);

/// Shares of genuine and impostor pairs by score, from 0 to `high`, `width` scores a bar.
std::string ScorePlot(const std::vector<int>& genuine, const std::vector<int>& impostor, int high,
                      int width);

/// Templates by number of minutiae and by quality.
std::string MinutiaPlot(const FingerSet& set);
std::string QualityPlot(const FingerSet& set);

}  // namespace qorfp::cli
