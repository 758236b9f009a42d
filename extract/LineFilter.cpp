// SPDX-License-Identifier: Apache-2.0
//
// The oriented line filter of ridge smoothing, for all 16 pixels of a block at once.

#include "extract/LineFilter.h"

#include <string.h>

#include "extract/FPTable.h"

namespace {

using namespace qorfp;

constexpr int32_t kWholeWeight = 256;  // of a line
constexpr int32_t kLeastWeight = 22;   // of a centre

U16x8 Load(const LineWeight& weight) {
    return LoadAligned<U16x8>(weight.lanes);
}

// So that a tile counts as 256, or in a byte as 255.
constexpr uint16_t kKeptGrey = kWholeWeight;
constexpr uint16_t kKeptBinary = 255;

// floor(2^16 / weight), in place of a division by a weight.
struct Reciprocals {
    uint16_t of[kWholeWeight + 1];

    constexpr Reciprocals() : of() {
        for (int32_t weight = kLeastWeight; weight <= kWholeWeight; ++weight) {
            of[weight] = static_cast<uint16_t>((1 << 16) / weight);
        }
    }
};
constexpr Reciprocals kReciprocals;

// Sums divided by weights. A quotient by the reciprocal, which is too small by less than 1, makes
// less than 1 of a sum below 2^16: it is exact, or one too small.
U16x8 Divide(U16x8 sums, U16x8 weights, U16x8 reciprocals) {
    const U16x8 quotients = MultiplyHigh(sums, reciprocals);
    const U16x8 rests = sums - quotients * weights;  // less than 2 x weight
    return quotients - AsLanes<U16x8>(AsLanes<I16x8>(rests) >= AsLanes<I16x8>(weights));
}

// An address of which compilers do not know how it came about.
template <class Type>
const Type* Hidden(const Type* address) {
    __asm__("" : "+r"(address));
    return address;
}

// A tile's pixels, columns of four.
template <bool kIsBinary>
U16x8 LoadTile(const uint8_t* tile) {
    if constexpr (kIsBinary) {
        return AsLanes<U16x8>(LoadVector<U8x16>(tile) - uint8_t{1});
    } else {
        return AsLanes<U16x8>(
            Join({LoadVector<U16x8>(tile), LoadVector<U16x8>(tile + kQuadBytes)}));
    }
}

}  // namespace

void qorfp::MakeSampleLines(bool isBinary, SampleLines* lines) {
    for (int32_t orientation = 0; orientation < kOrientations; ++orientation) {
        SampleLine* line = &lines->of[orientation];
        StoreVector(EveryLane(gnCW[orientation]), line->centreWeight.lanes);
        for (int32_t k = 0; k < kMostPairs; ++k) {  // all zero behind the last one
            const int32_t entry = orientation * kMostPairs + k;
            const int32_t offset = gnDY[entry] * kQuadBytes + gnDX[entry] * kBlockSide;
            line->pairs[k] = {offset, -offset};
            StoreVector(EveryLane(gnPW[entry]), line->weights[k].lanes);
        }
    }
    for (int32_t orientation = kOrientations; orientation <= kOrientationMask; ++orientation) {
        memset(&lines->of[orientation], 0, sizeof(SampleLine));
        StoreVector(EveryLane(isBinary ? kKeptBinary : kKeptGrey),
                    lines->of[orientation].centreWeight.lanes);
    }
}

void qorfp::SmoothInside(const SampleLines& lines, const uint8_t* map, int32_t blocks,
                         const uint8_t* tile, uint8_t* out) {
    // One address for either half, so that an offset is added to it by the load itself.
    const uint8_t* odd = Hidden(tile + kQuadBytes);
    for (const uint8_t* end = map + blocks; map != end; ++map) {
        const SampleLine& line = *Hidden(&lines.of[*map & kOrientationMask]);
        // At most 256 x 255.
        U16x8 evenSums = LoadVector<U16x8>(tile) * Load(line.centreWeight);
        U16x8 oddSums = LoadVector<U16x8>(odd) * Load(line.centreWeight);
        for (int32_t k = 0; k < kMostPairs; ++k) {
            const SamplePair pair = line.pairs[k];
            const LineWeight& weight = line.weights[k];
            evenSums +=
                (LoadVector<U16x8>(tile + pair.ahead) + LoadVector<U16x8>(tile + pair.behind)) *
                Load(weight);
            oddSums +=
                (LoadVector<U16x8>(odd + pair.ahead) + LoadVector<U16x8>(odd + pair.behind)) *
                Load(weight);
        }
        StoreVector(Join({evenSums >> 8, oddSums >> 8}), out);  // the weights sum to 256
        tile += kTileBytes;
        odd += kTileBytes;
        out += kTileBytes;
    }
}

