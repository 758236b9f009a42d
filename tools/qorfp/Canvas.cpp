// SPDX-License-Identifier: Apache-2.0
//
// Cairo image surfaces hold one 32-bit word a pixel, blue in the low byte whatever the byte order;
// grey images come in and PNG bytes go out through that layout.
#include "tools/qorfp/Canvas.h"

#include <cstring>

#include "tools/qorfp/PngWriter.h"
#include "tools/qorfp/ToolError.h"
#include "tools/qorfp/Utf8Text.h"

namespace qorfp::cli {
namespace {

constexpr const char* kFontFamily = "DejaVu Sans";

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

void CheckStatus(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw ToolError(std::string("drawing failed: ") + cairo_status_to_string(status));
    }
}

Surface SurfaceOf(const GreyImage& image) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, image.width, image.height),
                    cairo_surface_destroy);
    CheckStatus(cairo_surface_status(surface.get()));
    unsigned char* data = cairo_image_surface_get_data(surface.get());
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            const uint32_t word = image.Row(y)[x] * 0x010101U;
            std::memcpy(data + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 4, &word,
                        4);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

}  // namespace

Canvas::Canvas(int width, int height)
    : width_(width),
      height_(height),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
               cairo_surface_destroy),
      context_(cairo_create(surface_.get()), cairo_destroy) {
    CheckStatus(cairo_status(context_.get()));
    const std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> options(
        cairo_font_options_create(), cairo_font_options_destroy);
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(Context(), options.get());
    SetColour(kWhite);
    cairo_paint(Context());
    cairo_set_line_cap(Context(), CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(Context(), CAIRO_LINE_JOIN_ROUND);
}

void Canvas::SetColour(const Colour& colour, double opacity) {
    cairo_set_source_rgba(Context(), colour.red, colour.green, colour.blue, opacity);
}

void Canvas::FillRectangle(double x, double y, double width, double height) {
    cairo_rectangle(Context(), x, y, width, height);
    cairo_fill(Context());
}

void Canvas::DrawImage(const GreyImage& image, double x, double y, double scale, bool isSmooth,
                       double fade) {
    const Surface surface = SurfaceOf(image);
    cairo_save(Context());
    cairo_translate(Context(), x, y);
    cairo_scale(Context(), scale, scale);
    cairo_rectangle(Context(), 0, 0, image.width, image.height);
    cairo_clip(Context());
    cairo_set_source_surface(Context(), surface.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(Context()),
                             isSmooth ? CAIRO_FILTER_GOOD : CAIRO_FILTER_NEAREST);
    cairo_pattern_set_extend(cairo_get_source(Context()), CAIRO_EXTEND_PAD);
    cairo_paint(Context());
    if (fade > 0) {
        SetColour(kWhite, fade);
        cairo_paint(Context());
    }
    cairo_restore(Context());
}

void Canvas::SelectFont(double size, bool isBold) {
    cairo_select_font_face(Context(), kFontFamily, CAIRO_FONT_SLANT_NORMAL,
                           isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(Context(), size);
}

double Canvas::DrawText(const std::string& text, double x, double y, double size, bool isBold) {
    SelectFont(size, isBold);
    cairo_move_to(Context(), x, y);
    cairo_show_text(Context(), PrintableUtf8(text).c_str());
    return TextWidth(text, size, isBold);
}

double Canvas::TextWidth(const std::string& text, double size, bool isBold) {
    SelectFont(size, isBold);
    cairo_text_extents_t extents;
    cairo_text_extents(Context(), PrintableUtf8(text).c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::Shorten(const std::string& text, double room, double size, bool isBold) {
    std::string shown = PrintableUtf8(text);
    if (TextWidth(shown, size, isBold) <= room) {
        return shown;
    }
    while (!shown.empty() && TextWidth(shown + "\u2026", size, isBold) > room) {
        DropLastCharacter(shown);
    }
    return shown + "\u2026";
}

Bytes Canvas::ToPng() {
    CheckStatus(cairo_status(Context()));
    cairo_surface_flush(surface_.get());
    const unsigned char* data = cairo_image_surface_get_data(surface_.get());
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface_.get()));
    Bytes pixels;
    pixels.reserve(static_cast<size_t>(width_) * static_cast<size_t>(height_) * 3);
    for (size_t y = 0; y < static_cast<size_t>(height_); ++y) {
        for (size_t x = 0; x < static_cast<size_t>(width_); ++x) {
            uint32_t word = 0;
            std::memcpy(&word, data + y * stride + x * 4, 4);
            pixels.push_back(static_cast<uint8_t>(word >> 16 & 0xFF));
            pixels.push_back(static_cast<uint8_t>(word >> 8 & 0xFF));
            pixels.push_back(static_cast<uint8_t>(word & 0xFF));
        }
    }
    return EncodeColourPng(width_, height_, pixels);
}

}  // namespace qorfp::cli
