// Cubic sampling across changes of resolution.
#pragma once

#include "volume/CubicDiagnostics.h"
#include "volume/PlainCells.h"
#include "volume/StencilLevels.h"
#include "volume/interpolateValues1D.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

namespace KDX::TileTree3D {

/// One sample by the general path: four stencil points along each axis that the position is not
/// exactly on, each where the tree really has a sample, and kernels for their uneven positions.
///
/// Along the innermost axis a stencil point is a voxel of whatever depth the tree has there: of the
/// cell's own depth; of a coarser tile; or, where the tile is refined and deeper tiles may be used,
/// of the deepest tile with data. Its neighbours follow at the spacing found there. Where the row
/// of points does not pass through the voxels' samples, the value is interpolated linearly across
/// the row. Voxels of no tile, or of one without data, have the default value.
///
/// Made for one sample; nothing here outlives it.
template <class Traits, class T, class PositionT>
class CubicGeneralPath {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using S = Vantor::Math::ScalarOf<T>;
    using Levels = StencilLevels<Traits, T, PositionT>;
    using Tiles = typename Levels::Tiles;
    using Accessor = typename Levels::Accessor;
    using Index = typename Levels::Index;

public:
    CubicGeneralPath(const CubicSource<Traits, T>& source, CubicPlace<Traits, PositionT>& place,
                     int deepest, bool debug, Tiles& tiles, PlainCells<Traits, T>& cells,
                     Accessor& accessor)
        : source_(source), place_(place), trace{debug}, tiles_(tiles), cells_(cells),
          levels_(source, place, deepest, trace, tiles, accessor),
          width_(Traits::voxelWidth(place.index.depth)), llc_(levels_.llc()) {
        const std::array<S, 3> f{place.f.x, place.f.y, place.f.z};
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            centred_[a] = !(static_cast<int>(source.offsetType) >> axis & 1);
            line_[a] = centred_[a] ? width_ : 0;
            x_[a] = static_cast<S>(width_) * (f[a] + (centred_[a] ? S(0.5) : S{0}));
        }
    }

    /// The value along one, two or three axes. hasCollapsed() is true where two stencil points
    /// have one position, because the tree's data has gaps or the depths lie too far apart for the
    /// scalar type: the value then means nothing.
    T along(int axis) { return getValue1D(axis, line_).value; }
    T along(int first, int second) { return getValue2D(first, second, line_).value; }
    T alongAll() {
        const Stencil planes = getIncrementAndPosition2D(2, line_);
        std::array<T, 4> values;
        bool jump = planes.atResolutionJump;
        for (std::size_t i = 0; i < 4; ++i) {
            Index line = line_;
            line[2] = planes.points[i].twicePosition;
            const Result plane = getValue2D(0, 1, line);
            values[i] = plane.value;
            jump |= plane.atResolutionJump;
        }
        return interpolate(2, planes, values, jump);
    }
    bool hasCollapsed() const { return collapsed_; }

private:
    // A stencil point along an axis: its voxel's lower end and width, and twice its sample's
    // position (an integer), from the cell's lower voxel.
    struct Point {
        std::int64_t lower, width, twicePosition;
        StencilLevel<T> level;
        bool isJump() const { return level.getValueCase == 1 || level.getValueCase == 4; }
    };
    struct Stencil {
        std::array<Point, 4> points;
        bool atResolutionJump;
    };
    struct Result {
        T value;
        bool atResolutionJump;
    };

    static std::size_t at(int axis) { return static_cast<std::size_t>(axis); }

    T checked(const T& value, const char* message, bool nan) {
        if (!trace.on || !nan)
            return value;
        reportNan(message, place_, tiles_, source_.container);
        return Vantor::Math::splat<T>(0);
    }

