// SPDX-License-Identifier: Apache-2.0
//
// Bilinear resampling: by vectors at the widths of sensors, pixel by pixel at all others.

#include "api/Interpolate.h"

#include <stddef.h>

#include "extract/Vector.h"

namespace {

using namespace qorfp;

// Where one target row (or column) samples the source: two neighbours and their weights in
// hundredths.
struct Sample {
    int32_t first;
    int32_t second;
    int32_t firstWeight;
    int32_t secondWeight;
};

// The samples of the target rows (or columns) 0, 1, 2, ... Their positions in hundredths,
// source x 100 x row / target, are walked along, so that nothing is divided for each of them.
class Samples {
  public:
    Samples(int32_t source, int32_t target) : source_(source), target_(target) {
        const int64_t hundredfold = static_cast<int64_t>(source) * 100;
        const int64_t step = hundredfold / target;
        stepWhole_ = static_cast<int32_t>(step / 100);
        stepHundredths_ = static_cast<int32_t>(step % 100);
        stepRest_ = static_cast<uint32_t>(hundredfold % target);
    }

    // Deliberate: a position that falls exactly on a source row counts as halfway to the next one,
    // the first row too. It blurs such rows slightly, and every template of the small sensor rests
    // on it.
    Sample Next() {
        const bool isBetween = hundredths_ != 0 || source_ == target_;
        const int32_t secondWeight = isBetween ? hundredths_ : 50;
        const int32_t second = whole_ < source_ - 1 ? whole_ + 1 : source_ - 1;
        const Sample sample = {whole_, second, 100 - secondWeight, secondWeight};
        Step();
        return sample;
    }

  private:
    void Step() {
        whole_ += stepWhole_;
        hundredths_ += stepHundredths_;
        rest_ += stepRest_;
        if (rest_ >= static_cast<uint32_t>(target_)) {
            rest_ -= static_cast<uint32_t>(target_);
            ++hundredths_;
        }
        if (hundredths_ >= 100) {
            hundredths_ -= 100;
            ++whole_;
        }
    }

