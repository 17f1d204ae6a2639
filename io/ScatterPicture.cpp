#include "io/ScatterPicture.h"

#include "io/Cancelled.h"
#include "io/drawing.h"
#include "io/jsonText.h"
#include "io/niceSteps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;

constexpr int kFiner = 2; // pixels of the raster for one of the picture, on each axis
constexpr Colour kBackground{1, 1, 1}, kInk{0.13, 0.14, 0.17}, kFaint{0.45, 0.47, 0.5};

struct Range {
    double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;

    void add(double value) {
        if (!std::isfinite(value))
            return;
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    }
    double span() const { return highest > lowest ? highest - lowest : 1; }
};

// From 0 to 1, away from the map's dark end, where points would be lost.
Colour pointColour(double t) {
    return colourOf(ColourMap::kSequential, 0.12 + 0.83 * t);
}

// The light comes from the upper left behind the eye.
Colour surfaceColour(const std::array<OrthographicView::Place, 3>& corners, double pixelsPerUnit) {
    const auto& [a, b, c] = corners;
    const double ux = b.x - a.x, uy = b.y - a.y, uz = (b.depth - a.depth) * pixelsPerUnit;
    const double vx = c.x - a.x, vy = c.y - a.y, vz = (c.depth - a.depth) * pixelsPerUnit;
    double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    const double length = std::sqrt(nx * nx + ny * ny + nz * nz) * (nz < 0 ? -1 : 1);
    nx /= length;
    ny /= length;
    nz /= length;
    const double light = std::max(0.0, -0.45 * nx - 0.55 * ny + 0.7 * nz);
    const double grey = 0.42 + 0.45 * std::min(1.0, light);
    return {grey, grey, grey * 1.02};
}

// The raster of a picture, and what the legend beside it says.
class Scene {
public:
    explicit Scene(const ScatterPicture& picture)
        : picture_(picture), view_(picture.view, picture.vertices, picture.size * kFiner),
          raster_(view_.columns(), view_.rows(), kBackground), radius_(pointRadius()) {
        drawGeometry();
        drawPoints();
    }

    int columns() const { return view_.columns() / kFiner; }
    int rows() const { return view_.rows() / kFiner; }
    const Range& range() const { return range_; }

    Surface surface() const {
        Surface surface = makeSurface(columns(), rows());
        unsigned char* data = cairo_image_surface_get_data(surface.get());
        const int stride = cairo_image_surface_get_stride(surface.get());
        cairo_surface_flush(surface.get());
        for (int row = 0; row < rows(); ++row) {
            auto* pixels = reinterpret_cast<std::uint32_t*>(data + std::ptrdiff_t{row} * stride);
            for (int column = 0; column < columns(); ++column)
                pixels[column] = pixelOf(raster_.mean(column, row, kFiner));
        }
        cairo_surface_mark_dirty(surface.get());
        return surface;
    }

private:
    // Pixels of the finer raster.
    double pointRadius() const {
        if (picture_.pointSize > 0)
            return picture_.pointSize * kFiner / 2;
        const auto count = static_cast<double>(std::max<std::size_t>(picture_.points.size(), 1));
        const double area = static_cast<double>(view_.columns()) * view_.rows();
        return std::clamp(0.45 * std::sqrt(0.5 * area / count), 0.45 * kFiner, 5.0 * kFiner);
    }

    void drawGeometry() {
        std::vector<OrthographicView::Place> places;
        places.reserve(picture_.vertices.size());
        for (const float3& p : picture_.vertices)
            places.push_back(view_(p));
        throwIfInterrupted();
        std::size_t done = 0;
        for (const auto& [a, b, c] : picture_.triangles) {
            const std::array<OrthographicView::Place, 3> corners{places[a], places[b], places[c]};
            raster_.triangle(corners, surfaceColour(corners, view_.pixelsPerUnit()));
            if (++done % 65536 == 0)
                throwIfInterrupted();
        }
        for (const auto& [a, b] : picture_.segments)
            raster_.segment(places[a], places[b], 0.6 * kFiner, {0.72, 0.73, 0.75});
        if (picture_.triangles.empty() && picture_.segments.empty())
            for (const auto& place : places)
                raster_.ball(place, 0.6 * kFiner, 0, {0.8, 0.8, 0.82});
        throwIfInterrupted();
    }