// Two pixels share a 16-bit lane. The black samples' weights sum to 0..256, those beside the centre to
// at most 256 - kLeastWeight, so that neither pixel's sum runs into the other's. With a sum of black,
// 255 x (256 - sum) / 256 is 255 - sum; or 0, when the sum is 256.
void qorfp::SmoothBinaryInside(const SampleLines& lines, const uint8_t* map, int32_t blocks,
                               const uint8_t* tile, uint8_t* out) {
    for (const uint8_t* end = map + blocks; map != end; ++map) {
        const SampleLine& line = *Hidden(&lines.of[*map & kOrientationMask]);
        U16x8 sums = {};
        for (int32_t k = 0; k < kMostPairs; ++k) {
            const SamplePair pair = line.pairs[k];
            sums += AsLanes<U16x8>(LoadVector<U8x16>(tile + pair.ahead) +
                                   LoadVector<U8x16>(tile + pair.behind)) *
                    Load(line.weights[k]);
        }
        const U16x8 centre = LoadVector<U16x8>(tile) * Load(line.centreWeight);
        StoreVector(~AddTo255(AsLanes<U8x16>(sums), AsLanes<U8x16>(centre)), out);
        tile += kTileBytes;
        out += kTileBytes;
    }
}

// As inside, but divided by the weights of the samples inside the image. Two of these share a 16-bit
// lane; what stands for the samples outside is 0 and adds nothing.
template <bool kIsBinary>
void qorfp::SmoothAtBorder(const SampleLine& line, const uint8_t* tile, const uint8_t* inside,
                           uint8_t* out) {
    const uint8_t* odd = Hidden(tile + kQuadBytes);
    const U16x8 centreWeights = Load(line.centreWeight);
    U16x8 laneWeights = {};  // without the centre's: less than 256 each
    // At most 256 x 255: of the tile's even and odd pixels. Of a binary image, the black samples' weights
    // without the centre's share a lane, too.
    U16x8 evenSums = {};
    U16x8 oddSums = {};
    const SamplePair* end = Hidden(line.pairs + kMostPairs);  // so that the loop stays one
    const LineWeight* weight = line.weights;
    for (const SamplePair* at = line.pairs; at != end; ++at, ++weight) {
        const SamplePair pair = *at;
        const U16x8 weights = Load(*weight);
        const auto bothBytes = [=](const uint8_t* bytes) {
            return AsLanes<U16x8>(LoadVector<U8x16>(bytes + pair.ahead) +
                                  LoadVector<U8x16>(bytes + pair.behind));
        };
        const auto bothLanes = [=](const uint8_t* bytes) {
            return LoadVector<U16x8>(bytes + pair.ahead) + LoadVector<U16x8>(bytes + pair.behind);
        };
        laneWeights += bothBytes(inside) * weights;
        if constexpr (kIsBinary) {
            evenSums += bothBytes(tile) * weights;
        } else {
            evenSums += bothLanes(tile) * weights;
            oddSums += bothLanes(odd) * weights;
        }
    }
    const U16x16 sideWeights = Split(AsLanes<U8x16>(laneWeights));
    const U16x16 weights = sideWeights + centreWeights[0];
    if constexpr (kIsBinary) {
        // 255 times the white samples' weights.
        const U16x16 black =
            Split(AsLanes<U8x16>(evenSums)) + Split(LoadVector<U8x16>(tile)) * centreWeights;
        const U16x16 white = weights - black;
        evenSums = (white.low << 8) - white.low;
        oddSums = (white.high << 8) - white.high;
    } else {
        evenSums += LoadVector<U16x8>(tile) * centreWeights;
        oddSums += LoadVector<U16x8>(odd) * centreWeights;
    }
    uint8_t places[kTileBytes];
    StoreVector(Narrow(sideWeights), places);
    // Or else compilers store the vector again for each of its bytes.
    const U16x16 reciprocals = LookUp(kReciprocals.of + centreWeights[0], Hidden(places));
    StoreVector(Join({Divide(evenSums, weights.low, reciprocals.low),
                      Divide(oddSums, weights.high, reciprocals.high)}),
                out);
}

template void qorfp::SmoothAtBorder<false>(const SampleLine& line, const uint8_t* tile,
                                           const uint8_t* inside, uint8_t* out);
template void qorfp::SmoothAtBorder<true>(const SampleLine& line, const uint8_t* tile,
                                          const uint8_t* inside, uint8_t* out);

void qorfp::CopyTile(bool isBinary, const uint8_t* tile, uint8_t* out) {
    StoreVector(isBinary ? LoadTile<true>(tile) : LoadTile<false>(tile), out);
}
