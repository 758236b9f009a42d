// SPDX-License-Identifier: Apache-2.0
//
// The order of the preprocessing stages.

#include "preprocess/FPPreprocess.h"

namespace {

constexpr int32_t kNoiseRadius = 1;  // a 3 x 3 mean removes sensor noise and keeps the ridges

}  // namespace

void Preprocess(int32_t width, int32_t height, uint8_t* image, int32_t meanRadius,
                int32_t devRadius) {
    SmoothImage(width, height, image, kNoiseRadius);
    NormalizeImage(width, height, image, meanRadius, devRadius);
    PuttyImage(width, height, image);
}
