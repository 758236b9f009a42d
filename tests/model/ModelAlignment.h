// SPDX-License-Identifier: Apache-2.0
//
// Naive model of alignment and similarity score: rotation and translation of a probe onto a
// reference by votes of corresponding bars, and the score of what then lies together.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "tests/model/ModelBars.h"
#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"

namespace model {

/// A reference bar and a probe bar taken for the same pair of minutiae.
struct BarMatch {
    int32_t referenceBar = 0;
    int32_t probeBar = 0;
    int32_t weight = 0;
};

/// The probe during and after alignment.
struct Probe {
    MinutiaSet set;
    std::vector<Bar> bars;
    Centre centre;
};

struct AlignmentResult {
    /// Matched minutiae {reference number, probe number}, at most 120.
    std::vector<std::pair<int32_t, int32_t>> pairs;
    int32_t score = 0;
    int32_t xShift = 0;
    int32_t yShift = 0;
    int32_t angle = 0;  // 0..239
};

/// Weight of two bars as a correspondence; 0 where they do not correspond.
int32_t BarWeight(const MinutiaSet& referenceSet, const Bar& a, const MinutiaSet& probeSet,
                  const Bar& b);

/// Corresponding bars: mutual best partners, one orientation of every reference pair.
std::vector<BarMatch> MatchBars(const Reference& reference, const Probe& probe);

/// Peak of the circularly smoothed 240-bin histogram; `histogram` receives the smoothed values.
int32_t RotationPeak(std::vector<int64_t>& histogram);

/// Turns the probe by `angle` about its centre.
void RotateProbe(Probe& probe, int32_t angle);

/// Peak of the 512-bin shift histogram between two bins, less 256; `histogram` receives the
/// window sums.
int32_t ShiftPeak(std::vector<int64_t>& histogram, int32_t low, int32_t high);

/// Keeps the matches that lie together and scores them; `matches` is reduced to the kept ones.
int32_t SimilarityScore(const Reference& reference, const Probe& probe,
                        std::vector<BarMatch>& matches);

/// Minutia pairs of the kept matches, without repetition, at most 120.
std::vector<std::pair<int32_t, int32_t>> MinutiaPairs(const Reference& reference,
                                                      const Probe& probe,
                                                      const std::vector<BarMatch>& kept);

/// Aligns probe.set in place. Returns the score; `result` keeps its contents when nothing could
/// be aligned, and its pairs unless `wantPairs`.
int32_t Align(const Reference& reference, Probe& probe, AlignmentResult& result, bool wantPairs);

/// Score of two templates (0 on any failure), with the reference left for further probes.
class Matcher {
  public:
    int32_t Match(const TemplateBytes& referenceTemplate, const TemplateBytes& probeTemplate);
    int32_t MatchNext(const TemplateBytes& probeTemplate);

    const Reference& PreparedReference() const { return reference_; }
    const Probe& LastProbe() const { return probe_; }
    const AlignmentResult& LastResult() const { return result_; }

  private:
    Reference reference_;
    Probe probe_;
    AlignmentResult result_;
};

/// The score that a call reports: at most 2047.
int32_t ClampScore(int32_t score);

}  // namespace model
