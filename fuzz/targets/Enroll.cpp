// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Enroll of 0 to 5 templates, also into one of its inputs, against the naive model.
#include <algorithm>

#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelFusion.h"

namespace {

using namespace fuzz;

constexpr size_t kTemplateBytes = 512;
constexpr size_t kQualityAt = 369;

Outcome Enroll(const std::vector<TemplateBytes>& templates, int32_t count, Fence fence) {
    Input inputs(Joined(templates), fence);
    Output<uint8_t> bytes(kTemplateBytes, fence);
    Output<int32_t> quality(1, fence);
    Outcome outcome;
    outcome.code = QORFP_Enroll(inputs.Data(), count, bytes.Data(), quality.Data());
    outcome.numbers = quality.Take();
    outcome.bytes = bytes.Take();
    return outcome;
}

// All bytes of the list, with the result at `target`.
Outcome EnrollInPlace(const std::vector<TemplateBytes>& templates, size_t target, Fence fence) {
    Output<uint8_t> bytes(Joined(templates), fence);
    Output<int32_t> quality(1, fence);
    Outcome outcome;
    outcome.code = QORFP_Enroll(bytes.Data(), static_cast<int32_t>(templates.size()),
                                bytes.Data() + target * kTemplateBytes, quality.Data());
    outcome.numbers = quality.Take();
    outcome.bytes = bytes.Take();
    return outcome;
}

void Check(const std::vector<TemplateBytes>& templates) {
    const Outcome outcome = WithEachFill([&](Fence fence) {
        return Enroll(templates, static_cast<int32_t>(templates.size()), fence);
    });
    TemplateBytes bytes(kTemplateBytes, Output<uint8_t>::kFill);
    int32_t quality = kUnwritten;
    ExpectEqual(model::Enroll(templates, bytes, quality), int64_t{outcome.code},
                "result of the enrolment");
    ExpectEqual(quality, outcome.numbers[0], "quality");
    if (outcome.code != QORFP_FAILED) {  // which may leave a part of a template
        ExpectEqual(bytes, outcome.bytes, "enrolled template");
    }
}

// An input that the result overwrites counts with the result's minutiae.
void CheckInPlace(const std::vector<TemplateBytes>& templates, size_t target) {
    std::vector<TemplateBytes> expected = templates;
    int32_t quality = kUnwritten;
    const int32_t result = model::Enroll(templates, expected[target], quality);
    if (result == 0) {
        expected[target][kQualityAt] = 0;
        const std::vector<TemplateBytes> rated = {expected[0], expected[1],
                                                  expected[templates.size() == 2 ? 0 : 2]};
        int32_t sum = 0;
        for (const TemplateBytes& one : rated) {
            sum += model::TemplateQuality(one);
        }
        expected[target][kQualityAt] = static_cast<uint8_t>(sum / 3);
        quality = model::TemplateQuality(expected[target]);
        model::WriteChecksum(expected[target]);
    }
    const Outcome outcome =
        WithEachFill([&](Fence fence) { return EnrollInPlace(templates, target, fence); });
    ExpectEqual(result, int64_t{outcome.code}, "result of the enrolment in place");
    ExpectEqual(quality, outcome.numbers[0], "quality in place");
    if (result == 0) {
        ExpectEqual(Joined(expected), outcome.bytes, "templates after enrolment in place");
    }
}

void CheckTooFew(int32_t count) {
    const Outcome outcome = WithEachFill([&](Fence fence) { return Enroll({}, count, fence); });
    ExpectEqual(QORFP_BAD_ARGUMENT, int64_t{outcome.code}, "result of too few templates");
    ExpectEqual(int64_t{kUnwritten}, int64_t{outcome.numbers[0]}, "quality of too few templates");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    const uint8_t choice = reader.Byte();
    if (choice == 255) {
        CheckTooFew(std::min(reader.Signed32(), 1));
        return 0;
    }
    const int32_t count = choice % 8 == 0 ? 5 : 2 + choice % 2;
    const std::vector<TemplateBytes> templates = maker.List(reader, count);
    Check(templates);
    if (count <= 3) {
        CheckInPlace(templates, static_cast<size_t>(reader.Below(count)));
    }
    return 0;
}
