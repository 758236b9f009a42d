// SPDX-License-Identifier: Apache-2.0
//
// Scores and index scores of all ordered pairs of templates.

#include "engine/FPEngine.h"
#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

bool CompareScores(const Folders& folders) {
    const Templates templates = ReadTemplates(folders);
    Comparison comparison("scores");
    Work work;
    for (const Row& row : ReadTable(folders.TablePath("scores.tsv"))) {
        comparison.Begin(row);
        const Bytes& reference = templates.at(row.Text("reference"));
        const Bytes& probe = templates.at(row.Text("probe"));
        int32_t score = -1;
        const uint32_t result = QORFP_Verify(reference.data(), probe.data(), 1, &score);
        comparison.Expect("score", row.Number("score"), score);
        comparison.Expect("result", row.Number("score") >= 150 ? 0 : 1,
                          static_cast<int32_t>(result));
        int32_t indexScore = -1;
        ISetIndex(work.Bytes(), reference.data());
        IGetScoreA(work.Bytes(), probe.data(), 1, &indexScore);
        comparison.Expect("indexScore", row.Number("indexScore"), indexScore);
    }
    return comparison.Finish();
}

}  // namespace vectors
