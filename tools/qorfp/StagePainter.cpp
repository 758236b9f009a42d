// SPDX-License-Identifier: Apache-2.0
//
// How each kind of result looks: images as they are, orientations as strokes over the faded image,
// ridge periods as colours under the ridges, minutiae as marks.
#include "tools/qorfp/StagePainter.h"

#include <algorithm>
#include <cmath>

#include "tools/qorfp/PngWriter.h"

namespace qorfp::cli {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kBlockSide = 4;
constexpr uint8_t kBackgroundBit = 0x80;
constexpr uint8_t kOrientationMask = 0x7F;

constexpr int kDrawingScale = 3;
constexpr Colour kStrokeColour = Rgb(0xC2255C);
constexpr Colour kBackgroundColour = Rgb(0xCED4DA);
constexpr double kMinMarkSize = 3.2;

// A scale that runs evenly from dark to light, also in grey print.
constexpr Colour kPeriodColours[] = {Rgb(0x440154), Rgb(0x3B528B), Rgb(0x21918C), Rgb(0x5EC962),
                                     Rgb(0xFDE725)};
constexpr double kMinPeriod = 5;  // pixels
constexpr double kMaxPeriod = 13;

Colour PeriodColour(double period) {
    constexpr int kSpans = 4;
    const double place =
        std::clamp((period - kMinPeriod) / (kMaxPeriod - kMinPeriod), 0.0, 1.0) * kSpans;
    const int span = std::min(static_cast<int>(place), kSpans - 1);
    const double part = place - span;
    const Colour& low = kPeriodColours[span];
    const Colour& high = kPeriodColours[span + 1];
    return {low.red + part * (high.red - low.red), low.green + part * (high.green - low.green),
            low.blue + part * (high.blue - low.blue)};
}

/// Where the image reaches beyond the last whole block, it is background for all later stages.
void PaintUncoveredEdge(Canvas& canvas, const Stage& stage, double left, double top, double scale) {
    const double width = stage.image.width * scale;
    const double height = stage.image.height * scale;
    const double coveredWidth = stage.directions.width * kBlockSide * scale;
    const double coveredHeight = stage.directions.height * kBlockSide * scale;
    canvas.FillRectangle(left + coveredWidth, top, width - coveredWidth, height);
    canvas.FillRectangle(left, top + coveredHeight, coveredWidth, height - coveredHeight);
}

void PaintStroke(Canvas& canvas, double x, double y, double half, uint8_t direction) {
    const double angle = (direction & kOrientationMask) * kPi / 120;
    cairo_move_to(canvas.Context(), x - half * std::cos(angle), y - half * std::sin(angle));
    cairo_line_to(canvas.Context(), x + half * std::cos(angle), y + half * std::sin(angle));
}

void PaintOrientation(Canvas& canvas, const Stage& stage, double left, double top, double scale) {
    canvas.DrawImage(stage.image, left, top, scale, scale > 1, 0.6);
    const double side = kBlockSide * scale;
    // Neighbouring blocks differ little: a stroke for some of them is easier to read than for all.
    const int step = scale > 1 ? 2 : 3;
    canvas.SetColour(kBackgroundColour, 0.75);
    PaintUncoveredEdge(canvas, stage, left, top, scale);
    for (int32_t y = 0; y < stage.directions.height; ++y) {
        for (int32_t x = 0; x < stage.directions.width; ++x) {
            if ((stage.directions.Row(y)[x] & kBackgroundBit) != 0) {
                canvas.FillRectangle(left + x * side, top + y * side, side, side);
            }
        }
    }
    canvas.SetColour(kStrokeColour);
    cairo_set_line_width(canvas.Context(), std::max(1.4, 0.1 * step * side));
    for (int32_t y = step / 2; y < stage.directions.height; y += step) {
        for (int32_t x = step / 2; x < stage.directions.width; x += step) {
            const uint8_t direction = stage.directions.Row(y)[x];
            if ((direction & kBackgroundBit) == 0) {
                // A block's orientation is that at its middle pixel.
                PaintStroke(canvas, left + (x * kBlockSide + 2.5) * scale,
                            top + (y * kBlockSide + 2.5) * scale, 0.4 * step * side, direction);
            }
        }
    }
    cairo_stroke(canvas.Context());
}

void PaintPeriods(Canvas& canvas, const Stage& stage, double left, double top, double scale) {
    canvas.SetColour(kBackgroundColour);
    canvas.FillRectangle(left, top, stage.image.width * scale, stage.image.height * scale);
    const double side = kBlockSide * scale;
    for (int32_t y = 0; y < stage.periods.height; ++y) {
        for (int32_t x = 0; x < stage.periods.width; ++x) {
            const uint8_t value = stage.periods.Row(y)[x];
            if (value != 0) {
                canvas.SetColour(PeriodColour(4 + value / 4.0));
                canvas.FillRectangle(left + x * side, top + y * side, side, side);
            }
        }
    }
    canvas.SetColour(kInk, 0.3);
    for (int32_t y = 0; y < stage.image.height; ++y) {
        for (int32_t x = 0; x < stage.image.width; ++x) {
            if (stage.image.Row(y)[x] == 0) {
                cairo_rectangle(canvas.Context(), left + x * scale, top + y * scale, scale, scale);
            }
        }
        cairo_fill(canvas.Context());
    }
}

void PaintMinutiae(Canvas& canvas, const Stage& stage, double left, double top, double scale) {
    canvas.DrawImage(stage.image, left, top, scale, false, 0.3);
    for (MinutiaMark mark : stage.marks) {
        mark.x = left + (mark.x + 0.5) * scale;
        mark.y = top + (mark.y + 0.5) * scale;
        DrawMinutia(canvas, mark, std::max(kMinMarkSize, 2.3 * scale));
    }
}

void PaintView(Canvas& canvas, const Stage& stage, double left, double top, double scale) {
    switch (stage.view) {
        case StageView::kImage:
            canvas.DrawImage(stage.image, left, top, scale, false);
            break;
        case StageView::kOrientation:
            PaintOrientation(canvas, stage, left, top, scale);
            break;
        case StageView::kPeriod:
            PaintPeriods(canvas, stage, left, top, scale);
            break;
        case StageView::kMinutiae:
            PaintMinutiae(canvas, stage, left, top, scale);
            break;
    }
}

/// The colours of the period view from 5 to 13 pixels, `width` wide, numbers to both sides.
void DrawPeriodBar(Canvas& canvas, double x, double baseline, double width, double textSize) {
    canvas.SetColour(kInk);
    const std::string low = "5 px ";
    const double start = x + canvas.DrawText(low, x, baseline, textSize);
    const std::string high = " 13 px";
    const double end = x + width - canvas.TextWidth(high, textSize);
    constexpr int kSteps = 64;
    for (int i = 0; i < kSteps; ++i) {
        canvas.SetColour(PeriodColour(kMinPeriod + (kMaxPeriod - kMinPeriod) * i / (kSteps - 1)));
        const double step = (end - start) / kSteps;
        canvas.FillRectangle(std::floor(start + i * step), baseline - 0.8 * textSize,
                             std::ceil(step) + 1, textSize);
    }
    canvas.SetColour(kInk);
    canvas.DrawText(high, end, baseline, textSize);
}

}  // namespace

