// SPDX-License-Identifier: Apache-2.0
//
// 1:N searches, through the contiguous list and through the list of pointers.

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

namespace {

struct Found {
    uint32_t result;
    uint32_t index;
    int32_t score;
};

void Expect(Comparison* comparison, const Row& row, const Found& found) {
    comparison->Expect("result", row.Number("result"), static_cast<int32_t>(found.result));
    comparison->Expect("index", row.Number("index"), static_cast<int32_t>(found.index));
    comparison->Expect("score", row.Number("score"), found.score);
}

}  // namespace

bool CompareSearches(const Folders& folders) {
    const std::vector<Row> rows = ReadTable(folders.TablePath("templates.tsv"));
    Comparison comparison("search");
    for (const Row& row : ReadTable(folders.TablePath("search.tsv"))) {
        comparison.Begin(row);
        Bytes probe;
        Bytes once;
        for (const Row& candidate : rows) {
            const Bytes bytes = candidate.Hex("template");
            if (candidate.Text("image") == row.Text("probe")) {
                probe = bytes;
            } else if (candidate.Number("result") == 0) {
                once.insert(once.end(), bytes.begin(), bytes.end());
            }
        }
        Bytes list;
        for (int32_t copy = 0; copy < (row.Text("list") == "5x" ? 5 : 1); ++copy) {
            list.insert(list.end(), once.begin(), once.end());
        }
        std::vector<const uint8_t*> pointers;
        for (size_t at = 0; at < list.size(); at += QORFP_TEMPLATE_BYTES) {
            pointers.push_back(list.data() + at);
        }
        const uint32_t count = static_cast<uint32_t>(pointers.size());
        const uint32_t level = static_cast<uint32_t>(row.Number("level"));
        Found found = {0, 0, 0};
        found.result =
            QORFP_Search(probe.data(), list.data(), count, level, &found.index, &found.score);
        Expect(&comparison, row, found);
        found = {0, 0, 0};
        found.result =
            QORFP_Identify(probe.data(), pointers.data(), count, level, &found.index, &found.score);
        Expect(&comparison, row, found);
    }
    return comparison.Finish();
}

}  // namespace vectors
