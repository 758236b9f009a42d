// SPDX-License-Identifier: Apache-2.0
// Elementary functions: argument reduction and short series, evaluated in one fixed order.
#include "tools/synth/Maths.h"

#include <cfloat>
#include <limits>

namespace qorfp::synth {
namespace {

static_assert(std::numeric_limits<double>::is_iec559 && DBL_MANT_DIG == 53,
              "the generator needs IEEE 754 doubles");

constexpr double kLn2 = 0.69314718055994530942;

// Odd Taylor series of the sine up to x^17, for |x| <= pi/2 (remainder below 5e-14).
double SineSeries(double x) {
    const double square = x * x;
    double sum = 1.0;
    for (int k = 16; k >= 2; k -= 2) {
        sum = 1.0 - sum * square / static_cast<double>(k * (k + 1));
    }
    return x * sum;
}

// Arc tangent of 0 <= t <= tan(pi/8), by its alternating series up to t^25 (remainder below 2e-12).
double ArcTanSeries(double t) {
    const double square = t * t;
    double sum = 0.0;
    for (int k = 25; k >= 1; k -= 2) {
        sum = 1.0 / static_cast<double>(k) - sum * square;
    }
    return t * sum;
}

// Arc tangent of 0 <= t <= 1.
double ArcTanUnit(double t) {
    constexpr double kTanEighth = 0.41421356237309504880;
    return t <= kTanEighth ? ArcTanSeries(t) : kPi / 4.0 - ArcTanSeries((1.0 - t) / (1.0 + t));
}

}  // namespace

long long RoundToInteger(double value) {
    const double shifted = value + 0.5;
    const long long truncated = static_cast<long long>(shifted);
    return static_cast<double>(truncated) > shifted ? truncated - 1 : truncated;
}

double Sine(double angle) {
    const double turns = static_cast<double>(RoundToInteger(angle / (2.0 * kPi)));
    double x = angle - turns * (2.0 * kPi);  // -pi .. pi
    if (x > kPi / 2.0) {
        x = kPi - x;
    } else if (x < -kPi / 2.0) {
        x = -kPi - x;
    }
    return SineSeries(x);
}

double Cosine(double angle) {
    return Sine(angle + kPi / 2.0);
}

double ArcTan2(double y, double x) {
    const double absX = x < 0.0 ? -x : x;
    const double absY = y < 0.0 ? -y : y;
    if (absX == 0.0 && absY == 0.0) {
        return 0.0;
    }
    double angle =
        absY <= absX ? ArcTanUnit(absY / absX) : kPi / 2.0 - ArcTanUnit(absX / absY);  // 0 .. pi/2
    if (x < 0.0) {
        angle = kPi - angle;
    }
    return y < 0.0 ? -angle : angle;
}

double Exponential(double x) {
    if (x < -700.0) {
        return 0.0;
    }
    const long long power = RoundToInteger(x / kLn2);
    const double rest = x - static_cast<double>(power) * kLn2;  // -0.35 .. 0.35
    double sum = 1.0;
    for (int k = 12; k >= 1; --k) {
        sum = 1.0 + sum * rest / static_cast<double>(k);
    }
    const double factor = power < 0 ? 0.5 : 2.0;  // scaling by powers of two is exact
    const long long steps = power < 0 ? -power : power;
    for (long long step = 0; step < steps; ++step) {
        sum *= factor;
    }
    return sum;
}

double Clamp(double value, double low, double high) {
    if (value < low) {
        return low;
    }
    return value > high ? high : value;
}

double SmoothStep(double low, double high, double value) {
    const double t = Clamp((value - low) / (high - low), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

}  // namespace qorfp::synth
