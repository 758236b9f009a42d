// SPDX-License-Identifier: Apache-2.0
//
// A progress bar on the standard error stream, only on a terminal and only for work that takes long
// enough to wonder. One line, rewritten in place and wiped at the end; with the time that remains, at
// the speed so far, once that has settled.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace qorfp::cli {

/// "45 s left", "12 min left", "3 h 20 min left": when `done` of `total` steps, at least one, have
/// taken `seconds`.
std::string RemainingText(double seconds, size_t done, size_t total);

class ProgressBar {
  public:
    /// `total` steps of the work named by `label`.
    ProgressBar(std::string label, size_t total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `steps` more are done.
    void Advance(size_t steps = 1);

  private:
    using Clock = std::chrono::steady_clock;

    void Draw() const;

    std::string label_;
    size_t total_;
    size_t done_ = 0;
    bool isTerminal_;
    bool isDrawn_ = false;
    Clock::time_point start_;
    Clock::time_point nextDraw_;
};

}  // namespace qorfp::cli
