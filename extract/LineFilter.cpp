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
constexpr uint16_t kLower = 0x00FF;

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

// A tile, as it is in quad rows.
template <bool kIsBinary>
U16x8 LoadTile(const uint8_t* tile) {
    if constexpr (kIsBinary) {
        return LoadVector<U16x8>(tile);
    } else {
        return AsLanes<U16x8>(
            Join({LoadVector<U16x8>(tile), LoadVector<U16x8>(tile + kQuadBytes)}));
    }
}

}  // namespace

void qorfp::MakeSampleLines(bool isBinary, SampleLines* lines) {
    const uint16_t lane = isBinary ? 0x0101 : 1;  // a weight in either byte, or in the lower one
    for (int32_t orientation = 0; orientation < kOrientations; ++orientation) {
        SampleLine* line = &lines->of[orientation];
        StoreVector(EveryLane(gnCW[orientation]) * lane, line->centreWeights);
        for (int32_t k = 0; k < kMostPairs; ++k) {  // all zero behind the last one
            const int32_t entry = orientation * kMostPairs + k;
            const int32_t offset = gnDY[entry] * kQuadBytes + gnDX[entry] * kBlockSide;
            line->pairs[k].ahead = offset;
            line->pairs[k].behind = -offset;
            StoreVector(EveryLane(gnPW[entry]) * lane, line->pairs[k].weights);
        }
    }
    for (int32_t orientation = kOrientations; orientation <= kOrientationMask; ++orientation) {
        memset(&lines->of[orientation], 0, sizeof(SampleLine));
        StoreVector(EveryLane(isBinary ? 0 : kWholeWeight), lines->of[orientation].centreWeights);
    }
}

void qorfp::SmoothInside(const SampleLines& lines, const uint8_t* map, int32_t blocks,
                         const uint8_t* tile, uint8_t* out) {
    // One address for either half, so that an offset is added to it by the load itself.
    const uint8_t* odd = Hidden(tile + kQuadBytes);
    for (const uint8_t* end = map + blocks; map != end; ++map) {
        const SampleLine& line = lines.of[*map & kOrientationMask];
        const U16x8 centreWeights = LoadVector<U16x8>(line.centreWeights);
        // At most 256 x 255.
        U16x8 evenSums = LoadVector<U16x8>(tile) * centreWeights;
        U16x8 oddSums = LoadVector<U16x8>(odd) * centreWeights;
        for (const SamplePair& pair : line.pairs) {
            const U16x8 weights = LoadVector<U16x8>(pair.weights);
            evenSums +=
                (LoadVector<U16x8>(tile + pair.ahead) + LoadVector<U16x8>(tile + pair.behind)) *
                weights;
            oddSums +=
                (LoadVector<U16x8>(odd + pair.ahead) + LoadVector<U16x8>(odd + pair.behind)) *
                weights;
        }
        StoreVector(Join({evenSums >> 8, oddSums >> 8}), out);  // the weights sum to 256
        tile += kTileBytes;
        odd += kTileBytes;
        out += kTileBytes;
    }
}

// The white samples' weights sum to 0..256, and 255 x sum / 256 is the sum less 1, or 0. A sum that
// is 0 modulo 256 means that all samples are alike.
void qorfp::SmoothBinaryInside(const SampleLines& lines, const uint8_t* map, int32_t blocks,
                               const uint8_t* tile, uint8_t* out) {
    for (const uint8_t* end = map + blocks; map != end; ++map) {
        const SampleLine& line = lines.of[*map & kOrientationMask];
        const U8x16 centre = LoadVector<U8x16>(tile);
        U8x16 sums = centre & LoadVector<U8x16>(line.centreWeights);
        for (const SamplePair& pair : line.pairs) {
            const U8x16 weights = LoadVector<U8x16>(pair.weights);
            sums += LoadVector<U8x16>(tile + pair.ahead) & weights;
            sums += LoadVector<U8x16>(tile + pair.behind) & weights;
        }
        const U8x16 isUniform = AsLanes<U8x16>(sums == U8x16{});
        // Adding the mask of the others subtracts 1.
        StoreVector((sums + ~isUniform) | (centre & isUniform), out);
        tile += kTileBytes;
        out += kTileBytes;
    }
}

// Two pixels share a 16-bit lane, 256 x upper + lower. Both have weighted sums of at most
// 256 x 255: the upper one is summed by itself, the lower one is what then remains of the lanes' own
// sum, modulo 65,536.
template <bool kIsBinary>
void qorfp::SmoothAtBorder(const SampleLine& line, const uint8_t* tile, const uint8_t* inside,
                           uint8_t* out) {
    const U16x8 centre = LoadTile<kIsBinary>(tile);
    const U16x8 centreWeights = LoadVector<U16x8>(line.centreWeights) & kLower;
    U16x8 laneSums = centre * centreWeights;
    U16x8 upperSums = (centre >> 8) * centreWeights;
    U16x8 laneWeights = {};  // without the centre's: less than 256, upper and lower
    const SamplePair* end = Hidden(line.pairs + kMostPairs);  // so that the loop stays one
    for (const SamplePair* at = line.pairs; at != end; ++at) {
        const SamplePair& pair = *at;
        const U16x8 isInA = LoadVector<U16x8>(inside + pair.ahead);
        const U16x8 isInB = LoadVector<U16x8>(inside + pair.behind);
        const U16x8 a = LoadTile<kIsBinary>(tile + pair.ahead) & isInA;
        const U16x8 b = LoadTile<kIsBinary>(tile + pair.behind) & isInB;
        const U16x8 weights = LoadVector<U16x8>(pair.weights) & kLower;
        laneSums += (a + b) * weights;
        upperSums += ((a >> 8) + (b >> 8)) * weights;
        const U16x8 bothWeights = weights << 8 | weights;
        laneWeights += (bothWeights & isInA) + (bothWeights & isInB);
    }
    const U16x16 sideWeights = {laneWeights & kLower, laneWeights >> 8};
    uint8_t places[kTileBytes];
    StoreVector(Narrow(sideWeights), places);
    const U16x16 reciprocals = LookUp(kReciprocals.of + centreWeights[0], places);
    const U16x8 lower =
        Divide(laneSums - (upperSums << 8), sideWeights.low + centreWeights, reciprocals.low);
    const U16x8 upper = Divide(upperSums, sideWeights.high + centreWeights, reciprocals.high);
    StoreVector(upper << 8 | lower, out);
}

template void qorfp::SmoothAtBorder<false>(const SampleLine& line, const uint8_t* tile,
                                           const uint8_t* inside, uint8_t* out);
template void qorfp::SmoothAtBorder<true>(const SampleLine& line, const uint8_t* tile,
                                          const uint8_t* inside, uint8_t* out);

void qorfp::CopyTile(bool isBinary, const uint8_t* tile, uint8_t* out) {
    StoreVector(isBinary ? LoadTile<true>(tile) : LoadTile<false>(tile), out);
}
