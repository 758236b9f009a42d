// SPDX-License-Identifier: Apache-2.0
//
// Finger-like images for the tests of the exported calls, and templates made of them.
#pragma once

#include <cstdint>

#include "tests/api/HandTemplate.h"
#include "tests/support/TestImages.h"

namespace apitest {

using testsupport::Grid;

/// A finger-like image; the same for the same arguments.
Grid FingerOf(uint64_t seed, int32_t width = 256, int32_t height = 360);

/// What an extraction gave. The template holds GuardedBytes::kFill where nothing was written.
struct Extraction {
    uint32_t result = 0;
    Bytes bytes;
    int32_t quality = 0;  ///< GuardedNumber::kFill where nothing was written
};

/// Extracts, and expects that nothing outside the outputs is written.
Extraction Extract(const Grid& image);

/// The template of FingerOf(seed, 224, 304), which is a usable one.
Bytes TemplateOf(uint64_t seed);

}  // namespace apitest
