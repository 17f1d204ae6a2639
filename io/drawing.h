// What pictures are drawn on.
#pragma once

#include "io/ColourMap.h"
#include "io/OutputFile.h"

#include <cairo.h>

#include <cstdint>
#include <memory>

namespace Stratum::io {

struct DestroyDrawing {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, DestroyDrawing>;
using DrawingContext = std::unique_ptr<cairo_t, DestroyDrawing>;

/// A raster of that many pixels. Throws std::runtime_error when there cannot be one.
Surface makeSurface(int width, int height);

/// A colour as a surface holds it.
std::uint32_t pixelOf(const Colour& c);

/// Writes a surface as PNG. Throws std::runtime_error when it cannot be made or written.
void writeSurface(cairo_surface_t* surface, OutputFile& out);

} // namespace Stratum::io
