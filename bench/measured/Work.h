// SPDX-License-Identifier: Apache-2.0
//
// What is measured: the one list behind the timing program and the instruction counts.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/measured/Inputs.h"

namespace measure {

/// A call of the library (or a number of alike ones) on one or more inputs.
struct Work {
    int cases = 1;                                  ///< inputs
    int callsPerCase = 1;                           ///< calls that `run` makes on one of them
    std::function<void(int)> restore = [](int) {};  ///< puts input `case` in place; not measured
    std::function<void(int)> run;                   ///< measured

    int Calls() const { return cases * callsPerCase; }
};

struct NamedWork {
    std::string name;
    std::function<Work()> prepare;  ///< throws std::runtime_error where the inputs do not serve
};

/// Every work there is. `inputs` must outlive the works.
std::vector<NamedWork> AllWorks(Inputs& inputs);

// The parts of the list.
void AddExtraction(Inputs& inputs, std::vector<NamedWork>* works);
void AddStages(Inputs& inputs, std::vector<NamedWork>* works);
void AddMatching(Inputs& inputs, std::vector<NamedWork>* works);
void AddSearching(Inputs& inputs, std::vector<NamedWork>* works);
void AddSorting(Inputs& inputs, std::vector<NamedWork>* works);
void AddGrowth(Inputs& inputs, std::vector<NamedWork>* works);

/// Throws std::runtime_error with the message unless the condition holds: a call that fails early
/// would look fast.
void Require(bool condition, const std::string& message);

}  // namespace measure
