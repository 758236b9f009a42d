// SPDX-License-Identifier: Apache-2.0
//
// Fusion of two or three templates, and chains of improvements.

#include <sstream>

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

namespace vectors {

bool CompareEnrolments(const Folders& folders) {
    const Templates templates = ReadTemplates(folders);
    Comparison comparison("enroll");
    for (const Row& row : ReadTable(folders.TablePath("enroll.tsv"))) {
        comparison.Begin(row);
        Bytes inputs;
        int32_t count = 0;
        std::istringstream names(row.Text("images"));
        for (std::string name; std::getline(names, name, ','); ++count) {
            const Bytes& bytes = templates.at(name);
            inputs.insert(inputs.end(), bytes.begin(), bytes.end());
        }
        Bytes fused(QORFP_TEMPLATE_BYTES, 0xA5);
        int32_t quality = -1;
        const uint32_t result = QORFP_Enroll(inputs.data(), count, fused.data(), &quality);
        comparison.Expect("result", row.Number("result"), static_cast<int32_t>(result));
        if (result == QORFP_OK) {
            comparison.Expect("quality", row.Number("quality"), quality);
            comparison.Expect("template", row.Hex("template"), fused);
        }
    }
    return comparison.Finish();
}

bool CompareImprovements(const Folders& folders) {
    const Templates templates = ReadTemplates(folders);
    Comparison comparison("improve");
    std::string chain;
    Bytes enrolled;
    for (const Row& row : ReadTable(folders.TablePath("improve.tsv"))) {
        comparison.Begin(row);
        if (row.Text("enrolled") != chain) {
            chain = row.Text("enrolled");
            enrolled = templates.at(chain.substr(0, chain.find('+')));
        }
        const uint32_t result =
            QORFP_Improve(templates.at(row.Text("sample")).data(), enrolled.data());
        comparison.Expect("result", row.Number("result"), static_cast<int32_t>(result));
        comparison.Expect("enrolledAfter", row.Hex("enrolledAfter"), enrolled);
    }
    return comparison.Finish();
}

}  // namespace vectors
