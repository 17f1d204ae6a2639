// One grid on its way to a channel. Part of readVdb.cpp, the one source that includes OpenVDB.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/vdbPlacement.h"
#include "io/vdbRegion.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Stratum::io {

using KDX::TileTree3D::ChannelBuilder;
using KDX::TileTree3D::TileTree;
using KDX::TileTree3D::Traits;
using KDX::TileTree3D::TreeIndex;
using Vantor::Math::int3;

/// The channel value type for a grid's value type, void when there is none.
template <class Value>
struct ChannelValue {
    using Type = void;
};
template <>
struct ChannelValue<float> {
    using Type = float;
};
template <>
struct ChannelValue<double> {
    using Type = double;
};
template <>
struct ChannelValue<std::int32_t> {
    using Type = double;
};
template <>
struct ChannelValue<std::int64_t> {
    using Type = double;
};
template <>
struct ChannelValue<openvdb::Vec3s> {
    using Type = Vantor::Math::float3;
};
template <>
struct ChannelValue<openvdb::Vec3d> {
    using Type = Vantor::Math::double3;
};
template <>
struct ChannelValue<openvdb::Vec3i> {
    using Type = Vantor::Math::double3;
};

template <class Value>
typename ChannelValue<Value>::Type toChannelValue(const Value& value) {
    using T = typename ChannelValue<Value>::Type;
    if constexpr (std::is_arithmetic_v<Value>) {
        return static_cast<T>(value);
    } else {
        using Scalar = Vantor::Math::ScalarOf<T>;
        return {static_cast<Scalar>(value[0]), static_cast<Scalar>(value[1]),
                static_cast<Scalar>(value[2])};
    }
}

/// Which tiles hold data for a channel: by depth, then by tile index.
using TileFlags = std::vector<std::vector<std::uint8_t>>;

/// A grid, whatever its value type.
class VdbGrid {
public:
    VdbGrid(std::string channelName, const VdbPlacement& gridPlacement)
        : name(std::move(channelName)), placement(gridPlacement) {}
    virtual ~VdbGrid() = default;
    VdbGrid(const VdbGrid&) = delete;
    VdbGrid& operator=(const VdbGrid&) = delete;

    /// What the grid holds in a cube of our indices, its lower corner and its edge.
    virtual Content content(const std::array<std::int64_t, 3>& lower, std::int64_t edge) const = 0;

    /// A box of all voxels that are not background, in our indices; false when there are none.
    virtual bool bounds(std::array<std::int64_t, 3>& lower,
                        std::array<std::int64_t, 3>& upper) const = 0;

    virtual void addChannel(Vantor::Object& object,
                            const Ostrum::Ptr<const TileTree<Traits<2, 4, 1>>>& tree,
                            const TileFlags& holds,
                            const std::vector<std::string>& names) const = 0;
    virtual void addChannel(Vantor::Object& object,
                            const Ostrum::Ptr<const TileTree<Traits<5, 5, 1>>>& tree,
                            const TileFlags& holds,
                            const std::vector<std::string>& names) const = 0;

    const std::string name;
    const VdbPlacement placement;
};

template <class GridT>
class TypedVdbGrid final : public VdbGrid {
    using TreeT = typename GridT::TreeType;
    using Accessor = openvdb::tree::ValueAccessor<const TreeT, false>;
    using T = typename ChannelValue<typename GridT::ValueType>::Type;

public:
    TypedVdbGrid(typename GridT::ConstPtr grid, const std::string& channelName,
                 const VdbPlacement& gridPlacement)
        : VdbGrid(channelName, gridPlacement), grid_(std::move(grid)), scan_(grid_->tree()) {}

    Content content(const std::array<std::int64_t, 3>& lower, std::int64_t edge) const override {
        openvdb::Coord first, last;
        bool beyond = false;
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            const std::int64_t from = lower[a] - placement.shift[a], to = from + edge - 1;
            first[axis] = clamped(from);
            last[axis] = clamped(to);
            beyond = beyond || first[axis] != from || last[axis] != to;
        }
        const Content content = scan_.content({first, last});
        // Beyond the grid's own index space there is background too.
        return beyond && content == Content::kConstant ? Content::kMixed : content;
    }

    bool bounds(std::array<std::int64_t, 3>& lower,
                std::array<std::int64_t, 3>& upper) const override {
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            lower[a] = scan_.bounds().min()[axis] + placement.shift[a];
            upper[a] = scan_.bounds().max()[axis] + placement.shift[a];
        }
        return !scan_.bounds().empty();
    }

    void addChannel(Vantor::Object& object,
                    const Ostrum::Ptr<const TileTree<Traits<2, 4, 1>>>& tree,
                    const TileFlags& holds, const std::vector<std::string>& names) const override {
        addTyped(object, tree, holds, names);
    }
    void addChannel(Vantor::Object& object,
                    const Ostrum::Ptr<const TileTree<Traits<5, 5, 1>>>& tree,
                    const TileFlags& holds, const std::vector<std::string>& names) const override {
        addTyped(object, tree, holds, names);
    }

private:
    static int clamped(std::int64_t v) {
        return static_cast<int>(std::clamp<std::int64_t>(v, std::numeric_limits<int>::min(),
                                                         std::numeric_limits<int>::max()));
    }

    template <class Shape>
    void addTyped(Vantor::Object& object, const Ostrum::Ptr<const TileTree<Shape>>& tree,
                  const TileFlags& holds, const std::vector<std::string>& names) const {
        using Builder = ChannelBuilder<Shape, T>;
        Builder builder(tree, name, toChannelValue(grid_->background()),
                        [&holds](const auto&, const TreeIndex& index) {
                            return holds[static_cast<std::size_t>(index.depth)]
                                        [static_cast<std::size_t>(index.index)] != 0;
                        });
        builder.fillTiles([this](const auto& tile, const TreeIndex&, auto values) {
            if (Ostrum::isJobCancelled())
                return;
            this->template fillTile<Shape>(tile, values);
        });
        throwIfCancelled();
        const auto channel = builder.finish();
        for (const auto& channelName : names)
            Vantor::Geometry::addChannel(object, channel, channelName);
    }

    // Coarse tiles are constant throughout, so the voxel at each data voxel's lower corner will do.
    template <class Shape, class Tile, class Values>
    void fillTile(const Tile& tile, Values values) const {
        constexpr int W = Shape::kVoxelsPerAxis;
        const int width = tile.voxelDataWidth();
        const int3 origin = tile.tijk();
        Accessor accessor(grid_->tree());
        const auto coordinate = [&](int axis, int from, int voxel) {
            return clamped(from + std::int64_t{voxel} * width -
                           placement.shift[static_cast<std::size_t>(axis)]);
        };
        for (int i = 0; i < W; ++i)
            for (int j = 0; j < W; ++j)
                for (int k = 0; k < W; ++k) {
                    const openvdb::Coord ijk(coordinate(0, origin.x, i), coordinate(1, origin.y, j),
                                             coordinate(2, origin.z, k));
                    values[i + W * (j + W * k)] = toChannelValue(accessor.getValue(ijk));
                }
    }

    typename GridT::ConstPtr grid_;
    RegionScan<TreeT> scan_;
};

} // namespace Stratum::io
