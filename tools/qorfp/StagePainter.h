// SPDX-License-Identifier: Apache-2.0
//
// Pictures of extraction stages: one a stage, and all of them on one contact sheet.
#pragma once

#include "tools/qorfp/Canvas.h"
#include "tools/qorfp/StageRun.h"

namespace qorfp::cli {

/// A stage as a PNG of its own. Plain images keep their size and their exact grey values; maps and
/// minutiae are drawn enlarged.
Bytes PaintStage(const Stage& stage);

/// All stages side by side in reading order, numbered and captioned.
Bytes PaintContactSheet(const std::vector<Stage>& stages, const std::string& title);

}  // namespace qorfp::cli