    // The stencil point whose voxel holds the place g along the axis, on the line.
    Point pointAt(int axis, const Index& line, std::int64_t g) {
        Index place;
        for (std::size_t a = 0; a < 3; ++a)
            place[a] = floorDiv(line[a], 2);
        place[at(axis)] = g;
        Point point;
        point.level = levels_.levelAt(place);
        const bool found = point.level.values;
        point.width = found ? Traits::voxelWidth(point.level.index.depth) : width_;
        const std::int64_t origin =
            found ? component(point.level.tijk, axis) - llc_[at(axis)] : std::int64_t{0};
        point.lower = origin + point.width * floorDiv(g - origin, point.width);
        point.twicePosition = 2 * point.lower + (centred_[at(axis)] ? point.width : 0);
        return point;
    }

    static std::int64_t component(const int3& v, int axis) {
        return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
    }

    static S positionOf(const Point& point) { return static_cast<S>(point.twicePosition) * S(0.5); }

    // The four points around the sample along an axis: the two samples nearest below and above it,
    // and the next one on either side.
    Stencil getIncrementAndPosition2D(int axis, const Index& line) {
        const S x = x_[at(axis)];
        Point lower = pointAt(axis, line, static_cast<std::int64_t>(std::floor(x)));
        Point upper;
        if (positionOf(lower) > x) {
            upper = lower;
            lower = pointAt(axis, line, upper.lower - 1);
        } else {
            upper = pointAt(axis, line, lower.lower + lower.width);
        }
        Stencil stencil{{pointAt(axis, line, lower.lower - 1), lower, upper,
                         pointAt(axis, line, upper.lower + upper.width)},
                        false};
        for (const Point& point : stencil.points)
            stencil.atResolutionJump |= point.isJump();
        for (std::size_t i = 0; i < 3; ++i)
            collapsed_ |= !(positionOf(stencil.points[i]) < positionOf(stencil.points[i + 1]));
        for (const Point& point : stencil.points)
            trace("io_tsPos = ", positionOf(point), ", io_tsInc = ", point.width);
        return stencil;
    }

    // One stencil point's value, on a line along an axis.
    T getValue(int axis, const Index& line, const Point& point) {
        const int number = point.level.getValueCase;
        const T value = number == 2   ? source_.defaultValue
                        : number == 1 ? getCoarserValue(axis, line, point)
                                      : valueAcross(axis, line, point);
        if (!trace.on || !(detail::hasNan(value) || std::isnan(positionOf(point))))
            return value;
        const std::string name = "getValue.case" + std::to_string(number);
        if (!isNanReported())
            trace(name, " = ", detail::valueText(value), ", position = ", positionOf(point),
                  ", increment = ", point.width, ", index = ", point.lower);
        return checked(value, (name + " output is NAN").c_str(), true);
    }

    T getCoarserValue(int axis, const Index& line, const Point& point) {
        const T value = valueAcross(axis, line, point);
        trace("io_position = ", positionOf(point));
        return value;
    }

    // The value where the line passes the point's voxel: linear in the tile's values across the
    // line. Fractions are quotients of integers, so that a line through samples reads them alone.
    T valueAcross(int axis, const Index& line, const Point& point) {
        std::array<int, 3> n{};
        std::array<S, 3> f{};
        bool beyond = false;
        for (std::size_t a = 0; a < 3; ++a) {
            const std::int64_t position =
                static_cast<int>(a) == axis ? point.twicePosition : line[a];
            const std::int64_t twice =
                position - (centred_[a] ? point.width : 0) -
                2 * (component(point.level.tijk, static_cast<int>(a)) - llc_[a]);
            const std::int64_t voxel = floorDiv(twice, 2 * point.width);
            n[a] = static_cast<int>(voxel);
            f[a] =
                static_cast<S>(twice - voxel * 2 * point.width) / static_cast<S>(2 * point.width);
            beyond |= voxel < 0 || (f[a] > 0 && voxel + 1 >= W);
        }
        trace("nbFrac1 = ", f[at(axis == 0 ? 1 : 0)], ", nbFrac2 = ", f[at(axis == 2 ? 1 : 2)]);
        const int3 voxel{n[0], n[1], n[2]};
        if (beyond)
            trace("calling recursively to fetch values");
        const Cell<T> cell = beyond ? cells_.readHalo(point.level.index, voxel)
                                    : Cell<T>(point.level.values, {W, 0}, voxel);
        return acrossCell(cell, f);
    }

