// SPDX-License-Identifier: Apache-2.0
//
// Cairo image surfaces hold one 32-bit word a pixel, blue in the low byte whatever the byte order;
// grey images come in and PNG bytes go out through that layout.
#include "tools/qorfp/Canvas.h"

#include <cstring>

#include "tools/qorfp/PngWriter.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr const char* kFontFamily = "DejaVu Sans";

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// The length of the UTF-8 sequence at the start of `text`, 0 when it is none.
size_t SequenceLength(const std::string& text, size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 0;
    if (length == 0 || at + length > text.size()) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

// Cairo stops drawing altogether at a byte sequence that is not UTF-8. Sequences of four bytes and
// control bytes are replaced too: no font here has anything for them.
std::string Drawable(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = SequenceLength(text, at);
        const bool isControl = length == 1 && static_cast<unsigned char>(text[at]) < 0x20;
        result += length == 0 || isControl ? std::string("?") : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return result;
}

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
    cairo_show_text(Context(), Drawable(text).c_str());
    return TextWidth(text, size, isBold);
}

double Canvas::TextWidth(const std::string& text, double size, bool isBold) {
    SelectFont(size, isBold);
    cairo_text_extents_t extents;
    cairo_text_extents(Context(), Drawable(text).c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::Shorten(const std::string& text, double room, double size, bool isBold) {
    std::string shown = Drawable(text);
    if (TextWidth(shown, size, isBold) <= room) {
        return shown;
    }
    while (!shown.empty() && TextWidth(shown + "\u2026", size, isBold) > room) {
        while (shown.size() > 1 && (static_cast<unsigned char>(shown.back()) & 0xC0) == 0x80) {
            shown.pop_back();
        }
        shown.pop_back();
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
