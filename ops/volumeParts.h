// Looking a volume up in the host's object.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"
#include "Vantor/Geometry.h"

namespace Stratum {

/// A tree of one shape with one of its channels; all parts or none.
template <class Traits, class T>
struct VolumeParts {
    Ostrum::Ptr<KDX::TileTree3D::Container<Traits>> container;
    Ostrum::Ptr<KDX::TileTree3D::VoxelTopology<Traits>> topology;
    Ostrum::Ptr<KDX::TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>> channel;

    explicit operator bool() const { return static_cast<bool>(channel); }
};

/// The parts that sampling a channel of value type T needs; none when one of them is missing or the
/// channel is of another type.
template <class Traits, class T>
VolumeParts<Traits, T> findVolumeParts(const KDX::Object& volume, const Ostrum::String& property) {
    using namespace KDX::TileTree3D;
    auto container = volume.component<Container<Traits>>(Vantor::Geometry::sVoxelTileTree);
    if (!container)
        return {};
    auto topology = volume.component<VoxelTopology<Traits>>(Vantor::Geometry::sVoxelComp);
    if (!topology)
        return {};
    auto channel = volume.component<Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>>(property);
    if (!channel)
        return {};
    return {container, topology, channel};
}

/// Calls `work(parts)` for the tree of each shape that the object has with such a channel.
template <class T, class Work>
void forEachVolume(const Vantor::Object& object, const Ostrum::String& property, const Work& work) {
    using namespace KDX::TileTree3D;
    const auto volume = Vantor::Geometry::shallow_copy_object_to_kdx_volume(object);
    if (!volume)
        return;
    const auto visit = [&]<int B, int W>() {
        if (const auto parts = findVolumeParts<Traits<B, W, 1>, T>(*volume, property))
            work(parts);
    };
#define STRATUM_TREE_SHAPE(B, W) visit.template operator()<B, W>();
#include "common/rows.def"
}

} // namespace Stratum
