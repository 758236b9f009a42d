// SPDX-License-Identifier: Apache-2.0
//
// The progress bar.
#include "tools/qorfp/ProgressBar.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace qorfp::cli {
namespace {

constexpr std::chrono::milliseconds kPatience(300);  // shorter work shows no bar
constexpr std::chrono::milliseconds kRedraw(100);
constexpr size_t kBarLength = 30;

}  // namespace

ProgressBar::ProgressBar(std::string label, size_t total)
    : label_(std::move(label)),
      total_(total),
      isTerminal_(isatty(STDERR_FILENO) != 0),
      nextDraw_(Clock::now() + kPatience) {}

ProgressBar::~ProgressBar() {
    if (isDrawn_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void ProgressBar::Advance() {
    ++done_;
    if (!isTerminal_ || Clock::now() < nextDraw_) {
        return;
    }
    Draw();
    isDrawn_ = true;
    nextDraw_ = Clock::now() + kRedraw;
}

void ProgressBar::Draw() const {
    const size_t filled = kBarLength * done_ / total_;
    const std::string bar = std::string(filled, '#') + std::string(kBarLength - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %zu of %zu", label_.c_str(), bar.c_str(), done_, total_);
    std::fflush(stderr);
}

}  // namespace qorfp::cli
