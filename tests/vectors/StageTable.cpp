// SPDX-License-Identifier: Apache-2.0
//
// Every stage of extraction, one after the other, on whole images.

#include <cstring>

#include "engine/FPEngine.h"
#include "extract/BoxSmooth.h"
#include "extract/FPExtract.h"
#include "extract/Minutiae.h"
#include "preprocess/FPPreprocess.h"
#include "tests/vectors/Table.h"

namespace vectors {

namespace {

// Extraction in the hands of the test, stage by stage.
class Extraction {
  public:
    explicit Extraction(const support::PgmImage& image)
        : width_(image.width),
          height_(image.height),
          layout_(qorfp::LayOutExtract(image.width, image.height)) {
        std::memcpy(work_.Bytes(), image.pixels.data(), image.pixels.size());
    }

    using Stage = void (*)(uint8_t*, int32_t, int32_t);

    std::string ImageAfter(Stage stage) {
        stage(work_.Bytes(), width_, height_);
        return ImageCrc();
    }

    std::string ImageAfterPreprocess() {
        Preprocess(width_, height_, work_.Bytes(), 4, 4);
        return ImageCrc();
    }

    std::string MapAfterCalcDirA(int32_t* quality) {
        CalcDirA(work_.Bytes(), width_, height_, quality);
        return MapCrc(layout_.directionMap);
    }

    std::string MapAfterCalcDirB() {
        CalcDirB(work_.Bytes(), width_, height_);
        return MapCrc(layout_.directionMap);
    }

    std::string MapAfterRidgeDensity() {
        GetRidgeDensity(work_.Bytes(), width_, height_);
        return MapCrc(layout_.periodMap);
    }

    std::string ImageCrc() {
        return Crc(work_.Bytes(), static_cast<size_t>(width_) * static_cast<size_t>(height_));
    }

    qorfp::Skeleton Skeleton() { return qorfp::SkeletonIn(work_.Bytes(), width_, height_); }

  private:
    std::string MapCrc(int32_t offset) {
        return Crc(work_.Bytes() + offset, static_cast<size_t>(layout_.blockColumns) *
                                               static_cast<size_t>(layout_.blockRows));
    }

    int32_t width_;
    int32_t height_;
    qorfp::ExtractLayout layout_;
    Work work_;
};

void CompareMinutiae(const Row& row, Extraction* extraction, Comparison* comparison) {
    qorfp::CandidateList list;
    const qorfp::Skeleton skeleton = extraction->Skeleton();
    qorfp::ScanCandidates(skeleton, &list);
    comparison->Expect("scanned", row.Number("scanned"), list.count);
    qorfp::RepairBrokenRidges(skeleton, &list);
    qorfp::RefineCandidates(skeleton, &list);
    comparison->Expect("afterRefinement", row.Text("afterRefinement"), extraction->ImageCrc());
    qorfp::CompactCandidates(&list);
    qorfp::DeleteCrowded(&list);
    qorfp::DeleteClosePairs(&list);
    MinutiaSet set;
    qorfp::AssembleMinutiae(skeleton, list, &set);
    qorfp::CompactCandidates(&list);
    comparison->Expect("survivors", row.Number("survivors"), list.count);
    comparison->Expect("stored", row.Number("stored"), set.count);
    comparison->Expect("result", row.Number("result"), set.count < 6 ? 1 : 0);
}

}  // namespace

bool CompareStages(const Folders& folders) {
    Comparison comparison("stages");
    for (const Row& row : ReadTable(folders.TablePath("stages.tsv"))) {
        comparison.Begin(row);
        const support::PgmImage image = folders.Image(row.Text("image"));
        comparison.Expect("width", row.Number("width"), image.width);
        comparison.Expect("height", row.Number("height"), image.height);
        Extraction extraction(image);
        const auto expect = [&](const std::string& column, const std::string& actual) {
            comparison.Expect(column, row.Text(column), actual);
        };
        int32_t quality = -1;
        expect("Preprocess", extraction.ImageAfterPreprocess());
        expect("box3x3", extraction.ImageAfter(qorfp::BoxSmooth));
        expect("CalcDirA.map", extraction.MapAfterCalcDirA(&quality));
        comparison.Expect("quality", row.Number("quality"), quality);
        expect("SmoothRidge1", extraction.ImageAfter(SmoothRidge));
        expect("BinImageA", extraction.ImageAfter(BinImageA));
        expect("CalcDirB.map", extraction.MapAfterCalcDirB());
        expect("SmoothRidge2", extraction.ImageAfter(SmoothRidge));
        expect("BinImageB", extraction.ImageAfter(BinImageB));
        expect("RemoveNoise", extraction.ImageAfter(RemoveNoise));
        expect("GetRidgeDensity.map", extraction.MapAfterRidgeDensity());
        expect("Thinning", extraction.ImageAfter(Thinning));
        CompareMinutiae(row, &extraction, &comparison);
    }
    return comparison.Finish();
}

}  // namespace vectors