    float valueOf(std::size_t i) const {
        return picture_.values.empty()
                   ? static_cast<float>(view_.nearest() - view_(picture_.points[i]).depth)
                   : picture_.values[i];
    }

    void drawPoints() {
        for (std::size_t i = 0; i < picture_.points.size(); ++i)
            range_.add(double{valueOf(i)});
        // As far above their surface as they are large, so that a slope does not cut them.
        const double lift = radius_ / view_.pixelsPerUnit();
        const bool isDepth = picture_.values.empty(); // dark is far away then
        for (std::size_t i = 0; i < picture_.points.size(); ++i) {
            const double t = (double{valueOf(i)} - range_.lowest) / range_.span();
            raster_.ball(view_(picture_.points[i]), radius_, lift,
                         pointColour(isDepth ? 1 - t : t));
            if (i % 65536 == 0)
                throwIfInterrupted();
        }
    }

    const ScatterPicture& picture_;
    OrthographicView view_;
    DepthRaster raster_;
    Range range_;
    double radius_;
};

// The scene with a title and a legend, in pixels at scale 1.
class Sheet {
public:
    Sheet(const ScatterPicture& picture, const Scene& scene)
        : picture_(picture), scene_(scene),
          scale_(std::clamp(std::max(scene.columns(), scene.rows()) / 640.0, 0.75, 4.0)),
          left_(16 * scale_), top_(62 * scale_),
          surface_(makeSurface(static_cast<int>(left_ + scene.columns() + 104 * scale_),
                               static_cast<int>(top_ + scene.rows() + 16 * scale_))),
          context_(cairo_create(surface_.get())) {
        cairo_select_font_face(cr(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                               CAIRO_FONT_WEIGHT_NORMAL);
        setColour(kBackground);
        cairo_paint(cr());
    }

    cairo_surface_t* draw() {
        const Surface raster = scene_.surface();
        cairo_set_source_surface(cr(), raster.get(), left_, top_);
        cairo_paint(cr());
        text(left_, 28 * scale_, picture_.title, 17, kInk);
        text(left_, 49 * scale_, picture_.subtitle, 12, kFaint);
        if (scene_.range().lowest <= scene_.range().highest)
            drawLegend();
        cairo_surface_flush(surface_.get());
        return surface_.get();
    }

private:
    cairo_t* cr() const { return context_.get(); }
    void setColour(const Colour& c) { cairo_set_source_rgb(cr(), c.r, c.g, c.b); }

    void text(double x, double y, const std::string& words, double size, const Colour& colour) {
        cairo_set_font_size(cr(), size * scale_);
        setColour(colour);
        cairo_move_to(cr(), x, y);
        cairo_show_text(cr(), asUtf8(words).c_str()); // else the drawing would fail
    }

    void drawLegend() {
        const Range& range = scene_.range();
        const double x = left_ + scene_.columns() + 14 * scale_, width = 16 * scale_;
        const double top = top_ + 20 * scale_, height = scene_.rows() * 0.6;
        const bool isDepth = picture_.values.empty(); // which grows downward, away from the eye
        const auto heightOf = [&](double value) {
            const double t = (value - range.lowest) / range.span();
            return top + (isDepth ? t : 1 - t) * height;
        };
        for (int i = 0; i < static_cast<int>(height); ++i) {
            setColour(pointColour(1 - (i + 0.5) / height));
            cairo_rectangle(cr(), x, top + i, width, 1.5);
            cairo_fill(cr());
        }
        text(x, top_ + 8 * scale_, picture_.valueLabel, 13, kInk);
        for (const auto& [at, label] : niceSteps(range.lowest, range.highest, 6))
            text(x + width + 7 * scale_, heightOf(at) + 4 * scale_, label, 12, kInk);
    }

    const ScatterPicture& picture_;
    const Scene& scene_;
    double scale_, left_, top_;
    Surface surface_;
    DrawingContext context_;
};

} // namespace

void writePng(const ScatterPicture& picture, OutputFile& out) {
    const Scene scene(picture);
    Sheet sheet(picture, scene);
    writeSurface(sheet.draw(), out);
}

} // namespace Stratum::io
