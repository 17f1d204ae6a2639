// One grid of a file on its way to a channel.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/gridPlacement.h"
#include "io/gridRegion.h"

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

/// The channel value for a grid's value: `float` stays, all other numbers become `double`, vectors
/// of three likewise.
template <class Value>
auto toChannelValue(const Value& value) {
    if constexpr (std::is_same_v<Value, float>) {
        return value;
    } else if constexpr (std::is_arithmetic_v<Value>) {
        return static_cast<double>(value);
    } else if constexpr (std::is_same_v<std::decay_t<decltype(value[0])>, float>) {
        return Vantor::Math::float3{value[0], value[1], value[2]};
    } else {
        return Vantor::Math::double3{static_cast<double>(value[0]), static_cast<double>(value[1]),
                                     static_cast<double>(value[2])};
    }
}

/// Which tiles hold data for a channel: by depth, then by tile index.
using TileFlags = std::vector<std::vector<std::uint8_t>>;

/// A grid, whatever its value type.
class SourceGrid {
public:
    SourceGrid(std::string channelName, const GridPlacement& gridPlacement)
        : name(std::move(channelName)), placement(gridPlacement) {}
    virtual ~SourceGrid() = default;
    SourceGrid(const SourceGrid&) = delete;
    SourceGrid& operator=(const SourceGrid&) = delete;

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
    const GridPlacement placement;
};

/// A grid of the nodes that `Access` reads. `owner` keeps them.
template <class Access>
class TypedSourceGrid final : public SourceGrid {
    using Region = GridRegion<Access>;
    using T = decltype(toChannelValue(std::declval<typename Access::Value>()));

public:
    TypedSourceGrid(std::shared_ptr<const void> owner, Region region,
                    const std::string& channelName, const GridPlacement& gridPlacement)
        : SourceGrid(channelName, gridPlacement), owner_(std::move(owner)),
          region_(std::move(region)) {}

    Content content(const std::array<std::int64_t, 3>& lower, std::int64_t edge) const override {
        GridBox box{};
        bool beyond = false;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int64_t from = lower[axis] - placement.shift[axis], to = from + edge - 1;
            box.min[axis] = clamped(from);
            box.max[axis] = clamped(to);
            beyond = beyond || box.min[axis] != from || box.max[axis] != to;
        }
        const Content content = region_.content(box);
        // Beyond the grid's own index space there is background too.
        return beyond && content == Content::kConstant ? Content::kMixed : content;
    }

    bool bounds(std::array<std::int64_t, 3>& lower,
                std::array<std::int64_t, 3>& upper) const override {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lower[axis] = region_.bounds().min[axis] + placement.shift[axis];
            upper[axis] = region_.bounds().max[axis] + placement.shift[axis];
        }
        return !region_.bounds().empty();
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
        Builder builder(tree, name, toChannelValue(region_.background()),
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
        typename Region::Reader reader(region_);
        const auto coordinate = [&](std::size_t axis, int from, int voxel) {
            return clamped(from + std::int64_t{voxel} * width - placement.shift[axis]);
        };
        for (int i = 0; i < W; ++i)
            for (int j = 0; j < W; ++j)
                for (int k = 0; k < W; ++k) {
                    const GridIndex ijk{coordinate(0, origin.x, i), coordinate(1, origin.y, j),
                                        coordinate(2, origin.z, k)};
                    values[i + W * (j + W * k)] = toChannelValue(reader.value(ijk));
                }
    }

    std::shared_ptr<const void> owner_;
    Region region_;
};

} // namespace Stratum::io
