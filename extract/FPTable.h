// SPDX-License-Identifier: Apache-2.0
//
// Fixed-point mathematics and the constant tables.
//
// Angles: a full turn is 240 steps of 1.5 degrees, growing from the positive x axis towards the
// positive y axis (image rows grow downwards, so on screen this is clockwise). Directions are
// 0..239; ridge orientations, which mean the same after half a turn, are 0..119.
#pragma once

#include <stdint.h>

extern "C" {

// --- Mathematics ---------------------------------------------------------------------------------

/// Direction of the vector (x, y), 0..239, for components of any magnitude. The axes give 0, 60,
/// 120 and 180; the zero vector gives 180.
int32_t atanA(int32_t x, int32_t y);

/// Direction from point (x1, y1) to point (x2, y2), 0..239. The differences must lie in -127..127.
int32_t atanB(int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/// floor(sqrt(n)) for 0..65535; -1 for negative n; 255 for larger n.
int32_t sqrtA(int32_t n);

// --- Angles, roots, divisions: made by rule ------------------------------------------------------

/// round(atan(dy / dx) x 120 / pi), 0..60, at [|dy| x 128 + |dx|]; 60 where dx is 0.
extern const uint8_t gnAtanB[128 * 128];

/// round(atan(row / column) x 60 / pi), 0..30, at [row x 50 + column]; 30 where column is 0.
/// A quarter turn is 30 here: the table measures doubled angles.
extern const uint8_t gnAtanA[50 * 50];

/// Rounded square roots, five segments of growing step; read it through sqrtA.
extern const uint8_t gnSqrt[976];

/// k x k, k = 0..255.
extern const int32_t gnSqr[256];

/// round(16384 x sin(k x pi / 120)), k = 0..239.
extern const int32_t gnSin[240];

/// round(16384 x cos(k x pi / 120)), k = 0..239.
extern const int32_t gnCos[240];

/// k / 6, k = 0..1535 (six pixels).
extern const uint8_t gbDiv6[1536];

/// k / 9, k = 0..2303 (nine pixels).
extern const uint8_t gbDiv9[2304];

/// k / 20, k = 0..239: the 30-degree sector of a direction, 0..11.
extern const uint8_t gbDiv20[240];

// --- Oriented line filter, one row an orientation (120) ------------------------------------------

/// Up to 7 sample offsets on one side of the centre, at [orientation x 7 + sample], in pixels:
/// dx in -5..5, dy in 0..5. Each is used twice, at (dx, dy) and at (-dx, -dy).
extern const int16_t gnDX[120 * 7];
extern const int16_t gnDY[120 * 7];

/// Weight of each sample; centre weight + 2 x (sum of the row's weights) = 256.
extern const uint8_t gnPW[120 * 7];

/// Number of samples of an orientation, 5 to 7.
extern const uint8_t gnPC[120];

/// Weight of the centre pixel.
extern const uint8_t gnCW[120];

// --- Ridge-period rays ---------------------------------------------------------------------------

/// Ridge orientation 0..119 -> class 0..15 of the ray that crosses such ridges.
extern const int32_t gnDC[120];

/// Ten points of each class's ray, coded dy x 256 + dx, at [class x 10 + point].
extern const int32_t gnRP[16 * 10];

/// Mean step length of each class's ray in 1/32 pixel.
extern const int32_t gnRL[16];

// --- Skeleton ------------------------------------------------------------------------------------

/// Deletion tables of thinning: 256 entries for each of its two sub-iterations, 1 = delete.
/// The index has a bit set for each neighbour that is background:
///
///      1   4  16
///     64   .  128
///      2   8  32
extern const uint8_t gbThin[512];

/// Number of ridge branches that leave a pixel, by its neighbour code: 1 ending, 2 ridge goes on,
/// 3 bifurcation. The code has a bit set for each neighbour that is background:
///
///     128   1   2
///      64   .   4
///      32  16   8
extern const int32_t gnBC[256];

/// Where gnBC is 1: the step (-1, 0, 1) to the pixel's one ridge neighbour, by the same code.
extern const int32_t gnTX[256];
extern const int32_t gnTY[256];

/// Angle tolerance of the broken-ridge repair for a gap of k + 1 pixels.
extern const uint8_t gnJA[16];

}  // extern "C"
