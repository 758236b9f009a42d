// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the whole way from a grey image to a finished template, with the image or map
// after every stage.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/ModelMinutiae.h"
#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"

namespace model {

/// What the image stages make of a grey image that has been preprocessed already.
struct ImageStages {
    std::vector<std::pair<std::string, Grid>> results;  // by the stage's name, in order
    int32_t quality = 0;
    Grid directionMap;
    Grid periodMap;
    Grid skeleton;
};

ImageStages RunImageStages(const Grid& preprocessed);

/// Bytes 0..369 of a template from a preprocessed image.
struct Creation {
    int32_t result = 1;
    int32_t quality = 0;
    Detection detection;
    TemplateBytes bytes;  // 512 bytes; zeros where nothing was written
};

Creation CreateTemplate(const Grid& preprocessed);

/// A finished template from a raw image: preprocessed, indexed, quality and checksum written.
/// Images of 152 x 200 are scaled to 212 x 279 first.
Creation ExtractTemplate(const Grid& image);

}  // namespace model
