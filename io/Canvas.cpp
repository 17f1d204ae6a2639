#include "io/Canvas.h"

#include "io/jsonText.h"

#include <algorithm>

namespace Stratum::io {

double letterScale(int columns, int rows) {
    return std::clamp(std::max(columns, rows) / 640.0, 0.75, 4.0);
}

Canvas::Canvas(int width, int height, double scale)
    : scale_(scale), surface_(makeSurface(width, height)), context_(cairo_create(surface_.get())) {
    cairo_select_font_face(cr(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    setColour({1, 1, 1});
    cairo_paint(cr());
}

cairo_surface_t* Canvas::surface() const {
    cairo_surface_flush(surface_.get());
    return surface_.get();
}

void Canvas::setColour(const Colour& c, double alpha) {
    cairo_set_source_rgba(cr(), c.r, c.g, c.b, alpha);
}

void Canvas::text(double x, double y, const std::string& words, double size, Align align,
                  const Colour& colour) {
    const std::string utf8 = asUtf8(words); // anything else would put an end to the whole drawing
    cairo_set_font_size(cr(), size * scale_);
    cairo_text_extents_t extents;
    cairo_text_extents(cr(), utf8.c_str(), &extents);
    const double shift = align == Align::kLeft     ? 0
                         : align == Align::kCentre ? extents.x_advance / 2
                                                   : extents.x_advance;
    setColour(colour);
    cairo_move_to(cr(), x - shift, y);
    cairo_show_text(cr(), utf8.c_str());
}

void Canvas::line(double x0, double y0, double x1, double y1) {
    cairo_move_to(cr(), x0, y0);
    cairo_line_to(cr(), x1, y1);
    cairo_stroke(cr());
}

void Canvas::image(cairo_surface_t* other, double x, double y) {
    cairo_set_source_surface(cr(), other, x, y);
    cairo_paint(cr());
}

} // namespace Stratum::io
