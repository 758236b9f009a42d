// SPDX-License-Identifier: Apache-2.0
//
// QORFP_CheckFeature on any 512 bytes, against the naive model; a second check changes nothing.
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelTemplateCheck.h"

namespace {

using namespace fuzz;

constexpr int32_t kMostTemplates = 6;

Outcome CheckFeature(const TemplateBytes& bytes, Fence fence) {
    Output<uint8_t> checked(bytes, fence);
    Output<int32_t> isConverted(1, fence);
    Outcome outcome;
    outcome.code = QORFP_CheckFeature(checked.Data(), isConverted.Data());
    outcome.numbers = isConverted.Take();
    outcome.bytes = checked.Take();
    return outcome;
}

Outcome Check(const TemplateBytes& bytes) {
    const Outcome outcome = WithEachFill([&](Fence fence) { return CheckFeature(bytes, fence); });
    TemplateBytes expected = bytes;
    int32_t isConverted = kUnwritten;
    ExpectEqual(model::CheckFeature(expected, isConverted), int64_t{outcome.code},
                "result of the check");
    ExpectEqual(isConverted, outcome.numbers[0], "whether it was converted");
    ExpectEqual(expected, outcome.bytes, "checked template");
    if (isConverted == 0) {
        ExpectEqual(bytes, outcome.bytes, "template that was not converted");
    }
    return outcome;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    int32_t count = 0;
    do {
        const Outcome first = Check(maker.Next(reader));
        const Outcome second = Check(first.bytes);
        Expect(second.numbers[0] == 0, "nothing is converted twice");
        ExpectEqual(first.bytes, second.bytes, "template after a second check");
    } while (reader.Left() > 0 && ++count < kMostTemplates);
    return 0;
}
