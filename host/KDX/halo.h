// Halo tiles: a tile's own values together with a layer of its neighbours', so that interpolation
// never leaves the tile.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"

namespace KDX::TileTree3D {

/// How a halo takes its values where the neighbour lies at another depth. Both modes give the same
/// values; they differ in where the parent's values come from.
enum class HaloMode : int {
    kFromParentBuffer = 2, ///< the caller hands over the parent's halo tile
    kStandalone = 4,       ///< parents are resolved on the way
};

/// Which neighbours a halo takes in, one bit each.
enum class HaloType : int {
    kFaces = 1,
    kEdges = 2,
    kCorners = 4,
    kOtherDepths = 8,
    kAll = 15,
};

/// Fills a halo channel from its plain source. Afterwards it has the source's tiles and depths, and
/// every tile holds the source's values and, beyond them, what the source has at the tile's own
/// depth in the cells around it:
///
/// - where the neighbour is of the same depth and holds data: its values;
/// - where it is finer there and holds no data at this depth: restricted from the finer tiles;
/// - where it is coarser: interpolated from the parent's halo tile, which is made by the same rule,
///   so that a field linear in space stays linear across the change;
/// - where there is nothing: the halo channel's default.
///
/// A constant field stays constant throughout. The last two arguments restrict the depths that are
/// filled, -1 standing for no restriction; tiles outside keep the default. Throws
/// std::invalid_argument when the source has no tree or another one than the container,
/// std::bad_alloc when memory runs out, and the halo channel then holds no data.
///
/// Without a restriction, tiles are filled when they are first read, unless HaloFilling is eager or
/// nothing shares the source (it is no Ptr's). Such a halo channel keeps the source alive, and
/// reading a tile may throw std::bad_alloc. As long as it is read, nobody may write into the
/// source, clear it or lay it out anew. All other halos are filled at once, in parallel.
template <class Traits, class T, int, int, int, int>
void computeHalo(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
                 const Container<Traits>& container,
                 Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo, int coarsestDepth,
                 int finestDepth);

/// Fills the halo tile of one tile: (W + 1)^3 values at local indices 0 .. W (Wd = W + 1, F = 0) or
/// (W + 2)^3 at -1 .. W (Wd = W, F = 1), by the rules of computeHalo with the channel's own
/// default. `parentBuffer` is the halo tile of `parent`; both may be null when nothing coarser
/// holds data.
template <class Traits, class T, int Wd, int F>
void setHaloTile(const Tile<Traits, Traits::kChildCount>& tile,
                 const Tile<Traits, Traits::kChildCount>* parent,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                 const TileData<T, Wd, F, 0>* parentBuffer, HaloMode mode,
                 typename Container<Traits>::ConstTileAccessor& accessor,
                 TileData<T, Wd, F, 0>& buffer);

/// For a tile with data: fills a buffer of (W + 3)^3 values at local indices -1 .. W + 1, one layer
/// below and two above the tile, by the rules of computeHalo with `defaultValue` where there is
/// nothing. A handle that names no tile gives the default throughout. `type` kAll is the only one
/// offered. `scale` and `offsetType` have no effect: samples lie where the tree's own offset type
/// says.
template <class Traits, class T, int, int, int, int>
void setHaloTile(const TreeIndex& index,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel, HaloMode mode,
                 HaloType type, typename Container<Traits>::ConstTileAccessor& accessor,
                 TileData<T, Traits::kVoxelsPerAxis + 1, 1, 0>& buffer, const T& defaultValue,
                 float scale, VoxelOffsetType offsetType);

} // namespace KDX::TileTree3D
