// SPDX-License-Identifier: Apache-2.0
//
// The finger check on windows of images.

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

bool CompareFinger(const Folders& folders) {
    Comparison comparison("finger");
    for (const Row& row : ReadTable(folders.TablePath("finger.tsv"))) {
        comparison.Begin(row);
        const int32_t width = row.Number("width");
        const int32_t height = row.Number("height");
        const Bytes window = Window(folders.Image(row.Text("image")), row.Number("left"),
                                    row.Number("top"), width, height);
        const uint32_t result =
            QORFP_CheckFinger(window.data(), static_cast<uint32_t>(width), height);
        comparison.Expect("result", row.Number("result"), static_cast<int32_t>(result));
    }
    return comparison.Finish();
}

}  // namespace vectors
