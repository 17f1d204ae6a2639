// Trilinear sampling of a channel.
#pragma once

#include "KDX/Channel.h"
#include "volume/PlainCells.h"
#include "volume/VoxelSampler.h"
#include "volume/haloLayout.h"

#include <array>
#include <cstddef>

namespace KDX::TileTree3D {

/// Interpolates a channel at the deepest tile that holds the position. With a halo channel every
/// sample reads one tile; with the plain channel, samples whose corners leave their tile read a
/// halo tile that the sampler makes and keeps. Both give the same values, bit for bit, when the
/// halo channel has the plain one's default value.
///
/// Outside the tree, in a tile without data, in a tile coarser than the channel's minDepth() and at
/// positions that are no index (NaN, infinite, beyond `int`) the value is the channel's default.
///
/// A sampler serves one thread; copies are cheap and start with empty caches. Sampling throws only
/// when memory for a halo tile runs out.
template <class Traits, class ValueT, int, class ScalarT, class PositionT, int, int, int, int>
class VoxelSamplerLinear : public VoxelSampler<Traits, PositionT> {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using Base = VoxelSampler<Traits, PositionT>;

public:
    using PositionType = PositionT;                           ///< float3 or double3
    using PlainChannel = Channel<Traits, ValueT, W, 0, 0>;    ///< as volumes carry it
    using HaloChannel = Channel<Traits, ValueT, W + 1, 0, 0>; ///< as computeHalo() fills it
    /// What a sampler of the operators passes as depth limit.
    static constexpr int kFinestDepth = Traits::kFinestDepth;
    static constexpr int kAnyDepth = kFinestDepth; ///< no limit

    /// Throws std::invalid_argument when the parts do not belong to one tree.
    VoxelSamplerLinear(const Container<Traits>& container, const VoxelTopology<Traits>& topology,
                       const PlainChannel& channel);
    /// The same on a halo channel.
    VoxelSamplerLinear(const Container<Traits>& container, const VoxelTopology<Traits>& topology,
                       const HaloChannel& haloChannel);

    /// "kLinear".
    Ostrum::String name() const override;

    /// The value at a position, given in world units for `space` kWorld (2) and in index units for
    /// any other value. Tiles deeper than `maxDepthArg` are not sampled in; beside them, they lend
    /// values that are restricted to a voxel of the tile that is.
    ValueT sample(const PositionT& position, int maxDepthArg, int space) {
        Corners corners;
        return gather(position, maxDepthArg, space, corners) ? trilinear(corners.cell, corners.f)
                                                             : defaultValue;
    }
    /// The same, as an out-parameter.
    void sample(const PositionT& position, int maxDepthArg, int space, ValueT& value) {
        value = sample(position, maxDepthArg, space);
    }
    /// The value at a world position, at any depth.
    ValueT sample(const PositionT& position) { return sample(position, kFinestDepth, kWorld); }

    /// The same for `count` positions, bit for bit, and faster.
    void sample(const PositionT* positions, std::size_t count, int maxDepthArg, int space,
                ValueT* values) {
        forEachCell(
            positions, count, maxDepthArg, space,
            [values](std::size_t i, const Corners& corners) {
                values[i] = trilinear(corners.cell, corners.f);
            },
            [this, values](std::size_t i) { values[i] = defaultValue; });
    }

    /// As sample(), and writes the gradient per world unit: the derivative of the interpolation in
    /// the cell that holds the position, which jumps where cells meet. Where sample() gives the
    /// default, the gradient is 0; with a voxel size of 0 it is not finite.
    template <class V = ValueT>
    requires std::is_floating_point_v<V> V sampleGradient(const PositionT& position,
                                                          int maxDepthArg, int space,
                                                          PositionT& gradient) {
        Corners corners;
        const bool found = gather(position, maxDepthArg, space, corners);
        gradient = found ? gradientIn<V>(corners) : PositionT{0, 0, 0};
        return found ? trilinear(corners.cell, corners.f) : defaultValue;
    }

    /// The gradients alone at `count` positions, bit for bit.
    template <class V = ValueT>
    requires std::is_floating_point_v<V>
    void sampleGradient(const PositionT* positions, std::size_t count, int maxDepthArg, int space,
                        PositionT* gradients) {
        forEachCell(
            positions, count, maxDepthArg, space,
            [this, gradients](std::size_t i, const Corners& corners) {
                gradients[i] = gradientIn<V>(corners);
            },
            [gradients](std::size_t i) {
                gradients[i] = {0, 0, 0};
            });
    }

private:
    // A cell, and where in it the position lies.
    struct Corners {
        Cell<ValueT> cell;
        PositionT f{};
        ScalarT scale{}; // data voxels an index unit

        const ValueT& at(int x, int y, int z) const { return cell.at(x, y, z); }
    };

    // Calls use(i, corners) for all positions in turn, and absent(i) where the value is the
    // default.
    template <class Use, class Absent>
    void forEachCell(const PositionT* positions, std::size_t count, int maxDepthArg, int space,
                     const Use& use, const Absent& absent) {
        constexpr std::size_t kBlock = Base::Block::kSize;
        typename Base::Located located;
        for (std::size_t begin = 0; begin < count; begin += kBlock) {
            this->locate(positions + begin, std::min(kBlock, count - begin),
                         std::min(maxDepth, maxDepthArg), space, located);
            const auto useOf = [&](std::size_t i, const Corners& found) { use(begin + i, found); };
            const auto absentOf = [&](std::size_t i) { absent(begin + i); };
            if (haloChannel)
                forEachHaloCell(located, useOf, absentOf);
            else
                forEachPlainCell(located, useOf, absentOf);
        }
    }

