// SPDX-License-Identifier: Apache-2.0
//
// The functions behind the exported calls. They work in g_bFPEngineBuffer and expect g_fp_mutex to
// be held; they return result codes of the public header where nothing else is said.
#pragma once

#include <stdint.h>

#include "include/QORFPApi.h"

namespace qorfp {

/// The small sensor, whose images are scaled before extraction, and the scaled size, in pixels.
constexpr int32_t kSensorWidth = 152;
constexpr int32_t kSensorHeight = 200;
constexpr int32_t kScaledWidth = 212;
constexpr int32_t kScaledHeight = 279;

/// FPM_FeatureExtract of an image that lies at the start of the work buffer, or outside of it.
/// @return 0; 1 when extraction or indexing fails
int32_t ExtractFrom(const uint8_t* image, int32_t width, int32_t height, uint8_t* templateOut);

}  // namespace qorfp

extern "C" {

/// Finishes a template from the image that already lies at the start of the work buffer: minutiae,
/// index area, quality, checksum.
/// @param image only tested for null
/// @return 0; 1 when extraction or indexing fails; 5 for a null pointer
int32_t FPM_FeatureExtract(const uint8_t* image, int32_t width, int32_t height,
                           uint8_t* templateOut);

/// Fuses three templates of one finger into a finished template. `out` may be one of them.
/// @return 0; 1 when they cannot be fused or indexed; 5 for a null pointer
int32_t FPM_GenFeature(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out);

/// Quality of a template: its quality byte (0..100 when the library made it) or, where that is 0, a value
/// by its minutia count. 0 for a null pointer, an unknown version or more than 60 minutiae.
int32_t FPM_GetQuality(const uint8_t* bytes);

/// Resamples an image: a copy at equal size, a 2 x 2 mean at half the size, else bilinear in
/// hundredths of a pixel. Sizes of 0 or below write nothing. The images must not overlap.
void FPM_ImageScaleTo508(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                         int32_t dstHeight, uint8_t* dst);

/// Scales the 152 x 200 image at the start of `buffer` to 212 x 279, in place. Uses 89,548 bytes.
void FPM_fpc1011_scale_image(uint8_t* buffer);

/// Matches two templates in the work buffer; a null probe goes on with the last one.
int32_t FPM_Match(const uint8_t* probe, const uint8_t* candidate, int32_t* score);

/// Prepares a probe for index scores.
int32_t FPM_SetIndex(const uint8_t* probe);

/// Index scores of templates back to back, and of templates by pointers.
int32_t FPM_GetScoreA(const uint8_t* list, int32_t count, int32_t* scores);
int32_t FPM_GetScoreB(const uint8_t* const* list, int32_t count, int32_t* scores);

/// 0 when the version is "301" and the count is at most 60, else 8.
int32_t FPM_CheckTemplateValidity(const uint8_t* bytes);

/// Upgrades a template in place to "301": builds the index area and the checksum.
/// @return 0; 1, with the template unchanged, when it cannot be indexed
int32_t FPM_Template300to301(uint8_t* bytes);

/// Updates an enrolled template from a fresh one of the same finger.
/// @return 0; non-zero when nothing was learnt
int32_t FPM_Improve(const uint8_t* sample, uint8_t* enrolled);

}  // extern "C"
