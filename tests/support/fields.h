// Random trees and fields to test on, for any host.
#pragma once

#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"
#include "KDX/halo.h"
#include "common/randomUnit.h"
#include "support/rows.h"

namespace StratumTest {

using namespace KDX::TileTree3D;
using Vantor::Sample::randomUnit;

template <class Traits, class T>
using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
template <class Traits, class T>
using Halo = Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>;

/// Random tree about the origin, with changes of one to three levels in all directions.
struct RandomTree {
    std::uint64_t seed = 1;
    double hole = 0.12;         ///< chance that a tile ends the refinement without holding voxels
    double interiorData = 0.35; ///< chance that a refined tile holds voxels as well
    VoxelOffsetType type{};     ///< at the middle of cells
    float voxelSize = 1;
};

/// Where tiles of a random tree without holes cover everything that a sample can reach.
template <class Traits>
inline constexpr double kCoveredReach = Traits::kChildrenPerAxis == 2 ? 52 : 60;

inline double randomAt(const int3& p, int salt, std::uint64_t seed) {
    const std::uint64_t index = static_cast<std::uint64_t>(p.x) * 73856093U ^
                                static_cast<std::uint64_t>(p.y) * 19349663U ^
                                static_cast<std::uint64_t>(p.z) * 83492791U;
    return randomUnit<double>(index, seed + 1000003U * static_cast<std::uint64_t>(salt));
}

/// What a random tree has at a tile.
struct TileWish {
    bool holdsVoxels = false, refine = false;
};

/// Random trees lie in a cube about the origin with corners at plus and minus this.
template <class Traits>
inline constexpr int kTreeReach = Traits::kChildrenPerAxis == 2 ? 64 : 375;

template <class Traits>
TileWish wishAt(const RandomTree& options, const int3& tijk, int depth) {
    constexpr bool two = Traits::kChildrenPerAxis == 2;
    constexpr int detail = two ? 40 : 60, base = Traits::kFinestDepth - 3;
    if (depth < base)
        return {.holdsVoxels = false, .refine = true};
    const auto nearOrigin = [&](int v) {
        return v < detail && v + Traits::tileExtent(depth) > -detail;
    };
    const double chance = two ? 0.4 : depth < Traits::kFinestDepth - 1 ? 0.6 : 0.06;
    const bool refine = depth < Traits::kFinestDepth && nearOrigin(tijk.x) && nearOrigin(tijk.y) &&
                        nearOrigin(tijk.z) && randomAt(tijk, depth, options.seed) < chance;
    const double draw = randomAt(tijk, 100 + depth, options.seed);
    return {.holdsVoxels = refine ? draw < options.interiorData : draw >= options.hole,
            .refine = refine};
}

/// Values without any relation to each other, in -50 .. 50.
inline auto noise(std::uint64_t seed) {
    return [seed](const double3& p, int depth) {
        const auto whole = [](double v) { return static_cast<int>(std::floor(2 * v)); };
        return randomAt({whole(p.x), whole(p.y), whole(p.z)}, depth, seed) * 100 - 50;
    };
}

inline double linearField(const double3& p) {
    return 0.5 * p.x - 0.25 * p.y + 0.125 * p.z + 3;
}

template <class Traits, class T>
Ostrum::Ptr<Halo<Traits, T>> makeHalo(const Plain<Traits, T>& source,
                                      const Container<Traits>& container) {
    auto halo = Ostrum::makePtr<Halo<Traits, T>>("", source.defaultValue(), false, true, 0,
                                                 Traits::kFinestDepth);
    computeHalo<Traits, T, 0, 0, 1, 0>(source, container, *halo, -1, -1);
    return halo;
}

/// A random position in a cube about the origin, in index units.
inline double3 randomPosition(std::uint64_t i, double reach) {
    const auto draw = [&](std::uint64_t n) { return (2 * randomUnit<double>(n, 77) - 1) * reach; };
    return {draw(3 * i), draw(3 * i + 1), draw(3 * i + 2)};
}

template <class Position>
Position toPosition(const double3& p) {
    using S = decltype(Position::x);
    return {static_cast<S>(p.x), static_cast<S>(p.y), static_cast<S>(p.z)};
}

} // namespace StratumTest