    // Linear in the cell; a fraction of 0 never looks at what lies beyond.
    static T acrossCell(const Cell<T>& cell, const std::array<S, 3>& f) {
        using Vantor::Math::lerp;
        const auto alongX = [&](int y, int z) {
            return f[0] == 0 ? cell.at(0, y, z) : lerp(cell.at(0, y, z), cell.at(1, y, z), f[0]);
        };
        const auto alongY = [&](int z) {
            return f[1] == 0 ? alongX(0, z) : lerp(alongX(0, z), alongX(1, z), f[1]);
        };
        return f[2] == 0 ? alongY(0) : lerp(alongY(0), alongY(1), f[2]);
    }

    Result getValue1D(int axis, const Index& line) {
        const Stencil stencil = getIncrementAndPosition2D(axis, line);
        std::array<T, 4> values;
        for (std::size_t i = 0; i < 4; ++i)
            values[i] = getValue(axis, line, stencil.points[i]);
        return {interpolate(axis, stencil, values, stencil.atResolutionJump),
                stencil.atResolutionJump};
    }

    Result getValue2D(int nzcI, int nzcJ, const Index& line) {
        const Stencil rows = getIncrementAndPosition2D(nzcJ, line);
        std::array<T, 4> values;
        bool jump = rows.atResolutionJump;
        for (std::size_t i = 0; i < 4; ++i) {
            Index row = line;
            row[at(nzcJ)] = rows.points[i].twicePosition;
            const Result result = getValue1D(nzcI, row);
            values[i] = result.value;
            jump |= result.atResolutionJump;
        }
        return {interpolate(nzcJ, rows, values, jump), jump};
    }

    T interpolate(int axis, const Stencil& stencil, const std::array<T, 4>& values, bool jump) {
        const S x = x_[at(axis)];
        std::array<S, 4> positions;
        bool nan = std::isnan(x);
        for (std::size_t i = 0; i < 4; ++i) {
            positions[i] = positionOf(stencil.points[i]);
            nan |= detail::hasNan(values[i]);
        }
        if (trace.on && nan)
            return checked({}, "interpolateValues1D input is NAN", true);
        const T value = interpolateValues1D(source_.mode, values, positions, x, jump);
        if (trace.on)
            traceInterpolation(positions, values, x, jump, value);
        return value;
    }

    void traceInterpolation(const std::array<S, 4>& positions, const std::array<T, 4>& values, S x,
                            bool jump, const T& value) const {
        std::ostringstream positionList, valueList;
        for (std::size_t i = 0; i < 4; ++i) {
            positionList << (i > 0 ? ", " : "") << positions[i];
            valueList << (i > 0 ? ", " : "") << detail::valueText(values[i]);
        }
        trace("cubic info:\natResolutionJump = ", jump, "\npositions = ", positionList.str(),
              "\nvalues = ", valueList.str(), "\nsamplePosition = ", x);
        if (detail::hasNan(value))
            trace("interpolateValues1D output is NAN");
    }

    const CubicSource<Traits, T>& source_;
    CubicPlace<Traits, PositionT>& place_;
    Trace trace;
    Tiles& tiles_;
    PlainCells<Traits, T>& cells_;
    Levels levels_;
    std::int64_t width_;
    Index llc_;
    std::array<bool, 3> centred_{};
    Index line_{};         // twice the position of the line through the cell's lower sample
    std::array<S, 3> x_{}; // the sample's position from the cell's lower voxel
    bool collapsed_ = false;
};

} // namespace KDX::TileTree3D
