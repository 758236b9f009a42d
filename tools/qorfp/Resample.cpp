// SPDX-License-Identifier: Apache-2.0
//
// Two passes, along the rows and then along the columns. All positions are counted in units of
// 1 / (2 x target size) source pixels, which makes every centre and every weight a whole number.
#include "tools/qorfp/Resample.h"

#include <algorithm>
#include <cstdlib>

#include "tools/qorfp/FitWindow.h"

namespace qorfp::cli {
namespace {

/// The source pixels of one target pixel and their weights.
struct Taps {
    int64_t first = 0;
    std::vector<int64_t> weights;
    int64_t total = 0;
};

// Target pixel t has its centre at (2 t + 1) x source, source pixel s at (2 s + 1) x target; the
// triangle reaches one pixel of the coarser grid to either side.
std::vector<Taps> MakeTaps(int64_t source, int64_t target) {
    const int64_t radius = 2 * std::max(source, target);
    std::vector<Taps> all(static_cast<size_t>(target));
    for (int64_t t = 0; t < target; ++t) {
        const int64_t centre = (2 * t + 1) * source;
        const int64_t first = std::max<int64_t>(0, (centre - radius) / (2 * target) - 1);
        const int64_t last = std::min(source - 1, (centre + radius) / (2 * target) + 1);
        Taps& taps = all[static_cast<size_t>(t)];
        taps.first = first;
        for (int64_t s = first; s <= last; ++s) {
            const int64_t weight =
                std::max<int64_t>(0, radius - std::llabs(centre - (2 * s + 1) * target));
            taps.weights.push_back(weight);
            taps.total += weight;
        }
    }
    return all;
}

uint8_t WeightedMean(const Taps& taps, const uint8_t* source, size_t step) {
    int64_t sum = 0;
    const uint8_t* pixel = source + static_cast<size_t>(taps.first) * step;
    for (const int64_t weight : taps.weights) {
        sum += weight * *pixel;
        pixel += step;
    }
    return static_cast<uint8_t>((sum + taps.total / 2) / taps.total);
}

GreyImage ResampleRows(const GreyImage& source, int32_t width) {
    const std::vector<Taps> taps = MakeTaps(source.width, width);
    GreyImage target(width, source.height);
    for (int32_t y = 0; y < source.height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            target.Row(y)[x] = WeightedMean(taps[static_cast<size_t>(x)], source.Row(y), 1);
        }
    }
    return target;
}

GreyImage ResampleColumns(const GreyImage& source, int32_t height) {
    const std::vector<Taps> taps = MakeTaps(source.height, height);
    const auto step = static_cast<size_t>(source.width);
    GreyImage target(source.width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < source.width; ++x) {
            target.Row(y)[x] =
                WeightedMean(taps[static_cast<size_t>(y)], source.pixels.data() + x, step);
        }
    }
    return target;
}

int32_t ScaledSide(int32_t side, int dpi) {
    const int64_t scaled = (int64_t{side} * kEngineDpi + dpi / 2) / dpi;
    return static_cast<int32_t>(std::max<int64_t>(1, scaled));
}

}  // namespace

GreyImage Resample(const GreyImage& source, int32_t width, int32_t height) {
    GreyImage image = width == source.width ? source : ResampleRows(source, width);
    return height == image.height ? image : ResampleColumns(image, height);
}

GreyImage AsTheEngineSeesIt(const GreyImage& finger) {
    return IsSensorSize(finger.width, finger.height)
               ? Resample(finger, kSensorScaledWidth, kSensorScaledHeight)
               : finger;
}

GreyImage ResampleToEngineDpi(const GreyImage& source, int dpi) {
    return Resample(source, ScaledSide(source.width, dpi), ScaledSide(source.height, dpi));
}

}  // namespace qorfp::cli
