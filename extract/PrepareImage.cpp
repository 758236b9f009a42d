// SPDX-License-Identifier: Apache-2.0
//
// The filters write their results to another place than the one they read, so that none has to copy
// the rows it still needs: the work buffer holds two images.

#include "extract/PrepareImage.h"

#include "engine/StageMemory.h"
#include "engine/Work.h"
#include "extract/ExtractLayout.h"
#include "preprocess/Mean3x3.h"
#include "preprocess/Normalize9x9.h"
#include "preprocess/PuttyImage.h"

namespace {

using namespace qorfp;

static_assert(kMinWidthOfPutty == kMinWidthOfMean3x3, "what one takes the other does, too");
static_assert((2 * kMaxImageHeight + kEdgeRowsOfMean3x3) * kMaxImageWidth <= kWorkBytes,
              "two images, and the scratch of the mean");

bool TakesSize(int32_t width, int32_t height) {
    return width >= kMinWidthOfMean3x3 && width <= kMaxImageWidth && height >= kSideOf9x9 &&
           height <= kMaxImageHeight;
}

}  // namespace

bool qorfp::PrepareImage(const uint8_t* image, int32_t width, int32_t height, uint8_t* buffer) {
    if (!TakesSize(width, height)) {
        return false;
    }
    const int32_t imageBytes = width * height;
    const int32_t edgeBytes = kEdgeRowsOfMean3x3 * width;
    // The first mean: behind the image if that lies in the buffer, or else as near to the start as
    // the stretch can read it while it writes there.
    const bool isInBuffer = image == buffer;
    const int32_t smoothedAt = isInBuffer ? imageBytes : kRowsBeforeNormalize9x9 * width;
    const int32_t scratchAt = AlignUp4(smoothedAt + imageBytes);
    if (!HasRoom(scratchAt, sizeof(Normalize9x9Scratch))) {
        return false;
    }
    {
        const StageMemory memory(buffer, {Held(0, isInBuffer ? imageBytes : 0),
                                          Scratch(smoothedAt, imageBytes + edgeBytes)});
        uint8_t* smoothed = buffer + smoothedAt;
        Mean3x3Apart(width, height, image, smoothed, smoothed + imageBytes);
    }
    {
        const StageMemory memory(buffer, {Scratch(0, smoothedAt), Held(smoothedAt, imageBytes),
                                          ScratchOf<Normalize9x9Scratch>(scratchAt)});
        Normalize9x9(width, height, buffer + smoothedAt, buffer,
                     WorkAt<Normalize9x9Scratch>(buffer + scratchAt));
    }
    {
        const StageMemory memory(buffer, {Held(0, imageBytes), Scratch(imageBytes, imageBytes)});
        PuttyImageApart(width, height, buffer, buffer + imageBytes);
    }
    const StageMemory memory(buffer, {Scratch(0, imageBytes), Held(imageBytes, imageBytes),
                                      Scratch(2 * imageBytes, edgeBytes)});
    Mean3x3Apart(width, height, buffer + imageBytes, buffer, buffer + 2 * imageBytes);
    return true;
}
