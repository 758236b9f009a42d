// SPDX-License-Identifier: Apache-2.0
//
// The candidate list of minutiae detection after each of its steps.

#include <cstring>
#include <map>

#include "extract/BoxSmooth.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "preprocess/FPPreprocess.h"
#include "tests/vectors/Table.h"

namespace vectors {

namespace {

// Candidate lists by the name of the step that left them.
using Lists = std::map<std::string, qorfp::CandidateList>;

Lists DetectIn(const support::PgmImage& image) {
    Work work;
    uint8_t* buffer = work.Bytes();
    const int32_t width = image.width;
    const int32_t height = image.height;
    int32_t quality = 0;
    std::memcpy(buffer, image.pixels.data(), image.pixels.size());
    Preprocess(width, height, buffer, 4, 4);
    qorfp::BoxSmooth(buffer, width, height);
    CalcDirA(buffer, width, height, &quality);
    SmoothRidge(buffer, width, height);
    BinImageA(buffer, width, height);
    CalcDirB(buffer, width, height);
    SmoothRidge(buffer, width, height);
    BinImageB(buffer, width, height);
    RemoveNoise(buffer, width, height);
    GetRidgeDensity(buffer, width, height);
    Thinning(buffer, width, height);

    Lists lists;
    const qorfp::Skeleton skeleton = qorfp::SkeletonIn(buffer, width, height);
    qorfp::CandidateList list;
    qorfp::ScanCandidates(skeleton, &list);
    lists["scanned"] = list;
    qorfp::RepairBrokenRidges(skeleton, &list);
    lists["repaired"] = list;
    qorfp::RefineCandidates(skeleton, &list);
    lists["refined"] = list;
    qorfp::CompactCandidates(&list);
    qorfp::DeleteCrowded(&list);
    qorfp::DeleteClosePairs(&list);
    qorfp::CompactCandidates(&list);
    lists["survivors"] = list;
    return lists;
}

}  // namespace

bool CompareCandidates(const Folders& folders) {
    Comparison comparison("candidates");
    std::string image;
    Lists lists;
    std::map<std::string, int32_t> rowsOfStep;
    const auto expectLengths = [&] {
        for (const auto& step : rowsOfStep) {
            comparison.Expect(image + " " + step.first + " length", step.second,
                              lists[step.first].count);
        }
    };
    for (const Row& row : ReadTable(folders.TablePath("candidates.tsv"))) {
        if (row.Text("image") != image) {
            expectLengths();
            rowsOfStep.clear();
            image = row.Text("image");
            lists = DetectIn(folders.Image(image));
        }
        comparison.Begin(row);
        const int32_t index = row.Number("index");
        const qorfp::CandidateList& list = lists[row.Text("stage")];
        ++rowsOfStep[row.Text("stage")];
        if (index >= list.count) {
            comparison.Expect("index", index, list.count - 1);
            continue;
        }
        const qorfp::Candidate& candidate = list.items[index];
        comparison.Expect("x", row.Number("x"), candidate.x);
        comparison.Expect("y", row.Number("y"), candidate.y);
        comparison.Expect("type", row.Number("type"), candidate.type);
        comparison.Expect("direction", row.Number("direction"), candidate.direction);
    }
    expectLengths();
    return comparison.Finish();
}

}  // namespace vectors
