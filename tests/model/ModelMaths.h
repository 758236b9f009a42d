// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the fixed-point maths: every table entry from its defining rule, in long double
// or exact integers, and the three arithmetic routines on top. Angles count 240 steps to a full
// turn, from the positive x axis towards the positive y axis.
#pragma once

#include <cstdint>

namespace model {

/// The low 32 bits of a value, read as two's complement.
int32_t Wrap32(int64_t value);

/// round(atan(row / column) x 120 / pi), 0..60; a zero column gives 60.
int32_t AtanBEntry(int32_t row, int32_t column);

/// round(atan(row / column) x 60 / pi), 0..30; a zero column gives 30.
int32_t AtanAEntry(int32_t row, int32_t column);

/// The square root of a value of 0 or more, rounded to the nearest integer.
int32_t RoundedRoot(int64_t value);

/// Element 0..975 of the square root table: five segments of rounded roots, at most 255.
int32_t SqrtEntry(int32_t element);

/// round(16384 x sin(step x pi / 120)) and the same for the cosine.
int32_t SinEntry(int32_t step);
int32_t CosEntry(int32_t step);

/// Direction of the vector (x, y), 0..239; the zero vector gives 180. Any magnitudes.
int32_t AtanA(int32_t x, int32_t y);

/// Direction from (x1, y1) to (x2, y2), 0..239; the differences are at most 127 either way.
int32_t AtanB(int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/// -1 below 0, the floor of the root up to 65535, 255 above.
int32_t SqrtA(int32_t n);

}  // namespace model
