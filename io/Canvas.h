// What both kinds of pictures are made of: letters, lines, rasters and scales of colours.
#pragma once

#include "io/drawing.h"

#include <cstddef>
#include <string>

namespace Stratum::io {

inline constexpr Colour kInk{0.13, 0.14, 0.17}, kFaint{0.45, 0.47, 0.5};

enum class Align { kLeft, kCentre, kRight };

/// How much larger than usual letters are in a picture of that many pixels: small pictures have
/// small ones.
double letterScale(int columns, int rows);

/// A surface of pixels; `colourAt(column, row)` gives each.
template <class ColourAt>
Surface makeRaster(int columns, int rows, const ColourAt& colourAt) {
    Surface surface = makeSurface(columns, rows);
    unsigned char* data = cairo_image_surface_get_data(surface.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface.get());
    cairo_surface_flush(surface.get());
    for (int row = 0; row < rows; ++row) {
        auto* pixels = reinterpret_cast<std::uint32_t*>(data + row * stride);
        for (int column = 0; column < columns; ++column)
            pixels[column] = pixelOf(colourAt(column, row));
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

/// A white page. Places are in pixels, sizes of letters in pixels at scale 1.
class Canvas {
public:
    Canvas(int width, int height, double scale);

    cairo_t* cr() const { return context_.get(); }
    double scale() const { return scale_; }

    /// What was drawn.
    cairo_surface_t* surface() const;

    void setColour(const Colour& c, double alpha = 1);

    /// Writes words of any bytes: what is no UTF-8 is replaced.
    void text(double x, double y, const std::string& words, double size, Align align = Align::kLeft,
              const Colour& colour = kInk);

    void line(double x0, double y0, double x1, double y1);

    /// Puts another surface with its upper left corner at a place.
    void image(cairo_surface_t* other, double x, double y);

    /// Fills an upright bar with the colours `colourAt(t)`, t from 0 below to 1 above.
    template <class ColourAt>
    void colourBar(double x, double y, double width, double height, const ColourAt& colourAt) {
        for (int i = 0; i < static_cast<int>(height); ++i) {
            setColour(colourAt(1 - (i + 0.5) / height));
            cairo_rectangle(cr(), x, y + i, width, 1.5);
            cairo_fill(cr());
        }
    }

private:
    double scale_;
    Surface surface_;
    DrawingContext context_;
};

} // namespace Stratum::io
