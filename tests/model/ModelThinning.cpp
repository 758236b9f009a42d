// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the thinning: a full copy of the image before each sub-iteration.
#include "tests/model/ModelThinning.h"

#include <algorithm>

namespace model {

namespace {

// clang-format off
const std::vector<int32_t> kDeletedFirst = {
    4, 5, 20, 21, 64, 65, 66, 67, 69, 71, 74, 75, 79, 85, 87, 106, 107, 148, 149, 150, 151, 168,
    169, 170, 171, 180, 181, 182, 184, 185, 186, 188, 213, 234};
const std::vector<int32_t> kDeletedSecond = {
    8, 10, 40, 42, 69, 71, 74, 75, 79, 85, 87, 90, 91, 101, 103, 106, 107, 117, 122, 128, 144,
    148, 149, 160, 168, 170, 176, 180, 181, 184, 186, 188, 213, 234};
// clang-format on

int32_t CodeAt(const Grid& image, int32_t x, int32_t y) {
    int32_t code = 0;
    code |= image.At(x - 1, y - 1) & 1;
    code |= image.At(x - 1, y + 1) & 2;
    code |= image.At(x, y - 1) & 4;
    code |= image.At(x, y + 1) & 8;
    code |= image.At(x + 1, y - 1) & 16;
    code |= image.At(x + 1, y + 1) & 32;
    code |= image.At(x - 1, y) & 64;
    code |= image.At(x + 1, y) & 128;
    return code;
}

}  // namespace

bool IsDeleted(int32_t subIteration, int32_t code) {
    const std::vector<int32_t>& deleted = subIteration == 1 ? kDeletedFirst : kDeletedSecond;
    return std::find(deleted.begin(), deleted.end(), code) != deleted.end();
}

Grid Thinning(const Grid& image) {
    Grid result = image;
    if (image.height < 3) {
        return result;
    }
    // A row that went quiet in a sub-iteration is never looked at again by that sub-iteration.
    std::vector<std::vector<bool>> isQuiet(
        3, std::vector<bool>(static_cast<size_t>(image.height), false));
    for (int32_t pass = 0; pass < 6; ++pass) {
        bool isChanged = false;
        for (int32_t subIteration = 1; subIteration <= 2; ++subIteration) {
            const Grid before = result;
            for (int32_t y = 1; y <= image.height - 2; ++y) {
                const size_t row = static_cast<size_t>(y);
                if (isQuiet.at(static_cast<size_t>(subIteration)).at(row)) {
                    continue;
                }
                bool isRowChanged = false;
                for (int32_t x = 1; x <= image.width - 2; ++x) {
                    if (before.At(x, y) == 0 && IsDeleted(subIteration, CodeAt(before, x, y))) {
                        result.At(x, y) = 255;
                        isRowChanged = true;
                    }
                }
                isQuiet.at(static_cast<size_t>(subIteration)).at(row) = !isRowChanged;
                isChanged = isChanged || isRowChanged;
            }
        }
        if (!isChanged) {
            break;
        }
    }
    return result;
}

}  // namespace model
