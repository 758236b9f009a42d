// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <stdexcept>

#include "bench/worst/Cases.h"
#include "include/QORFPApi.h"
#include "tests/support/Pgm.h"

namespace worst {
namespace {

constexpr int32_t kWidth = 256;
constexpr int32_t kHeight = 360;

// The image in the middle of a white one of the largest size.
model::Grid Enlarged(const support::PgmImage& image) {
    model::Grid large(kWidth, kHeight, 255);
    const int32_t left = (kWidth - image.width) / 2;
    const int32_t top = (kHeight - image.height) / 2;
    for (int32_t y = 0; y < image.height; ++y) {
        std::copy_n(image.pixels.begin() + y * image.width, image.width,
                    large.cells.begin() + (top + y) * kWidth + left);
    }
    return large;
}

}  // namespace

Captures::Captures(const std::string& folder) {
    for (const char* finger : {"1", "2", "3", "4"}) {
        for (const char* number : {"1", "2", "3"}) {
            images.push_back(
                Enlarged(support::ReadPgm(folder + "/" + finger + "_" + number + ".pgm")));
            TemplateBytes bytes(QORFP_TEMPLATE_BYTES);
            int32_t quality = 0;
            const model::Grid& image = images.back();
            if (QORFP_Extract(image.cells.data(), image.width, image.height, bytes.data(),
                              &quality) != QORFP_OK) {
                throw std::runtime_error(folder + ": an image gives no template");
            }
            templates.push_back(bytes);
        }
    }
}

}  // namespace worst
