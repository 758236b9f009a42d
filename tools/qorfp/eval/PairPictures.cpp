// SPDX-License-Identifier: Apache-2.0
//
// The picture of "qorfp match", from the evaluation's templates.
#include "tools/qorfp/eval/PairPictures.h"

#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/MatchedPairs.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/PairPicture.h"
#include "tools/qorfp/Resample.h"

namespace qorfp::cli {
namespace {

constexpr int kScale = 2;

PairSide SideOf(const FingerSet& set, size_t i, const ImageOptions& options) {
    PairSide side;
    side.caption = set.captures[i].name;
    side.finger = AsTheEngineSeesIt(LoadFinger(set.captures[i].path, options));
    side.view = ReadTemplate(set.extractions[i].bytes);
    return side;
}

}  // namespace

PairPicture DrawPair(const FingerSet& set, const Pair& pair, const ImageOptions& options) {
    const MatchedPairs match =
        FindMatchedPairs(set.extractions[pair.first].bytes, set.extractions[pair.second].bytes);
    const std::string score = "score " + std::to_string(match.score);
    const std::string detail = match.pairs.empty() ? std::string("no pairs of minutiae in common")
                                                   : CountText(match.pairs.size(), "pair") +
                                                         " of minutiae; the second finger is " +
                                                         AlignmentText(match);
    return {PaintPair(SideOf(set, pair.first, options), SideOf(set, pair.second, options), match,
                      kScale, score, detail),
            set.captures[pair.first].name + " and " + set.captures[pair.second].name + ": " +
                score + ", " + detail};
}

}  // namespace qorfp::cli