    // Step by step for a block of positions: while a processor waits for one position's tile or
    // values, it is busy with those of the next.
    template <class Use, class Absent>
    void forEachHaloCell(const typename Base::Located& located, const Use& use,
                         const Absent& absent) {
        constexpr std::size_t kBlock = Base::Block::kSize;
        const auto& block = located.block;
        const int stride = haloLayout_.stride;
        std::array<const ValueT*, kBlock> tiles, lower;
        haloChannel->tilesData(located.tiles.data(), located.runCount, tiles.data());
        for (std::size_t r = 0; r < located.runCount; ++r)
            for (std::size_t i = located.begins[r]; i < located.begins[r + 1]; ++i) {
                lower[i] = tiles[r] ? tiles[r] + block.value[i] : nullptr;
                if (tiles[r])
                    Cell<ValueT>(lower[i], stride).expect();
            }
        for (std::size_t i = 0; i < located.begins[located.runCount]; ++i)
            if (lower[i])
                use(i, Corners{{lower[i], stride},
                               {block.fraction[0][i], block.fraction[1][i], block.fraction[2][i]},
                               block.scale[i]});
            else
                absent(i);
    }

    // The same on the plain channel. Cells may lie in a cache that the next one takes over, so they
    // are read one by one; what their own tiles hold of them is asked for ahead.
    template <class Use, class Absent>
    void forEachPlainCell(const typename Base::Located& located, const Use& use,
                          const Absent& absent) {
        const auto& block = located.block;
        std::array<const ValueT*, Base::Block::kSize> tiles;
        channel->tilesData(located.tiles.data(), located.runCount, tiles.data());
        const auto inside = [&block](int axis, std::size_t i) {
            return std::clamp(block.voxel[axis][i], 0, W - 2);
        };
        for (std::size_t r = 0; r < located.runCount; ++r)
            for (std::size_t i = located.begins[r]; tiles[r] && i < located.begins[r + 1]; ++i)
                Cell<ValueT>(tiles[r], {W, 0}, {inside(0, i), inside(1, i), inside(2, i)}).expect();
        for (std::size_t r = 0; r < located.runCount; ++r)
            for (std::size_t i = located.begins[r]; i < located.begins[r + 1]; ++i)
                if (tiles[r])
                    use(i,
                        Corners{plainCells.read(
                                    located.tiles[r], tiles[r],
                                    {block.voxel[0][i], block.voxel[1][i], block.voxel[2][i]}),
                                {block.fraction[0][i], block.fraction[1][i], block.fraction[2][i]},
                                block.scale[i]});
                else
                    absent(i);
    }

    // Finds the eight corners; false where the value is the default.
    bool gather(const PositionT& position, int maxDepthArg, int space, Corners& corners) {
        VoxelLocation<PositionT> location;
        if (!this->locate(position, std::min(maxDepth, maxDepthArg), space, location) ||
            location.treeIndex.depth < minDepth)
            return false;
        corners.f = location.f;
        corners.scale = treeScale<Traits, ScalarT>(location.treeIndex.depth);
        const ValueT* tile = haloChannel ? haloChannel->tileData(location.treeIndex).data()
                                         : channel->tileData(location.treeIndex).data();
        if (!tile)
            return false;
        corners.cell = haloChannel ? Cell<ValueT>(tile, haloLayout_, location.n)
                                   : plainCells.read(location.treeIndex, tile, location.n);
        return true;
    }

    template <class V>
    PositionT gradientIn(const Corners& corners) const {
        return slope<V>(corners) * (corners.scale * inverseVoxelSize);
    }

    template <class V>
    static PositionT slope(const Corners& q) {
        using Vantor::Math::lerp;
        const auto bilinear = [](V v00, V v10, V v01, V v11, ScalarT s, ScalarT t) {
            return lerp(lerp(v00, v10, s), lerp(v01, v11, s), t);
        };
        const auto dx = [&q](int y, int z) { return q.at(1, y, z) - q.at(0, y, z); };
        const auto dy = [&q](int x, int z) { return q.at(x, 1, z) - q.at(x, 0, z); };
        const auto dz = [&q](int x, int y) { return q.at(x, y, 1) - q.at(x, y, 0); };
        return {bilinear(dx(0, 0), dx(1, 0), dx(0, 1), dx(1, 1), q.f.y, q.f.z),
                bilinear(dy(0, 0), dy(1, 0), dy(0, 1), dy(1, 1), q.f.x, q.f.z),
                bilinear(dz(0, 0), dz(1, 0), dz(0, 1), dz(1, 1), q.f.x, q.f.y)};
    }

    PlainCells<Traits, ValueT> plainCells;
    /// 1 / voxelSize() without a guard against 0: only gradients are scaled by it.
    ScalarT inverseVoxelSize;
    const PlainChannel* channel;
    const HaloChannel* haloChannel;
    const VoxelTopology<Traits>* topology;
    HaloLayout haloLayout_;
    ValueT defaultValue;
    int minDepth, maxDepth;
};

/// The linear sampler of a tree shape and value type.
template <class Traits, class ValueT>
using LinearSampler = VoxelSamplerLinear<
    Traits, ValueT, 1, Vantor::Math::ScalarOf<ValueT>,
    std::conditional_t<std::is_same_v<Vantor::Math::ScalarOf<ValueT>, double>, double3, float3>, 0,
    0, 1, 0>;

} // namespace KDX::TileTree3D
