// SPDX-License-Identifier: Apache-2.0
// Random streams: 64-bit unsigned arithmetic only, hence the same on every machine.
#include "tools/synth/Random.h"

namespace qorfp::synth {
namespace {

constexpr uint64_t kWeylStep = 0x9E3779B97F4A7C15u;  // 2^64 / golden ratio, odd

// Bijective mixing of 64 bits: every input bit reaches every output bit.
uint64_t Mix(uint64_t value) {
    value ^= value >> 30;
    value *= 0xBF58476D1CE4E5B9u;
    value ^= value >> 27;
    value *= 0x94D049BB133111EBu;
    value ^= value >> 31;
    return value;
}

uint64_t Absorb(uint64_t state, uint64_t word) {
    return Mix((state ^ word) + kWeylStep);
}

}  // namespace

Random::Random(uint64_t seed, uint32_t finger, uint32_t impression, Purpose purpose)
    : state_(Absorb(Absorb(Absorb(Absorb(0, seed), finger), impression),
                    static_cast<uint64_t>(purpose))) {}

uint64_t Random::Next() {
    state_ += kWeylStep;
    return Mix(state_);
}

double Random::Uniform() {
    constexpr double kTwoToMinus53 = 1.0 / 9007199254740992.0;
    return static_cast<double>(Next() >> 11) * kTwoToMinus53;
}

double Random::Uniform(double low, double high) {
    const double unit = Uniform();
    return low + (high - low) * unit;
}

double Random::Normal() {
    constexpr double kSqrt3 = 1.73205080756887729353;  // four uniform numbers: variance 1/3
    double sum = 0.0;
    for (int i = 0; i < 4; ++i) {
        sum += Uniform();
    }
    return (sum - 2.0) * kSqrt3;
}

uint32_t Random::Below(uint32_t bound) {
    return static_cast<uint32_t>(((Next() >> 32) * bound) >> 32);
}

}  // namespace qorfp::synth
