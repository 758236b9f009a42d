// SPDX-License-Identifier: Apache-2.0
//
// How minutiae look in every picture of the tool: endings are orange circles, bifurcations blue
// squares, each with a tick into the ridge. Shape and colour both tell them apart, for print in
// grey and for eyes that confuse colours.
#pragma once

#include "tools/qorfp/Canvas.h"

namespace qorfp::cli {

struct MinutiaMark {
    double x = 0;  // on the canvas
    double y = 0;
    uint8_t type = 0;   // kEnding or kBifurcation
    int direction = 0;  // 1/240 turn, rows grow downwards
};

/// `size` is the radius of the symbol in canvas pixels.
void DrawMinutia(Canvas& canvas, const MinutiaMark& mark, double size, double opacity = 1.0);

/// A symbol with its name and count; returns the width taken.
double DrawMinutiaKey(Canvas& canvas, double x, double y, uint8_t type, int count, double textSize);

}  // namespace qorfp::cli
