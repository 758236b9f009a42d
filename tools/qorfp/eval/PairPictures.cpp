// SPDX-License-Identifier: Apache-2.0
//
// The picture of "qorfp match", from the evaluation's templates.
#include "tools/qorfp/eval/PairPictures.h"

#include "tools/qorfp/Diagnosis.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/MatchedPairs.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/PairPicture.h"
#include "tools/qorfp/Resample.h"

namespace qorfp::cli {
namespace {

constexpr int kScale = 2;

PairSide SideOf(const FingerSet& set, size_t i, const GreyImage& finger) {
    PairSide side;
    side.caption = set.captures[i].name;
    side.finger = AsTheEngineSeesIt(finger);
    side.view = ReadTemplate(set.extractions[i].bytes);
    return side;
}

}  // namespace

PairPicture DrawPair(const FingerSet& set, const Pair& pair, const ImageOptions& options,
                     bool withReasons) {
    const GreyImage firstFinger = LoadFinger(set.captures[pair.first].path, options);
    const GreyImage secondFinger = LoadFinger(set.captures[pair.second].path, options);
    const PairSide first = SideOf(set, pair.first, firstFinger);
    const PairSide second = SideOf(set, pair.second, secondFinger);
    const MatchedPairs match =
        FindMatchedPairs(set.extractions[pair.first].bytes, set.extractions[pair.second].bytes);
    const std::string score = "score " + std::to_string(match.score);
    const std::string detail =
        match.pairs.empty()
            ? std::string("no pairs of minutiae in common")
            : CountText(match.pairs.size(), "pair") + " of minutiae; B is " + AlignmentText(match);
    PairPicture picture = {
        PaintPair(first, second, match, kScale, score, detail),
        "A: " + first.caption + ", B: " + second.caption + ": " + score + ", " + detail};
    if (withReasons) {
        const std::string reasons = Joined(ReasonsOfPair(MeasureFinger(firstFinger, options.dpi),
                                                         MeasureFinger(secondFinger, options.dpi),
                                                         match, OverlapOf(first.view, match)));
        picture.caption += reasons.empty() ? "" : ". Poor: " + reasons;
    }
    return picture;
}

}  // namespace qorfp::cli
