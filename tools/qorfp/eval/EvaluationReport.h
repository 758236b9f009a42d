// SPDX-License-Identifier: Apache-2.0
//
// report.html of an evaluation.
#pragma once

#include <string>

#include "tools/qorfp/eval/Evaluation.h"

namespace qorfp::cli {

std::string EvaluationReport(const Evaluation& evaluation);

}  // namespace qorfp::cli
