// SPDX-License-Identifier: Apache-2.0
//
// The rays across the ridges along which the ridge period is measured, 16 classes of direction.

#include "extract/FPTable.h"
#include "extract/Repeat.h"

namespace {

constexpr int kRays = 16;
constexpr int kPointsPerRay = 10;

struct Point {
    int dx;
    int dy;
};

// clang-format off
constexpr Point kPoints[kRays][kPointsPerRay] = {
    {{0, -1}, {0, -2}, {0, -3}, {0, -4}, {0, -5}, {0, -6}, {0, -7}, {0, -8}, {0, -9}, {0, -10}},  // 0
    {{0, -1}, {0, -2}, {1, -3}, {1, -4}, {1, -5}, {1, -6}, {1, -7}, {2, -8}, {2, -9}, {2, -10}},  // 1
    {{0, -1}, {1, -2}, {1, -3}, {2, -4}, {2, -5}, {2, -6}, {3, -7}, {3, -8}, {4, -9}, {4, -10}},  // 2
    {{1, -1}, {1, -2}, {2, -3}, {3, -4}, {3, -5}, {4, -6}, {5, -7}, {5, -8}, {6, -9}, {7, -10}},  // 3
    {{1, -1}, {2, -2}, {3, -3}, {4, -4}, {5, -5}, {6, -6}, {7, -7}, {8, -8}, {9, -9}, {10, -10}},  // 4
    {{1, -1}, {2, -1}, {3, -2}, {4, -3}, {5, -3}, {6, -4}, {7, -5}, {8, -5}, {9, -6}, {10, -7}},  // 5
    {{1, 0}, {2, -1}, {3, -1}, {4, -2}, {5, -2}, {6, -2}, {7, -3}, {8, -3}, {9, -4}, {10, -4}},  // 6
    {{1, 0}, {2, 0}, {3, -1}, {4, -1}, {5, -1}, {6, -1}, {7, -1}, {8, -2}, {9, -2}, {10, -2}},  // 7
    {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, 0}, {8, 0}, {9, 0}, {10, 0}},  // 8
    {{1, 0}, {2, 0}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 2}, {9, 2}, {10, 2}},  // 9
    {{1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}, {6, 2}, {7, 3}, {8, 3}, {9, 4}, {10, 4}},  // 10
    {{1, 1}, {2, 1}, {3, 2}, {4, 3}, {5, 3}, {6, 4}, {7, 5}, {8, 5}, {9, 6}, {10, 7}},  // 11
    {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {9, 9}, {10, 10}},  // 12
    {{1, 1}, {1, 2}, {2, 3}, {3, 4}, {3, 5}, {4, 6}, {5, 7}, {5, 8}, {6, 9}, {7, 10}},  // 13
    {{0, 1}, {1, 2}, {1, 3}, {2, 4}, {2, 5}, {2, 6}, {3, 7}, {3, 8}, {4, 9}, {4, 10}},  // 14
    {{0, 1}, {0, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {1, 7}, {2, 8}, {2, 9}, {2, 10}},  // 15
};
// clang-format on

constexpr int32_t CodedPoint(int entry) {
    const Point& point = kPoints[entry / kPointsPerRay][entry % kPointsPerRay];
    return point.dy * 256 + point.dx;
}

// The nearest of 16 classes to an orientation; no exact halves occur.
constexpr int32_t ClassOf(int orientation) {
    return (kRays * orientation + 60) / 120 % kRays;
}
static_assert(ClassOf(3) == 0 && ClassOf(4) == 1 && ClassOf(116) == 15 && ClassOf(117) == 0,
              "rounded, and the last orientations fall back to the first class");

}  // namespace

#define QORFP_CLASS(i) ClassOf(i)
const int32_t gnDC[120] = {QORFP_REPEAT_64(QORFP_CLASS, 0), QORFP_REPEAT_32(QORFP_CLASS, 64),
                           QORFP_REPEAT_16(QORFP_CLASS, 96), QORFP_REPEAT_8(QORFP_CLASS, 112)};

#define QORFP_POINT(i) CodedPoint(i)
const int32_t gnRP[16 * 10] = {QORFP_REPEAT_128(QORFP_POINT, 0), QORFP_REPEAT_32(QORFP_POINT, 128)};

const int32_t gnRL[16] = {32, 33, 34, 39, 45, 39, 34, 33, 32, 33, 34, 39, 45, 39, 34, 33};
