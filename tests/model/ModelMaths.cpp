// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the fixed-point maths.
#include "tests/model/ModelMaths.h"

#include <cmath>
#include <stdexcept>

namespace model {

namespace {

long double Pi() {
    return std::acos(-1.0L);
}

int64_t Magnitude(int64_t value) {
    return value < 0 ? -value : value;
}

// The quadrant rule over a first-quadrant angle of 0..60.
int32_t PlaceInQuadrant(int64_t x, int64_t y, int32_t angle) {
    int32_t result = 0;
    if (x > 0) {
        result = y >= 0 ? angle : 240 - angle;
    } else if (y > 0) {
        result = 120 - angle;
    } else {
        result = 120 + angle;
    }
    return result == 240 ? 0 : result;
}

}  // namespace

int32_t Wrap32(int64_t value) {
    const int64_t modulus = int64_t{1} << 32;
    int64_t low = value % modulus;
    if (low < 0) {
        low += modulus;
    }
    if (low >= modulus / 2) {
        low -= modulus;
    }
    return static_cast<int32_t>(low);
}

int32_t AtanBEntry(int32_t row, int32_t column) {
    if (column == 0) {
        return 60;
    }
    const long double ratio = static_cast<long double>(row) / static_cast<long double>(column);
    return static_cast<int32_t>(std::lround(std::atan(ratio) * 120.0L / Pi()));
}

int32_t AtanAEntry(int32_t row, int32_t column) {
    if (column == 0) {
        return 30;
    }
    const long double ratio = static_cast<long double>(row) / static_cast<long double>(column);
    return static_cast<int32_t>(std::lround(std::atan(ratio) * 60.0L / Pi()));
}

int32_t RoundedRoot(int64_t value) {
    if (value < 0) {
        throw std::domain_error("root of a negative value");
    }
    int64_t root = 0;
    while ((root + 1) * (root + 1) <= value) {
        ++root;
    }
    // Nearer to root + 1 exactly when value > (root + 1/2)^2 = root^2 + root + 1/4.
    return static_cast<int32_t>(value > root * root + root ? root + 1 : root);
}

int32_t SqrtEntry(int32_t element) {
    struct Segment {
        int32_t firstElement, lastElement, origin, shift;
    };
    const Segment segments[5] = {
        {0, 255, 0, 0},     {256, 303, 240, 4}, {304, 399, 272, 5},
        {400, 591, 336, 6}, {592, 975, 464, 7},
    };
    for (const Segment& segment : segments) {
        if (element >= segment.firstElement && element <= segment.lastElement) {
            const int64_t samplePoint = int64_t{element - segment.origin} << segment.shift;
            const int32_t root = RoundedRoot(samplePoint);
            return root > 255 ? 255 : root;
        }
    }
    throw std::out_of_range("square root element");
}

int32_t SinEntry(int32_t step) {
    return static_cast<int32_t>(
        std::lround(16384.0L * std::sin(static_cast<long double>(step) * Pi() / 120.0L)));
}

int32_t CosEntry(int32_t step) {
    return static_cast<int32_t>(
        std::lround(16384.0L * std::cos(static_cast<long double>(step) * Pi() / 120.0L)));
}

int32_t AtanA(int32_t x, int32_t y) {
    int64_t magnitudeX = Magnitude(x);
    int64_t magnitudeY = Magnitude(y);
    const int64_t larger = magnitudeX > magnitudeY ? magnitudeX : magnitudeY;
    if (larger > 127) {
        magnitudeX = (magnitudeX * 127 + larger / 2) / larger;
        magnitudeY = (magnitudeY * 127 + larger / 2) / larger;
    }
    const int32_t angle =
        AtanBEntry(static_cast<int32_t>(magnitudeY), static_cast<int32_t>(magnitudeX));
    return PlaceInQuadrant(x, y, angle);
}

int32_t AtanB(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    const int64_t x = int64_t{x2} - x1;
    const int64_t y = int64_t{y2} - y1;
    if (Magnitude(x) > 127 || Magnitude(y) > 127) {
        throw std::out_of_range("difference above 127");
    }
    const int32_t angle =
        AtanBEntry(static_cast<int32_t>(Magnitude(y)), static_cast<int32_t>(Magnitude(x)));
    return PlaceInQuadrant(x, y, angle);
}

int32_t SqrtA(int32_t n) {
    if (n < 0) {
        return -1;
    }
    if (n >= 65536) {
        return 255;
    }
    int32_t root = 0;
    while ((root + 1) * (root + 1) <= n) {
        ++root;
    }
    return root;
}

}  // namespace model
