// Cubic sampling across changes of resolution.
#pragma once

#include "volume/CubicDiagnostics.h"
#include "volume/PlainCells.h"
#include "volume/StencilTiles.h"
#include "volume/cubicKernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

namespace KDX::TileTree3D {

/// Interpolates four values at four positions along one axis, at x between the middle two: with
/// the mode's even kernel, or at a resolution jump with the uneven one. Positions must ascend.
template <class T>
T interpolateValues1D(InterpolationMode mode, const std::array<T, 4>& values,
                      const std::array<Vantor::Math::ScalarOf<T>, 4>& positions,
                      Vantor::Math::ScalarOf<T> x, bool atResolutionJump) {
    using S = Vantor::Math::ScalarOf<T>;
    std::array<Vantor::Math::Components<T>, 4> y;
    for (std::size_t i = 0; i < 4; ++i)
        y[i] = Vantor::Math::toComponents(values[i]);
    Vantor::Math::Components<T> result{};
    if (atResolutionJump) {
        const NonUniformKernel<S> kernel(mode, positions.data(), x);
        for (std::size_t c = 0; c < result.size(); ++c) {
            const std::array<S, 4> component{y[0][c], y[1][c], y[2][c], y[3][c]};
            result[c] = kernel(component.data());
        }
    } else {
        withUniformKernel<S>(mode, [&]<class Kernel>() {
            const Kernel kernel((x - positions[1]) / (positions[2] - positions[1]));
            for (std::size_t c = 0; c < result.size(); ++c)
                result[c] = kernel(y[0][c], y[1][c], y[2][c], y[3][c]);
        });
    }
    return Vantor::Math::fromComponents<T>(result);
}

/// The channels and settings of the sampler that asks.
template <class Traits, class T>
struct CubicSource {
    static constexpr int W = Traits::kVoxelsPerAxis;

