#include "io/SlicePicture.h"

#include "io/Canvas.h"
#include "io/niceSteps.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <stdexcept>

namespace Stratum::io {

namespace {

// Distances in pixels at scale 1.
constexpr double kMarginLeft = 74, kMarginTop = 66, kMarginBottom = 58, kMarginRight = 118;
constexpr double kBarGap = 22, kBarWidth = 18, kTick = 5;

// The hue says how deep the tile is, the lightness shows the value.
Colour depthColour(int depth, double t) {
    return tintedColour(depth < 0 ? std::nullopt : std::optional(depth), t);
}

Surface rasterOf(const SlicePicture& picture) {
    const double span = picture.highest - picture.lowest;
    return makeRaster(picture.columns, picture.rows, [&](int column, int row) {
        const auto i = static_cast<std::size_t>(row) * picture.columns + column;
        const double t = (picture.values[i] - picture.lowest) / (span > 0 ? span : 1);
        return picture.depths.empty() ? colourOf(picture.map, t)
                                      : depthColour(picture.depths[i], t);
    });
}

// Where the raster lies in a picture with letters around it, in pixels.
struct Layout {
    double scale, left, top;
    int width, height;

    Layout(int columns, int rows)
        : scale(letterScale(columns, rows)), left(std::round(kMarginLeft * scale)),
          top(std::round(kMarginTop * scale)),
          width(static_cast<int>(left + columns + kMarginRight * scale)),
          height(static_cast<int>(top + rows + kMarginBottom * scale)) {}
};

class Drawing {
public:
    explicit Drawing(const SlicePicture& picture)
        : Drawing(picture, Layout(picture.columns, picture.rows)) {}

    Drawing(const SlicePicture& picture, const Layout& layout)
        : picture_(picture), scale_(layout.scale), left_(layout.left), top_(layout.top),
          canvas_(layout.width, layout.height, layout.scale) {}

    cairo_surface_t* draw() {
        drawRaster();
        drawTiles();
        drawFrame();
        drawAxes();
        drawScaleBar();
        drawLegend();
        drawDepthLegend();
        drawTitles();
        return canvas_.surface();
    }

private:
    cairo_t* cr() const { return canvas_.cr(); }
    double toX(double world) const {
        return left_ +
               (world - picture_.left) / (picture_.right - picture_.left) * picture_.columns;
    }
    double toY(double world) const {
        return top_ + (picture_.top - world) / (picture_.top - picture_.bottom) * picture_.rows;
    }
    double bottomEdge() const { return top_ + picture_.rows; }
    double rightEdge() const { return left_ + picture_.columns; }

    void drawRaster() {
        const Surface raster = rasterOf(picture_);
        canvas_.image(raster.get(), left_, top_);
    }

    void drawTiles() {
        cairo_save(cr());
        cairo_rectangle(cr(), left_, top_, picture_.columns, picture_.rows);
        cairo_clip(cr());
        cairo_set_line_width(cr(), 0.6 * scale_);
        const bool light = picture_.map == ColourMap::kSequential || !picture_.depths.empty();
        canvas_.setColour(light ? Colour{1, 1, 1} : Colour{0, 0, 0}, 0.4);
        for (const auto& tile : picture_.tiles) {
            cairo_new_sub_path(cr());
            for (const auto& [x, y] : tile.corners)
                cairo_line_to(cr(), toX(x), toY(y));
            cairo_close_path(cr());
        }
        cairo_stroke(cr());
        cairo_restore(cr());
    }

    void drawFrame() {
        canvas_.setColour(kInk);
        cairo_set_line_width(cr(), scale_);
        cairo_rectangle(cr(), left_, top_, picture_.columns, picture_.rows);
        cairo_stroke(cr());
    }

    void drawAxes() {
        const double tick = kTick * scale_;
        for (const auto& [at, label] : niceSteps(picture_.left, picture_.right, 7)) {
            canvas_.setColour(kInk);
            canvas_.line(toX(at), bottomEdge(), toX(at), bottomEdge() + tick);
            canvas_.text(toX(at), bottomEdge() + tick + 14 * scale_, label, 12, Align::kCentre);
        }
        for (const auto& [at, label] : niceSteps(picture_.bottom, picture_.top, 7)) {
            canvas_.setColour(kInk);
            canvas_.line(left_ - tick, toY(at), left_, toY(at));
            canvas_.text(left_ - tick - 5 * scale_, toY(at) + 4 * scale_, label, 12, Align::kRight);
        }
        canvas_.text((left_ + rightEdge()) / 2, bottomEdge() + tick + 36 * scale_,
                     picture_.horizontalAxis, 14, Align::kCentre);
        canvas_.text(20 * scale_, (top_ + bottomEdge()) / 2, picture_.verticalAxis, 14,
                     Align::kCentre);
    }

