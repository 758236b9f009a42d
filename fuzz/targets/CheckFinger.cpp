// SPDX-License-Identifier: Apache-2.0
//
// QORFP_CheckFinger: any sizes, and images of all legal sizes, against the naive model.
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/ImageMaker.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/WorkMemory.h"
#include "include/QORFPApi.h"
#include "tests/model/ModelFingerCheck.h"

namespace {

using namespace fuzz;

constexpr int32_t kMostPixels = 30000;

Outcome Check(const std::vector<uint8_t>& image, uint32_t width, int32_t height, Fence fence) {
    Input pixels(image, fence);
    Outcome outcome;
    outcome.code = QORFP_CheckFinger(pixels.Data(), width, height);
    return outcome;
}

void CheckSize(ByteReader& reader) {
    const uint32_t width = reader.Number32();
    const int32_t height = reader.Signed32();
    const bool isInRange = width <= 256 && height <= 360 && width % 4 == 0 && height % 4 == 0;
    const bool hasBlocks = width > 32 && height > 32;
    if (isInRange && hasBlocks) {
        return;  // the other cases have these
    }
    const Outcome outcome =
        WithEachFill([&](Fence fence) { return Check({}, width, height, fence); });
    ExpectEqual(int64_t{isInRange ? QORFP_NO_FINGER : QORFP_BAD_ARGUMENT}, int64_t{outcome.code},
                "result for a size without blocks");
}

void CheckImage(ByteReader& reader) {
    const Size size = ReadLegalSize(reader, kMostPixels);
    const model::Grid image = ReadImage(reader, size);
    const Outcome outcome = WithEachFill([&](Fence fence) {
        return Check(image.cells, static_cast<uint32_t>(size.width), size.height, fence);
    });
    ExpectEqual(int64_t{model::CheckFinger(image)}, int64_t{outcome.code}, "finger or none");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    if (reader.Byte() == 255) {
        CheckSize(reader);
    } else {
        CheckImage(reader);
    }
    return 0;
}
