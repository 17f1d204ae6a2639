// How the conformance tests get volumes from the tiny host.
#pragma once

#include "conformance/wanted.h"
#include "tinyHost/geometry.h"

namespace Conformance {

inline constexpr bool kMakesAnyTree = false;

/// The block from the first tile to the last.
template <class Traits>
Parts<Traits> makeParts(const std::vector<WantedTile>& tiles, float voxelSize,
                        VoxelOffsetType type) {
    const int depth = tiles[0].depth, extent = Traits::tileExtent(depth);
    const auto inTiles = [extent](int v) { return static_cast<int>(floorDiv(v, extent)); };
    const auto [first, last] = std::pair(tiles.front().tijk, tiles.back().tijk);
    const int3 begin{inTiles(first.x), inTiles(first.y), inTiles(first.z)},
        end{inTiles(last.x) + 1, inTiles(last.y) + 1, inTiles(last.z) + 1};
    const auto block = Ostrum::makePtr<const Block<Traits>>(
        Block<Traits>{depth, begin, end - begin, voxelSize, type});
    return {Ostrum::makePtr<Container<Traits>>(block),
            Ostrum::makePtr<VoxelTopology<Traits>>(block)};
}

template <class T, class Traits>
Ostrum::Ptr<Plain<Traits, T>> makeChannel(const Parts<Traits>& parts, const Ostrum::String& name,
                                          const T& defaultValue, const Holds& holds,
                                          const Field<T>& field) {
    constexpr int W = Traits::kVoxelsPerAxis;
    const auto& block = *parts.container->block;
    const auto o = voxelOffset(block.type);
    auto channel = Ostrum::makePtr<Plain<Traits, T>>(name, defaultValue, false, true, 0, 0);
    channel->update(*parts.topology);
    for (std::int64_t i = 0; i < block.tileCount(); ++i) {
        const int3 origin = block.tile(i).tijk();
        auto& values = channel->tiles[i];
        if (!holds(origin, block.depth))
            values.clear();
        for (std::size_t v = 0; v < values.size(); ++v) {
            const int flat = static_cast<int>(v);
            const double w = Traits::voxelWidth(block.depth);
            values[v] = field({origin.x + (flat % W + double{o.x}) * w,
                               origin.y + (flat / W % W + double{o.y}) * w,
                               origin.z + (flat / W / W + double{o.z}) * w},
                              block.depth);
        }
    }
    return channel;
}

inline void addPart(Vantor::Object& object, const Ostrum::String& name,
                    const Ostrum::Ptr<KDX::Component>& part) {
    object.volume.parts.emplace(name, part);
}

} // namespace Conformance
