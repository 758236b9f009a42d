// SPDX-License-Identifier: Apache-2.0
//
// The progress bar.
#include "tools/qorfp/ProgressBar.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace qorfp::cli {
namespace {

constexpr std::chrono::milliseconds kPatience(300);  // shorter work shows no bar
constexpr std::chrono::milliseconds kRedraw(100);
constexpr std::chrono::seconds kSettled(2);
constexpr size_t kBarLength = 30;

}  // namespace

std::string RemainingText(double seconds, size_t done, size_t total) {
    constexpr double kMinute = 60;
    constexpr long kHour = 60;
    const double left = seconds / static_cast<double>(done) * static_cast<double>(total - done);
    if (left < 2 * kMinute) {
        return std::to_string(std::lround(left)) + " s left";
    }
    const long minutes = std::lround(left / kMinute);
    if (minutes < 2 * kHour) {
        return std::to_string(minutes) + " min left";
    }
    return std::to_string(minutes / kHour) + " h " + std::to_string(minutes % kHour) + " min left";
}

ProgressBar::ProgressBar(std::string label, size_t total)
    : label_(std::move(label)),
      total_(total),
      isTerminal_(isatty(STDERR_FILENO) != 0),
      start_(Clock::now()),
      nextDraw_(start_ + kPatience) {}

ProgressBar::~ProgressBar() {
    if (isDrawn_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void ProgressBar::Advance(size_t steps) {
    done_ += steps;
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
    const Clock::duration spent = Clock::now() - start_;
    if (spent >= kSettled) {
        const double seconds = std::chrono::duration<double>(spent).count();
        std::fprintf(stderr, ", %s", RemainingText(seconds, done_, total_).c_str());
    }
    std::fputs("\033[K", stderr);  // what a longer line before has left
    std::fflush(stderr);
}

}  // namespace qorfp::cli
