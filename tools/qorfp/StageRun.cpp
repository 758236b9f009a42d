// SPDX-License-Identifier: Apache-2.0
//
// One of the two parts of the tool that call the library's inner functions (the other finds matched
// pairs). It follows the calls of Preprocess and CreateTemplate and copies the buffer's image and maps out after each of them.
#include "tools/qorfp/StageRun.h"

#include <algorithm>
#include <utility>

#include "api/Fpm.h"
#include "engine/Minutia.h"
#include "engine/Work.h"
#include "extract/BoxSmooth.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "preprocess/FPPreprocess.h"
#include "tools/qorfp/FitWindow.h"

namespace qorfp::cli {
namespace {

constexpr int32_t kPreprocessRadius = 4;

class StageRunner {
  public:
    explicit StageRunner(const GreyImage& finger) : width_(finger.width), height_(finger.height) {
        std::copy(finger.pixels.begin(), finger.pixels.end(), buffer_);
        Keep("Input", "the image as it came", StageView::kImage);
        if (IsSensorSize(width_, height_)) {
            FPM_fpc1011_scale_image(buffer_);
            width_ = kSensorScaledWidth;
            height_ = kSensorScaledHeight;
            Keep("FPM_fpc1011_scale_image", "small sensor: brought to 508 dpi", StageView::kImage);
        }
        layout_ = LayOutExtract(width_, height_);
        scaledInput_ = stages_.back().image;
    }

    std::vector<Stage> Run() {
        Preprocessing();
        ImageStages();
        MinutiaeDetection();
        return std::move(stages_);
    }

  private:
    void Preprocessing() {
        SmoothImage(width_, height_, buffer_, 1);
        Keep("SmoothImage", "3 x 3 mean against noise", StageView::kImage);
        NormalizeImage(width_, height_, buffer_, kPreprocessRadius, kPreprocessRadius);
        Keep("NormalizeImage", "local contrast stretched", StageView::kImage);
        PuttyImage(width_, height_, buffer_);
        Keep("PuttyImage", "small gaps closed", StageView::kImage);
    }

    void ImageStages() {
        BoxSmooth(buffer_, width_, height_);
        Keep("BoxSmooth", "3 x 3 mean once more", StageView::kImage);
        int32_t quality = 0;
        CalcDirA(buffer_, width_, height_, &quality);
        Keep("CalcDirA", "orientation, finger area; quality " + std::to_string(quality),
             StageView::kOrientation);
        stages_.back().quality = quality;
        SmoothRidge(buffer_, width_, height_);
        Keep("SmoothRidge", "smoothed along the ridges", StageView::kImage);
        BinImageA(buffer_, width_, height_);
        Keep("BinImageA", "ridges and valleys, coarse", StageView::kImage);
        CalcDirB(buffer_, width_, height_);
        Keep("CalcDirB", "orientation, finer", StageView::kOrientation);
        SmoothRidge(buffer_, width_, height_);
        Keep("SmoothRidge", "smoothed again", StageView::kImage);
        BinImageB(buffer_, width_, height_);
        Keep("BinImageB", "ridges and valleys", StageView::kImage);
        RemoveNoise(buffer_, width_, height_);
        Keep("RemoveNoise", "specks and pores removed", StageView::kImage);
        GetRidgeDensity(buffer_, width_, height_);
        Keep("GetRidgeDensity", "ridge period in pixels", StageView::kPeriod);
        Thinning(buffer_, width_, height_);
        Keep("Thinning", "ridges one pixel wide", StageView::kImage);
    }

    void MinutiaeDetection() {
        const Skeleton skeleton = SkeletonIn(buffer_, width_, height_);
        CandidateList list = {};
        ScanCandidates(skeleton, &list);
        KeepCandidates("ScanCandidates", "candidates", list);
        RepairBrokenRidges(skeleton, &list);
        KeepCandidates("RepairBrokenRidges", "left, broken ridges joined", list);
        RefineCandidates(skeleton, &list);
        KeepCandidates("RefineCandidates", "left, border and stubs gone", list);
        CompactCandidates(&list);
        DeleteCrowded(&list);
        DeleteClosePairs(&list);
        MinutiaSet set = {};
        AssembleMinutiae(skeleton, list, &set);
        Keep("AssembleMinutiae", std::to_string(set.count) + " minutiae of the template",
             StageView::kMinutiae);
        stages_.back().image = scaledInput_;
        for (int32_t i = 0; i < set.count; ++i) {
            const Minutia& minutia = set.minutiae[i];
            stages_.back().marks.push_back({static_cast<double>(minutia.x),
                                            static_cast<double>(minutia.y), minutia.type,
                                            minutia.direction});
        }
    }

    GreyImage MapAt(int32_t offset) const {
        GreyImage map(layout_.blockColumns, layout_.blockRows);
        std::copy_n(buffer_ + offset, map.pixels.size(), map.pixels.begin());
        return map;
    }

    void Keep(const char* name, const std::string& caption, StageView view) {
        Stage stage;
        stage.name = name;
        stage.caption = caption;
        stage.view = view;
        stage.image = GreyImage(width_, height_);
        std::copy_n(buffer_, stage.image.pixels.size(), stage.image.pixels.begin());
        if (view == StageView::kOrientation || view == StageView::kPeriod) {
            stage.directions = MapAt(layout_.directionMap);
        }
        if (view == StageView::kPeriod) {
            stage.periods = MapAt(layout_.periodMap);
        }
        stages_.push_back(std::move(stage));
    }

    void KeepCandidates(const char* name, const std::string& caption, const CandidateList& list) {
        Keep(name, caption, StageView::kMinutiae);
        Stage& stage = stages_.back();
        for (int32_t i = 0; i < list.count; ++i) {
            const Candidate& candidate = list.items[i];
            if (candidate.direction != kDeleted) {
                stage.marks.push_back({static_cast<double>(candidate.x),
                                       static_cast<double>(candidate.y), candidate.type,
                                       candidate.direction});
            }
        }
        stage.caption = std::to_string(stage.marks.size()) + " " + caption;
    }

    alignas(kWorkAlignment) uint8_t buffer_[kWorkBytes] = {};
    int32_t width_;
    int32_t height_;
    ExtractLayout layout_ = {};
    GreyImage scaledInput_;
    std::vector<Stage> stages_;
};

}  // namespace

std::vector<Stage> RunStages(const GreyImage& finger) {
    return StageRunner(finger).Run();
}

}  // namespace qorfp::cli
