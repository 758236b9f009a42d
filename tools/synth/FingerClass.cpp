// SPDX-License-Identifier: Apache-2.0
// Names and shares of the pattern classes.
#include "tools/synth/FingerClass.h"

namespace qorfp::synth {
namespace {

struct ClassEntry {
    FingerClass fingerClass;
    const char* name;
    uint32_t perMille;  // share among human fingers; the six sum to 1000
};

constexpr std::array<ClassEntry, 6> kEntries = {{
    {FingerClass::kArch, "arch", 37},
    {FingerClass::kTentedArch, "tented-arch", 29},
    {FingerClass::kLeftLoop, "left-loop", 338},
    {FingerClass::kRightLoop, "right-loop", 317},
    {FingerClass::kWhorl, "whorl", 224},
    {FingerClass::kDoubleLoop, "double-loop", 55},
}};

}  // namespace

const char* ClassName(FingerClass fingerClass) {
    for (const ClassEntry& entry : kEntries) {
        if (entry.fingerClass == fingerClass) {
            return entry.name;
        }
    }
    return "";
}

std::optional<FingerClass> ClassFromName(const std::string& name) {
    for (const ClassEntry& entry : kEntries) {
        if (name == entry.name) {
            return entry.fingerClass;
        }
    }
    return std::nullopt;
}

FingerClass DrawClass(Random& random) {
    uint32_t ticket = random.Below(1000);
    for (const ClassEntry& entry : kEntries) {
        if (ticket < entry.perMille) {
            return entry.fingerClass;
        }
        ticket -= entry.perMille;
    }
    return FingerClass::kLeftLoop;
}

}  // namespace qorfp::synth
