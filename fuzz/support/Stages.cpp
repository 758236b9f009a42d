// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/Stages.h"

#include <functional>
#include <string>
#include <vector>

#include "api/Fpm.h"
#include "extract/BoxSmooth.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "preprocess/FPPreprocess.h"
#include "tests/model/ModelBinarise.h"
#include "tests/model/ModelMinutiae.h"
#include "tests/model/ModelOrientation.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/model/ModelRidgeDensity.h"
#include "tests/model/ModelRidgeSmoothing.h"
#include "tests/model/ModelScale.h"
#include "tests/model/ModelThinning.h"
#include "tests/support/TestMinutiae.h"

namespace fuzz {

namespace {

using model::Grid;

constexpr int32_t kMostRadius = 12;

Grid NoMap() {
    return Grid();
}

// --- One stage -----------------------------------------------------------------------------------

// A stage and what it should leave. Maps stand in `expected` only where they must be right by then: the
// ridge-period map's place is scratch before that map is made.
struct StageCase {
    const char* name;
    StageInput expected;
    std::function<void(StageBuffer&)> run;
};

using Stage = void (*)(uint8_t*, int32_t, int32_t);

StageCase CaseOf(const char* name, Stage stage, const StageInput& expected) {
    return {name, expected, [stage](StageBuffer& buffer) {
                stage(buffer.Bytes(), buffer.Width(), buffer.Height());
            }};
}

// Stages behind the preprocessing, which leave or make maps.
constexpr int32_t kMapStages = 9;

StageCase MapStage(const StageInput& input, int32_t number) {
    const Grid& image = input.image;
    const Grid& map = input.directionMap;
    switch (number) {
        case 0:
            return CaseOf("BoxSmooth", qorfp::BoxSmooth,
                          {model::SmoothImage(image, 1), NoMap(), NoMap()});
        case 1:
            return CaseOf("SmoothRidge", SmoothRidge,
                          {model::SmoothRidge(image, map), map, NoMap()});
        case 2:
            return CaseOf("BinImageA", BinImageA, {model::BinImageA(image), map, NoMap()});
        case 3:
            return CaseOf("BinImageB", BinImageB, {model::BinImageB(image), map, NoMap()});
        case 4:
            return CaseOf("RemoveNoise", RemoveNoise, {model::RemoveNoise(image), map, NoMap()});
        case 5:
            return CaseOf("Thinning", Thinning, {model::Thinning(image), map, input.periodMap});
        case 6:
            return CaseOf("CalcDirB", CalcDirB, {image, model::CalcDirB(image, map), NoMap()});
        case 7:
            return CaseOf("GetRidgeDensity", GetRidgeDensity,
                          {image, map, model::GetRidgeDensity(image, map)});
        default: {
            const model::DirectionField field = model::CalcDirA(image);
            return {"CalcDirA",
                    {image, field.map, NoMap()},
                    [quality = field.quality](StageBuffer& buffer) {
                        int32_t made = kUnwritten;
                        CalcDirA(buffer.Bytes(), buffer.Width(), buffer.Height(), &made);
                        ExpectEqual(quality, made, "quality of CalcDirA");
                    }};
        }
    }
}

// The preprocessing, with the radii of the extraction and with others.
constexpr int32_t kPreprocessings = 6;

StageCase Preprocessing(const Grid& image, int32_t number, ByteReader& choices) {
    const int32_t radius = choices.Below(kMostRadius + 1);
    const int32_t other = choices.Below(kMostRadius + 1);
    const auto only = [](const char* name, const Grid& expected,
                         const std::function<void(StageBuffer&)>& run) {
        return StageCase{name, {expected, NoMap(), NoMap()}, run};
    };
    switch (number) {
        case 0:
            return only("SmoothImage", model::SmoothImage(image, radius), [=](StageBuffer& to) {
                SmoothImage(to.Width(), to.Height(), to.Bytes(), radius);
            });
        case 1:
            return only("SmoothImage 3 x 3", model::SmoothImage(image, 1), [](StageBuffer& to) {
                SmoothImage(to.Width(), to.Height(), to.Bytes(), 1);
            });
        case 2:
            return only(
                "NormalizeImage 9 x 9", model::NormalizeImage(image, 4, 4),
                [](StageBuffer& to) { NormalizeImage(to.Width(), to.Height(), to.Bytes(), 4, 4); });
        case 3:
            return only("NormalizeImage", model::NormalizeImage(image, radius, other),
                        [=](StageBuffer& to) {
                            NormalizeImage(to.Width(), to.Height(), to.Bytes(), radius, other);
                        });
        case 4:
            return only("PuttyImage", model::PuttyImage(image),
                        [](StageBuffer& to) { PuttyImage(to.Width(), to.Height(), to.Bytes()); });
        default:
            return only("Preprocess", model::Preprocess(image), [](StageBuffer& to) {
                Preprocess(to.Width(), to.Height(), to.Bytes(), 4, 4);
            });
    }
}

void CheckCase(const StageInput& input, const StageCase& stage) {
    WorkMemory work;
    for (const Fill fill : kAllFills) {
        StageBuffer buffer(work, input, fill);
        stage.run(buffer);
        buffer.Expect(stage.expected, stage.name);
    }
}

// --- Functions on images elsewhere -----------------------------------------------------------------

void CheckHistMap(const Grid& image, Fence fence) {
    constexpr size_t kTable = 256;
    constexpr size_t kScratch = 1024;
    Input pixels(image.cells, fence);
    Output<uint8_t> table(kTable + kScratch, fence);
    GetHistMap(pixels.Data(), image.width, image.height, table.Data());
    std::vector<uint8_t> entries = table.Take();
    entries.resize(kTable);
    ExpectEqual(model::GetHistMap(image), entries, "GetHistMap");
}

void CheckScaling(const Grid& image, ByteReader choices, Fence fence) {
    const uint8_t choice = choices.Byte();
    const bool isHalf = choice % 4 == 0 && image.width % 2 == 0 && image.height % 2 == 0;
    const int32_t width = isHalf            ? image.width / 2
                          : choice % 4 == 1 ? image.width
                                            : choices.Between(1, 128);
    const int32_t height = isHalf            ? image.height / 2
                           : choice % 4 == 1 ? image.height
                                             : choices.Between(1, 128);
    Input pixels(image.cells, fence);
    Output<uint8_t> scaled(static_cast<size_t>(width) * static_cast<size_t>(height), fence);
    FPM_ImageScaleTo508(image.width, image.height, pixels.Data(), width, height, scaled.Data());
    ExpectEqual(model::ScaleImage(image, width, height).cells, scaled.Take(),
                "FPM_ImageScaleTo508");
}

// --- Minutiae detection ------------------------------------------------------------------------

void ExpectCandidates(const model::Candidates& expected, const qorfp::CandidateList& list,
                      const char* what) {
    ExpectEqual(static_cast<int64_t>(expected.size()), list.count, what);
    for (size_t k = 0; k < expected.size(); ++k) {
        ExpectEqual(expected[k].x, list.items[k].x, what);
        ExpectEqual(expected[k].y, list.items[k].y, what);
        ExpectEqual(expected[k].type, list.items[k].type, what);
        ExpectEqual(expected[k].direction, list.items[k].direction, what);
    }
}

// The steps on the skeleton in the buffer.
void RunDetection(StageBuffer& buffer, const StageInput& input, const model::Detection& expected,
                  Fence fence) {
    const qorfp::Skeleton skeleton =
        qorfp::SkeletonIn(buffer.Bytes(), buffer.Width(), buffer.Height());
    Output<qorfp::CandidateList> fenced(1, fence);
    qorfp::CandidateList* list = fenced.Data();
    qorfp::ScanCandidates(skeleton, list);
    ExpectCandidates(expected.scanned, *list, "ScanCandidates");
    qorfp::RepairBrokenRidges(skeleton, list);
    ExpectCandidates(expected.repaired, *list, "RepairBrokenRidges");
    qorfp::RefineCandidates(skeleton, list);
    ExpectCandidates(expected.refined, *list, "RefineCandidates");
    qorfp::CompactCandidates(list);
    ExpectCandidates(expected.compacted, *list, "CompactCandidates");
    qorfp::DeleteCrowded(list);
    qorfp::DeleteClosePairs(list);
    Output<MinutiaSet> set(1, fence);
    qorfp::AssembleMinutiae(skeleton, *list, set.Data());
    qorfp::CompactCandidates(list);
    ExpectCandidates(expected.survivors, *list, "DeleteCrowded and DeleteClosePairs");
    const MinutiaSet assembled = set.Take()[0];
    ExpectEqual(expected.set.count, assembled.count, "number of minutiae");
    if (testsupport::Describe(expected.set) !=
        testsupport::Describe(testsupport::ToModel(assembled))) {
        Fail("AssembleMinutiae");
    }
    fenced.Take();
    buffer.Expect({expected.skeleton, input.directionMap, input.periodMap}, "detection");
}

}  // namespace

int32_t BlocksAlong(int32_t pixels) {
    return (pixels - 1) / 4;
}

StageBuffer::StageBuffer(WorkMemory& work, const StageInput& input, Fill fill)
    : work_(work), width_(input.image.width), height_(input.image.height) {
    work_.Reset(fill);
    work_.Put(0, input.image);
    work_.Put(DirectionMapAt(), input.directionMap);
    work_.Put(PeriodMapAt(), input.periodMap);
}

size_t StageBuffer::DirectionMapAt() const {
    return static_cast<size_t>(width_) * static_cast<size_t>(height_);
}

size_t StageBuffer::PeriodMapAt() const {
    const size_t blocks =
        static_cast<size_t>(BlocksAlong(width_)) * static_cast<size_t>(BlocksAlong(height_));
    return (DirectionMapAt() + blocks + 3) / 4 * 4;
}

void StageBuffer::Expect(const StageInput& expected, const char* stage) {
    const auto take = [this](size_t offset, const Grid& shape) {
        return work_.Take(offset, shape.width, shape.height);
    };
    ExpectEqual(expected.image, take(0, expected.image), stage);
    ExpectEqual(expected.directionMap, take(DirectionMapAt(), expected.directionMap),
                (std::string("direction map after ") + stage).c_str());
    ExpectEqual(expected.periodMap, take(PeriodMapAt(), expected.periodMap),
                (std::string("ridge-period map after ") + stage).c_str());
}

void CheckDetection(const StageInput& input) {
    if (BlocksAlong(input.image.height) < 3) {
        return;  // CreateTemplate has ended before
    }
    const model::Detection expected =
        model::DetectMinutiae(input.image, input.directionMap, input.periodMap);
    WorkMemory work;
    for (const Fill fill : kAllFills) {
        StageBuffer buffer(work, input, fill);
        RunDetection(buffer, input, expected,
                     fill == Fill::kPattern ? Fence::kBefore : Fence::kBehind);
    }
}

void CheckOneStage(const StageInput& input, ByteReader& choices) {
    constexpr int32_t kOthers = 2;
    const int32_t number = choices.Below(kMapStages + kPreprocessings + kOthers);
    if (number < kMapStages) {
        CheckCase(input, MapStage(input, number));
    } else if (number < kMapStages + kPreprocessings) {
        CheckCase(input, Preprocessing(input.image, number - kMapStages, choices));
    } else {
        for (const Fence fence : {Fence::kBehind, Fence::kBefore}) {
            if (number == kMapStages + kPreprocessings) {
                CheckHistMap(input.image, fence);
            } else {
                CheckScaling(input.image, choices, fence);
            }
        }
    }
}

void CheckAllStages(const Grid& raw, Fill fill) {
    WorkMemory work;
    const int32_t width = raw.width;
    const int32_t height = raw.height;
    StageInput state = {raw, NoMap(), NoMap()};
    StageBuffer buffer(work, state, fill);
    uint8_t* bytes = buffer.Bytes();
    Preprocess(width, height, bytes, 4, 4);
    state.image = model::Preprocess(raw);
    buffer.Expect(state, "Preprocess in its place");
    qorfp::BoxSmooth(bytes, width, height);
    state.image = model::SmoothImage(state.image, 1);
    buffer.Expect(state, "BoxSmooth in its place");
    int32_t quality = kUnwritten;
    CalcDirA(bytes, width, height, &quality);
    const model::DirectionField field = model::CalcDirA(state.image);
    state.directionMap = field.map;
    buffer.Expect(state, "CalcDirA in its place");
    ExpectEqual(field.quality, quality, "quality");
    SmoothRidge(bytes, width, height);
    state.image = model::SmoothRidge(state.image, state.directionMap);
    buffer.Expect(state, "the first SmoothRidge");
    BinImageA(bytes, width, height);
    state.image = model::BinImageA(state.image);
    buffer.Expect(state, "BinImageA in its place");
    CalcDirB(bytes, width, height);
    state.directionMap = model::CalcDirB(state.image, state.directionMap);
    buffer.Expect(state, "CalcDirB in its place");
    SmoothRidge(bytes, width, height);
    state.image = model::SmoothRidge(state.image, state.directionMap);
    buffer.Expect(state, "the second SmoothRidge");
    BinImageB(bytes, width, height);
    state.image = model::BinImageB(state.image);
    buffer.Expect(state, "BinImageB in its place");
    RemoveNoise(bytes, width, height);
    state.image = model::RemoveNoise(state.image);
    buffer.Expect(state, "RemoveNoise in its place");
    GetRidgeDensity(bytes, width, height);
    state.periodMap = model::GetRidgeDensity(state.image, state.directionMap);
    buffer.Expect(state, "GetRidgeDensity in its place");
    Thinning(bytes, width, height);
    state.image = model::Thinning(state.image);
    buffer.Expect(state, "Thinning in its place");
    if (BlocksAlong(height) >= 3) {
        RunDetection(buffer, state,
                     model::DetectMinutiae(state.image, state.directionMap, state.periodMap),
                     Fence::kBehind);
    }
}

}  // namespace fuzz
