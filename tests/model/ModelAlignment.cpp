// SPDX-License-Identifier: Apache-2.0
//
// Naive model of alignment and score, see ModelAlignment.h.
#include "tests/model/ModelAlignment.h"

#include <algorithm>
#include <cstdlib>

#include "tests/model/ModelMaths.h"

namespace model {
namespace {

constexpr size_t kMaxBarMatches = 200;
constexpr size_t kMaxKeptMatches = 160;
constexpr size_t kMaxMinutiaPairs = 120;

int64_t LowAttribute(const Minutia& minutia) {
    return minutia.attributes % 64;
}

int64_t HighAttribute(const Minutia& minutia) {
    return minutia.attributes / 64 % 64;
}

const Minutia& At(const MinutiaSet& set, int32_t number) {
    return set.minutiae.at(static_cast<size_t>(number));
}

const Bar& At(const std::vector<Bar>& bars, int32_t number) {
    return bars.at(static_cast<size_t>(number));
}

/// A Q14 product to pixels, halves away from zero.
int64_t RoundQ14(int64_t product) {
    return product >= 0 ? (product + 8192) / 16384 : (product - 8192) / 16384;
}

/// Displacement from a probe minutia to its reference minutia.
struct Offset {
    int64_t x;
    int64_t y;
};

Offset OffsetBetween(const Minutia& reference, const Minutia& probe) {
    return {int64_t{reference.x} - probe.x, int64_t{reference.y} - probe.y};
}

bool LiesTogether(const Offset& offset) {
    const int64_t xx = offset.x * offset.x;
    const int64_t yy = offset.y * offset.y;
    return xx <= 256 && yy <= 256 && xx + yy <= 361;
}

std::vector<int64_t> VoteAngles(const Reference& reference, const Probe& probe,
                                const std::vector<BarMatch>& matches) {
    std::vector<int64_t> histogram(240, 0);
    for (const BarMatch& match : matches) {
        const Bar& a = At(reference.bars, match.referenceBar);
        const Bar& b = At(probe.bars, match.probeBar);
        const int32_t firstTurn = Modulo240(int64_t{At(reference.set, a.first).direction} -
                                            At(probe.set, b.first).direction);
        const int32_t secondTurn = Modulo240(int64_t{At(reference.set, a.second).direction} -
                                             At(probe.set, b.second).direction);
        histogram.at(static_cast<size_t>(firstTurn)) += match.weight;
        histogram.at(static_cast<size_t>(secondTurn)) += match.weight;
    }
    return histogram;
}

/// Votes for the shift; `matches` is reduced to those that may vote.
void VoteShifts(const Reference& reference, const Probe& probe, std::vector<BarMatch>& matches,
                AlignmentResult& result) {
    std::vector<int64_t> xHistogram(512, 0);
    std::vector<int64_t> yHistogram(512, 0);
    int64_t lowX = 511;
    int64_t lowY = 511;
    int64_t highX = 0;
    int64_t highY = 0;
    std::vector<BarMatch> accepted;
    for (const BarMatch& match : matches) {
        const Bar& a = At(reference.bars, match.referenceBar);
        const Bar& b = At(probe.bars, match.probeBar);
        if (AngleBetween(a.direction, b.direction) >= 12) {
            continue;
        }
        const Offset first = OffsetBetween(At(reference.set, a.first), At(probe.set, b.first));
        const Offset second = OffsetBetween(At(reference.set, a.second), At(probe.set, b.second));
        if (std::abs(first.x - second.x) > 16 || std::abs(first.y - second.y) > 16) {
            continue;
        }
        if (std::abs(first.x) > 255 || std::abs(second.x) > 255 || std::abs(first.y) > 255 ||
            std::abs(second.y) > 255) {
            continue;
        }
        const int64_t x = (first.x + second.x) / 2 + 256;
        const int64_t y = (first.y + second.y) / 2 + 256;
        xHistogram.at(static_cast<size_t>(x)) += match.weight;
        yHistogram.at(static_cast<size_t>(y)) += match.weight;
        lowX = std::min(lowX, x);
        lowY = std::min(lowY, y);
        highX = std::max(highX, x);
        highY = std::max(highY, y);
        accepted.push_back(match);
    }
    matches = accepted;
    result.xShift = ShiftPeak(xHistogram, static_cast<int32_t>(lowX), static_cast<int32_t>(highX));
    result.yShift = ShiftPeak(yHistogram, static_cast<int32_t>(lowY), static_cast<int32_t>(highY));
}

}  // namespace

int32_t BarWeight(const MinutiaSet& referenceSet, const Bar& a, const MinutiaSet& probeSet,
                  const Bar& b) {
    const int64_t lengthGap = std::abs(int64_t{a.length} - b.length);
    if (lengthGap > 12) {
        return 0;
    }
    const int64_t d1 = AngleBetween(a.angleFirst, b.angleFirst);
    const int64_t d2 = AngleBetween(a.angleSecond, b.angleSecond);
    if (d1 >= 11 || d2 >= 11) {
        return 0;
    }
    int64_t s = 30 * (20 - d1 - d2) + 44 * (12 - lengthGap) - 165;
    if (s <= 165) {
        return 0;
    }
    const Minutia& a1 = At(referenceSet, a.first);
    const Minutia& a2 = At(referenceSet, a.second);
    const Minutia& b1 = At(probeSet, b.first);
    const Minutia& b2 = At(probeSet, b.second);
    if (a1.type != b1.type && a2.type != b2.type) {
        s = (853 * s + 512) / 1024;
    } else if (a1.type == b1.type && a2.type == b2.type) {
        s = (1229 * s + 512) / 1024;
    }
    const int64_t e1 = std::abs(LowAttribute(a1) - LowAttribute(b1));
    const int64_t e2 = std::abs(LowAttribute(a2) - LowAttribute(b2));
    const int64_t h1 = std::abs(HighAttribute(a1) - HighAttribute(b1));
    const int64_t h2 = std::abs(HighAttribute(a2) - HighAttribute(b2));
    if (e1 >= 16 || e2 >= 16 || h1 >= 32 || h2 >= 32 || h1 + h2 >= 40) {
        return 0;
    }
    return static_cast<int32_t>((40 - h1 - h2) * (s * (32 - e1 - e2) / 32) / 40);
}

std::vector<BarMatch> MatchBars(const Reference& reference, const Probe& probe) {
    std::vector<int32_t> probeWeight(probe.bars.size(), 0);
    std::vector<int32_t> probePartner(probe.bars.size(), -1);
    std::vector<int32_t> referenceWeight(reference.bars.size(), 0);
    std::vector<int32_t> referencePartner(reference.bars.size(), -1);
    for (size_t b = 0; b < probe.bars.size(); ++b) {
        const Bar& probeBar = probe.bars.at(b);
        const int32_t list = kBarSectors * (probeBar.angleFirst / 20) + probeBar.angleSecond / 20;
        for (const int32_t number : reference.sectors.at(static_cast<size_t>(list))) {
            const size_t a = static_cast<size_t>(number);
            const int32_t weight =
                BarWeight(reference.set, reference.bars.at(a), probe.set, probeBar);
            if (weight > probeWeight.at(b)) {
                probeWeight.at(b) = weight;
                probePartner.at(b) = number;
            }
            if (weight > referenceWeight.at(a)) {
                referenceWeight.at(a) = weight;
                referencePartner.at(a) = static_cast<int32_t>(b);
            }
        }
    }
    for (size_t a = 0; a < reference.bars.size(); a += 2) {
        const bool reverseIsBetter = referenceWeight.at(a + 1) > referenceWeight.at(a);
        referencePartner.at(reverseIsBetter ? a : a + 1) = -1;
    }
    std::vector<BarMatch> matches;
    for (size_t b = 0; b < probe.bars.size() && matches.size() < kMaxBarMatches; ++b) {
        const int32_t partner = probePartner.at(b);
        if (partner == -1) {
            continue;
        }
        if (referencePartner.at(static_cast<size_t>(partner)) == static_cast<int32_t>(b)) {
            matches.push_back({partner, static_cast<int32_t>(b),
                               referenceWeight.at(static_cast<size_t>(partner))});
        }
    }
    return matches;
}

int32_t RotationPeak(std::vector<int64_t>& histogram) {
    const std::vector<int64_t> before = histogram;
    const std::vector<int64_t> weights = {1, 2, 4, 8, 16, 8, 4, 2, 1};
    for (int64_t i = 0; i < 240; ++i) {
        int64_t sum = 0;
        for (int64_t k = -4; k <= 4; ++k) {
            sum += weights.at(static_cast<size_t>(k + 4)) *
                   before.at(static_cast<size_t>(Modulo240(i + k)));
        }
        histogram.at(static_cast<size_t>(i)) = sum;
    }
    int64_t greatest = 0;
    int32_t peak = 0;
    for (int32_t i = 0; i < 240; ++i) {
        if (histogram.at(static_cast<size_t>(i)) > greatest) {
            greatest = histogram.at(static_cast<size_t>(i));
            peak = i;
        }
    }
    return peak;
}

void RotateProbe(Probe& probe, int32_t angle) {
    if (angle == 0) {
        return;
    }
    for (Bar& bar : probe.bars) {
        bar.direction = Modulo240(int64_t{bar.direction} + angle);
    }
    const int64_t sine = SinEntry(240 - angle);
    const int64_t cosine = CosEntry(240 - angle);
    for (Minutia& minutia : probe.set.minutiae) {
        const int64_t dx = int64_t{minutia.x} - probe.centre.x;
        const int64_t dy = int64_t{minutia.y} - probe.centre.y;
        minutia.x = static_cast<int32_t>(probe.centre.x + RoundQ14(dy * sine + dx * cosine));
        minutia.y = static_cast<int32_t>(probe.centre.y + RoundQ14(dy * cosine - dx * sine));
        minutia.direction = static_cast<uint8_t>(Modulo240(int64_t{minutia.direction} + angle));
    }
}

int32_t ShiftPeak(std::vector<int64_t>& histogram, int32_t low, int32_t high) {
    low = std::max(low, 5);
    high = std::min(high, 506);
    if (high < low) {
        return 0;
    }
    const std::vector<int64_t> before = histogram;
    int32_t peak = low;
    for (int32_t i = low; i <= high; ++i) {
        int64_t sum = 0;
        for (int32_t k = i - 5; k <= i + 5; ++k) {
            sum += before.at(static_cast<size_t>(k));
        }
        histogram.at(static_cast<size_t>(i)) = sum;
        if (sum > histogram.at(static_cast<size_t>(peak))) {
            peak = i;
        }
    }
    return peak - 256;
}

int32_t SimilarityScore(const Reference& reference, const Probe& probe,
                        std::vector<BarMatch>& matches) {
    std::vector<BarMatch> kept;
    int64_t sum = 0;
    for (const BarMatch& match : matches) {
        if (kept.size() == kMaxKeptMatches) {
            break;
        }
        const Bar& a = At(reference.bars, match.referenceBar);
        const Bar& b = At(probe.bars, match.probeBar);
        if (LiesTogether(OffsetBetween(At(reference.set, a.first), At(probe.set, b.first))) &&
            LiesTogether(OffsetBetween(At(reference.set, a.second), At(probe.set, b.second)))) {
            kept.push_back(match);
            sum += match.weight;
        }
    }
    matches = kept;
    const int64_t referenceBars = static_cast<int64_t>(reference.bars.size());
    const int64_t probeBars = static_cast<int64_t>(probe.bars.size());
    const int64_t referencePart = referenceBars > 100 ? 100 * sum / referenceBars : sum;
    const int64_t probePart = probeBars > 50 ? 50 * sum / probeBars : sum;
    return static_cast<int32_t>((36 * (referencePart + probePart) + 512) / 1024);
}

std::vector<std::pair<int32_t, int32_t>> MinutiaPairs(const Reference& reference,
                                                      const Probe& probe,
                                                      const std::vector<BarMatch>& kept) {
    std::vector<std::pair<int32_t, int32_t>> pairs;
    for (const BarMatch& match : kept) {
        const Bar& a = At(reference.bars, match.referenceBar);
        const Bar& b = At(probe.bars, match.probeBar);
        const std::vector<std::pair<int32_t, int32_t>> ends = {{a.first, b.first},
                                                               {a.second, b.second}};
        for (const std::pair<int32_t, int32_t>& end : ends) {
            const bool isKnown = std::find(pairs.begin(), pairs.end(), end) != pairs.end();
            if (!isKnown && pairs.size() < kMaxMinutiaPairs) {
                pairs.push_back(end);
            }
        }
    }
    return pairs;
}

int32_t Align(const Reference& reference, Probe& probe, AlignmentResult& result, bool wantPairs) {
    probe.centre = CentreOf(probe.set);
    probe.bars.clear();
    if (probe.set.minutiae.empty()) {
        return 0;
    }
    probe.bars = MakeProbeBars(probe.set);
    if (probe.bars.empty()) {
        return 0;
    }
    std::vector<BarMatch> matches = MatchBars(reference, probe);
    std::vector<int64_t> turns = VoteAngles(reference, probe, matches);
    result.angle = RotationPeak(turns);
    RotateProbe(probe, result.angle);
    VoteShifts(reference, probe, matches, result);
    for (Minutia& minutia : probe.set.minutiae) {
        minutia.x += result.xShift;
        minutia.y += result.yShift;
    }
    result.score = SimilarityScore(reference, probe, matches);
    if (wantPairs) {
        result.pairs = MinutiaPairs(reference, probe, matches);
    }
    return result.score;
}

int32_t Matcher::Match(const TemplateBytes& referenceTemplate, const TemplateBytes& probeTemplate) {
    reference_ = Reference();
    probe_ = Probe();
    result_ = AlignmentResult();
    MinutiaSet referenceSet;
    if (DecodeTemplate(referenceTemplate, referenceSet) != 0 ||
        DecodeTemplate(probeTemplate, probe_.set) != 0) {
        return 0;
    }
    reference_ = PrepareReference(referenceSet);
    if (!reference_.prepared) {
        return 0;
    }
    return Align(reference_, probe_, result_, false);
}

int32_t Matcher::MatchNext(const TemplateBytes& probeTemplate) {
    probe_ = Probe();
    if (DecodeTemplate(probeTemplate, probe_.set) != 0) {
        return 0;
    }
    return Align(reference_, probe_, result_, false);
}

int32_t ClampScore(int32_t score) {
    return std::min(score, 2047);
}

}  // namespace model
