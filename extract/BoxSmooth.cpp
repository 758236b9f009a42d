// SPDX-License-Identifier: Apache-2.0
//
// Box pre-smoothing of the grey image: the mean with which the preprocessing begins, once more.

#include "extract/BoxSmooth.h"

#include "extract/ExtractLayout.h"
#include "preprocess/FPPreprocess.h"

void qorfp::BoxSmooth(uint8_t* buffer, int32_t width, int32_t height) {
    if (LayOutExtract(width, height).isUsable) {
        SmoothImage(width, height, buffer, 1);
    }
}
