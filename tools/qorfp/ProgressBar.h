// SPDX-License-Identifier: Apache-2.0
//
// A progress bar on the standard error stream, only on a terminal and only for work that takes long
// enough to wonder. One line, rewritten in place and wiped at the end.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace qorfp::cli {

class ProgressBar {
  public:
    /// `total` steps of the work named by `label`.
    ProgressBar(std::string label, size_t total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// One step is done.
    void Advance();

  private:
    using Clock = std::chrono::steady_clock;

    void Draw() const;

    std::string label_;
    size_t total_;
    size_t done_ = 0;
    bool isTerminal_;
    bool isDrawn_ = false;
    Clock::time_point nextDraw_;
};

}  // namespace qorfp::cli
