// SPDX-License-Identifier: Apache-2.0
//
// Naive model of template fusion (three templates of a finger into one) and of improvement (an
// enrolled template updated from a fresh one), with the calls that finish the resulting template.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"

namespace model {

/// The mean of two or three observations of one minutia.
Minutia MergeMinutiae(const std::vector<Minutia>& observations);

/// Fuses three templates (bytes 0..369 count). Returns 0 and the first 370 bytes of the fused
/// template, or a non-zero result.
int32_t FuseTemplates(const std::array<TemplateBytes, 3>& templates, TemplateBytes& fused);

/// Matches a sample against an enrolled template and updates bytes 0..369 of the latter when the
/// score is high enough. Returns the unclamped score.
int32_t MatchAndImprove(const TemplateBytes& sample, TemplateBytes& enrolled, bool& updated);

/// Whether an updated template is better than the one it replaces.
bool IsImprovement(const TemplateBytes& before, const TemplateBytes& after);

/// A finished 512-byte template from three; 0, or 1 where they do not fuse (`out` as it was then;
/// an index area can always be built for a fused template).
int32_t GenerateFeature(const TemplateBytes& a, const TemplateBytes& b, const TemplateBytes& c,
                        TemplateBytes& out);

/// Result of the enrolment call over n templates: 0, 1 or 5.
int32_t Enroll(const std::vector<TemplateBytes>& templates, TemplateBytes& out, int32_t& quality);

/// Result of the improvement call: 0 (updated), 1 or 8.
int32_t Improve(const TemplateBytes& sample, TemplateBytes& enrolled);

}  // namespace model