Bytes PaintStage(const Stage& stage) {
    if (stage.view == StageView::kImage) {
        return EncodeGreyPng(stage.image);
    }
    constexpr int kBarHeight = 36;
    const bool hasBar = stage.view == StageView::kPeriod;
    const int width = stage.image.width * kDrawingScale;
    const int height = stage.image.height * kDrawingScale;
    Canvas canvas(width, height + (hasBar ? kBarHeight : 0));
    PaintView(canvas, stage, 0, 0, kDrawingScale);
    if (hasBar) {
        DrawPeriodBar(canvas, 12, height + 23, std::max(60, width - 24), 14);
    }
    return canvas.ToPng();
}

Bytes PaintContactSheet(const std::vector<Stage>& stages, const std::string& title) {
    constexpr int kColumns = 6;
    constexpr int kMinCellWidth = 200;
    constexpr int kGap = 18;
    constexpr int kTitleHeight = 54;
    constexpr int kCaptionHeight = 50;
    int cellWidth = kMinCellWidth;
    int cellHeight = 0;
    for (const Stage& stage : stages) {
        cellWidth = std::max(cellWidth, static_cast<int>(stage.image.width));
        cellHeight = std::max(cellHeight, static_cast<int>(stage.image.height));
    }
    const int rows = (static_cast<int>(stages.size()) + kColumns - 1) / kColumns;
    Canvas canvas(kGap + kColumns * (cellWidth + kGap),
                  kTitleHeight + rows * (cellHeight + kCaptionHeight));
    canvas.SetColour(kInk);
    canvas.DrawText(canvas.Shorten(title, canvas.Width() - 2 * kGap, 19, true), kGap, 35, 19, true);
    for (size_t i = 0; i < stages.size(); ++i) {
        const Stage& stage = stages[i];
        const int column = static_cast<int>(i) % kColumns;
        const int row = static_cast<int>(i) / kColumns;
        const int left = kGap + column * (cellWidth + kGap);
        const int top = kTitleHeight + row * (cellHeight + kCaptionHeight);
        PaintView(canvas, stage, left, top, 1);
        cairo_rectangle(canvas.Context(), left - 0.5, top - 0.5, stage.image.width + 1,
                        stage.image.height + 1);
        cairo_set_line_width(canvas.Context(), 1);
        canvas.SetColour(Rgb(0xADB5BD));
        cairo_stroke(canvas.Context());
        const int captionTop = top + cellHeight;
        const std::string name = std::to_string(i) + "  " + stage.name;
        canvas.SetColour(kInk);
        canvas.DrawText(canvas.Shorten(name, cellWidth, 13, true), left, captionTop + 18, 13, true);
        if (stage.view == StageView::kPeriod) {
            DrawPeriodBar(canvas, left, captionTop + 35, cellWidth, 12);
        } else {
            canvas.SetColour(kFaintInk);
            canvas.DrawText(canvas.Shorten(stage.caption, cellWidth, 12), left, captionTop + 35,
                            12);
        }
    }
    return canvas.ToPng();
}

}  // namespace qorfp::cli
