// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Improve with any sample and any enrolled template, several times over, against the naive
// model. A call that fails leaves the enrolled template as it was.
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelFusion.h"

namespace {

using namespace fuzz;

constexpr int32_t kMostCalls = 4;

Outcome Improve(const TemplateBytes& sample, const TemplateBytes& enrolled, Fence fence) {
    Input fresh(sample, fence);
    Output<uint8_t> bytes(enrolled, fence);
    Outcome outcome;
    outcome.code = QORFP_Improve(fresh.Data(), bytes.Data());
    outcome.bytes = bytes.Take();
    return outcome;
}

TemplateBytes Check(const TemplateBytes& sample, const TemplateBytes& enrolled) {
    const Outcome outcome =
        WithEachFill([&](Fence fence) { return Improve(sample, enrolled, fence); });
    TemplateBytes expected = enrolled;
    ExpectEqual(model::Improve(sample, expected), int64_t{outcome.code},
                "result of the improvement");
    ExpectEqual(expected, outcome.bytes, "improved template");
    if (outcome.code != QORFP_OK) {
        ExpectEqual(enrolled, outcome.bytes, "template that was not improved");
    }
    return outcome.bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    TemplateBytes enrolled = maker.Next(reader);
    for (int32_t calls = reader.Between(1, kMostCalls); calls > 0; --calls) {
        enrolled = Check(maker.Next(reader), enrolled);
    }
    return 0;
}
