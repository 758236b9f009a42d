// SPDX-License-Identifier: Apache-2.0
//
// Work in several threads, each with an engine of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "tools/qorfp/eval/WorkEngine.h"

namespace qorfp::cli {

constexpr int kMaxThreads = 64;

/// Step `i` of the work; called once for each, in any order and from several threads at once.
using Step = std::function<void(WorkEngine& engine, size_t i)>;

/// Runs steps 0 to `count` - 1, with a progress bar named `label`. What a step throws ends the work
/// and is thrown on. `weight` says how much of the bar's `total` a step is worth.
void RunSteps(const std::string& label, size_t count, int threads, const Step& step);
void RunSteps(const std::string& label, size_t count, int threads, const Step& step, size_t total,
              const std::function<size_t(size_t)>& weight);

}  // namespace qorfp::cli
