// SPDX-License-Identifier: Apache-2.0
//
// Lines take turns in a few colours from top to bottom, so that the eye can follow one across the gap;
// minutiae without a partner are pale.
#include "tools/qorfp/PairPicture.h"

#include <algorithm>
#include <numeric>

#include "tools/qorfp/FitWindow.h"
#include "tools/qorfp/MinutiaMarks.h"

namespace qorfp::cli {
namespace {

constexpr double kFade = 0.35;
constexpr double kMarkSize = 2.3;  // radius in finger pixels
constexpr double kPaleMark = 0.4;  // opacity
constexpr double kLineOpacity = 0.85;
constexpr Colour kLineColours[] = {Rgb(0x2B8A3E), Rgb(0x9C36B5), Rgb(0xC2255C), Rgb(0x0B7285)};
constexpr Colour kPaper = Rgb(0xF1F3F5);
constexpr double kTextSize = 15;
constexpr double kMargin = 14;
constexpr int kGap = 16;
constexpr int kCaptionHeight = 26;
constexpr int kTextHeight = 62;
constexpr int kMinCanvasWidth = 560;  // room for the text

/// The part of a finger's plane that is shown, in finger pixels.
struct Frame {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// A template does not tell the size of its image: the engine's largest, and more where minutiae lie
// outside.
Frame FrameOf(const PairSide& side) {
    if (side.finger) {
        return {0, 0, side.finger->width, side.finger->height};
    }
    constexpr int kEdge = 8;
    int left = 0;
    int top = 0;
    int right = kMaxEngineWidth;
    int bottom = kMaxEngineHeight;
    for (const MinutiaView& minutia : side.view.minutiae) {
        left = std::min(left, minutia.x - kEdge);
        top = std::min(top, minutia.y - kEdge);
        right = std::max(right, minutia.x + kEdge);
        bottom = std::max(bottom, minutia.y + kEdge);
    }
    return {left, top, right - left, bottom - top};
}

class PairPainter {
  public:
    PairPainter(const PairSide& first, const PairSide& second, int scale)
        : first_(first),
          second_(second),
          scale_(scale),
          firstFrame_(FrameOf(first)),
          secondFrame_(FrameOf(second)),
          panelHeight_(std::max(firstFrame_.height, secondFrame_.height) * scale),
          pairWidth_((firstFrame_.width + secondFrame_.width) * scale + kGap),
          canvas_(std::max(pairWidth_, kMinCanvasWidth),
                  panelHeight_ + kCaptionHeight + kTextHeight),
          firstLeft_((canvas_.Width() - pairWidth_) / 2),
          secondLeft_(firstLeft_ + firstFrame_.width * scale + kGap) {}

    Bytes Paint(const MatchedPairs& match, const std::string& headline, const std::string& detail) {
        canvas_.SetColour(kPaper);
        canvas_.FillRectangle(0, 0, canvas_.Width(), canvas_.Height());
        PaintFinger(first_, firstFrame_, firstLeft_);
        PaintFinger(second_, secondFrame_, secondLeft_);
        PaintLines(match);
        std::vector<bool> isMatched(first_.view.minutiae.size());
        std::vector<bool> isSecondMatched(second_.view.minutiae.size());
        for (const MatchedPair& pair : match.pairs) {
            isMatched[pair.first] = true;
            isSecondMatched[pair.second] = true;
        }
        PaintMarks(first_, firstFrame_, firstLeft_, isMatched);
        PaintMarks(second_, secondFrame_, secondLeft_, isSecondMatched);
        PaintText(headline, detail);
        return canvas_.ToPng();
    }

  private:
    struct Point {
        double x = 0;
        double y = 0;
    };

    // A coordinate names a pixel; its middle lies half a pixel further.
    Point Place(const MinutiaView& minutia, const Frame& frame, int left) const {
        return {left + (minutia.x - frame.left + 0.5) * scale_,
                (minutia.y - frame.top + 0.5) * scale_};
    }

    void PaintFinger(const PairSide& side, const Frame& frame, int left) {
        canvas_.SetColour(kWhite);
        canvas_.FillRectangle(left, 0, frame.width * scale_, frame.height * scale_);
        if (side.finger) {
            canvas_.DrawImage(*side.finger, left, 0, scale_, true, kFade);
        }
        canvas_.SetColour(kInk);
        const double baseline = panelHeight_ + kCaptionHeight - 8;
        const double room = frame.width * scale_ - kMargin;
        const double small = kTextSize * 0.85;
        canvas_.DrawText(canvas_.Shorten(side.caption, room, small), left + kMargin / 2, baseline,
                         small);
    }

    void PaintLines(const MatchedPairs& match) {
        std::vector<MatchedPair> pairs = match.pairs;
        std::sort(pairs.begin(), pairs.end(), [this](const MatchedPair& a, const MatchedPair& b) {
            return first_.view.minutiae[a.first].y < first_.view.minutiae[b.first].y;
        });
        cairo_set_line_width(canvas_.Context(), std::max(1.0, 0.45 * scale_));
        size_t turn = 0;
        for (const MatchedPair& pair : pairs) {
            const Point from = Place(first_.view.minutiae[pair.first], firstFrame_, firstLeft_);
            const Point to = Place(second_.view.minutiae[pair.second], secondFrame_, secondLeft_);
            canvas_.SetColour(kLineColours[turn++ % std::size(kLineColours)], kLineOpacity);
            cairo_move_to(canvas_.Context(), from.x, from.y);
            cairo_line_to(canvas_.Context(), to.x, to.y);
            cairo_stroke(canvas_.Context());
        }
    }

    // The pale ones first, so that none lies over a matched one.
    void PaintMarks(const PairSide& side, const Frame& frame, int left,
                    const std::vector<bool>& isMatched) {
        for (const bool wanted : {false, true}) {
            for (size_t i = 0; i < side.view.minutiae.size(); ++i) {
                if (isMatched[i] != wanted) {
                    continue;
                }
                const MinutiaView& minutia = side.view.minutiae[i];
                const Point at = Place(minutia, frame, left);
                DrawMinutia(canvas_, {at.x, at.y, minutia.type, minutia.direction},
                            kMarkSize * scale_, wanted ? 1.0 : kPaleMark);
            }
        }
    }

    void PaintText(const std::string& headline, const std::string& detail) {
        const double top = panelHeight_ + kCaptionHeight;
        const double room = canvas_.Width() - 2 * kMargin;
        canvas_.SetColour(kWhite);
        canvas_.FillRectangle(0, top, canvas_.Width(), kTextHeight);
        canvas_.SetColour(kInk);
        canvas_.DrawText(canvas_.Shorten(headline, room, kTextSize, true), kMargin, top + 25,
                         kTextSize, true);
        canvas_.SetColour(kFaintInk);
        const double small = kTextSize * 0.85;
        canvas_.DrawText(canvas_.Shorten(detail, room, small), kMargin, top + 48, small);
    }

    const PairSide& first_;
    const PairSide& second_;
    int scale_;
    Frame firstFrame_;
    Frame secondFrame_;
    int panelHeight_;
    int pairWidth_;
    Canvas canvas_;
    int firstLeft_;
    int secondLeft_;
};

}  // namespace

Bytes PaintPair(const PairSide& first, const PairSide& second, const MatchedPairs& match, int scale,
                const std::string& headline, const std::string& detail) {
    return PairPainter(first, second, scale).Paint(match, headline, detail);
}

}  // namespace qorfp::cli
