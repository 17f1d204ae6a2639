#include "io/ScatterPicture.h"

#include "io/Cancelled.h"
#include "io/Canvas.h"
#include "io/DepthRaster.h"
#include "io/niceSteps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;

constexpr int kFiner = 2; // pixels of the raster for one of the picture, on each axis
constexpr Colour kBackground{1, 1, 1};

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
        return makeRaster(columns(), rows(), [this](int column, int row) {
            return raster_.mean(column, row, kFiner);
        });
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
        // Above their surface, so that slopes of up to 68 degrees do not cut them.
        const double lift = 2.5 * radius_ / view_.pixelsPerUnit();
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

// From the depths or values of a scene to heights beside it.
void drawLegend(Canvas& canvas, const ScatterPicture& picture, const Scene& scene, double left,
                double top) {
    const Range& range = scene.range();
    const double scale = canvas.scale();
    const double x = left + scene.columns() + 14 * scale, width = 16 * scale;
    const double above = top + 20 * scale, height = scene.rows() * 0.6;
    const bool isDepth = picture.values.empty(); // which grows downward, away from the eye
    const auto heightOf = [&](double value) {
        const double t = (value - range.lowest) / range.span();
        return above + (isDepth ? t : 1 - t) * height;
    };
    canvas.colourBar(x, above, width, height, pointColour);
    canvas.text(x, top + 8 * scale, picture.valueLabel, 13);
    for (const auto& [at, label] : niceSteps(range.lowest, range.highest, 6))
        canvas.text(x + width + 7 * scale, heightOf(at) + 4 * scale, label, 12);
}

} // namespace

void writePng(const ScatterPicture& picture, OutputFile& out) {
    const Scene scene(picture);
    const double scale = letterScale(scene.columns(), scene.rows());
    const double left = 16 * scale, top = 62 * scale;
    Canvas canvas(static_cast<int>(left + scene.columns() + 104 * scale),
                  static_cast<int>(top + scene.rows() + 16 * scale), scale);
    const Surface raster = scene.surface();
    canvas.image(raster.get(), left, top);
    canvas.text(left, 28 * scale, picture.title, 17);
    canvas.text(left, 49 * scale, picture.subtitle, 12, Align::kLeft, kFaint);
    if (scene.range().lowest <= scene.range().highest)
        drawLegend(canvas, picture, scene, left, top);
    writeSurface(canvas.surface(), out);
}

} // namespace Stratum::io
