// SPDX-License-Identifier: Apache-2.0
//
// The stages of extraction, each alone, on work buffers that the stages before it have prepared.

#include <cstring>
#include <memory>

#include "api/Fpm.h"
#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "engine/Template.h"
#include "extract/BinaryImage.h"
#include "extract/BoxSmooth.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "match/FPMatch.h"
#include "preprocess/FPPreprocess.h"

namespace measure {

namespace {

using namespace qorfp;

constexpr int32_t kRadius = 4;  // of the contrast normalisation

/// One extraction under way.
struct Progress {
    WorkBuffer buffer;
    int32_t width;
    int32_t height;
    int32_t quality;
    Template bytes;

    uint8_t* Pixels() { return buffer.Bytes(); }
    MinutiaeScratch* Scratch() {
        return WorkAt<MinutiaeScratch>(Pixels() + LayOutExtract(width, height).scratch);
    }
    Skeleton Ridges() { return SkeletonIn(Pixels(), width, height); }
};

struct Stage {
    const char* name;
    void (*run)(Progress*);
};

// What FPM_FeatureExtract does, step by step; the result is compared with that of the public call. The
// first four, which PrepareImage does from place to place, work in place here.
constexpr Stage kStages[] = {
    {"SmoothImage", [](Progress* p) { SmoothImage(p->width, p->height, p->Pixels(), 1); }},
    {"NormalizeImage",
     [](Progress* p) { NormalizeImage(p->width, p->height, p->Pixels(), kRadius, kRadius); }},
    {"PuttyImage", [](Progress* p) { PuttyImage(p->width, p->height, p->Pixels()); }},
    {"BoxSmooth", [](Progress* p) { BoxSmooth(p->Pixels(), p->width, p->height); }},
    {"CalcDirA", [](Progress* p) { CalcDirA(p->Pixels(), p->width, p->height, &p->quality); }},
    {"SmoothRidge-first", [](Progress* p) { SmoothRidge(p->Pixels(), p->width, p->height); }},
    {"BinImageA", [](Progress* p) { BinImageA(p->Pixels(), p->width, p->height); }},
    {"CalcDirB", [](Progress* p) { CalcDirBOf(p->Pixels(), p->width, p->height, true); }},
    {"SmoothRidge-second",
     [](Progress* p) { SmoothRidgeOf(p->Pixels(), p->width, p->height, true); }},
    {"BinImageB", [](Progress* p) { BinImageBToBits(p->Pixels(), p->width, p->height); }},
    {"RemoveNoise", [](Progress* p) { RemoveNoiseFromBits(p->Pixels(), p->width, p->height); }},
    {"GetRidgeDensity", [](Progress* p) { GetRidgeDensity(p->Pixels(), p->width, p->height); }},
    {"Thinning", [](Progress* p) { ThinBits(p->Pixels(), p->width, p->height); }},
    {"ScanCandidates", [](Progress* p) { ScanCandidates(p->Ridges(), &p->Scratch()->candidates); }},
    {"RepairBrokenRidges",
     [](Progress* p) { RepairBrokenRidges(p->Ridges(), &p->Scratch()->candidates); }},
    {"RefineCandidates",
     [](Progress* p) { RefineCandidates(p->Ridges(), &p->Scratch()->candidates); }},
    {"FilterCandidates",
     [](Progress* p) {
         CandidateList* candidates = &p->Scratch()->candidates;
         CompactCandidates(candidates);
         DeleteCrowded(candidates);
         DeleteClosePairs(candidates);
     }},
    {"AssembleMinutiae",
     [](Progress* p) {
         MinutiaeScratch* scratch = p->Scratch();
         AssembleMinutiae(p->Ridges(), scratch->candidates, &scratch->set);
     }},
    {"EncodeTemplate",
     [](Progress* p) { EncodeTemplate(&p->Scratch()->set, nullptr, p->bytes.data()); }},
    {"CreateIndex",
     [](Progress* p) {
         CreateIndex(p->Pixels(), p->bytes.data(), p->bytes.data() + kIndexOffset);
     }},
};

Progress Started(const Image& image) {
    Progress progress = {};
    progress.width = image.width;
    progress.height = image.height;
    std::memcpy(progress.Pixels(), image.pixels.data(), image.pixels.size());
    return progress;
}

// The extractions of all impressions as they stand before a stage.
std::vector<Progress> Before(const Stage* stage, const std::vector<Impression>& impressions) {
    std::vector<Progress> states;
    for (const Impression& impression : impressions) {
        Progress state = Started(impression.image);
        for (const Stage& each : kStages) {
            if (&each == stage) {
                states.push_back(state);
            }
            each.run(&state);
        }
        state.bytes[kQualityOffset] = static_cast<uint8_t>(state.quality);
        WriteChecksum(state.bytes.data());
        Require(state.bytes == impression.bytes, "the stages do not make what the call makes");
    }
    return states;
}

Work StageWork(const Stage* stage, const std::vector<Impression>& impressions) {
    auto states = std::make_shared<std::vector<Progress>>(Before(stage, impressions));
    auto current = std::make_shared<Progress>();
    Work work;
    work.cases = static_cast<int>(states->size());
    work.restore = [states, current](int i) { *current = (*states)[static_cast<size_t>(i)]; };
    work.run = [stage, current](int) { stage->run(current.get()); };
    return work;
}

// The small sensor's first step.
Work ScaleWork(const std::vector<Impression>& impressions) {
    auto current = std::make_shared<Progress>();
    Work work;
    work.cases = static_cast<int>(impressions.size());
    work.restore = [&impressions, current](int i) {
        *current = Started(impressions[static_cast<size_t>(i)].image);
    };
    work.run = [current](int) { FPM_fpc1011_scale_image(current->Pixels()); };
    return work;
}

}  // namespace

void AddStages(Inputs& inputs, std::vector<NamedWork>* works) {
    works->push_back({"stage/ScaleImage", [&inputs] { return ScaleWork(inputs.Sensor()); }});
    for (const Stage& stage : kStages) {
        works->push_back({std::string("stage/") + stage.name,
                          [&inputs, &stage] { return StageWork(&stage, inputs.Ordinary()); }});
    }
}

}  // namespace measure