    // A bar of a round length, about a fifth of the picture.
    void drawScaleBar() {
        const double worldWidth = picture_.right - picture_.left;
        const double length = niceLength(worldWidth / 5);
        const double pixels = length / worldWidth * picture_.columns;
        const std::string label = numberLabel(length, length);
        const double x = left_ + 20 * scale_, y = bottomEdge() - 20 * scale_;
        canvas_.setColour({0, 0, 0}, 0.55);
        cairo_rectangle(cr(), x - 10 * scale_, y - 28 * scale_, pixels + 20 * scale_, 38 * scale_);
        cairo_fill(cr());
        canvas_.setColour({1, 1, 1});
        cairo_set_line_width(cr(), 3 * scale_);
        canvas_.line(x, y, x + pixels, y);
        canvas_.text(x + pixels / 2, y - 9 * scale_, label, 12, Align::kCentre, {1, 1, 1});
    }

    double legendBottom() const {
        return picture_.depths.empty() ? bottomEdge() : top_ + picture_.rows * 0.55;
    }

    void drawLegend() {
        const double x = rightEdge() + kBarGap * scale_, width = kBarWidth * scale_;
        const double height = legendBottom() - top_;
        canvas_.colourBar(x, top_, width, height, [this](double t) {
            return picture_.depths.empty() ? colourOf(picture_.map, t) : depthColour(-1, t);
        });
        canvas_.setColour(kInk);
        cairo_set_line_width(cr(), scale_);
        cairo_rectangle(cr(), x, top_, width, height);
        cairo_stroke(cr());
        const double span = picture_.highest - picture_.lowest;
        for (const auto& [at, label] : niceSteps(picture_.lowest, picture_.highest, 6)) {
            const double y =
                span > 0 ? legendBottom() - (at - picture_.lowest) / span * height : top_;
            canvas_.setColour(kInk);
            canvas_.line(x + width, y, x + width + kTick * scale_, y);
            canvas_.text(x + width + 9 * scale_, y + 4 * scale_, label, 12);
        }
        canvas_.text(x, top_ - 10 * scale_, picture_.valueLabel, 13);
    }

    void drawDepthLegend() {
        if (picture_.depths.empty())
            return;
        std::set<int> depths(picture_.depths.begin(), picture_.depths.end());
        depths.erase(-1);
        const double x = rightEdge() + kBarGap * scale_, box = 14 * scale_;
        double y = legendBottom() + 36 * scale_;
        canvas_.text(x, y - 10 * scale_, "tile depth", 13);
        for (const int depth : depths) {
            canvas_.setColour(depthColour(depth, 0.55));
            cairo_rectangle(cr(), x, y, box, box);
            cairo_fill(cr());
            canvas_.text(x + box + 8 * scale_, y + box - 3 * scale_, std::to_string(depth), 12);
            y += 20 * scale_;
        }
    }

    void drawTitles() {
        canvas_.text(left_, 28 * scale_, picture_.title, 17);
        canvas_.text(left_, 49 * scale_, picture_.subtitle, 12, Align::kLeft, kFaint);
    }

    const SlicePicture& picture_;
    double scale_, left_, top_;
    Canvas canvas_;
};

} // namespace

void requireDrawable(int columns, int rows, std::size_t panels) {
    constexpr std::size_t kLongest = 32767; // pixels that the drawing library can count
    const Layout layout(columns, rows);
    const std::size_t width = static_cast<std::size_t>(layout.width) * panels;
    if (width > kLongest || static_cast<std::size_t>(layout.height) > kLongest)
        throw std::runtime_error("the picture would be " + std::to_string(width) + " by " +
                                 std::to_string(layout.height) + " pixels large, and " +
                                 std::to_string(kLongest) +
                                 " is the most; choose fewer pixels or fewer panels");
}

void writePng(std::span<const SlicePicture> pictures, OutputFile& out) {
    std::vector<std::unique_ptr<Drawing>> drawings;
    std::vector<cairo_surface_t*> parts;
    int width = 0, height = 0;
    for (const auto& picture : pictures) {
        drawings.push_back(std::make_unique<Drawing>(picture));
        parts.push_back(drawings.back()->draw());
        width += cairo_image_surface_get_width(parts.back());
        height = std::max(height, cairo_image_surface_get_height(parts.back()));
    }
    Canvas whole(width, height, 1);
    int x = 0;
    for (cairo_surface_t* part : parts) {
        whole.image(part, x, 0);
        x += cairo_image_surface_get_width(part);
    }
    writeSurface(whole.surface(), out);
}

} // namespace Stratum::io
