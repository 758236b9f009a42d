// SPDX-License-Identifier: Apache-2.0
// The progress bar: one line, rewritten in place.
#include "tools/synth/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace qorfp::synth {

Progress::Progress(int total, bool isQuiet)
    : total_(total), isShown_(!isQuiet && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown_) {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::Show(int finished) const {
    if (!isShown_) {
        return;
    }
    constexpr int kBarLength = 40;
    const int filled = static_cast<int>(static_cast<long long>(finished) * kBarLength / total_);
    const std::string bar = std::string(static_cast<size_t>(filled), '#') +
                            std::string(static_cast<size_t>(kBarLength - filled), '.');
    std::fprintf(stderr, "\r[%s] %d of %d fingers", bar.c_str(), finished, total_);
    std::fflush(stderr);
}

}  // namespace qorfp::synth
