// SPDX-License-Identifier: Apache-2.0
//
// The stages of extraction, each run in a work buffer and compared with its naive model: its result,
// and the block maps that it must leave alone.
#pragma once

#include <string>

#include "fuzz/support/ByteReader.h"
#include "fuzz/support/WorkMemory.h"
#include "tests/model/ModelTypes.h"

namespace fuzz {

/// What lies in a work buffer between two stages.
struct StageInput {
    model::Grid image;
    model::Grid directionMap;
    model::Grid periodMap;
};

/// Columns and rows of the block maps of an image.
int32_t BlocksAlong(int32_t pixels);

/// An image in a work buffer, with its maps behind it where the library has them.
class StageBuffer {
  public:
    StageBuffer(WorkMemory& work, const StageInput& input, Fill fill);

    /// Where a stage is done: `expected` is what it should have left.
    void Expect(const StageInput& expected, const char* stage);

    uint8_t* Bytes() { return work_.Bytes(); }
    int32_t Width() const { return width_; }
    int32_t Height() const { return height_; }

  private:
    size_t DirectionMapAt() const;
    size_t PeriodMapAt() const;

    WorkMemory& work_;
    int32_t width_;
    int32_t height_;
};

/// Runs one stage, chosen by the reader, with every fill of the work buffer.
void CheckOneStage(const StageInput& input, ByteReader& choices);

/// Runs all stages and the steps of minutiae detection one after the other in one work buffer.
void CheckAllStages(const model::Grid& image, Fill fill);

/// Runs the steps of minutiae detection on a skeleton.
void CheckDetection(const StageInput& input);

}  // namespace fuzz
