// SPDX-License-Identifier: Apache-2.0
//
// Finished templates of whole images through the public call.

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

bool CompareTemplates(const Folders& folders) {
    Comparison comparison("templates");
    for (const Row& row : ReadTable(folders.TablePath("templates.tsv"))) {
        comparison.Begin(row);
        const support::PgmImage image = folders.Image(row.Text("image"));
        Bytes bytes(QORFP_TEMPLATE_BYTES, 0xA5);
        int32_t quality = -1;
        const uint32_t result =
            QORFP_Extract(image.pixels.data(), image.width, image.height, bytes.data(), &quality);
        comparison.Expect("result", row.Number("result"), static_cast<int32_t>(result));
        if (result == QORFP_OK) {
            comparison.Expect("quality", row.Number("quality"), quality);
            comparison.Expect("template", row.Hex("template"), bytes);
        }
    }
    return comparison.Finish();
}

}  // namespace vectors
