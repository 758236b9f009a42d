// SPDX-License-Identifier: Apache-2.0
//
// The extraction driver: the image stages, then minutiae detection, then the template.

#include "extract/FPExtract.h"

#include "engine/Template.h"
#include "extract/BinaryImage.h"
#include "extract/BoxSmooth.h"
#include "extract/Minutiae.h"

namespace {

using namespace qorfp;

constexpr int32_t kNoTemplate = 1;
constexpr int32_t kMinBlockRows = 3;

// Whether an image of that size is known to be binary after binarisation: when it is not so large
// that a stage may leave it as it is, nor so small that binary images have no forms of their own.
bool IsBinarised(int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    constexpr ExtractLayout kLargest = LayOutExtract(kMaxImageWidth, kMaxImageHeight);
    constexpr int32_t kMinHeight = 3;
    return layout.isUsable && layout.scratch <= kLargest.scratch && width >= kVectorBytes &&
           height >= kMinHeight;
}

}  // namespace

Skeleton qorfp::SkeletonIn(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    return {buffer,
            width,
            height,
            buffer + layout.directionMap,
            buffer + layout.periodMap,
            layout.blockColumns,
            layout.blockRows};
}

int32_t CreateTemplate(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                       int32_t* quality) {
    BoxSmooth(buffer, width, height);
    return CreateTemplateOfPrepared(buffer, width, height, bytes, quality);
}

int32_t qorfp::CreateTemplateOfPrepared(uint8_t* buffer, int32_t width, int32_t height,
                                        uint8_t* bytes, int32_t* quality) {
    CalcDirA(buffer, width, height, quality);
    SmoothRidge(buffer, width, height);
    BinImageA(buffer, width, height);
    const bool isBinary = IsBinarised(width, height);
    CalcDirBOf(buffer, width, height, isBinary);
    SmoothRidgeOf(buffer, width, height, isBinary);
    if (isBinary) {
        BinImageBToBits(buffer, width, height);
        RemoveNoiseFromBits(buffer, width, height);
        GetRidgeDensity(buffer, width, height);
        ThinBits(buffer, width, height);
    } else {
        BinImageB(buffer, width, height);
        RemoveNoise(buffer, width, height);
        GetRidgeDensity(buffer, width, height);
        Thinning(buffer, width, height);
    }

    const ExtractLayout layout = LayOutExtract(width, height);
    if (layout.blockRows < kMinBlockRows || !HasRoom(layout.scratch, sizeof(MinutiaeScratch))) {
        return kNoTemplate;
    }
    const StageMemory memory(buffer, {ImageOf(layout), DirectionsOf(layout), PeriodsOf(layout),
                                      ScratchOf<MinutiaeScratch>(layout.scratch)});
    MinutiaeScratch* scratch = WorkAt<MinutiaeScratch>(buffer + layout.scratch);
    const Skeleton skeleton = SkeletonIn(buffer, width, height);
    CandidateList* candidates = &scratch->candidates;
    ScanCandidates(skeleton, candidates);
    RepairBrokenRidges(skeleton, candidates);
    RefineCandidates(skeleton, candidates);
    CompactCandidates(candidates);
    DeleteCrowded(candidates);
    DeleteClosePairs(candidates);
    AssembleMinutiae(skeleton, *candidates, &scratch->set);
    if (scratch->set.count < kMinMinutiae) {
        return kNoTemplate;
    }
    return EncodeTemplate(&scratch->set, nullptr, bytes);
}
