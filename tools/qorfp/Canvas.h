// SPDX-License-Identifier: Apache-2.0
//
// A picture to draw on: a thin layer over Cairo that owns its handles, speaks in pixels and ends as
// PNG bytes. Font hinting and sub-pixel order are switched off, so that a picture does not depend
// on the desktop's settings.
#pragma once

#include <cairo.h>

#include <memory>
#include <string>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/GreyImage.h"

namespace qorfp::cli {

struct Colour {
    double red = 0;  // 0..1
    double green = 0;
    double blue = 0;
};

/// Red, green and blue as 0xRRGGBB.
constexpr Colour Rgb(uint32_t value) {
    return {static_cast<double>(value >> 16 & 0xFF) / 255,
            static_cast<double>(value >> 8 & 0xFF) / 255, static_cast<double>(value & 0xFF) / 255};
}

constexpr Colour kWhite = Rgb(0xFFFFFF);
constexpr Colour kInk = Rgb(0x212529);
constexpr Colour kFaintInk = Rgb(0x6C757D);

class Canvas {
  public:
    /// A white picture.
    Canvas(int width, int height);

    int Width() const { return width_; }
    int Height() const { return height_; }
    cairo_t* Context() { return context_.get(); }

    void SetColour(const Colour& colour, double opacity = 1.0);
    void FillRectangle(double x, double y, double width, double height);

    /// Draws `image` with its upper left corner at (x, y), each of its pixels `scale` wide;
    /// `isSmooth` interpolates, otherwise pixels stay squares. `fade` 0..1 mixes white in.
    void DrawImage(const GreyImage& image, double x, double y, double scale, bool isSmooth,
                   double fade = 0.0);

    /// Draws text with its baseline at y; returns the width it took. Bytes that are not UTF-8 (file
    /// names may hold any) show as question marks.
    double DrawText(const std::string& text, double x, double y, double size, bool isBold = false);
    double TextWidth(const std::string& text, double size, bool isBold = false);

    /// `text`, cut and ended by an ellipsis where it is wider than `room`.
    std::string Shorten(const std::string& text, double room, double size, bool isBold = false);

    Bytes ToPng();

  private:
    void SelectFont(double size, bool isBold);

    int width_;
    int height_;
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_;
    std::unique_ptr<cairo_t, decltype(&cairo_destroy)> context_;
};

}  // namespace qorfp::cli
