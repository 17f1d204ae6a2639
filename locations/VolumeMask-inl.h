#pragma once

#include "locations/VolumeMask.h"
#include "locations/extendedChannel.h"
#include "locations/maskValue.h"
#include "volume/VoxelSamplerLinear.h"
#include "volume/haloLayout.h"

#include <algorithm>
#include <utility>

namespace Vantor::Sample {

namespace detail {

template <class T>
Math::ScalarOf<T> firstComponent(const T& value) {
    return Math::toComponents(value)[0];
}

template <class Traits, class T>
class TypedVolumeProbe : public VolumeProbe {
public:
    using Sampler = KDX::TileTree3D::LinearSampler<Traits, T>;

    TypedVolumeProbe(Sampler sampler, std::uint64_t seed, bool invert)
        : sampler_(std::move(sampler)), seed_(seed), invert_(invert) {}

    bool rejects(const float3& p, std::uint64_t draw) override {
        return Sample::rejects(firstComponent(sampler_.sample({p.x, p.y, p.z})), draw, seed_,
                               invert_);
    }

private:
    Sampler sampler_;
    const std::uint64_t seed_;
    const bool invert_;
};

template <class Traits, class T>
class TypedVolumeMask : public VolumeMask<Traits> {
    static constexpr int W = Traits::kVoxelsPerAxis;

public:
    using Extended = KDX::TileTree3D::Channel<Traits, T, W + 1, 0, 0>;

    TypedVolumeMask(const KDX::TileTree3D::Container<Traits>& container,
                    const KDX::TileTree3D::VoxelTopology<Traits>& topology,
                    Ostrum::Ptr<Extended> values, const GenerateLocationOptions& options)
        : container_(container), values_(std::move(values)),
          sampler_(container, topology, *values_), offsetType_(topology.offsetType()),
          seed_(static_cast<std::uint64_t>(options.seed)), invert_(options.invert_mask) {}

    std::unique_ptr<VolumeProbe> probe() const override {
        return std::make_unique<TypedVolumeProbe<Traits, T>>(sampler_, seed_, invert_);
    }

    bool rejectsAll(const CandidateCells<Traits>& cells) const override {
        auto accessor = container_.tileAccessor();
        return std::ranges::all_of(cells.tiles(), [&](const CandidateTile<Traits>& tile) {
            return rejectsTile(
                tile, values_->tileData(accessor.tileImpl(tile.tijk, tile.depth).treeIndex()));
        });
    }

private:
    bool isCertain(const T& value) const {
        return isCertainRejection(firstComponent(value), invert_);
    }

    bool rejectsTile(const CandidateTile<Traits>& tile,
                     const typename Extended::View& values) const {
        if (!values)
            return isCertain(values_->defaultValue());
        const auto isRejected = [&](const T& value) { return isCertain(value); };
        if (std::all_of(values.data(), values.data() + values_->valuesPerTile(), isRejected))
            return true;
        for (int voxel = 0; voxel < Traits::kVoxelCount; ++voxel)
            if (tile.voxels.contains(voxel) &&
                !rejectsCell({voxel % W, voxel / W % W, voxel / (W * W)}, values))
                return false;
        return true;
    }

    // All samples around the cell that one in it could be interpolated from.
    bool rejectsCell(const int3& n, const typename Extended::View& values) const {
        using KDX::TileTree3D::VoxelOffsetType;
        const int below = offsetType_ == VoxelOffsetType::kCorner ? 0 : -1;
        const auto [stride, base] = KDX::TileTree3D::haloLayout<Traits>(offsetType_);
        for (int z = n.z + below; z <= n.z + 1; ++z)
            for (int y = n.y + below; y <= n.y + 1; ++y)
                for (int x = n.x + below; x <= n.x + 1; ++x)
                    if (!isCertain(values.data()[base + x + stride * (y + stride * z)]))
                        return false;
        return true;
    }

    const KDX::TileTree3D::Container<Traits>& container_;
    const Ostrum::Ptr<Extended> values_;
    const KDX::TileTree3D::LinearSampler<Traits, T> sampler_;
    const KDX::TileTree3D::VoxelOffsetType offsetType_;
    const std::uint64_t seed_;
    const bool invert_;
};

} // namespace detail

template <class Traits, class T>
std::unique_ptr<const VolumeMask<Traits>>
makeVolumeMaskOf(const KDX::Object& volume, const KDX::TileTree3D::Container<Traits>& container,
                 const KDX::TileTree3D::VoxelTopology<Traits>& topology,
                 const GenerateLocationOptions& options) {
    using namespace KDX::TileTree3D;
    const auto channel =
        volume.component<Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>>(options.mask_property);
    if (!channel)
        return nullptr;
    const T outside =
        topology.offsetType() == VoxelOffsetType::kCorner ? T{} : channel->defaultValue();
    return std::make_unique<detail::TypedVolumeMask<Traits, T>>(
        container, topology, extendedChannel(*channel, container, topology, outside), options);
}

} // namespace Vantor::Sample
