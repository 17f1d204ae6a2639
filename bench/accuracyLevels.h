// Measuring at one change of depth.
#pragma once

#include "accuracyTable.h"
#include "accuracyTrees.h"

#include <limits>
#include <optional>

namespace Stratum::Accuracy {

/// What a method did at a border. Gradients are per coarse voxel.
struct BorderErrors {
    Norms value;                      ///< against the field, everywhere
    double borderStep = 0;            ///< between positions on the border and one ulp beside it
    double cellStep = 0;              ///< across the faces of cells nearby, of either depth
    Norms gradient;                   ///< by central differences
    std::optional<Norms> ownGradient; ///< as the sampler gives it
};

/// Positions about a border, the same for every method.
template <class Traits>
class BorderPositions {
public:
    static constexpr std::size_t kNear = 1000, kOnBorder = 200, kOnFaces = 500;

    BorderPositions(const Border<Traits>& border, VoxelOffsetType type)
        : border_(border), offset_(static_cast<int>(type) == 7 ? 0.0 : 0.5) {}

    /// Within two fine voxels of the border, or 1.5 coarse ones, by turns.
    double3 near(std::size_t i) const {
        const bool fine = i % 2 == 0;
        return place(i, [&](int axis) {
            const double d = draw(3 * i + static_cast<std::size_t>(axis), 5);
            if (fine)
                return 2 * d * border_.fine;
            // On some axis below the border, and there on any side of it on the others.
            const bool below = axis == static_cast<int>(i / 2) % border_.axes || d < 0.5;
            const double size = 1.5 * draw(3 * i + static_cast<std::size_t>(axis), 6);
            return (below ? -size : size) * border_.coarse;
        });
    }

    /// On the border, on integers along it every other time, or an ulp off it in the direction that
    /// the three digits of `side` to the base 3 name, axis by axis.
    double3 onBorder(std::size_t i, int side) const {
        std::array<int, 3> off{};
        for (int axis = 0; axis < border_.axes; ++axis, side /= 3)
            off[static_cast<std::size_t>(axis)] = side % 3 - 1;
        return nudged(place(
                          i, [](int) { return 0.0; }, i % 2 == 0),
                      off);
    }
    int sides() const { return border_.axes == 1 ? 3 : border_.axes == 2 ? 9 : 27; }

    /// A face between cells across the first axis, an ulp below it and on it; fine ones up to five
    /// voxels from the border and coarse ones up to three.
    std::pair<double3, double3> onFace(std::size_t i) const {
        const int n = static_cast<int>(i / 2 % 5);
        const double along =
            i % 2 == 0 ? (n + 1 - offset_) * border_.fine : (offset_ - 1 - n % 3) * border_.coarse;
        const double3 p = place(i, [&](int axis) {
            return axis == 0 ? along
                             : 2 * draw(i, 7 + static_cast<std::uint64_t>(axis)) * border_.fine;
        });
        return {nudged(p, {-1, 0, 0}), p};
    }

    /// Whether interpolation has no kink within `step` of the position.
    bool isInsideCell(const double3& p, double step) const {
        const auto clear = [&](double v) {
            const double twice = 2 * v / border_.fine;
            return std::abs(twice - std::round(twice)) > 4 * step / border_.fine;
        };
        return clear(p.x) && clear(p.y) && clear(p.z);
    }

    /// Whether the cell of a position that near() gives surely has voxels across the border.
    bool isAtJump(const double3& p) const {
        const std::array<double, 3> q{p.x, p.y, p.z};
        double least = std::numeric_limits<double>::max(), most = 0;
        for (std::size_t a = 0; a < static_cast<std::size_t>(border_.axes); ++a) {
            const double d = q[a] - border_.origin[a];
            least = std::min(least, d);
            most = std::max(most, std::abs(d));
        }
        return least >= 0 ? least < border_.fine : most < border_.coarse;
    }

private:
    // The border's point moved by `beyond(axis)` across it and, along it, by up to a coarse voxel.
    template <class Beyond>
    double3 place(std::size_t i, const Beyond& beyond, bool onIntegers = false) const {
        std::array<double, 3> p{};
        for (std::size_t a = 0; a < 3; ++a) {
            const double free = (2 * draw(3 * i + a, 9) - 1) * border_.coarse;
            p[a] = border_.origin[a] + (static_cast<int>(a) < border_.axes
                                            ? beyond(static_cast<int>(a))
                                        : onIntegers ? std::round(free)
                                                     : free);
        }
        return {p[0], p[1], p[2]};
    }

    static double3 nudged(const double3& p, const std::array<int, 3>& off) {
        const auto along = [](double v, int direction) {
            const double infinity = std::numeric_limits<double>::infinity();
            return direction == 0 ? v : std::nextafter(v, direction * infinity);
        };
        return {along(p.x, off[0]), along(p.y, off[1]), along(p.z, off[2])};
    }

    Border<Traits> border_;
    double offset_;
};

} // namespace Stratum::Accuracy
