// The base of all voxel samplers: from a position to a tile and a place inside it.
#pragma once

#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"
#include "Ostrum/String.h"
#include "volume/treeScale.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace KDX::TileTree3D {

using Vantor::Math::double3;
using Vantor::Math::float3;

/// The space a position is given in. Every value other than kWorld means index units.
enum PositionSpace : int { kIndex = 0, kWorld = 2 };

/// Where a position lies: the tile found, the data voxel below it and the fractions beyond that
/// voxel's sample. Local indices run from -1 (from 0 for offset type 7) to W - 1. A fraction lies
/// in [0, 1), or is 1 or more where rounding at a tile's upper face put the position at W.
template <class PositionT>
struct VoxelLocation {
    TreeIndex treeIndex;
    int3 n{0, 0, 0};
    PositionT f{0, 0, 0};
};

/// Finds tiles. A sampler is a value object for one thread: copy it for every task. It holds
/// pointers to the volume's parts, which must outlive it. `PositionT` is `float3`, or `double3` for
/// values of double precision; positions are computed in its precision.
template <class Traits, class PositionT>
class VoxelSampler {
public:
    using ScalarT = std::conditional_t<std::is_same_v<PositionT, double3>, double, float>;
    using ContainerT = Container<Traits>;

    VoxelSampler(const ContainerT& container, const VoxelTopology<Traits>& topology);
    VoxelSampler(const VoxelSampler& other);
    VoxelSampler& operator=(const VoxelSampler& other);
    virtual ~VoxelSampler();

    /// The method's name: "kNone" for the base.
    virtual Ostrum::String name() const;

    /// Finds the deepest tile of depth at most `depthLimit` that holds the position, whether it
    /// holds data or not, and the place inside it. Positions that are NaN or outside the range of
    /// an `int` index, and depth limits below 0, find no tile: `location.treeIndex` is then
    /// invalid and the result false.
    bool locate(const PositionT& position, int depthLimit, int space,
                VoxelLocation<PositionT>& location) {
        location.treeIndex = {};
        const PositionT p = space == kWorld ? position * worldToVoxel : position;
        if (depthLimit < 0 || !isIndex(p.x) || !isIndex(p.y) || !isIndex(p.z))
            return false;
        const int3 ijk{floorToInt(p.x), floorToInt(p.y), floorToInt(p.z)};
        if (currentTilePtr->depth() != depthLimit ||
            !currentTilePtr->contains(ijk, Traits::tileExtent(depthLimit))) {
            currentTile = accessor.tileImpl(ijk, depthLimit);
            if (!currentTile)
                return false;
        }
        const auto& tile = *currentTilePtr;
        const ScalarT scale = treeScale<Traits, ScalarT>(tile.depth());
        location.treeIndex = tile.treeIndex();
        place(p.x, tile.tijk().x, scale, offset.x, location.n.x, location.f.x);
        place(p.y, tile.tijk().y, scale, offset.y, location.n.y, location.f.y);
        place(p.z, tile.tijk().z, scale, offset.z, location.n.z, location.f.z);
        return true;
    }

protected:
    using Record = typename ContainerT::Record;

    typename ContainerT::ConstTileAccessor accessor;
    /// 1 / voxelSize(), 0 for a voxel size of 0.
    ScalarT worldToVoxel;
    PositionT offset;
    VoxelOffsetType offsetType;
    Record currentTile;
    /// Points to `currentTile`, in every copy to its own.
    const Record* currentTilePtr = &currentTile;

private:
    static bool isIndex(ScalarT v) {
        return v >= static_cast<ScalarT>(-0x1p31) && v < static_cast<ScalarT>(0x1p31);
    }
    static int floorToInt(ScalarT v) { return static_cast<int>(std::floor(v)); }

    // u, the distance from the tile's first sample in its data voxels, split into voxel and
    // fraction. The distance from the tile's origin is taken in double: for tiles that begin where
    // `ScalarT` can no longer tell neighbouring indices apart it would come out wrong by whole
    // voxels, and everywhere else the result is the same.
    void place(ScalarT p, int origin, ScalarT scale, ScalarT voxelOffset, int& n,
               ScalarT& f) const {
        constexpr int W = Traits::kVoxelsPerAxis;
        constexpr auto kSnap = static_cast<ScalarT>(-1e-5F);
        ScalarT u = static_cast<ScalarT>(static_cast<double>(p) - origin) * scale - voxelOffset;
        if (u > kSnap)
            u = std::max(u, ScalarT{0});
        const ScalarT lowest = offsetType == VoxelOffsetType::kCorner ? ScalarT{0} : ScalarT{-1};
        const ScalarT voxel = std::min(std::floor(u), ScalarT{W - 1});
        // Not reached unless the topology's offset disagrees with its type or is not finite.
        if (!(voxel >= lowest)) [[unlikely]] {
            n = static_cast<int>(lowest);
            f = 0;
            return;
        }
        n = static_cast<int>(voxel);
        f = u - voxel;
    }
};

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    extern template class VoxelSampler<Traits<B, W, 1>, float3>;                                   \
    extern template class VoxelSampler<Traits<B, W, 1>, double3>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
