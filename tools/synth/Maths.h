// SPDX-License-Identifier: Apache-2.0
// Elementary functions built from IEEE double + - * / only. The functions of a C library may differ
// in the last bit from one machine to the next; these do not, so that a seed gives the same fingers
// everywhere. Every file that computes with doubles is compiled with -ffp-contract=off.
#pragma once

namespace qorfp::synth {

constexpr double kPi = 3.14159265358979323846;

/// Sine and cosine of an angle in radians; error below 1e-11 for |angle| < 1000.
double Sine(double angle);
double Cosine(double angle);

/// Angle of the vector (x, y) in radians, -pi .. pi; 0 for the null vector. Error below 1e-11.
double ArcTan2(double y, double x);

/// e to the power of x, relative error below 1e-11; 0 for x below -700. x at most 700.
double Exponential(double x);

/// The value moved into low .. high.
double Clamp(double value, double low, double high);

/// Cubic step: 0 up to low, 1 from high on, smooth between.
double SmoothStep(double low, double high, double value);

/// Nearest integer, halves upward. |value| below 2^52.
long long RoundToInteger(double value);

}  // namespace qorfp::synth
