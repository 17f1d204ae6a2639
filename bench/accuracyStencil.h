// What a cubic stencil meets in a tree.
#pragma once

#include "accuracyVolume.h"

namespace Stratum::Accuracy {

/// Tells where the cubic samplers of the operators interpolate cubically and where they fall back.
template <class Traits>
class StencilProbe {
    static constexpr int W = Traits::kVoxelsPerAxis;

public:
    enum class Kind {
        kNothing, ///< no data at the position: the default
        kJump,    ///< a change of depth nearby: linear
        kWhole,   ///< cubic, from 64 stored values
        kPartial, ///< cubic, and some of the 64 values are defaults because nothing is stored there
    };

    explicit StencilProbe(const Volume<Traits>& volume)
        : volume_(volume), locator_(volume.container, volume.topology),
          accessor_(volume.container.tileAccessor()) {}

    Kind at(const double3& position) {
        VoxelLocation<double3> place;
        if (!locator_.locate(position, volume_.channel->depth(), kIndex, place) ||
            !volume_.channel->tileData(place.treeIndex))
            return Kind::kNothing;
        const int3 below = place.n + int3{-1, -1, -1};
        bool partial = false;
        for (int k = 0; k < 2; ++k)
            for (int j = 0; j < 2; ++j)
                for (int i = 0; i < 2; ++i) {
                    const Neighbour found = neighbour(place.treeIndex, below + int3{i, j, k} * W);
                    if (found == Neighbour::kOtherDepth)
                        return Kind::kJump;
                    partial |= found == Neighbour::kNone && isReached(below, {i, j, k});
                }
        return partial ? Kind::kPartial : Kind::kWhole;
    }

private:
    enum class Neighbour { kStored, kNone, kOtherDepth };

    // The tile that holds a voxel, given by its place from the first voxel of a tile.
    Neighbour neighbour(const TreeIndex& index, const int3& n) {
        const std::int64_t width = Traits::voxelWidth(index.depth);
        const int3& origin = volume_.container.tile(index).tijk();
        const TreeIndex found =
            accessor_
                .tileImpl(WideIndex{origin.x + width * n.x, origin.y + width * n.y,
                                    origin.z + width * n.z},
                          index.depth)
                .treeIndex();
        const bool data = static_cast<bool>(volume_.channel->tileData(found));
        if (found.depth == index.depth)
            return data                                          ? Neighbour::kStored
                   : volume_.container.tile(found).hasChildren() ? Neighbour::kOtherDepth
                                                                 : Neighbour::kNone;
        return data ? Neighbour::kOtherDepth : Neighbour::kNone;
    }

    // Whether any of the four voxels from `below` upward lies in that tile of the block.
    static bool isReached(const int3& below, const int3& block) {
        const auto along = [](int first, int tile) {
            return tile == 0 || (first + W) % W + 3 >= W;
        };
        return along(below.x, block.x) && along(below.y, block.y) && along(below.z, block.z);
    }

    const Volume<Traits>& volume_;
    VoxelSampler<Traits, double3> locator_;
    typename Container<Traits>::ConstTileAccessor accessor_;
};

} // namespace Stratum::Accuracy
