// SPDX-License-Identifier: Apache-2.0
//
// Each stage of extraction == its naive model: alone on any image and any maps, and in its place
// behind the others; at all widths that stages take; whatever lies in the work buffer. Sizes that are
// refused leave every byte of it alone.
#include <algorithm>

#include "extract/BoxSmooth.h"
#include "extract/FPExtract.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/ImageMaker.h"
#include "fuzz/support/Stages.h"
#include "fuzz/support/Target.h"
#include "preprocess/FPPreprocess.h"
#include "tests/support/TestImages.h"

namespace {

using namespace fuzz;
using model::Grid;

// The models take their time: most images are small, some have room for minutiae.
constexpr int32_t kMostPixels[] = {1500, 3000, 5000, 12000};

// Orientations as they come, with bit 7 here and there, or any bytes.
Grid ReadDirectionMap(ByteReader& reader, Size size) {
    const uint8_t choice = reader.Byte();
    testsupport::Random random(reader.Number16());
    const int32_t columns = BlocksAlong(size.width);
    const int32_t rows = BlocksAlong(size.height);
    if (choice % 4 == 0) {
        return Grid(columns, rows, static_cast<uint8_t>(reader.Below(240)));
    }
    return testsupport::RandomDirectionMap(columns, rows, random, choice % 4 == 1);
}

// Bytes as GetRidgeDensity makes them.
Grid RandomPeriodMap(Size size, uint8_t seed) {
    testsupport::Random random(seed);
    Grid map(BlocksAlong(size.width), BlocksAlong(size.height));
    for (uint8_t& cell : map.cells) {
        cell = static_cast<uint8_t>(random.OneIn(4) ? 0 : random.Between(4, 36));
    }
    return map;
}

// Sides that hold no pixel, or more than the work buffer has room for.
void CheckRefusedSize(ByteReader& reader) {
    const int32_t width = reader.Signed32();
    const int32_t height = reader.Signed32();
    if (width > 0 && height > 0 && int64_t{width} * height <= WorkMemory::kBytes) {
        return;
    }
    WorkMemory work;
    work.Reset(Fill::kLeftovers);
    const Grid before = work.Take(0, WorkMemory::kBytes, 1);
    int32_t quality = 0;
    const int32_t radius = reader.Signed32();
    Preprocess(width, height, work.Bytes(), radius, reader.Signed32());
    SmoothImage(width, height, work.Bytes(), radius);
    CalcDirA(work.Bytes(), width, height, &quality);
    for (const auto stage : {qorfp::BoxSmooth, SmoothRidge, BinImageA, CalcDirB, BinImageB,
                             RemoveNoise, GetRidgeDensity, Thinning}) {
        stage(work.Bytes(), width, height);
    }
    ExpectEqual(before, work.Take(0, WorkMemory::kBytes, 1), "work buffer after a refused size");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    const uint8_t choice = reader.Byte();
    if (choice == 255) {
        CheckRefusedSize(reader);
        return 0;
    }
    const int32_t most = kMostPixels[choice / 32 % 4];
    const Size sides = choice % 2 == 0 ? ReadStageSize(reader, most) : ReadLegalSize(reader, most);
    if (choice / 2 % 4 == 0) {
        CheckAllStages(ReadImage(reader, sides), kAllFills[choice / 8 % 3]);
        return 0;
    }
    const std::vector<uint8_t> chosen = reader.Bytes(4);
    StageInput input;
    input.directionMap = ReadDirectionMap(reader, sides);
    input.periodMap = RandomPeriodMap(sides, reader.Byte());
    input.image = ReadImage(reader, sides);
    const bool isBinary = choice >= 128;
    if (isBinary || choice / 2 % 4 == 1) {
        input.image = testsupport::Binarised(input.image);
    }
    if (choice / 2 % 4 == 1) {
        CheckDetection(input);
    } else {
        ByteReader choices(chosen.data(), chosen.size());
        CheckOneStage(input, choices);
    }
    return 0;
}
