// SPDX-License-Identifier: Apache-2.0
//
// Scores are whole numbers of a short range, so the rates of all thresholds are kept as a table.
#include "tools/qorfp/eval/ErrorRates.h"

#include <algorithm>
#include <cmath>

namespace qorfp::cli {
namespace {

constexpr double kNormal95 = 1.959963984540054;  // two-sided 95 % point of the normal distribution

std::vector<int64_t> CountBelow(const std::vector<int>& scores) {
    std::vector<int64_t> below(kNoAcceptance + 1);
    for (const int score : scores) {
        ++below[static_cast<size_t>(score) + 1];
    }
    for (size_t threshold = 1; threshold < below.size(); ++threshold) {
        below[threshold] += below[threshold - 1];
    }
    return below;
}

struct Crossing {
    double rate = 0;
    int threshold = 0;
};

// Where a rate that rises with the threshold meets one that falls: on the straight line between the
// last threshold before they cross and the first behind. Both ends of the range lie apart.
template <class Rising, class Falling>
Crossing FindCrossing(const Rising& rising, const Falling& falling) {
    int threshold = 1;
    while (rising(threshold) < falling(threshold)) {
        ++threshold;
    }
    const double before = falling(threshold - 1) - rising(threshold - 1);
    const double behind = rising(threshold) - falling(threshold);
    const double way = before / (before + behind);
    const double from = falling(threshold - 1);
    return {from + (falling(threshold) - from) * way, threshold};
}

}  // namespace

double Share::Rate() const {
    return all > 0 ? static_cast<double>(count) / static_cast<double>(all) : 0.0;
}

Interval WilsonInterval(const Share& share) {
    if (share.all == 0) {
        return {};
    }
    const double all = static_cast<double>(share.all);
    const double rate = share.Rate();
    const double square = kNormal95 * kNormal95;
    const double scale = 1 + square / all;
    const double middle = (rate + square / (2 * all)) / scale;
    const double half =
        kNormal95 / scale * std::sqrt(rate * (1 - rate) / all + square / (4 * all * all));
    // At the ends the formula gives 0 and 1 but for rounding.
    return {share.count == 0 ? 0.0 : middle - half, share.count == share.all ? 1.0 : middle + half};
}

ErrorRates::ErrorRates(const std::vector<int>& genuine, const std::vector<int>& impostor)
    : genuineBelow_(CountBelow(genuine)), impostorBelow_(CountBelow(impostor)) {}

Share ErrorRates::FalseMatches(int threshold) const {
    const int64_t all = impostorBelow_.back();
    return {all - impostorBelow_[static_cast<size_t>(threshold)], all};
}

Share ErrorRates::FalseNonMatches(int threshold) const {
    return {genuineBelow_[static_cast<size_t>(threshold)], genuineBelow_.back()};
}

OperatingPoint ErrorRates::At(int threshold) const {
    return {threshold, FalseMatches(threshold), FalseNonMatches(threshold)};
}

OperatingPoint ErrorRates::AtFalseMatchRate(int64_t impostors) const {
    int threshold = 0;
    for (; threshold < kNoAcceptance; ++threshold) {
        const Share share = FalseMatches(threshold);
        if (share.count == 0 || (impostors > 0 && share.count <= share.all / impostors)) {
            break;
        }
    }
    return At(threshold);
}

std::optional<EqualErrorRate> ErrorRates::Equal() const {
    if (genuineBelow_.back() == 0 || impostorBelow_.back() == 0) {
        return std::nullopt;
    }
    const Crossing middle =
        FindCrossing([this](int threshold) { return FalseNonMatches(threshold).Rate(); },
                     [this](int threshold) { return FalseMatches(threshold).Rate(); });
    const Crossing low = FindCrossing(
        [this](int threshold) { return WilsonInterval(FalseNonMatches(threshold)).low; },
        [this](int threshold) { return WilsonInterval(FalseMatches(threshold)).low; });
    const Crossing high = FindCrossing(
        [this](int threshold) { return WilsonInterval(FalseNonMatches(threshold)).high; },
        [this](int threshold) { return WilsonInterval(FalseMatches(threshold)).high; });
    return EqualErrorRate{middle.rate, {low.rate, high.rate}, middle.threshold};
}

}  // namespace qorfp::cli
