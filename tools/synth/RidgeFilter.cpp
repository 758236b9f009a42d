// SPDX-License-Identifier: Apache-2.0
// Making of the filter kernels.
#include "tools/synth/RidgeFilter.h"

#include "tools/synth/Maths.h"

namespace qorfp::synth {
namespace {

constexpr int kOrientations = 96;  // over half a turn
constexpr int kPeriods = 17;
constexpr double kLowestPeriod = 7.0;
constexpr double kPeriodStep = 0.25;
constexpr size_t kKernelSize = static_cast<size_t>(kFilterSide) * kFilterStride;

// Writes the kernel of one orientation and period. The mean is taken out, so that an even grey
// gives 0, and the scale is such that the kernel's own wave passes with factor 1.
void MakeKernel(double orientation, double period, int16_t* weights) {
    const double cosine = Cosine(orientation);
    const double sine = Sine(orientation);
    const double deviationAcross = 0.40 * period;
    const double deviationAlong = 0.46 * period;
    double wave[kFilterSide][kFilterSide];
    double bell[kFilterSide][kFilterSide];
    double waveSum = 0.0;
    double bellSum = 0.0;
    for (int row = 0; row < kFilterSide; ++row) {
        for (int column = 0; column < kFilterSide; ++column) {
            const double x = static_cast<double>(column - kFilterRadius);
            const double y = static_cast<double>(row - kFilterRadius);
            const double along = (x * cosine + y * sine) / deviationAlong;
            const double across = y * cosine - x * sine;
            const double scaled = across / deviationAcross;
            const double weight = Exponential(-0.5 * (along * along + scaled * scaled));
            wave[row][column] = weight * Cosine(2.0 * kPi * across / period);
            bell[row][column] = weight;
            waveSum += wave[row][column];
            bellSum += weight;
        }
    }
    const double level = waveSum / bellSum;
    double response = 0.0;
    for (int row = 0; row < kFilterSide; ++row) {
        for (int column = 0; column < kFilterSide; ++column) {
            const double x = static_cast<double>(column - kFilterRadius);
            const double y = static_cast<double>(row - kFilterRadius);
            wave[row][column] -= level * bell[row][column];
            response += wave[row][column] * Cosine(2.0 * kPi * (y * cosine - x * sine) / period);
        }
    }
    const double scale = static_cast<double>(1 << kFilterOneBits) / response;
    for (int row = 0; row < kFilterSide; ++row) {
        for (int column = 0; column < kFilterSide; ++column) {
            weights[row * kFilterStride + column] =
                static_cast<int16_t>(RoundToInteger(wave[row][column] * scale));
        }
    }
}

}  // namespace

RidgeFilterBank::RidgeFilterBank()
    : weights_(static_cast<size_t>(kOrientations * kPeriods) * kKernelSize, 0) {
    for (int orientation = 0; orientation < kOrientations; ++orientation) {
        for (int period = 0; period < kPeriods; ++period) {
            const size_t index = static_cast<size_t>(orientation * kPeriods + period);
            MakeKernel(kPi * orientation / kOrientations, kLowestPeriod + kPeriodStep * period,
                       weights_.data() + index * kKernelSize);
        }
    }
}

uint16_t RidgeFilterBank::KernelIndex(double orientation, double period) {
    const long long turned = RoundToInteger(orientation * kOrientations / kPi) % kOrientations;
    const long long angle = turned < 0 ? turned + kOrientations : turned;
    const double steps = Clamp((period - kLowestPeriod) / kPeriodStep, 0.0, kPeriods - 1);
    return static_cast<uint16_t>(angle * kPeriods + RoundToInteger(steps));
}

const int16_t* RidgeFilterBank::Kernel(uint16_t index) const {
    return weights_.data() + index * kKernelSize;
}

}  // namespace qorfp::synth
