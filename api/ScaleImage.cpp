// SPDX-License-Identifier: Apache-2.0
//
// Resampling of images to the 508 dots per inch that the algorithms are tuned for.

#include <stddef.h>
#include <string.h>

#include "api/Fpm.h"
#include "api/Interpolate.h"
#include "engine/StageMemory.h"
#include "engine/Work.h"

namespace {

using namespace qorfp;

constexpr int32_t kParkedAt = kScaledWidth * kScaledHeight;  // source, behind the scaled image
static_assert(kParkedAt == 59148, "directly behind the scaled image");
static_assert(kParkedAt + kSensorWidth * kSensorHeight <= kWorkBytes, "fits the buffer");

void Halve(const uint8_t* src, int32_t dstWidth, int32_t dstHeight, uint8_t* dst) {
    const size_t srcStride = 2 * static_cast<size_t>(dstWidth);
    for (int32_t row = 0; row < dstHeight; ++row) {
        const uint8_t* upper = src + 2 * static_cast<size_t>(row) * srcStride;
        const uint8_t* lower = upper + srcStride;
        for (int32_t column = 0; column < dstWidth; ++column) {
            const int32_t sum = upper[0] + upper[1] + lower[0] + lower[1];
            *dst++ = static_cast<uint8_t>((sum + 2) >> 2);
            upper += 2;
            lower += 2;
        }
    }
}

}  // namespace

void FPM_ImageScaleTo508(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                         int32_t dstHeight, uint8_t* dst) {
    if (srcWidth < 1 || srcHeight < 1 || dstWidth < 1 || dstHeight < 1) {
        return;
    }
    if (srcWidth == dstWidth && srcHeight == dstHeight) {
        memcpy(dst, src, static_cast<size_t>(srcWidth) * static_cast<size_t>(srcHeight));
        return;
    }
    if (srcWidth % 2 == 0 && srcWidth / 2 == dstWidth && srcHeight % 2 == 0 &&
        srcHeight / 2 == dstHeight) {
        Halve(src, dstWidth, dstHeight, dst);
        return;
    }
    Interpolate(srcWidth, srcHeight, src, dstWidth, dstHeight, dst);
}

void FPM_fpc1011_scale_image(uint8_t* buffer) {
    constexpr int64_t kSensorBytes = kSensorWidth * kSensorHeight;
    const StageMemory memory(buffer, {Held(0, kSensorBytes), Scratch(kSensorBytes, kParkedAt)});
    memcpy(buffer + kParkedAt, buffer, kSensorWidth * kSensorHeight);
    FPM_ImageScaleTo508(kSensorWidth, kSensorHeight, buffer + kParkedAt, kScaledWidth,
                        kScaledHeight, buffer);
}
