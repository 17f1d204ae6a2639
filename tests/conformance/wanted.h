// What the conformance tests want of a host's volumes. The host's folder has a header
// conformance/MakeVolume.h that makes them:
//
//   kMakesAnyTree                              false: only a block of tiles at one depth
//   makeParts<Traits>(tiles, voxelSize, type)  -> Parts
//   makeChannel<T>(parts, name, defaultValue, holds, field)  -> Ptr<Plain>
//   addPart(object, name, part)                makes the object a volume, part by part
#pragma once

#include "support/fields.h"

#include <functional>
#include <vector>

namespace Conformance {

using namespace StratumTest;

/// A tile that a tree is to have, next to those above it.
struct WantedTile {
    int depth;
    int3 tijk; ///< where it begins
    bool holdsVoxels = true;
};

template <class Traits>
struct Parts {
    Ostrum::Ptr<Container<Traits>> container;
    Ostrum::Ptr<VoxelTopology<Traits>> topology;
};

/// Which of the tiles that hold voxels hold data of a channel.
using Holds = std::function<bool(const int3& tijk, int depth)>;
inline bool everywhere(const int3&, int) {
    return true;
}

/// A channel's value at a sample, in index units.
template <class T>
using Field = std::function<T(const double3& position, int depth)>;

/// A block of 4 x 3 x 2 tiles around the origin, the first and the last at its corners.
template <class Traits>
std::vector<WantedTile> tilesOfBlock(int depth) {
    const int e = Traits::tileExtent(depth);
    std::vector<WantedTile> tiles;
    for (int z = -1; z < 1; ++z)
        for (int y = -1; y < 2; ++y)
            for (int x = -2; x < 2; ++x)
                tiles.push_back({depth, int3{x, y, z} * e});
    return tiles;
}

/// The tiles of a random tree, with changes of depth in all directions.
template <class Traits>
std::vector<WantedTile> tilesOfTree(const RandomTree& options) {
    constexpr int base = Traits::kFinestDepth - 3, e = Traits::tileExtent(base),
                  n = (kTreeReach<Traits> + e - 1) / e;
    std::vector<WantedTile> tiles;
    const std::function<void(const int3&, int)> add = [&](const int3& tijk, int depth) {
        const TileWish wish = wishAt<Traits>(options, tijk, depth);
        tiles.push_back({depth, tijk, wish.holdsVoxels});
        constexpr int B = Traits::kChildrenPerAxis;
        for (int c = 0; wish.refine && c < B * B * B; ++c)
            add(tijk + int3{c % B, c / B % B, c / B / B} * Traits::tileExtent(depth + 1),
                depth + 1);
    };
    for (int z = -n; z < n; ++z)
        for (int y = -n; y < n; ++y)
            for (int x = -n; x < n; ++x)
                add(int3{x, y, z} * e, base);
    return tiles;
}

} // namespace Conformance
