// SPDX-License-Identifier: Apache-2.0
//
// Finger-like images and their templates, see TestFingers.h.
#include "tests/api/TestFingers.h"

#include <gtest/gtest.h>

#include "include/QORFPApi.h"
#include "tests/api/GuardedBytes.h"

namespace apitest {

Grid FingerOf(uint64_t seed, int32_t width, int32_t height) {
    testsupport::Random random(seed);
    return testsupport::FingerImage(width, height, random);
}

Extraction Extract(const Grid& image) {
    GuardedBytes bytes(kTemplateBytes);
    GuardedNumber quality;
    Extraction extraction;
    extraction.result =
        QORFP_Extract(image.cells.data(), image.width, image.height, bytes.Data(), &quality.value);
    EXPECT_TRUE(bytes.GuardsIntact()) << "bytes around the template changed";
    EXPECT_TRUE(quality.GuardsIntact()) << "bytes around the quality changed";
    extraction.bytes = bytes.Copy();
    extraction.quality = quality.value;
    return extraction;
}

Bytes TemplateOf(uint64_t seed) {
    const Extraction extraction = Extract(FingerOf(seed, 224, 304));
    EXPECT_EQ(extraction.result, QORFP_OK) << "seed " << seed;
    return extraction.bytes;
}

}  // namespace apitest
