// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Extract: sizes out of range and images of all legal sizes, against the naive model; whatever
// lies in the work buffer, and with nothing written beside the outputs.
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/ImageMaker.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelExtraction.h"

namespace {

using namespace fuzz;

// The model takes its time: most images of whole sensors, which are larger, are only extracted
// repeatedly. The first byte of an input decides.
constexpr int32_t kMostPixels = 14000;
constexpr uint8_t kFirstUnmodelled = 32;

Outcome Extract(const std::vector<uint8_t>& image, Size size, Fence fence) {
    Input pixels(image, fence);
    Output<uint8_t> bytes(QORFP_TEMPLATE_BYTES, fence);
    Output<int32_t> quality(1, fence);
    Outcome outcome;
    outcome.code =
        QORFP_Extract(pixels.Data(), size.width, size.height, bytes.Data(), quality.Data());
    outcome.numbers = quality.Take();
    outcome.bytes = bytes.Take();
    return outcome;
}

// Any two numbers as sides: no pixel of a refused size may be looked at.
void CheckSize(ByteReader& reader) {
    const Size size = {reader.Signed32(), reader.Signed32()};
    const bool isInRange =
        size.width <= 256 && size.height <= 360 && size.width % 4 == 0 && size.height % 4 == 0;
    if (isInRange && size.width > 0 && size.height > 0) {
        return;  // the other cases have these
    }
    const Outcome outcome = WithEachFill([&](Fence fence) { return Extract({}, size, fence); });
    ExpectEqual(int64_t{isInRange ? QORFP_FAILED : QORFP_BAD_ARGUMENT}, int64_t{outcome.code},
                "result for a size without pixels");
    ExpectEqual(int64_t{kUnwritten}, int64_t{outcome.numbers[0]}, "quality of no image");
    ExpectEqual(std::vector<uint8_t>(QORFP_TEMPLATE_BYTES, Output<uint8_t>::kFill), outcome.bytes,
                "template of no image");
}

void CheckImage(ByteReader& reader, bool isAlwaysModelled) {
    const Size size = ReadLegalSize(reader, kMostPixels);
    const model::Grid image = ReadImage(reader, size);
    const Outcome outcome =
        WithEachFill([&](Fence fence) { return Extract(image.cells, size, fence); });
    if (size.width * size.height > kMostPixels && !isAlwaysModelled) {
        return;
    }
    const model::Creation expected = model::ExtractTemplate(image);
    ExpectEqual(int64_t{expected.result == 0 ? QORFP_OK : QORFP_FAILED}, int64_t{outcome.code},
                "result of the extraction");
    if (expected.result == 0) {
        ExpectEqual(expected.bytes, outcome.bytes, "template");
        ExpectEqual(model::TemplateQuality(expected.bytes), outcome.numbers[0], "quality");
    } else {
        ExpectEqual(int64_t{kUnwritten}, int64_t{outcome.numbers[0]}, "quality of a failure");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    const uint8_t choice = reader.Byte();
    if (choice == 255) {
        CheckSize(reader);
    } else {
        CheckImage(reader, choice < kFirstUnmodelled);
    }
    return 0;
}
