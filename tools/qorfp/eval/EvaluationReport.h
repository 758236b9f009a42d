// SPDX-License-Identifier: Apache-2.0
//
// report.html of an evaluation.
#pragma once

#include <string>

#include "tools/qorfp/eval/Evaluation.h"

namespace qorfp::cli {

/// `pairsShown` is how many genuine and how many impostor pairs are drawn; without any, the page shows
/// no finger.
std::string EvaluationReport(const Evaluation& evaluation, size_t pairsShown);

}  // namespace qorfp::cli
