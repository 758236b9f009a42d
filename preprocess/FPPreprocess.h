// SPDX-License-Identifier: Apache-2.0
//
// Preprocessing of the raw grey image, in place: a light mean against sensor noise, a local
// contrast stretch against dry, wet and unevenly pressed areas, and a weighted smoothing that
// closes small gaps.
//
// All functions take an image of width x height bytes, row-major, at the start of a work buffer of
// 204,800 bytes, and use the bytes behind it as scratch. Sizes of 0 or below, and images whose
// scratch does not fit the buffer, are left unchanged.
#pragma once

#include <stdint.h>

extern "C" {

/// SmoothImage with radius 1, NormalizeImage, PuttyImage, in this order.
void Preprocess(int32_t width, int32_t height, uint8_t* image, int32_t meanRadius,
                int32_t devRadius);

/// Clipped box mean: each pixel becomes the truncated mean of the (2 radius + 1) square around it,
/// as far as it lies inside the image.
void SmoothImage(int32_t width, int32_t height, uint8_t* image, int32_t radius);

/// Local contrast stretch. With M the clipped box mean of radius `meanRadius` and D the mean of
/// |M - I| over the square of radius `devRadius`, M - D .. M + D is stretched to 0 .. 255.
///
/// The square's extent is min(2 devRadius + 1, height) in both directions, reaching from
/// x + devRadius backwards. Leaves the image unchanged when its scratch would exceed 102,400 bytes.
void NormalizeImage(int32_t width, int32_t height, uint8_t* image, int32_t meanRadius,
                    int32_t devRadius);

/// The clipped box mean a row at a time, for a caller that holds the sliding window.
///
/// Computes the mean rows `*nextRow` - radius .. targetRow - 1, one after the other, each into
/// `outRow`, so that it ends holding row targetRow - 1; does nothing when that row is already past.
/// Start with *nextRow = *rowCount = 0 and columnSums cleared.
/// @param source width x height bytes, unchanged between calls; rows from
///        *nextRow - 2 radius - 1 on must still be there
/// @param columnSums width sums of the rows now in the window
/// @param nextRow the next source row to enter (in and out)
/// @param rowCount the number of rows in the window (in and out)
void SmoothOneLine(int32_t width, int32_t height, const uint8_t* source, int32_t targetRow,
                   int32_t radius, uint8_t* outRow, int32_t* columnSums, int32_t* nextRow,
                   int32_t* rowCount);

/// Weighted 3 x 3 smoothing of the interior (72 centre, 7 edge, 5 corner, of 120). The one-pixel
/// frame keeps its values; an image below 3 x 3 is left unchanged.
void PuttyImage(int32_t width, int32_t height, uint8_t* image);

}  // extern "C"
