#pragma once

#include "locations/VolumeMask.h"
#include "locations/extendedChannel.h"
#include "locations/maskValue.h"
#include "volume/VoxelSamplerLinear.h"
#include "volume/haloLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
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
          placedByType_(topology.offset() == voxelOffset(topology.offsetType())),
          seed_(static_cast<std::uint64_t>(options.seed)), invert_(options.invert_mask) {}

    std::unique_ptr<VolumeProbe> probe() const override {
        return std::make_unique<TypedVolumeProbe<Traits, T>>(sampler_, seed_, invert_);
    }

    bool rejectsAll(const CandidateCells<Traits>& cells) const override {
        if (isReadAtOnePlace()) {
            const float anywhere = 0 * container_.voxelSize();
            Sampler sampler = sampler_;
            return isCertain(sampler.sample({anywhere, anywhere, anywhere}));
        }
        auto accessor = container_.tileAccessor();
        return std::ranges::all_of(cells.tiles(), [&](const CandidateTile<Traits>& tile) {
            // Samples are read no deeper than the mask has data.
            const int depth = std::min(tile.depth, values_->depth());
            return !isReadDeeper(tile, accessor) &&
                   rejectsTile(tile, accessor.tileImpl(tile.tijk, depth));
        });
    }

private:
    using Sampler = KDX::TileTree3D::LinearSampler<Traits, T>;
    using Record = typename KDX::TileTree3D::Container<Traits>::Record;

    bool isCertain(const T& value) const {
        return isCertainRejection(firstComponent(value), invert_);
    }

    // The same for a value that is blended with others: infinite ones have no difference, and the
    // NaN that comes of it counts as 0.
    bool isCertainPart(const T& value) const {
        return isCertain(value) && (!invert_ || std::isfinite(firstComponent(value)));
    }

    // Whether all samples lie at the origin, or nowhere, because of the voxel size.
    bool isReadAtOnePlace() const {
        using Scalar = Math::ScalarOf<T>;
        const auto size = static_cast<Scalar>(container_.voxelSize());
        return size == 0 || !std::isfinite(size) || !std::isfinite(1 / size);
    }

    // Whether samples in the tile are read from tiles below it, where the mask has data at depths
    // that the cells' channel has none at.
    template <class Accessor>
    bool isReadDeeper(const CandidateTile<Traits>& tile, Accessor& accessor) const {
        if (values_->depth() <= tile.depth)
            return false;
        constexpr int B = Traits::kChildrenPerAxis;
        const auto& node = container_.tile(accessor.tileImpl(tile.tijk, tile.depth).treeIndex());
        for (int voxel = 0; voxel < Traits::kVoxelCount; ++voxel) {
            const int3 n = localVoxel<Traits>(voxel);
            if (tile.voxels.contains(voxel) &&
                !node.isLeaf({n.x * B / W, n.y * B / W, n.z * B / W}))
                return true;
        }
        return false;
    }

    bool rejectsTile(const CandidateTile<Traits>& tile, const Record& found) const {
        const auto values = values_->tileData(found.treeIndex());
        if (!values || reachesBeyondIndices(tile)) {
            if (!isCertain(values_->defaultValue()))
                return false;
            if (!values)
                return true;
        }
        const T *const first = values.data(), *const last = first + values_->valuesPerTile();
        if (!placedByType_) // weights may be any: only equal values blend to what they are
            return std::all_of(first, last, [&](const T& value) {
                return isCertainPart(value) && firstComponent(value) == firstComponent(*first);
            });
        if (std::all_of(first, last, [&](const T& value) { return isCertainPart(value); }))
            return true;
        const int3 from = tile.tijk - found.tijk();
        const int width = Traits::voxelWidth(tile.depth),
                  readWidth = Traits::voxelWidth(found.depth());
        for (int voxel = 0; voxel < Traits::kVoxelCount; ++voxel) {
            const int3 lower = from + localVoxel<Traits>(voxel) * width;
            if (tile.voxels.contains(voxel) &&
                !rejectsCell({lower.x / readWidth, lower.y / readWidth, lower.z / readWidth},
                             values))
                return false;
        }
        return true;
    }

    // Whether samples in a tile may come to lie where there are no indices, in no tile, or have
    // positions that a float does not hold.
    bool reachesBeyondIndices(const CandidateTile<Traits>& tile) const {
        const auto [x, y, z] = tile.tijk;
        const auto upper =
            static_cast<float>(std::int64_t{std::max({x, y, z})} + Traits::tileExtent(tile.depth));
        const float furthest = std::max(upper, -static_cast<float>(std::min({x, y, z})));
        return upper >= 0x1p31F || !std::isfinite(furthest * container_.voxelSize());
    }

    // All samples around the cell that one in it could be interpolated from.
    bool rejectsCell(const int3& n, const typename Extended::View& values) const {
        using KDX::TileTree3D::VoxelOffsetType;
        const int below = offsetType_ == VoxelOffsetType::kCorner ? 0 : -1;
        const auto [stride, base] = KDX::TileTree3D::haloLayout<Traits>(offsetType_);
        for (int z = n.z + below; z <= n.z + 1; ++z)
            for (int y = n.y + below; y <= n.y + 1; ++y)
                for (int x = n.x + below; x <= n.x + 1; ++x)
                    if (!isCertainPart(values.data()[base + x + stride * (y + stride * z)]))
                        return false;
        return true;
    }

    const KDX::TileTree3D::Container<Traits>& container_;
    const Ostrum::Ptr<Extended> values_;
    const Sampler sampler_;
    const KDX::TileTree3D::VoxelOffsetType offsetType_;
    const bool placedByType_; // not at an offset of the topology's own
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
