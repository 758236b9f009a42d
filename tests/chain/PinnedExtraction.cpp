// SPDX-License-Identifier: Apache-2.0
//
// Pinned tables of extraction and of the finger check, see Pinned.h.
#include "tests/chain/Pinned.h"
#include "tests/model/ModelExtraction.h"
#include "tests/model/ModelFingerCheck.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/model/ModelScale.h"

namespace pinned {

namespace {

constexpr int32_t kSensorWidth = 152;
constexpr int32_t kSensorHeight = 200;
constexpr size_t kTemplateSize = 512;

model::Grid Window(const model::Grid& image, int32_t left, int32_t top, int32_t width,
                   int32_t height) {
    model::Grid window(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            window.At(x, y) = image.At(left + x, top + y);
        }
    }
    return window;
}

NamedTemplate ExtractNamed(const std::string& name, const model::Grid& image) {
    const model::Creation creation = model::ExtractTemplate(image);
    if (creation.result != 0) {
        return {name, creation.result, 0, TemplateBytes(kTemplateSize, 0)};
    }
    return {name, 0, model::TemplateQuality(creation.bytes), creation.bytes};
}

void AddTemplate(TableFile& table, const NamedTemplate& named) {
    table.Add(named.result).Add(named.quality).AddHex(named.bytes);
}

void AddStages(TableFile& table, const NamedImage& named) {
    const model::Grid preprocessed = model::Preprocess(named.image);
    const model::ImageStages stages = model::RunImageStages(preprocessed);
    const model::Detection detection =
        model::DetectMinutiae(stages.skeleton, stages.directionMap, stages.periodMap);
    table.Add(named.name).Add(named.image.width).Add(named.image.height);
    table.Add(detection.result).Add(stages.quality).AddCrc(preprocessed);
    for (const auto& stage : stages.results) {
        table.AddCrc(stage.second);
    }
    table.AddCrc(detection.skeleton);
    table.Add(static_cast<int64_t>(detection.scanned.size()));
    table.Add(static_cast<int64_t>(detection.survivors.size()));
    table.Add(detection.set.count);
    table.EndRow();
}

}  // namespace

std::vector<NamedTemplate> WriteExtractionTables(const std::string& folder,
                                                 const std::vector<NamedImage>& images) {
    // The order of the stages is that of model::ImageStages.
    TableFile stages(
        folder, "stages.tsv",
        {"image",        "width",           "height",       "result",       "quality",
         "Preprocess",   "box3x3",          "CalcDirA.map", "SmoothRidge1", "BinImageA",
         "CalcDirB.map", "SmoothRidge2",    "BinImageB",    "RemoveNoise",  "GetRidgeDensity.map",
         "Thinning",     "afterRefinement", "scanned",      "survivors",    "stored"});
    TableFile templates(folder, "templates.tsv", {"image", "result", "quality", "template"});
    TableFile scaled(folder, "scaled.tsv",
                     {"image", "left", "top", "scaled212x279", "result", "quality", "template"});
    std::vector<NamedTemplate> results;
    for (const NamedImage& named : images) {
        AddStages(stages, named);
        results.push_back(ExtractNamed(named.name, named.image));
        templates.Add(named.name);
        AddTemplate(templates, results.back());
        templates.EndRow();

        const int32_t left = (named.image.width - kSensorWidth) / 2;
        const int32_t top = (named.image.height - kSensorHeight) / 2;
        const model::Grid window = Window(named.image, left, top, kSensorWidth, kSensorHeight);
        scaled.Add(named.name).Add(left).Add(top).AddCrc(model::ScaleImage(window, 212, 279));
        AddTemplate(scaled, ExtractNamed(named.name, window));
        scaled.EndRow();
    }
    return results;
}

void WriteFingerTable(const std::string& folder, const std::vector<NamedImage>& images) {
    TableFile table(folder, "finger.tsv", {"image", "left", "top", "width", "height", "result"});
    for (const NamedImage& named : images) {
        const int32_t width = named.image.width;
        const int32_t height = named.image.height;
        const int32_t windows[][4] = {
            {0, 0, width, height},           // the whole image
            {0, 0, 64, 64},                  // a corner
            {0, 0, width, 68},               // the upper end, partly background
            {0, height - 68, width, 68},     // the lower end
            {0, 0, 60, height},              // the left side
            {width / 2 - 50, 100, 100, 100}  // the middle
        };
        for (const auto& window : windows) {
            table.Add(named.name);
            for (const int32_t number : window) {
                table.Add(number);
            }
            table.Add(model::CheckFinger(
                Window(named.image, window[0], window[1], window[2], window[3])));
            table.EndRow();
        }
    }
}

}  // namespace pinned
