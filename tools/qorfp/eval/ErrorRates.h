// SPDX-License-Identifier: Apache-2.0
//
// Error rates of verification, from the scores of genuine and impostor pairs. A pair is accepted at a
// threshold when its score reaches it. docs/evaluation.md defines every figure.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace qorfp::cli {

/// Scores run from 0 to this; a threshold one higher accepts nothing.
constexpr int kMaxScore = 2047;
constexpr int kNoAcceptance = kMaxScore + 1;

struct Interval {
    double low = 0;
    double high = 1;
};

/// `count` of `all`.
struct Share {
    int64_t count = 0;
    int64_t all = 0;

    /// 0 where there is nothing to have a share of.
    double Rate() const;
};

/// The 95 % interval of the proportion behind a share, by Wilson's formula; 0 to 1 of nothing.
Interval WilsonInterval(const Share& share);

struct EqualErrorRate {
    double rate = 0;
    Interval interval;
    int threshold = 0;  // the lowest at which false non-matches are at least as frequent
};

struct OperatingPoint {
    int threshold = 0;
    Share falseMatches;
    Share falseNonMatches;
};

class ErrorRates {
  public:
    /// Scores 0..kMaxScore, in any order.
    ErrorRates(const std::vector<int>& genuine, const std::vector<int>& impostor);

    /// Impostor pairs that a threshold of 0..kNoAcceptance accepts.
    Share FalseMatches(int threshold) const;

    /// Genuine pairs that it refuses.
    Share FalseNonMatches(int threshold) const;

    OperatingPoint At(int threshold) const;

    /// The lowest threshold whose false match rate is at most 1 in `impostors`, or 0 for none at all.
    OperatingPoint AtFalseMatchRate(int64_t impostors) const;

    /// Nothing without pairs of both kinds.
    std::optional<EqualErrorRate> Equal() const;

  private:
    // Pairs with a score below each threshold.
    std::vector<int64_t> genuineBelow_;
    std::vector<int64_t> impostorBelow_;
};

}  // namespace qorfp::cli
