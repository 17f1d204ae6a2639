// One grid of a file on its way to a channel.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/LeafCounts.h"
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
    SourceGrid(std::string channelName, const GridPlacement& gridPlacement,
               std::size_t bytesOfValue)
        : name(std::move(channelName)), placement(gridPlacement), valueBytes(bytesOfValue) {}
    virtual ~SourceGrid() = default;
    SourceGrid(const SourceGrid&) = delete;
    SourceGrid& operator=(const SourceGrid&) = delete;

    /// What the grid holds in a cube of our indices, its lower corner and its edge.
    virtual Content content(const std::array<std::int64_t, 3>& lower, std::int64_t edge) const = 0;

    /// A box of all voxels that are not background, in our indices; false when there are none.
    virtual bool bounds(std::array<std::int64_t, 3>& lower,
                        std::array<std::int64_t, 3>& upper) const = 0;

    /// Makes the grid's channel, once: its values may be gone afterwards.
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
    const std::size_t valueBytes; ///< of one value of the channel
};

/// A grid of the nodes that `Access` reads. `owner` keeps them.
template <class Access>
class TypedSourceGrid final : public SourceGrid {
    using Region = GridRegion<Access>;
    using T = decltype(toChannelValue(std::declval<typename Access::Value>()));

public:
    TypedSourceGrid(std::shared_ptr<const void> owner, Region region,
                    const std::string& channelName, const GridPlacement& gridPlacement)
        : SourceGrid(channelName, gridPlacement, sizeof(T)), owner_(std::move(owner)),
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
        Builder builder(
            tree, name, toChannelValue(region_.background()),
            [&holds](const auto&, const TreeIndex& index) {
                return holds[static_cast<std::size_t>(index.depth)]
                            [static_cast<std::size_t>(index.index)] != 0;
            },
            Builder::Initial::kUnset);
        LeafCounts<Region, Access> leaves(region_);
        if constexpr (Access::kReleasesLeaves)
            announceLeaves(*tree, holds, leaves);
        builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
            if (Ostrum::isJobCancelled())
                return;
            this->template fillTile<Shape>(tile, values, leaves);
        });
        throwIfInterrupted();
        const auto channel = builder.finish();
        for (const auto& channelName : names)
            Vantor::Geometry::addChannel(object, channel, channelName);
    }

    template <class Shape>
    void announceLeaves(const TileTree<Shape>& tree, const TileFlags& holds,
                        LeafCounts<Region, Access>& leaves) const {
        for (int depth = 0; depth <= Shape::kFinestDepth; ++depth) {
            const auto tiles = tree.tiles(depth);
            const auto& flags = holds[static_cast<std::size_t>(depth)];
            parallelForIsolated(tiles.size(), 256, [&](const IndexRange& range) {
                typename Region::Reader reader(region_);
                for (std::size_t i = range.begin(); i < range.end(); ++i)
                    if (flags[i] != 0)
                        reader.forEachPart(readBy<Shape>(tiles[i]), [&](auto&, const auto& cover) {
                            if (cover.voxels)
                                leaves.announce(cover.leaf);
                        });
            });
        }
        leaves.releaseUnannounced();
    }

    // The voxels that a tile is made of: one for a coarse tile, which is constant throughout.
    template <class Shape, class Tile>
    GridBox readBy(const Tile& tile) const {
        const int edge = tile.depth() < Shape::kFinestDepth ? 1 : Shape::kVoxelsPerAxis;
        GridBox box{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::int64_t lower = inGrid(tile.tijk())[axis];
            box.min[axis] = clamped(lower);
            box.max[axis] = clamped(lower + edge - 1);
        }
        return box;
    }

    template <class Shape, class Tile, class Values>
    void fillTile(const Tile& tile, Values values, LeafCounts<Region, Access>& leaves) const {
        constexpr int W = Shape::kVoxelsPerAxis;
        typename Region::Reader reader(region_);
        const GridBox box = readBy<Shape>(tile);
        const bool isWhole = box.max[0] - box.min[0] == W - 1 && box.max[1] - box.min[1] == W - 1 &&
                             box.max[2] - box.min[2] == W - 1;
        if (tile.depth() < Shape::kFinestDepth)
            std::ranges::fill(values, toChannelValue(reader.value(box.min)));
        else if (!isWhole)
            fillVoxels<W>(inGrid(tile.tijk()), reader, values);
        reader.forEachPart(box, [&](const GridBox& part, const typename Region::Cover& cover) {
            if (isWhole && part == box && cover.voxels)
                copyPart<W, W>(part, box, cover, values);
            else if (isWhole)
                copyPart<W, 0>(part, box, cover, values);
            if constexpr (Access::kReleasesLeaves)
                if (cover.voxels)
                    leaves.done(cover.leaf);
        });
    }

    // A tile that is partly beyond the grid's own indices, where there is background.
    template <int W, class Values>
    void fillVoxels(const std::array<std::int64_t, 3>& lower, typename Region::Reader& reader,
                    Values values) const {
        for (int k = 0; k < W; ++k)
            for (int j = 0; j < W; ++j)
                for (int i = 0; i < W; ++i)
                    values[i + W * (j + W * k)] = toChannelValue(reader.value(
                        {clamped(lower[0] + i), clamped(lower[1] + j), clamped(lower[2] + k)}));
    }

    // `Edge` is that of a cubic part when it is known beforehand, so that its loops unroll.
    template <int W, int Edge, class Values>
    static void copyPart(const GridBox& part, const GridBox& tile,
                         const typename Region::Cover& cover, Values values) {
        std::array<int, 3> size{}, at{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            size[axis] = Edge != 0 ? Edge : part.max[axis] - part.min[axis] + 1;
            at[axis] = Edge == W ? 0 : part.min[axis] - tile.min[axis];
        }
        constexpr int kRow = 1 << Access::kLeafLog2;
        const auto* from = cover.voxels ? cover.voxels + Region::voxelOf(part.min) : nullptr;
        for (int k = 0; k < size[2]; ++k)
            for (int j = 0; j < size[1]; ++j)
                for (int i = 0; i < size[0]; ++i)
                    values[at[0] + i + W * (at[1] + j + W * (at[2] + k))] =
                        toChannelValue(from ? from[kRow * (kRow * i + j) + k] : cover.other);
    }

    std::array<std::int64_t, 3> inGrid(const int3& ijk) const {
        return {ijk.x - placement.shift[0], ijk.y - placement.shift[1], ijk.z - placement.shift[2]};
    }

    std::shared_ptr<const void> owner_;
    Region region_;
};

} // namespace Stratum::io
