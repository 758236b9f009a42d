// SPDX-License-Identifier: Apache-2.0
//
// Naive model of reading a skeleton: the neighbour code of a pixel, its runs of ridge neighbours,
// and the trace that follows a ridge and marks what it has visited.
//
// Pixel values: 0 ridge, 255 background, 254 visited ridge (reads as background), 1 painted ridge.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace model {

struct Point {
    int32_t x = 0;
    int32_t y = 0;
};

/// Where the neighbours stand, in the order of the code's bits 7, 6, ..., 0: from the upper left
/// downwards and on around the pixel.
extern const std::vector<Point> kNeighbourCircle;

/// 8 bits, one a neighbour, set where it is background (or visited).
int32_t NeighbourCode(const Grid& skeleton, Point pixel);

/// The maximal runs of ridge neighbours on the circle, each as the steps to its members in circle
/// order; runs in the order in which a walk from bit 7 down to bit 0 first meets them. None where
/// all neighbours are ridge.
std::vector<std::vector<Point>> RidgeRuns(int32_t code);

/// The step into a run: its first member that is left, below, right or above, else its one
/// diagonal.
Point StepInto(const std::vector<Point>& run);

/// Number of ridge branches by neighbour code: the number of runs.
int32_t BranchCount(int32_t code);

struct Trace {
    Point last;                  // where the trace stands when it stops
    int32_t steps = 0;           // pixels recorded
    std::vector<Point> visited;  // the pixels recorded, now 254 in the skeleton
    bool ranIntoJunction = false;
};

/// Follows the ridge from `start`, at most `limit` steps, marking as it goes.
Trace TraceRidge(Grid& skeleton, Point start, int32_t limit);

/// Takes the mark off a pixel: AND 1.
void Unmark(Grid& skeleton, Point pixel);

}  // namespace model
