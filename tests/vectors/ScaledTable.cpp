// SPDX-License-Identifier: Apache-2.0
//
// Windows of the small sensor's size: their scaled images and templates.

#include <algorithm>

#include "api/Fpm.h"
#include "tests/vectors/Table.h"

namespace vectors {

bool CompareScaled(const Folders& folders) {
    Comparison comparison("scaled");
    for (const Row& row : ReadTable(folders.TablePath("scaled.tsv"))) {
        comparison.Begin(row);
        const Bytes window = Window(folders.Image(row.Text("image")), row.Number("left"),
                                    row.Number("top"), qorfp::kSensorWidth, qorfp::kSensorHeight);
        Work work;
        std::copy(window.begin(), window.end(), work.Bytes());
        FPM_fpc1011_scale_image(work.Bytes());
        comparison.Expect("scaled212x279", row.Text("scaled212x279"),
                          Crc(work.Bytes(), qorfp::kScaledWidth * qorfp::kScaledHeight));

        Bytes bytes(QORFP_TEMPLATE_BYTES, 0xA5);
        int32_t quality = -1;
        const uint32_t result = QORFP_Extract(window.data(), qorfp::kSensorWidth,
                                              qorfp::kSensorHeight, bytes.data(), &quality);
        comparison.Expect("result", row.Number("result"), static_cast<int32_t>(result));
        if (result == QORFP_OK) {
            comparison.Expect("quality", row.Number("quality"), quality);
            comparison.Expect("template", row.Hex("template"), bytes);
        }
    }
    return comparison.Finish();
}

}  // namespace vectors
