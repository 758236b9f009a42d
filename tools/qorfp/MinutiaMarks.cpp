// SPDX-License-Identifier: Apache-2.0
//
// Symbols are stroked twice, a wide white line under the coloured one, so that they stand out from
// ridges and valleys alike.
#include "tools/qorfp/MinutiaMarks.h"

#include <cmath>

#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr Colour kEndingColour = Rgb(0xE8590C);
constexpr Colour kBifurcationColour = Rgb(0x1864AB);
constexpr double kTickLength = 3.2;   // from the centre, in symbol sizes
constexpr double kSquareSide = 0.88;  // half side in symbol sizes: about the circle's area

void TracePath(Canvas& canvas, const MinutiaMark& mark, double size) {
    cairo_t* context = canvas.Context();
    const double angle = mark.direction * kPi / 120;
    const double stepX = std::cos(angle);
    const double stepY = std::sin(angle);
    cairo_new_path(context);
    if (mark.type == kEnding) {
        cairo_arc(context, mark.x, mark.y, size, 0, 2 * kPi);
    } else {
        const double half = size * kSquareSide;
        cairo_rectangle(context, mark.x - half, mark.y - half, 2 * half, 2 * half);
    }
    // A square's edge lies nearer along the axes than along the diagonals.
    const double edge = mark.type == kEnding
                            ? size
                            : size * kSquareSide / std::max(std::fabs(stepX), std::fabs(stepY));
    cairo_move_to(context, mark.x + edge * stepX, mark.y + edge * stepY);
    cairo_line_to(context, mark.x + kTickLength * size * stepX,
                  mark.y + kTickLength * size * stepY);
}

}  // namespace

void DrawMinutia(Canvas& canvas, const MinutiaMark& mark, double size, double opacity) {
    const double line = size * 0.36;
    TracePath(canvas, mark, size);
    canvas.SetColour(kWhite, 0.9 * opacity);
    cairo_set_line_width(canvas.Context(), line * 2.4);
    cairo_stroke_preserve(canvas.Context());
    canvas.SetColour(mark.type == kEnding ? kEndingColour : kBifurcationColour, opacity);
    cairo_set_line_width(canvas.Context(), line);
    cairo_stroke(canvas.Context());
}

double DrawMinutiaKey(Canvas& canvas, double x, double y, uint8_t type, int count,
                      double textSize) {
    const double size = textSize * 0.42;
    DrawMinutia(canvas, {x + size, y - textSize * 0.36, type, 0}, size);
    const double textX = x + size * (1 + kTickLength) + textSize * 0.5;
    std::string text = std::to_string(count);
    text += type == kEnding ? " ending" : " bifurcation";
    text += count == 1 ? "" : "s";
    canvas.SetColour(kInk);
    return textX + canvas.DrawText(text, textX, y, textSize) - x;
}

}  // namespace qorfp::cli
