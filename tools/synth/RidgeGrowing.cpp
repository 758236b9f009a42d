// SPDX-License-Identifier: Apache-2.0
// Ridge growing in integers, on a canvas with a margin for the filter, worked off in blocks so that
// only the surroundings of what has grown are filtered.
#include "tools/synth/RidgeGrowing.h"

#include <algorithm>

namespace qorfp::synth {
namespace {

constexpr int kMargin = 8;  // filter radius + 1: a kernel row ends with a padding weight
constexpr int kBlock = 8;
constexpr int32_t kFullScale = 4096;  // a ridge at its crest; the filter sum stays below 2^27
constexpr int32_t kGain = 3;          // drives the wave into saturation, which lets it spread
constexpr int32_t kFaintest = 48;     // weaker answers count as nothing yet
constexpr int kMaxRounds = 60;
constexpr int kSettlingRounds = 5;  // after the canvas is covered
// Mean distance of the dots in pixels, drawn for each finger; the closer, the more minutiae.
constexpr double kClosestDots = 21.0;
constexpr double kWidestDots = 36.0;

class Canvas {
  public:
    Canvas(const Plane& orientation, const Plane& period)
        : width_(orientation.width),
          height_(orientation.height),
          stride_(width_ + 2 * kMargin),
          blockColumns_((width_ + kBlock - 1) / kBlock),
          blockRows_((height_ + kBlock - 1) / kBlock),
          kernels_(orientation.values.size()),
          state_(PaddedSize(), 0),
          next_(PaddedSize(), 0),
          grown_(BlockCount(), 0),
          grownNext_(BlockCount(), 0) {
        for (size_t i = 0; i < kernels_.size(); ++i) {
            kernels_[i] = RidgeFilterBank::KernelIndex(orientation.values[i], period.values[i]);
        }
    }

    // Sets 3 x 3 pixels around (x, y), which must lie inside, to full ridge.
    void SetDot(int x, int y) {
        for (int row = y - 1; row <= y + 1; ++row) {
            for (int column = x - 1; column <= x + 1; ++column) {
                if (row >= 0 && row < height_ && column >= 0 && column < width_) {
                    state_[Padded(column, row)] = static_cast<int16_t>(kFullScale);
                    grown_[BlockOf(column, row)] = 1;
                }
            }
        }
    }

    bool IsCovered() const {
        return std::all_of(grown_.begin(), grown_.end(), [](uint8_t flag) { return flag != 0; });
    }

    // One filtering of everything that has grown and of the blocks around it.
    void Grow(const RidgeFilterBank& bank) {
        std::fill(next_.begin(), next_.end(), static_cast<int16_t>(0));
        for (int blockY = 0; blockY < blockRows_; ++blockY) {
            for (int blockX = 0; blockX < blockColumns_; ++blockX) {
                const size_t block = static_cast<size_t>(blockY * blockColumns_ + blockX);
                grownNext_[block] =
                    HasGrownNeighbour(blockX, blockY) ? FilterBlock(bank, blockX, blockY) : 0;
            }
        }
        state_.swap(next_);
        grown_.swap(grownNext_);
    }

    // The filtered pattern without saturation: ridges as a smooth wave.
    Plane Finish(const RidgeFilterBank& bank) const {
        Plane wave(width_, height_);
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                wave.At(x, y) = static_cast<double>(Filter(bank, x, y)) / kFullScale;
            }
        }
        return wave;
    }

  private:
    size_t PaddedSize() const {
        return static_cast<size_t>(stride_) * static_cast<size_t>(height_ + 2 * kMargin);
    }
    size_t BlockCount() const { return static_cast<size_t>(blockColumns_ * blockRows_); }
    size_t Padded(int x, int y) const {
        return static_cast<size_t>((y + kMargin) * stride_ + x + kMargin);
    }
    size_t BlockOf(int x, int y) const {
        return static_cast<size_t>((y / kBlock) * blockColumns_ + x / kBlock);
    }

    bool HasGrownNeighbour(int blockX, int blockY) const {
        for (int y = std::max(blockY - 1, 0); y <= std::min(blockY + 1, blockRows_ - 1); ++y) {
            for (int x = std::max(blockX - 1, 0); x <= std::min(blockX + 1, blockColumns_ - 1);
                 ++x) {
                if (grown_[static_cast<size_t>(y * blockColumns_ + x)] != 0) {
                    return true;
                }
            }
        }
        return false;
    }

    // Answer of the pixel's own kernel, in units of kFullScale.
    int32_t Filter(const RidgeFilterBank& bank, int x, int y) const {
        const int16_t* kernel =
            bank.Kernel(kernels_[static_cast<size_t>(y) * static_cast<size_t>(width_) +
                                 static_cast<size_t>(x)]);
        const int16_t* pixels = state_.data() + Padded(x - kFilterRadius, y - kFilterRadius);
        int32_t sum = 0;  // below 2^12 * 2^15
        for (int row = 0; row < kFilterSide; ++row) {
            for (int column = 0; column < kFilterStride; ++column) {
                sum += static_cast<int32_t>(kernel[column]) * static_cast<int32_t>(pixels[column]);
            }
            kernel += kFilterStride;
            pixels += stride_;
        }
        return sum / (1 << kFilterOneBits);
    }

    // Filters a block into the next state; tells whether anything stands in it.
    uint8_t FilterBlock(const RidgeFilterBank& bank, int blockX, int blockY) {
        uint8_t any = 0;
        const int right = std::min((blockX + 1) * kBlock, width_);
        const int bottom = std::min((blockY + 1) * kBlock, height_);
        for (int y = blockY * kBlock; y < bottom; ++y) {
            for (int x = blockX * kBlock; x < right; ++x) {
                int32_t value = Filter(bank, x, y) * kGain;
                if (value > -kFaintest && value < kFaintest) {
                    value = 0;
                }
                value = std::clamp(value, -kFullScale, kFullScale);
                next_[Padded(x, y)] = static_cast<int16_t>(value);
                any = static_cast<uint8_t>(any | (value != 0 ? 1 : 0));
            }
        }
        return any;
    }

    int width_;
    int height_;
    int stride_;
    int blockColumns_;
    int blockRows_;
    std::vector<uint16_t> kernels_;  // one a pixel, without margin
    std::vector<int16_t> state_;     // with margin, which stays 0
    std::vector<int16_t> next_;
    std::vector<uint8_t> grown_;  // blocks that hold anything but 0
    std::vector<uint8_t> grownNext_;
};

}  // namespace

Plane GrowRidges(const Plane& orientation, const Plane& period, const RidgeFilterBank& bank,
                 Random& random) {
    Canvas canvas(orientation, period);
    const double spacing = random.Uniform(kClosestDots, kWidestDots);
    const double area = static_cast<double>(orientation.width) * orientation.height;
    const int dots = static_cast<int>(area / (spacing * spacing)) + 1;
    for (int dot = 0; dot < dots; ++dot) {
        const uint32_t x = random.Below(static_cast<uint32_t>(orientation.width));
        const uint32_t y = random.Below(static_cast<uint32_t>(orientation.height));
        canvas.SetDot(static_cast<int>(x), static_cast<int>(y));
    }
    int rounds = 0;
    for (; rounds < kMaxRounds && !canvas.IsCovered(); ++rounds) {
        canvas.Grow(bank);
    }
    for (int settling = 0; settling < kSettlingRounds; ++settling) {
        canvas.Grow(bank);
    }
    return canvas.Finish(bank);
}

}  // namespace qorfp::synth
