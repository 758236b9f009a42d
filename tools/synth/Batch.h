// SPDX-License-Identifier: Apache-2.0
// A batch of images: fingers and impressions in a range, made by one or more threads and handed out
// or written as files. The images do not depend on the number of threads.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/synth/FingerClass.h"
#include "tools/synth/Impression.h"

namespace qorfp::synth {

struct BatchOptions {
    uint64_t seed = 1;
    int firstFinger = 1;
    int fingers = 10;
    int firstImpression = 1;
    int impressions = 4;
    Frame frame = {256, 360, 508};
    Difficulty difficulty = Difficulty::kNormal;
    std::vector<FingerClass> classes;  // given to fingers 1, 2, ... in turn; empty: natural shares
    int threads = 1;
};

/// Takes a finished image: finger, impression, pixels. Called from several threads at once when
/// there are several. What it throws ends the batch and is thrown on by MakeBatch.
using ImageSink = std::function<void(int, int, const std::vector<uint8_t>&)>;

/// Told after each finger how many are finished; one call at a time.
using ProgressSink = std::function<void(int)>;

/// Makes all images of the batch. `progress` may be empty.
void MakeBatch(const BatchOptions& options, const ImageSink& sink, const ProgressSink& progress);

/// A sink that writes <folder>/<finger>_<impression>.pgm. Makes the folder, parents included.
/// Throws std::runtime_error with one line that names the file when that fails, now or later.
ImageSink FolderSink(const std::string& folder, const Frame& frame);

}  // namespace qorfp::synth
