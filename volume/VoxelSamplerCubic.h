// Cubic sampling of a channel.
#pragma once

#include "KDX/Channel.h"
#include "volume/CubicPlace.h"
#include "volume/CubicStencil.h"
#include "volume/HaloTileRecency.h"
#include "volume/PlainCells.h"
#include "volume/StencilTiles.h"
#include "volume/VoxelSampler.h"
#include "volume/cubicKernels.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace KDX::TileTree3D {

/// Interpolates a channel between four voxels along each axis, at the deepest tile that holds the
/// position; it reads the plain channel and needs no halo channel. See docs/cubic.md for an
/// example of every setting.
///
/// With `jumpPolicy` 1, which is what the operators use, positions whose stencil lies in tiles of
/// one depth get the tensor product of the mode's kernel, and all others what linear sampling
/// gives. With any other value the general path interpolates across changes of resolution with
/// kernels for uneven spacing; it is slower, and clamps only in tiles of the finest depth where no
/// depths meet.
///
/// Outside the tree, in a tile without data, in a tile coarser than the channel's minDepth() and at
/// positions that are no index (NaN, infinite, beyond `int`) the value is the channel's default.
/// The first NaN that comes out is reported on the standard output, once for each library or
/// program that the sampler is part of.
///
/// A sampler serves one thread; a copy starts with empty caches. Sampling throws only when memory
/// runs out.
template <class Traits, class ValueT, class ScalarT, class PositionT, int, int>
class VoxelSamplerCubic : public VoxelSampler<Traits, PositionT> {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using Base = VoxelSampler<Traits, PositionT>;
    using Place = CubicPlace<Traits, PositionT>;

public:
    using PositionType = PositionT;                              ///< float3 or double3
    using PlainChannel = Channel<Traits, ValueT, W, 0, 0>;       ///< as volumes carry it
    using MaskChannel = Channel<Traits, std::uint16_t, W, 0, 0>; ///< of flag words
    /// What a sampler of the operators passes as depth limit.
    static constexpr int kFinestDepth = Traits::kFinestDepth;
    /// The depth limit that stands for no limit, whatever the tree's shape.
    static constexpr int kAnyDepth = 28;

    /// `clampToCellRange` keeps each component within the range of the cell's eight corners.
    ///
    /// `maskChannel`, which may be null, holds flag words; a voxel's degree of freedom is valid
    /// when its word has a bit of `maskBits`. The general path then takes such a voxel's stored
    /// value, at its own depth, where it would otherwise descend into finer tiles: a coarse voxel
    /// marked valid hides the finer values below it, at the cost of their accuracy.
    ///
    /// `tileCacheSize` halo tiles are kept for the path of `jumpPolicy` 1, which then interpolates
    /// in them also across changes of resolution; 0 keeps none.
    ///
    /// Throws std::invalid_argument when the parts do not belong to one tree.
    VoxelSamplerCubic(const Container<Traits>& container, const VoxelTopology<Traits>& topology,
                      const PlainChannel& channel, InterpolationMode mode, bool clampToCellRange,
                      std::uint32_t jumpPolicy, const MaskChannel* maskChannel,
                      std::uint32_t maskBits, std::uint64_t tileCacheSize);

    /// "kQuadraticC0Averaged", "kCubicC0", "kCubicC1", "kCubicC1Monotonic" or "kError".
    Ostrum::String modeName() const;
    Ostrum::String name() const override;

    /// The value in the cell that begins at voxel `in_lijk` of a tile, as locate() finds it: -1 (0
    /// where all samples lie at corners) to W - 1, fractions in [0, 1).
    /// Fractions beyond that become the nearest one within; for other indices, and for tiles that
    /// do not exist, the value is the default. Neighbouring tiles deeper than `depth` are not
    /// looked at. `debug` prints the general path's steps and checks them for NaN.
    ValueT sample(const TreeIndex& index, const int3& in_lijk, const PositionT& in_frac, int depth,
                  bool debug);

    /// The value at a position, given in world units for `space` kWorld (2) and in index units for
    /// any other value. Tiles deeper than `depth` are not sampled in.
    ValueT sample(const PositionT& position, int depth, int space) {
        VoxelLocation<PositionT> location;
        this->locate(position, std::min(maxDepth, depth), space, location);
        return sample(location.treeIndex, location.n, location.f, depth, false);
    }
    /// The same at any depth.
    ValueT sample(const PositionT& position, int space) {
        return sample(position, kAnyDepth, space);
    }
    /// The same for `count` positions, bit for bit, and faster.
    void sample(const PositionT* positions, std::size_t count, int depth, int space,
                ValueT* values);

private:
    // The stencil of the last cell that was sampled, and the tiles it came from. A copy belongs to
    // another task, whose positions lie elsewhere.
    struct LastCell {
        LastCell() = default;
        LastCell(const LastCell&) {}
        LastCell& operator=(const LastCell&) {
            index = {};
            return *this;
        }

        TreeIndex index;
        int3 n{0, 0, 0};
        bool atJump = false;
        CubicStencil<ValueT> stencil;
    };

    // What a sample is made of, as far as that is known before values are read.
    struct Ahead {
        Place place;
        const ValueT* own; // the values of the cell's tile
    };
    using Located = typename Base::Located;
    class CellsOfBlock;

    bool isLastCell(const Place& place) const {
        return lastCell.index == place.index && lastCell.n == place.n;
    }
    bool fetchTiles(const Place& place) {
        return stencilTiles.fetch(place.index.depth, place.tijk, place.n, kAllAxes, *container,
                                  *channel, this->accessor);
    }
    const ValueT* valuesOf(const TreeIndex& index) const {
        return index.depth >= minDepth ? channel->tileData(index).data() : nullptr;
    }
    bool open(const TreeIndex& index, const int3& n, const PositionT& f, Ahead& ahead) const;
    ValueT evaluate(const Ahead& ahead);
    ValueT linear(const Ahead& ahead);
    ValueT checked(const ValueT& value, const Place& place);
    ValueT sampleThroughCache(Ahead& ahead);
    ValueT sampleGeneral(Ahead& ahead, int deepest, bool debug);
    bool loadFromHaloTile(const Place& place);
    void sampleBlock(const PositionT* positions, std::size_t count, int depth, int space,
                     ValueT* values);
    bool interpolateCells(const CellsOfBlock& cells, const typename Base::Block& block,
                          ValueT* values);
    void completeCells(const CellsOfBlock& cells, ValueT* values);

    typename Container<Traits>::ConstTileAccessor tileAccessor;
    const Container<Traits>* container;
    const PlainChannel* channel;
    const VoxelTopology<Traits>* topology;
    ScalarT inverseVoxelSize;
    ValueT defaultValue;
    InterpolationMode mode;
    bool clampToCellRange;
    std::uint32_t jumpPolicy;
    const MaskChannel* maskChannel;
    std::uint32_t maskBits;
    int minDepth, maxDepth;
    HaloTileRecency<Traits, ValueT> haloTiles;
    StencilTiles<Traits, ValueT> stencilTiles;
    PlainCells<Traits, ValueT> plainCells;
    LastCell lastCell;
};

/// The cubic sampler of a tree shape and value type.
template <class Traits, class ValueT>
using CubicSampler = VoxelSamplerCubic<
    Traits, ValueT, Vantor::Math::ScalarOf<ValueT>,
    std::conditional_t<std::is_same_v<Vantor::Math::ScalarOf<ValueT>, double>, double3, float3>, 0,
    0>;

} // namespace KDX::TileTree3D
