// SPDX-License-Identifier: Apache-2.0
//
// Where the image, its block maps and the stages' scratch lie in the work buffer:
//
//   0            width x height        grey image, then binary image, then skeleton
//   directionMap columns x rows        block direction map
//   periodMap    columns x rows        ridge-period map, from a multiple of 4 on; until it is made,
//                                      scratch of the stages before it
//   scratch      to the buffer's end   scratch behind both maps, from a multiple of 4 on; its last part
//                                      holds the binary image as bit rows, see extract/BitRows.h
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "engine/StageMemory.h"
#include "engine/Work.h"

namespace qorfp {

/// Side of a block in pixels.
constexpr int32_t kBlockSide = 4;

/// The block direction map's flag of background and unreliable blocks, and the orientation's bits.
constexpr uint8_t kBackgroundFlag = 0x80;
constexpr uint8_t kOrientationMask = 0x7F;
constexpr int32_t kOrientations = 120;

/// Largest image of the public calls.
constexpr int32_t kMaxImageWidth = 256;
constexpr int32_t kMaxImageHeight = 360;

/// Largest sides that the stages' row scratch has room for. Wider than any image of the public
/// calls, for direct callers.
constexpr int32_t kMaxStageWidth = 512;
constexpr int32_t kMaxStageHeight = 1024;
constexpr int32_t kMaxBlockColumns = (kMaxStageWidth - 1) / kBlockSide;

/// Offsets in bytes from the buffer's start, and the shape of the block maps.
struct ExtractLayout {
    int32_t blockColumns;
    int32_t blockRows;
    int32_t directionMap;
    int32_t periodMap;
    int32_t scratch;
    bool isUsable;  ///< false: sizes of 0 or below, or too large; the other fields are then 0
};

constexpr ExtractLayout LayOutExtract(int32_t width, int32_t height) {
    ExtractLayout layout = {0, 0, 0, 0, 0, false};
    if (width < 1 || width > kMaxStageWidth || height < 1 || height > kMaxStageHeight) {
        return layout;
    }
    layout.blockColumns = (width - 1) / kBlockSide;
    layout.blockRows = (height - 1) / kBlockSide;
    const int32_t mapBytes = layout.blockColumns * layout.blockRows;
    layout.directionMap = width * height;
    layout.periodMap = AlignUp4(layout.directionMap + mapBytes);
    layout.scratch = AlignUp4(layout.periodMap + mapBytes);
    layout.isUsable = layout.scratch <= kWorkBytes;
    return layout;
}

/// A stage's own parts of the buffer: the image, and the block maps that it reads or makes. The up to
/// three bytes behind a map belong to it: vectors at its end reach them.
constexpr WorkPart ImageOf(const ExtractLayout& layout) {
    return Held(0, layout.directionMap);
}

constexpr WorkPart DirectionsOf(const ExtractLayout& layout) {
    return Held(layout.directionMap, layout.periodMap - layout.directionMap);
}

constexpr WorkPart NewDirectionsOf(const ExtractLayout& layout) {
    return Scratch(layout.directionMap, layout.periodMap - layout.directionMap);
}

constexpr WorkPart PeriodsOf(const ExtractLayout& layout) {
    return Held(layout.periodMap, layout.scratch - layout.periodMap);
}

constexpr WorkPart NewPeriodsOf(const ExtractLayout& layout) {
    return Scratch(layout.periodMap, layout.scratch - layout.periodMap);
}

/// True when a scratch record of `bytes` bytes fits from `offset` to the buffer's end.
constexpr bool HasRoom(int32_t offset, size_t bytes) {
    return bytes <= static_cast<size_t>(kWorkBytes) &&
           offset <= kWorkBytes - static_cast<int32_t>(bytes);
}

/// True when a scratch record of `bytes` bytes fits behind both maps of every image of the public
/// calls. (The offsets grow with both sides, so the largest image decides.)
constexpr bool FitsEveryImage(size_t bytes) {
    return HasRoom(LayOutExtract(kMaxImageWidth, kMaxImageHeight).scratch, bytes);
}

static_assert(LayOutExtract(kMaxImageWidth, kMaxImageHeight).directionMap == 92160,
              "largest image");
static_assert(LayOutExtract(kMaxImageWidth, kMaxImageHeight).periodMap == 97768, "largest image");
static_assert(LayOutExtract(kMaxImageWidth, kMaxImageHeight).scratch == 103376, "largest image");
static_assert(!LayOutExtract(0, 8).isUsable && !LayOutExtract(8, -4).isUsable, "no pixels");

}  // namespace qorfp
