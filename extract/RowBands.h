// SPDX-License-Identifier: Apache-2.0
//
// Filters of three rows in place. An image is filtered in bands of rows, from copies of them as they were;
// and a band in strips, from top to bottom, so that what a row has in common with the next ones
// stays in registers.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "extract/FixedMath.h"
#include "extract/Vector.h"

namespace qorfp {

/// Rows of scratch that bands need at least, and those beyond which more make nothing faster.
constexpr int32_t kLeastBandCopies = 4;
constexpr int32_t kMostBandCopies = 34;

/// Rows of `width` pixels that fit in `bytes` bytes, as far as bands make use of them.
constexpr int32_t BandCopiesIn(int64_t bytes, int32_t width) {
    int32_t rows = kMostBandCopies;
    while (rows > 0 && static_cast<int64_t>(rows) * width > bytes) {
        --rows;
    }
    return rows;
}

/// Calls filter(above, top, rows) for bands that cover the rows first .. end - 1, from the top down:
/// rows `top` .. `top` + `rows` - 1 may then be overwritten. At `above` lie the image rows `top` -
/// kReach .. `top` + `rows` + kReach - 1 as they were; those outside the image are 0. The image's
/// first row is a band by itself, and so is its last.
/// @param copies scratch, `copyRows` rows of `stride` bytes; at least kLeastBandCopies, and more than
///        2 x kReach
template <int32_t kReach, class Filter>
inline void ForEachBand(uint8_t* image, int32_t width, int32_t height, int32_t first, int32_t end,
                        uint8_t* copies, int32_t stride, int32_t copyRows, Filter filter) {
    constexpr int32_t kCommon = 2 * kReach;  // rows of two bands
    const size_t rowBytes = static_cast<size_t>(width);
    // Copies the image row y to where row `place` of the band lies.
    const auto copy = [=](int32_t y, int32_t place) {
        if (y >= 0 && y < height) {
            memcpy(copies + place * stride, image + y * width, rowBytes);
        } else {
            memset(copies + place * stride, 0, rowBytes);
        }
    };
    for (int32_t place = 0; place < kCommon; ++place) {
        copy(first - kReach + place, place);
    }
    for (int32_t top = first; top < end;) {
        const int32_t next = top == 0 ? 1 : Min(top + copyRows - kCommon, Max(height - 1, top + 1));
        const int32_t rows = Min(next, end) - top;
        for (int32_t row = 0; row < rows; ++row) {
            copy(top + kReach + row, kCommon + row);
        }
        filter(static_cast<const uint8_t*>(copies), top, rows);
        for (int32_t place = 0; place < kCommon; ++place) {
            memcpy(copies + place * stride, copies + (rows + place) * stride, rowBytes);
        }
        top += rows;
    }
}

/// Rows of a band that need not be copied: with those around them they fit a small first cache.
constexpr int32_t kBandRows = 60;

/// The same for a filter from one place to another, but for the first and the last row of the image:
/// calls filter(above, top, rows), where `above` lies in `source`, for bands that cover the others.
template <class Filter>
inline void ForEachInnerBand(const uint8_t* source, int32_t width, int32_t height, Filter filter) {
    for (int32_t top = 1; top < height - 1; top += kBandRows) {
        filter(source + (top - 1) * width, top, Min(kBandRows, height - 1 - top));
    }
}

/// What 16 pixels of a row give to the sums of their own row, and to those of the rows above and
/// below.
template <class Sums>
struct RowShares {
    Sums own;
    Sums neighbours;
};

/// Filters the columns begin .. end - 1, at least 16, of `rows` rows, the first of them below `above`.
/// @param outWidth distance of the filtered rows from one to the next
/// @param filter Share(pixels) gives the shares of the 16 pixels there, Finish(sums) makes pixels of
///        the sums of three shares: of their own row, and of its neighbours. Both are to be inlined.
template <class Filter>
inline void FilterBand(const uint8_t* above, int32_t width, int32_t rows, int32_t begin,
                       int32_t end, uint8_t* out, int32_t outWidth, Filter filter) {
    for (int32_t next = begin; next < end; next += kVectorBytes) {
        const int32_t x = Min(next, end - kVectorBytes);  // the last two may overlap
        const uint8_t* from = above + x;
        uint8_t* to = out + x;
        const auto first = filter.Share(from);
        const auto second = filter.Share(from + width);
        // Of the row to be written, but for the share of the one below; of the next row, but for its
        // own share and the one below; and of the row after that.
        auto sum = first.neighbours + second.own;
        auto nextSum = second.neighbours;
        auto newSum = nextSum;
        from += 2 * width;
        const auto step = [&](auto& done, auto& begun, auto& fresh) {
            const auto below = filter.Share(from);
            fresh = below.neighbours;
            StoreVector(filter.Finish(done + below.neighbours), to);
            begun = begun + below.own;
            from += width;
            to += outWidth;
        };
#if defined(__SSE2__)
        // Three sums change places: after three rows each is back where it was, and none has to be
        // copied.
        for (int32_t left = rows;; left -= 3) {
            step(sum, nextSum, newSum);
            if (left == 1) {
                break;
            }
            step(nextSum, newSum, sum);
            if (left == 2) {
                break;
            }
            step(newSum, sum, nextSum);
            if (left == 3) {
                break;
            }
        }
#else
        for (int32_t row = 0; row < rows; ++row) {
            step(sum, nextSum, newSum);
            sum = nextSum;
            nextSum = newSum;
        }
#endif
    }
}

}  // namespace qorfp