    const Container<Traits>& container;
    const Channel<Traits, T, W, 0, 0>& channel;
    const Channel<Traits, std::uint16_t, W, 0, 0>* maskChannel;
    std::uint32_t maskBits;
    const T& defaultValue;
    InterpolationMode mode;
    VoxelOffsetType offsetType;
};

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
    using Tiles = StencilTiles<Traits, T>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;
    using Index = std::array<std::int64_t, 3>;

public:
    CubicGeneralPath(const CubicSource<Traits, T>& source, CubicPlace<Traits, PositionT>& place,
                     int deepest, bool debug, Tiles& tiles, PlainCells<Traits, T>& cells,
                     Accessor& accessor)
        : source_(source), place_(place), deepest_(deepest), debug_(debug), tiles_(tiles),
          cells_(cells), accessor_(accessor),
          width_(Traits::voxelWidth(place.index.depth)), llc_{place.llc().x, place.llc().y,
                                                              place.llc().z} {
        const std::array<S, 3> f{place.f.x, place.f.y, place.f.z};
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            centred_[a] = !(static_cast<int>(source.offsetType) >> axis & 1);
            line_[a] = centred_[a] ? width_ : 0;
            x_[a] = static_cast<S>(width_) * (f[a] + (centred_[a] ? S(0.5) : S{0}));
        }
    }

    /// The value along one, two or three axes. `collapsed` is set where a tree with gaps in its
    /// data gives two stencil points one position: the value then means nothing.
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
    // The tile that a voxel's value comes from, and which of the cases that is.
    struct Level {
        int getValueCase = 2; // 1 coarser, 2 no data, 3 the cell's own depth, 4 finer
        TreeIndex index;
        int3 tijk{0, 0, 0};
        const T* values = nullptr;
    };

    // A stencil point along an axis: its voxel's lower end and width, and twice its sample's
    // position (an integer), from the cell's lower voxel.
    struct Point {
        std::int64_t lower, width, twicePosition;
        Level level;
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

    template <class... Args>
    void trace(const Args&... args) const {
        if (!debug_)
            return;
        std::ostringstream line;
        (line << ... << args);
        printDiagnostic(line.str());
    }

    T checked(const T& value, const char* message, bool nan) {
        if (!debug_ || !nan)
            return value;
        reportNan(message, place_, tiles_, source_.container);
        return Vantor::Math::splat<T>(0);
    }

    // The tile at the cell's depth, or the deepest above it, that holds a place (from the cell's
    // lower voxel).
    TreeIndex getTile(const Index& g) {
        const WideIndex ijk{llc_[0] + g[0], llc_[1] + g[1], llc_[2] + g[2]};
        for (int i = 0; i < 8; ++i)
            if (const TreeIndex& tile = tiles_.tile(i); tile.isValid() && holds(tile, ijk)) {
                trace("io_foundInCache = ", true);
                return tile;
            }
        trace("io_foundInCache = ", false);
        return accessor_.tileImpl(ijk, place_.index.depth).treeIndex();
    }

    bool holds(const TreeIndex& index, const WideIndex& ijk) const {
        const int3& tijk = source_.container.tile(index).tijk();
        const std::int64_t extent = Traits::tileExtent(index.depth);
        const auto inside = [extent](std::int64_t v, std::int64_t origin) {
            return v >= origin && v < origin + extent;
        };
        return inside(ijk.x, tijk.x) && inside(ijk.y, tijk.y) && inside(ijk.z, tijk.z);
    }

    bool readDof(const TreeIndex& index, const int3& voxel) {
        const auto flags = source_.maskChannel->tileData(index);
        place_.dofIsValid = flags && (flags(voxel) & source_.maskBits) != 0;
        return place_.dofIsValid;
    }

    // Where the value at a place comes from.
    Level levelAt(const Index& g) {
        const TreeIndex found = getTile(g);
        const T* values = source_.channel.tileData(found).data();
        const int depth = place_.index.depth;
        if (!found.isValid() || (found.depth < depth && !values)) {
            trace("getDefaultValue");
            return {};
        }
        const int3& tijk = source_.container.tile(found).tijk();
        if (found.depth < depth) {
            trace("case: tile.depth() < depth");
            return {1, found, tijk, values};
        }
        const int3 ijk{static_cast<int>(llc_[0] + g[0]), static_cast<int>(llc_[1] + g[1]),
                       static_cast<int>(llc_[2] + g[2])};
        const auto width = static_cast<int>(width_);
        const int3 lijk{(ijk.x - tijk.x) / width, (ijk.y - tijk.y) / width,
                        (ijk.z - tijk.z) / width};
        trace("lijk = ", detail::vectorText(lijk));
        const Level own{values ? 3 : 2, found, tijk, values};
        if (values && source_.maskChannel && readDof(found, lijk)) {
            trace("case: dof is valid, branch 1");
            return own;
        }
        return finerLevel(own, ijk);
    }

    // The deepest tile with data below a tile of the cell's depth, or that tile itself.
    Level finerLevel(const Level& own, const int3& ijk) {
        Level best = own;
        const auto* tile = &source_.container.tile(own.index);
        for (;;) {
            const int3 tlijk = tile->childIJK(ijk);
            const bool isLeaf = tile->isLeaf(tlijk);
            trace("tlijk = ", detail::vectorText(tlijk), isLeaf ? ", isLeaf = true" : "");
            if (isLeaf || tile->depth() >= deepest_)
                break;
            trace("case: neighbor refined");
            const TreeIndex child = tile->childTreeIndex(tlijk);
            const int3 voxel = tile->childDataIJK(ijk);
            tile = &source_.container.tile(child);
            const T* values = source_.channel.tileData(child).data();
            if (!values)
                continue;
            best = {4, child, tile->tijk(), values};
            if (source_.maskChannel && readDof(child, voxel)) {
                trace("case: dof is valid, branch 2");
                break;
            }
        }
        trace(best.getValueCase == 3 ? "getValueAtThisLevel"
              : best.values          ? "getValueAtFinerLevel"
                                     : "getDefaultValue");
        return best;
    }

    // The stencil point whose voxel holds the place g along the axis, on the line.
    Point pointAt(int axis, const Index& line, std::int64_t g) {
        Index place;
        for (std::size_t a = 0; a < 3; ++a)
            place[a] = floorDiv(line[a], 2);
        place[at(axis)] = g;
        Point point;
        point.level = levelAt(place);
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
            collapsed_ |= stencil.points[i].twicePosition >= stencil.points[i + 1].twicePosition;
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
        if (!debug_ || !(detail::hasNan(value) || std::isnan(positionOf(point))))
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
        if (debug_ && nan)
            return checked({}, "interpolateValues1D input is NAN", true);
        const T value = interpolateValues1D(source_.mode, values, positions, x, jump);
        if (debug_)
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
    int deepest_;
    bool debug_;
    Tiles& tiles_;
    PlainCells<Traits, T>& cells_;
    Accessor& accessor_;
    std::int64_t width_;
    Index llc_;
    std::array<bool, 3> centred_{};
    Index line_{};         // twice the position of the line through the cell's lower sample
    std::array<S, 3> x_{}; // the sample's position from the cell's lower voxel
    bool collapsed_ = false;
};

} // namespace KDX::TileTree3D