    int32_t source_;
    int32_t target_;
    int32_t stepWhole_;
    int32_t stepHundredths_;
    uint32_t stepRest_;  // in 1 / target of a hundredth
    int32_t whole_ = 0;
    int32_t hundredths_ = 0;
    uint32_t rest_ = 0;
};

// --- Interpolation by vectors: first across each source row, then between two of them ------------

constexpr int32_t kMostVectorColumns = 256;

constexpr bool FitsVectors(int32_t srcWidth, int32_t dstWidth) {
    return srcWidth >= 2 && srcWidth <= kMostVectorColumns && dstWidth >= kVectorBytes &&
           dstWidth <= kMostVectorColumns;
}

// For each target column the first of its two source columns, and the second one's weight.
struct Columns {
    uint8_t first[kMostVectorColumns];
    uint8_t secondWeight[kMostVectorColumns];
};

void FindColumns(int32_t srcWidth, int32_t dstWidth, Columns* columns) {
    Samples samples(srcWidth, dstWidth);
    for (int32_t column = 0; column < dstWidth; ++column) {
        const Sample sample = samples.Next();
        // A sample of the last column alone is one of the last two, with the weights 0 and 100.
        const bool isAlone = sample.first == sample.second;
        columns->first[column] = static_cast<uint8_t>(isAlone ? sample.first - 1 : sample.first);
        columns->secondWeight[column] = static_cast<uint8_t>(isAlone ? 100 : sample.secondWeight);
    }
}

using WeighedRow = uint16_t[kMostVectorColumns];  // 100 x grey

void WeighAcross(const uint8_t* src, const Columns& columns, int32_t dstWidth, uint16_t* out) {
    ForEachVector(0, dstWidth, [&columns, src, out](ptrdiff_t x) {
        const U8x16 low = LoadPairs(src, columns.first + x);
        const U8x16 high = LoadPairs(src, columns.first + x + 8);
        const U16x16 weights = Widen(LoadVector<U8x16>(columns.secondWeight + x));
        const U16x8 all = EveryLane(100);
        StoreLanes({EvenBytes(low) * (all - weights.low) + OddBytes(low) * weights.low,
                    EvenBytes(high) * (all - weights.high) + OddBytes(high) * weights.high},
                   out + x);
    });
}

// sum / 10000, for a sum that rounds: its quotient, or one more, is told from its upper bits.
constexpr int32_t kUnit = 10000;
constexpr int32_t kHalfUnit = kUnit / 2;
constexpr int32_t kEstimateShift = 7;
constexpr int32_t kShiftRound = (1 << kEstimateShift) - 1;  // shifted upwards
constexpr uint16_t kEstimateFactor = (65536 << kEstimateShift) / kUnit + 1;

constexpr int32_t EstimateOf(int32_t sum) {
    return ((sum + kShiftRound) >> kEstimateShift) * kEstimateFactor >> 16;
}

// It grows with the sum, so the ends of each quotient's sums tell.
constexpr bool EstimatesAreCloseEnough() {
    for (int32_t quotient = 0; quotient <= 255; ++quotient) {
        if (EstimateOf(quotient * kUnit) < quotient ||
            EstimateOf(quotient * kUnit + kUnit - 1) > quotient + 1) {
            return false;
        }
    }
    return true;
}
static_assert(EstimatesAreCloseEnough(), "the sign of the rest tells which");
static_assert((255 * kUnit + kHalfUnit + kShiftRound) >> kEstimateShift <= 32767, "fits 16 bits");

U16x8 Blend(U16x8 upper, U16x8 lower, uint16_t upperWeight, uint16_t lowerWeight) {
    const I16x8 weights =
        AsLanes<I16x8>(InterleaveLow(EveryLane(upperWeight), EveryLane(lowerWeight)));
    const auto shifted = [=](U16x8 pairs) {
        return (MultiplyPairs(AsLanes<I16x8>(pairs), weights) + (kHalfUnit + kShiftRound)) >>
               kEstimateShift;
    };
    const I16x8 upperBits =
        Narrow(shifted(InterleaveLow(upper, lower)), shifted(InterleaveHigh(upper, lower)));
    const U16x8 lowerBits = upper * upperWeight + lower * lowerWeight + kHalfUnit;
    const U16x8 estimate = MultiplyHigh(AsLanes<U16x8>(upperBits), EveryLane(kEstimateFactor));
    const U16x8 rest = lowerBits - estimate * kUnit;  // -10000 .. 9999
    return estimate + AsLanes<U16x8>(AsLanes<I16x8>(rest) >> 15);
}

void InterpolateByVectors(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                          int32_t dstHeight, uint8_t* dst) {
    Columns columns;
    FindColumns(srcWidth, dstWidth, &columns);
    WeighedRow rows[2];  // source row y in row y % 2
    int32_t next = 0;    // the first source row that has not been weighed
    Samples samples(srcHeight, dstHeight);
    for (int32_t row = 0; row < dstHeight; ++row) {
        const Sample y = samples.Next();
        for (next = next > y.first ? next : y.first; next <= y.second; ++next) {
            WeighAcross(src + static_cast<ptrdiff_t>(next) * srcWidth, columns, dstWidth,
                        rows[next % 2]);
        }
        const uint16_t* upper = rows[y.first % 2];
        const uint16_t* lower = rows[y.second % 2];
        const uint16_t upperWeight = static_cast<uint16_t>(y.firstWeight);
        const uint16_t lowerWeight = static_cast<uint16_t>(y.secondWeight);
        ForEachVector(0, dstWidth, [=](ptrdiff_t x) {
            const U16x16 above = LoadLanes(upper + x);
            const U16x16 below = LoadLanes(lower + x);
            StoreVector(Narrow(Blend(above.low, below.low, upperWeight, lowerWeight),
                               Blend(above.high, below.high, upperWeight, lowerWeight)),
                        dst + x);
        });
        dst += dstWidth;
    }
}

// --- Interpolation pixel by pixel, for other sizes ----------------------------------------------

void InterpolateByPixels(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                         int32_t dstHeight, uint8_t* dst) {
    Samples rowSamples(srcHeight, dstHeight);
    for (int32_t row = 0; row < dstHeight; ++row) {
        const Sample y = rowSamples.Next();
        const uint8_t* upper = src + static_cast<ptrdiff_t>(y.first) * srcWidth;
        const uint8_t* lower = src + static_cast<ptrdiff_t>(y.second) * srcWidth;
        Samples columnSamples(srcWidth, dstWidth);
        for (int32_t column = 0; column < dstWidth; ++column) {
            const Sample x = columnSamples.Next();
            const int32_t sum =  // <= 255 x 100 x 100 + 5000
                y.firstWeight *
                    (x.firstWeight * upper[x.first] + x.secondWeight * upper[x.second]) +
                y.secondWeight *
                    (x.firstWeight * lower[x.first] + x.secondWeight * lower[x.second]) +
                kHalfUnit;
            *dst++ = static_cast<uint8_t>(sum / kUnit);
        }
    }
}

}  // namespace

void qorfp::Interpolate(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                        int32_t dstHeight, uint8_t* dst) {
    if (FitsVectors(srcWidth, dstWidth)) {
        InterpolateByVectors(srcWidth, srcHeight, src, dstWidth, dstHeight, dst);
    } else {
        InterpolateByPixels(srcWidth, srcHeight, src, dstWidth, dstHeight, dst);
    }
}
