// SPDX-License-Identifier: Apache-2.0
//
// Naive model of reading a skeleton, see ModelSkeleton.h.
#include "tests/model/ModelSkeleton.h"

#include <algorithm>

namespace model {
namespace {

constexpr uint8_t kVisited = 254;

bool IsOnCross(Point step) {
    return step.x == 0 || step.y == 0;
}

}  // namespace

const std::vector<Point> kNeighbourCircle = {{-1, -1}, {-1, 0}, {-1, 1}, {0, 1},
                                             {1, 1},   {1, 0},  {1, -1}, {0, -1}};

int32_t NeighbourCode(const Grid& skeleton, Point pixel) {
    const auto value = [&](int32_t dx, int32_t dy) -> int32_t {
        return skeleton.At(pixel.x + dx, pixel.y + dy);
    };
    int32_t code = 0;
    code += value(-1, -1) & 128;
    code += value(-1, 0) & 64;
    code += value(-1, 1) & 32;
    code += value(0, 1) & 16;
    code += value(1, 1) & 8;
    code += value(1, 0) & 4;
    code += value(1, -1) & 2;
    code += (value(0, -1) & 2) / 2;
    return code;
}

std::vector<std::vector<Point>> RidgeRuns(int32_t code) {
    const auto isRidge = [code](size_t place) {
        return (code >> (7 - place % 8) & 1) == 0;  // place 0 is bit 7
    };
    std::vector<std::vector<Point>> runs;
    std::vector<bool> taken(8, false);
    if (code == 0) {
        return runs;  // no end to a run around the whole circle
    }
    for (size_t place = 0; place < 8; ++place) {
        if (!isRidge(place) || taken.at(place)) {
            continue;
        }
        size_t first = place;
        while (isRidge(first + 7)) {  // one back on the circle
            first = (first + 7) % 8;
        }
        std::vector<Point> run;
        for (size_t member = first; isRidge(member); ++member) {
            run.push_back(kNeighbourCircle.at(member % 8));
            taken.at(member % 8) = true;
        }
        runs.push_back(run);
    }
    return runs;
}

Point StepInto(const std::vector<Point>& run) {
    const auto onCross = std::find_if(run.begin(), run.end(), IsOnCross);
    return onCross != run.end() ? *onCross : run.at(0);
}

int32_t BranchCount(int32_t code) {
    return static_cast<int32_t>(RidgeRuns(code).size());
}

Trace TraceRidge(Grid& skeleton, Point start, int32_t limit) {
    Trace trace;
    trace.last = start;
    while (trace.steps < limit) {
        const Point here = trace.last;
        if (here.x <= 0 || here.x >= skeleton.width - 1 || here.y <= 0 ||
            here.y >= skeleton.height - 1) {
            break;
        }
        const std::vector<std::vector<Point>> runs = RidgeRuns(NeighbourCode(skeleton, here));
        if (runs.size() != 1) {
            trace.ranIntoJunction = runs.size() >= 2;
            break;
        }
        skeleton.At(here.x, here.y) = kVisited;
        trace.visited.push_back(here);
        ++trace.steps;
        const Point step = StepInto(runs.at(0));
        trace.last = {here.x + step.x, here.y + step.y};
    }
    return trace;
}

void Unmark(Grid& skeleton, Point pixel) {
    uint8_t& value = skeleton.At(pixel.x, pixel.y);
    value = value & 1;
}

}  // namespace model
