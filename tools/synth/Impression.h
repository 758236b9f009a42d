// SPDX-License-Identifier: Apache-2.0
// An impression of a finger: what a sensor shows when the finger is put down once, somewhere, a
// little turned and stretched, with more or less pressure on more or less dry skin.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/synth/Finger.h"

namespace qorfp::synth {

enum class Difficulty { kEasy, kNormal, kHard };

/// The sensor's window: its middle is the middle of the finger's usual place.
struct Frame {
    int width;   // pixels, 64 .. 1024
    int height;  // pixels, 64 .. 1024
    int dpi;     // 250 .. 1000
};

/// Grey image, frame.width x frame.height bytes row by row, dark ridges on a light ground. Depends
/// on the finger, the number (1, 2, ...), the frame and the difficulty alone.
std::vector<uint8_t> MakeImpression(const Finger& finger, uint32_t number, const Frame& frame,
                                    Difficulty difficulty);

}  // namespace qorfp::synth
