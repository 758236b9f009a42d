// SPDX-License-Identifier: Apache-2.0
// Command line of qorfp-synth.
#pragma once

#include <string>

#include "tools/synth/Batch.h"

namespace qorfp::synth {

struct Arguments {
    BatchOptions batch;
    std::string folder;
    bool isQuiet = false;
};

enum class ParseOutcome { kRun, kHelpShown, kRefused };

/// Reads the command line. `text` becomes the help, or what is wrong in one line.
ParseOutcome ParseArguments(int argc, const char* const* argv, Arguments& arguments,
                            std::string& text);

}  // namespace qorfp::synth
