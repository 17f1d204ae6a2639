// A slow evaluator of a channel, voxel by voxel, that knows nothing of halos: what computeHalo(),
// setHaloTile() and the samplers are held against.
#pragma once

#include "support/fields.h"

#include <array>
#include <map>
#include <optional>
#include <vector>

namespace StratumTest {

/// All tiles, in the order of a walk.
template <class Traits>
struct TileList : Visitor<Container<Traits>> {
    using Tile = typename Container<Traits>::Tile;

    explicit TileList(const Container<Traits>& container) { container.reduce(*this); }
    void beginTile(const Tile& tile) override { tiles.push_back(&tile); }
    bool visitInteriorVoxel(const Tile&, const int3&) override { return false; }
    void endTile(const Tile&) override {}

    std::vector<const Tile*> tiles;
};

template <class Traits>
class Reference {
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;

public:
    using Voxel = std::array<std::int64_t, 3>;

    /// The channel must outlive the reference.
    Reference(const Plain<Traits, double>& channel, const Container<Traits>& container,
              VoxelOffsetType type)
        : channel_(channel) {
        auto accessor = container.tileAccessor();
        for (const auto* tile : TileList<Traits>(container).tiles) {
            const TreeIndex index = accessor.tileImpl(tile->tijk(), tile->depth()).treeIndex();
            tiles_[index.depth][voxelOf(tile->tijk(), Traits::tileExtent(index.depth))] =
                index.index;
        }
        const auto offset = voxelOffset(type);
        offset_ = {offset.x, offset.y, offset.z};
    }

    /// The depth of the deepest tile, not deeper than `depth`, that covers a voxel; else -1.
    int deepest(int depth, const Voxel& voxel) const {
        int d = std::min(depth, Traits::kFinestDepth);
        while (d >= 0 && !tileAt(d, voxel, depth).isValid())
            --d;
        return d;
    }

    /// The channel at a voxel of a depth: its own value, else the mean of finer ones, else
    /// interpolated from the coarser tile that covers it, else the default.
    double value(int depth, const Voxel& voxel) const {
        const int found = deepest(depth, voxel);
        if (found == depth)
            return ownOrFiner(depth, voxel).value_or(channel_.defaultValue());
        if (found < 0 || !channel_.tileData(tileAt(found, voxel, depth)))
            return channel_.defaultValue();
        std::array<double, 3> coarse;
        for (std::size_t axis = 0; axis < 3; ++axis)
            coarse[axis] = (static_cast<double>(voxel[axis]) + offset_[axis]) / B - offset_[axis];
        return interpolate(depth - 1, coarse);
    }

    /// What a sampler should find at a position in index units.
    double sample(const double3& p, int depthLimit) const {
        const Voxel finest{static_cast<std::int64_t>(std::floor(p.x)),
                           static_cast<std::int64_t>(std::floor(p.y)),
                           static_cast<std::int64_t>(std::floor(p.z))};
        int depth = std::min(depthLimit, channel_.depth());
        while (depth >= 0 && !tileAt(depth, finest, Traits::kFinestDepth).isValid())
            --depth;
        if (depth < 0 || !channel_.tileData(tileAt(depth, finest, Traits::kFinestDepth)))
            return channel_.defaultValue();
        const double width = Traits::voxelWidth(depth);
        return interpolate(
            depth, {p.x / width - offset_[0], p.y / width - offset_[1], p.z / width - offset_[2]});
    }

private:
    static Voxel voxelOf(const int3& ijk, std::int64_t width) {
        return {floorDiv(ijk.x, width), floorDiv(ijk.y, width), floorDiv(ijk.z, width)};
    }

    // The tile of depth `depth` that covers a voxel of depth `voxelDepth`, if there is one.
    TreeIndex tileAt(int depth, const Voxel& voxel, int voxelDepth) const {
        const std::int64_t perTile = Traits::tileExtent(depth) / Traits::voxelWidth(voxelDepth);
        const auto found =
            tiles_[depth].find({floorDiv(voxel[0], perTile), floorDiv(voxel[1], perTile),
                                floorDiv(voxel[2], perTile)});
        return found == tiles_[depth].end() ? TreeIndex{} : TreeIndex{found->second, depth};
    }

    std::optional<double> ownOrFiner(int depth, const Voxel& voxel) const {
        const TreeIndex index = tileAt(depth, voxel, depth);
        if (!index.isValid())
            return {};
        if (const auto own = channel_.tileData(index)) {
            const auto local = [&](std::size_t axis) {
                return static_cast<int>(voxel[axis] - floorDiv(voxel[axis], W) * W);
            };
            return own(int3{local(0), local(1), local(2)});
        }
        if (depth == Traits::kFinestDepth)
            return {};
        double sum = 0;
        int count = 0;
        const auto children = [&](std::size_t axis) { return offset_[axis] == 0 ? 1 : B; };
        for (int z = 0; z < children(2); ++z)
            for (int y = 0; y < children(1); ++y)
                for (int x = 0; x < children(0); ++x)
                    if (const auto child = ownOrFiner(
                            depth + 1, {B * voxel[0] + x, B * voxel[1] + y, B * voxel[2] + z})) {
                        sum += *child;
                        ++count;
                    }
        return count > 0 ? std::optional<double>(sum / count) : std::nullopt;
    }

    // Trilinear between the voxels of a depth. Voxels of weight 0 are not looked at.
    double interpolate(int depth, const std::array<double, 3>& at) const {
        double sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            double weight = 1;
            Voxel voxel;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double lower = std::floor(at[axis] + 1e-9), f = at[axis] - lower;
                const bool upper = corner >> axis & 1;
                weight *= upper ? f : 1 - f;
                voxel[axis] = static_cast<std::int64_t>(lower) + upper;
            }
            if (std::abs(weight) > 1e-9)
                sum += weight * value(depth, voxel);
        }
        return sum;
    }

    const Plain<Traits, double>& channel_;
    std::array<std::map<Voxel, std::int64_t>, Traits::kDepthCount> tiles_;
    std::array<double, 3> offset_;
};

} // namespace StratumTest
