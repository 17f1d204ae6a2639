// Which tile a stencil point of the general path takes its value from.
#pragma once

#include "volume/CubicDiagnostics.h"
#include "volume/StencilTiles.h"
#include "volume/cubicKernels.h"

#include <array>
#include <cstdint>

namespace KDX::TileTree3D {

/// The channels and settings of the sampler that asks.
template <class Traits, class T>
struct CubicSource {
    static constexpr int W = Traits::kVoxelsPerAxis;

    const Container<Traits>& container;
    const Channel<Traits, T, W, 0, 0>& channel;
    const Channel<Traits, std::uint16_t, W, 0, 0>* maskChannel;
    std::uint32_t maskBits;
    const T& defaultValue;
    InterpolationMode mode;
    VoxelOffsetType offsetType;
};

/// The tile that a voxel's value comes from, and which of the cases that is.
template <class T>
struct StencilLevel {
    int getValueCase = 2; ///< 1 coarser, 2 no data, 3 the cell's own depth, 4 finer
    TreeIndex index;
    int3 tijk{0, 0, 0};
    const T* values = nullptr;
};

/// Finds the levels of one sample's stencil points. Places are index units from the cell's lower
/// voxel.
template <class Traits, class T, class PositionT>
class StencilLevels {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using Level = StencilLevel<T>;

public:
    using Tiles = StencilTiles<Traits, T>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;
    using Index = std::array<std::int64_t, 3>;

    /// `tiles` must hold the block around the cell. No tile deeper than `deepest` is looked at.
    StencilLevels(const CubicSource<Traits, T>& source, CubicPlace<Traits, PositionT>& place,
                  int deepest, const Trace& tracing, const Tiles& tiles, Accessor& accessor)
        : source_(source), place_(place), deepest_(deepest), trace(tracing), tiles_(tiles),
          accessor_(accessor), llc_{place.llc().x, place.llc().y, place.llc().z} {}

    const Index& llc() const { return llc_; }

    /// Where the value at a place comes from.
    Level levelAt(const Index& g) {
        const TreeIndex found = getTile(g);
        const T* values = source_.channel.tileData(found).data();
        const int depth = place_.index.depth;
        if (!found.isValid() || (found.depth < depth && !values)) {
            trace("getDefaultValue");
            return {};
        }
        const int3& tijk = source_.container.tile(found).tijk();
        if (found.depth < depth) {
            trace("case: tile.depth() < depth");
            return {1, found, tijk, values};
        }
        const int3 lijk = voxelIn(g, tijk, Traits::tileExtent(depth), Traits::voxelWidth(depth));
        trace("lijk = ", detail::vectorText(lijk));
        const Level own{values ? 3 : 2, found, tijk, values};
        if (values && source_.maskChannel && readDof(found, lijk)) {
            trace("case: dof is valid, branch 1");
            return own;
        }
        return finerLevel(own, g);
    }

private:
    // The tile at the cell's depth, or the deepest above it, that holds a place (from the cell's
    // lower voxel).
    TreeIndex getTile(const Index& g) {
        const WideIndex ijk{llc_[0] + g[0], llc_[1] + g[1], llc_[2] + g[2]};
        // A coarser tile of the block also holds places for which there is a finer one.
        for (int i = 0; i < 8; ++i)
            if (const TreeIndex& tile = tiles_.tile(i);
                tile.depth == place_.index.depth && holds(tile, ijk)) {
                trace("io_foundInCache = ", true);
                return tile;
            }
        trace("io_foundInCache = ", false);
        return accessor_.tileImpl(ijk, place_.index.depth).treeIndex();
    }

    bool holds(const TreeIndex& index, const WideIndex& ijk) const {
        const int3& tijk = source_.container.tile(index).tijk();
        const std::int64_t extent = Traits::tileExtent(index.depth);
        const auto inside = [extent](std::int64_t v, std::int64_t origin) {
            return v >= origin && v < origin + extent;
        };
        return inside(ijk.x, tijk.x) && inside(ijk.y, tijk.y) && inside(ijk.z, tijk.z);
    }

    bool readDof(const TreeIndex& index, const int3& voxel) {
        const auto flags = source_.maskChannel->tileData(index);
        place_.dofIsValid = flags && (flags(voxel) & source_.maskBits) != 0;
        return place_.dofIsValid;
    }

    // Which piece of the given width a place lies in, counted from where the tile, or the part of
    // it of the given extent that holds the place, begins. In 64 bits: the last tile may end beyond
    // int.
    int3 voxelIn(const Index& g, const int3& tijk, std::int64_t extent, std::int64_t width) const {
        const auto along = [&](std::size_t axis, int origin) {
            return static_cast<int>((llc_[axis] + g[axis] - origin) % extent / width);
        };
        return {along(0, tijk.x), along(1, tijk.y), along(2, tijk.z)};
    }

    // The deepest tile with data below a tile of the cell's depth, or that tile itself.
    Level finerLevel(const Level& own, const Index& g) {
        Level best = own;
        const auto* tile = &source_.container.tile(own.index);
        for (;;) {
            const int cell = tile->tileVoxelWidth() / Traits::kChildrenPerAxis;
            const int3 tlijk = voxelIn(g, tile->tijk(), tile->tileVoxelWidth(), cell);
            const bool isLeaf = tile->isLeaf(tlijk);
            trace("tlijk = ", detail::vectorText(tlijk), isLeaf ? ", isLeaf = true" : "");
            if (isLeaf || tile->depth() >= deepest_)
                break;
            trace("case: neighbor refined");
            const TreeIndex child = tile->childTreeIndex(tlijk);
            const int3 voxel = voxelIn(g, tile->tijk(), cell, tile->childVoxelDataWidth());
            tile = &source_.container.tile(child);
            const T* values = source_.channel.tileData(child).data();
            if (!values)
                continue;
            best = {4, child, tile->tijk(), values};
            if (source_.maskChannel && readDof(child, voxel)) {
                trace("case: dof is valid, branch 2");
                break;
            }
        }
        trace(best.getValueCase == 3 ? "getValueAtThisLevel"
              : best.values          ? "getValueAtFinerLevel"
                                     : "getDefaultValue");
        return best;
    }

    const CubicSource<Traits, T>& source_;
    CubicPlace<Traits, PositionT>& place_;
    int deepest_;
    const Trace& trace;
    const Tiles& tiles_;
    Accessor& accessor_;
    Index llc_;
};

} // namespace KDX::TileTree3D
