// SPDX-License-Identifier: Apache-2.0
//
// Damaged templates: their scores both ways round, their index score and the template check.

#include "engine/FPEngine.h"
#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

namespace {

int32_t ScoreOf(const Bytes& first, const Bytes& second) {
    int32_t score = 0;
    QORFP_Verify(first.data(), second.data(), 1, &score);
    return score;
}

}  // namespace

bool CompareHostile(const Folders& folders) {
    const Templates templates = ReadTemplates(folders);
    Comparison comparison("hostile");
    for (const Row& row : ReadTable(folders.TablePath("hostile.tsv"))) {
        comparison.Begin(row);
        Bytes damaged = row.Hex("template");
        const Bytes& base = templates.at(row.Text("base"));
        comparison.Expect("scoreAsProbe", row.Number("scoreAsProbe"), ScoreOf(base, damaged));
        comparison.Expect("scoreAsReference", row.Number("scoreAsReference"),
                          ScoreOf(damaged, base));
        Work work;
        int32_t indexScore = -1;
        ISetIndex(work.Bytes(), base.data());
        IGetScore(work.Bytes(), damaged.data() + qorfp::kIndexOffset, 1, &indexScore);
        comparison.Expect("indexScore", row.Number("indexScore"), indexScore);
        int32_t converted = -1;
        const uint32_t result = QORFP_CheckFeature(damaged.data(), &converted);
        comparison.Expect("check", row.Number("check"), static_cast<int32_t>(result));
        comparison.Expect("converted", row.Number("converted"), converted);
        comparison.Expect("afterCheck", row.Text("afterCheck"),
                          Crc(damaged.data(), damaged.size()));
    }
    return comparison.Finish();
}

}  // namespace vectors
