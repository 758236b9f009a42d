// SPDX-License-Identifier: Apache-2.0
//
// Feature extraction: the image stages and the driver that turns a grey image into a template.
//
// Every stage takes the work buffer (204,800 bytes, 8-aligned) whose first width x height bytes are
// the image, one byte a pixel, row-major. Behind the image lies the block direction map: one byte a
// 4 x 4-pixel block, (width - 1) / 4 blocks a row, (height - 1) / 4 rows; bits 0-6 the ridge
// orientation 0..119, bit 7 set where the block is background or unreliable. Behind that, from the
// next multiple of 4, the ridge-period map with the same shape, and scratch. Where exactly:
// extract/ExtractLayout.h. Images that do not fit the buffer with their scratch, and sizes of 0 or
// below, are left unchanged.
#pragma once

#include <stdint.h>

#include "extract/FPTable.h"

extern "C" {

/// Makes bytes 0..369 of a template from the grey image at the start of `buffer`. The image is
/// destroyed.
/// @param quality out, 0..100: what CalcDirA says
/// @return 0; 1 when there is no usable template: fewer than three block rows, or fewer than 6
///         minutiae
int32_t CreateTemplate(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                       int32_t* quality);

/// Grey-level stretch by the image's histogram, its darkest and lightest 1403 pixels cut.
/// @param table out, 256 entries; the 1,024 bytes behind them are scratch; 4-aligned
void GetHistMap(const uint8_t* image, int32_t width, int32_t height, uint8_t* table);

/// Writes the block direction map of the grey image.
/// @param quality out, 0..100: mean coherence of the reliable blocks, 0 when there is none
void CalcDirA(uint8_t* buffer, int32_t width, int32_t height, int32_t* quality);

/// Rewrites the orientations of the block direction map from the ridge-smoothed, binarised image;
/// the background bits stay.
void CalcDirB(uint8_t* buffer, int32_t width, int32_t height);

/// Smooths the image along the ridges with the current block direction map.
void SmoothRidge(uint8_t* buffer, int32_t width, int32_t height);

/// Binarises by the mean of a sparse ring of eight pixels at distance 3: 0 ridge, 255 background.
/// The frame of three pixels becomes 255.
void BinImageA(uint8_t* buffer, int32_t width, int32_t height);

/// Binarises by the mean of the 11 x 11 pixels around, clipped: 0 ridge, 255 background.
void BinImageB(uint8_t* buffer, int32_t width, int32_t height);

/// 3 x 3 majority vote on a binary image; the one-pixel frame becomes 255.
void RemoveNoise(uint8_t* buffer, int32_t width, int32_t height);

/// Writes the ridge-period map of the binary image: 4 x (period in pixels - 4), 4..36; 0 on
/// background.
void GetRidgeDensity(uint8_t* buffer, int32_t width, int32_t height);

/// Thins the ridges of a binary image to a skeleton about one pixel wide, in at most six passes.
void Thinning(uint8_t* buffer, int32_t width, int32_t height);

}  // extern "C"

namespace qorfp {

/// CreateTemplate for an image that PrepareImage has smoothed.
int32_t CreateTemplateOfPrepared(uint8_t* buffer, int32_t width, int32_t height, uint8_t* bytes,
                                 int32_t* quality);

}  // namespace qorfp
