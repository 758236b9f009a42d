// SPDX-License-Identifier: Apache-2.0
// The classes of ridge patterns, their names on the command line and their natural shares.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "tools/synth/Random.h"

namespace qorfp::synth {

/// Left and right as seen in the image: the ridges of a left loop leave towards the left.
enum class FingerClass { kArch, kTentedArch, kLeftLoop, kRightLoop, kWhorl, kDoubleLoop };

constexpr std::array<FingerClass, 6> kFingerClasses = {
    FingerClass::kArch,      FingerClass::kTentedArch, FingerClass::kLeftLoop,
    FingerClass::kRightLoop, FingerClass::kWhorl,      FingerClass::kDoubleLoop};

/// Name as used on the command line, such as "left-loop".
const char* ClassName(FingerClass fingerClass);

/// The class of that name, or nothing.
std::optional<FingerClass> ClassFromName(const std::string& name);

/// A class drawn in the proportions in which the classes occur in people.
FingerClass DrawClass(Random& random);

}  // namespace qorfp::synth
