// SPDX-License-Identifier: Apache-2.0
//
// Naive model of extraction, see ModelExtraction.h.
#include "tests/model/ModelExtraction.h"

#include "tests/model/ModelBinarise.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelOrientation.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/model/ModelRidgeDensity.h"
#include "tests/model/ModelRidgeSmoothing.h"
#include "tests/model/ModelScale.h"
#include "tests/model/ModelThinning.h"

namespace model {

ImageStages RunImageStages(const Grid& preprocessed) {
    ImageStages stages;
    const auto keep = [&stages](const char* name, const Grid& grid) {
        stages.results.emplace_back(name, grid);
        return grid;
    };
    Grid image = keep("box3x3", SmoothImage(preprocessed, 1));
    const DirectionField field = CalcDirA(image);
    stages.quality = field.quality;
    Grid map = keep("CalcDirA.map", field.map);
    image = keep("SmoothRidge1", SmoothRidge(image, map));
    image = keep("BinImageA", BinImageA(image));
    map = keep("CalcDirB.map", CalcDirB(image, map));
    image = keep("SmoothRidge2", SmoothRidge(image, map));
    image = keep("BinImageB", BinImageB(image));
    image = keep("RemoveNoise", RemoveNoise(image));
    stages.periodMap = keep("GetRidgeDensity.map", GetRidgeDensity(image, map));
    stages.skeleton = keep("Thinning", Thinning(image));
    stages.directionMap = map;
    return stages;
}

Creation CreateTemplate(const Grid& preprocessed) {
    Creation creation;
    creation.bytes.assign(512, 0);
    const ImageStages stages = RunImageStages(preprocessed);
    creation.quality = stages.quality;
    creation.detection = DetectMinutiae(stages.skeleton, stages.directionMap, stages.periodMap);
    creation.result = creation.detection.result;
    if (creation.result == 0) {
        creation.result = EncodeTemplate(creation.detection.set, false, creation.bytes);
    }
    return creation;
}

Creation ExtractTemplate(const Grid& image) {
    const bool isSmallSensor = image.width == 152 && image.height == 200;
    Creation creation =
        CreateTemplate(Preprocess(isSmallSensor ? ScaleImage(image, 212, 279) : image));
    if (creation.result != 0) {
        return creation;
    }
    std::vector<uint8_t> area;
    if (CreateIndexArea(creation.bytes, area) != 0) {
        creation.result = 1;
        return creation;
    }
    for (size_t i = 0; i < area.size(); ++i) {
        creation.bytes.at(370 + i) = area.at(i);
    }
    creation.bytes.at(369) = static_cast<uint8_t>(creation.quality % 256);
    WriteChecksum(creation.bytes);
    return creation;
}

}  // namespace model
