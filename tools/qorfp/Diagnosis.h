// SPDX-License-Identifier: Apache-2.0
//
// Why a result is poor: figures of a finger from the maps that the stages of extraction leave, and what
// is unusual about them. Nothing here changes a template or a score.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/qorfp/GreyImage.h"
#include "tools/qorfp/MatchedPairs.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

struct FingerFigures {
    int minutiae = 0;
    int quality = 0;  // mean coherence of the ridges, 0..100; 0 also when a template does not tell
    std::optional<double> squareMillimetres;  // of ridges; not told by templates
    std::optional<double>
        ridgePeriod;       // pixels at the nominal resolution, if ridges were found and are
                           // coherent: in noise any period is found
    int nominalDpi = 508;  // what the image was taken for
    std::optional<int> estimatedDpi;  // what the ridge period tells
};

/// `finger` must be of legal size; `dpi` is what its file was taken for.
FingerFigures MeasureFinger(const GreyImage& finger, int dpi);

/// What the minutiae of a template tell.
FingerFigures MeasureTemplate(const TemplateView& view);

using Reasons = std::vector<std::string>;

/// What is unusual about a finger, for people; empty when nothing is. That there are too few minutiae
/// for a template goes without saying.
Reasons ReasonsOf(const FingerFigures& figures);

/// Where two fingers overlap as they are aligned: where the boxes around their minutiae do.
struct Overlap {
    double part = 0;   // of the smaller box, 0..1
    int minutiae = 0;  // in it, of the finger that has fewer there
};
Overlap OverlapOf(const TemplateView& first, const MatchedPairs& match);

/// What is unusual about a pair that was refused: of each finger, and of both together.
Reasons ReasonsOfPair(const FingerFigures& first, const FingerFigures& second,
                      const MatchedPairs& match, const Overlap& overlap);

/// "few minutiae: 8; little of the finger: 31 square millimetres".
std::string Joined(const Reasons& reasons);

/// Why a finger gives no template, in one line.
std::string NoTemplateText(const FingerFigures& figures);

}  // namespace qorfp::cli
