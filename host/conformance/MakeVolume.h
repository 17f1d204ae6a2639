// How the conformance tests get volumes from this host.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Object.h"
#include "conformance/wanted.h"

namespace Conformance {

/// Whether trees may have any tiles, not only a block of them at one depth.
inline constexpr bool kMakesAnyTree = true;

template <class Traits>
Parts<Traits> makeParts(const std::vector<WantedTile>& tiles, float voxelSize,
                        VoxelOffsetType type) {
    TreeBuilder<Traits> builder;
    for (const WantedTile& tile : tiles)
        builder.addTile(tile.depth, tile.tijk, tile.holdsVoxels);
    const auto tree = builder.build(voxelSize, type);
    return {Ostrum::makePtr<Container<Traits>>(tree), Ostrum::makePtr<VoxelTopology<Traits>>(tree)};
}

template <class T, class Traits>
Ostrum::Ptr<Plain<Traits, T>> makeChannel(const Parts<Traits>& parts, const Ostrum::String& name,
                                          const T& defaultValue, const Holds& holds,
                                          const Field<T>& field) {
    ChannelBuilder<Traits, T> builder(
        parts.container->tree(), name, defaultValue, [&](const auto& tile, const TreeIndex&) {
            return tile.holdsVoxels() && holds(tile.tijk(), tile.depth());
        });
    builder.fill(field);
    return builder.finish();
}

inline void addPart(Vantor::Object& object, const Ostrum::String& name,
                    const Ostrum::Ptr<KDX::Component>& part) {
    object.addComponent(name, part);
}

} // namespace Conformance
