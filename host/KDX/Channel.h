// One named per-voxel attribute of a volume.
#pragma once

#include "KDX/ChannelLayout.h"
#include "KDX/ChannelPool.h"
#include "KDX/Object.h"
#include "KDX/TileData.h"
#include "KDX/VoxelTopology.h"
#include "Ostrum/String.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace KDX::TileTree3D {

template <class Traits, class T>
class RestrictedTiles;
template <class Traits, class T>
class HaloOnDemand;

/// Values of type T, tile by tile. Wd is the data width: W for a plain channel, W + 1 for a halo
/// channel, whose tiles repeat a layer of their neighbours' values (see computeHalo).
///
/// Halo tiles hold (W + 1)^3 values where the volume's offset type is 7. Other types interpolate
/// below a tile's first sample too; their halo tiles hold (W + 2)^3 values at local indices -1 ..
/// W, flat as ConstTileData<T, W, 1, 0> lays them out. The view's type does not show that: readers
/// of halo tiles take stride and base from the offset type.
template <class Traits, class T, int Wd, int Hf, int Reserved>
class OSTRUM_API Channel : public Component {
    static_assert(Wd == Traits::kVoxelsPerAxis ||
                  Wd == Traits::kVoxelsPerAxis + Traits::kHaloWidth);
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using View = ConstTileData<T, Wd, 0, 0>;
    using Tree = TileTree<Traits>;
    using Layout = ChannelLayout<Traits>;
    static constexpr bool kIsHalo = Wd != Traits::kVoxelsPerAxis;

    /// A channel without tiles yet; update() or computeHalo() lays it out. `pooledMemory` takes the
    /// values from ChannelMemoryPool; `callElementConstructor` false leaves them unset until they
    /// are written; update() keeps only the depths from `coarsestDepth` to `finestDepth`.
    Channel(const Ostrum::String& name, const T& defaultValue, bool pooledMemory,
            bool callElementConstructor, int coarsestDepth, int finestDepth);
    ~Channel() override;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Lays the channel out like the volume of the topology: every tile that holds voxels gets
    /// values, all equal to the default.
    void update(const VoxelTopology<Traits>& topology);

    /// What values are after a channel was laid out.
    enum class Values {
        kDefault, ///< all equal to the default
        kUnset,   ///< not initialised: whoever lays the channel out writes every one of them
    };

    /// Lays the channel out as given; values of a former layout are gone.
    void setLayout(Ostrum::Ptr<const Tree> tree, Ostrum::Ptr<const Layout> layout, Values initial);

    /// For a halo channel: lays it out like `source`, from which `tiles` fills each tile when it is
    /// first asked for.
    void setLayout(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
                   std::unique_ptr<HaloOnDemand<Traits, T>> tiles);

    /// Values of a tile in a channel of this kind on a tree with that offset type.
    static int valuesPerTile(VoxelOffsetType type);

    /// Drops all tiles.
    void clear() noexcept;

    const Ostrum::String& name() const { return name_; }
    const T& defaultValue() const { return defaultValue_; }
    bool pooledMemory() const { return pooledMemory_; }

    /// The finest and the coarsest depth that hold data, -1 when none does.
    int depth() const { return depth_; }
    int minDepth() const { return minDepth_; }

    /// The tile's values; false for a tile without data and for the invalid handle. In a halo
    /// channel that is filled on demand it may throw std::bad_alloc.
    View tileData(const TreeIndex& index) const { return View(values(index)); }

    /// Where the values of each of `count` tiles are, null for what tileData() has none of.
    void tilesData(const TreeIndex* indices, std::size_t count, const T** found) const {
        Level level;
        int depth = -1;
        for (std::size_t i = 0; i < count; ++i) {
            if (indices[i].depth != depth) {
                depth = indices[i].depth;
                level = Traits::isDepth(depth) ? levels_[static_cast<std::size_t>(depth)] : Level{};
            }
            found[i] = valuesIn(level, indices[i]);
        }
    }

    /// The same, to write to while the channel is built; null for a tile without data.
    T* writableTileData(const TreeIndex& index) { return const_cast<T*>(values(index)); }

    /// Values stored for a tile; at a depth; (-1) in all.
    std::int64_t elementCount(const TreeIndex& index) const;
    std::int64_t elementCount(int depth) const;

    /// Values of one tile: W^3, or what its halo layout takes.
    int valuesPerTile() const { return valuesPerTile_; }

    /// Values of tiles that are refined and hold no data of their own, restricted from their
    /// children; null for channels that need none.
    const RestrictedTiles<Traits, T>* restricted() const { return restricted_.get(); }
    void setRestricted(std::unique_ptr<const RestrictedTiles<Traits, T>> restricted);

    const Ostrum::Ptr<const Tree>& tree() const { return tree_; }
    const Ostrum::Ptr<const Layout>& layout() const { return layout_; }

    /// Bytes held for this channel.
    std::size_t memoryUsage() const;

private:
    static constexpr std::size_t kTilesPerGroup = 64;

    // Where a depth's tiles lie, by slot: side by side, or once they are filled, in groups or each
    // by itself.
    struct Level {
        T* values = nullptr;
        const std::atomic<const T*>* groups = nullptr;
        const std::atomic<const T*>* places = nullptr;
        const std::uint32_t* slots = nullptr;
        std::size_t tileCount = 0;
    };

    static constexpr std::size_t kNowhere = ~std::size_t{0};

    static std::size_t slotIn(const Level& level, const TreeIndex& index) {
        const auto tile = static_cast<std::size_t>(index.index);
        if (tile >= level.tileCount)
            return kNowhere;
        if (!level.slots)
            return tile;
        const std::uint32_t slot = level.slots[tile];
        return slot == Layout::kNoSlot ? kNowhere : slot;
    }

    // `level` must be of the tile's depth; none of its tiles holds data if that is no depth.
    const T* valuesIn(const Level& level, const TreeIndex& index) const {
        const std::size_t slot = slotIn(level, index);
        if (slot == kNowhere)
            return nullptr;
        if constexpr (kIsHalo)
            if (level.groups) {
                const T* group =
                    level.groups[slot / kTilesPerGroup].load(std::memory_order_acquire);
                if (group)
                    return group + slot % kTilesPerGroup * static_cast<std::size_t>(valuesPerTile_);
                const T* filled = level.places[slot].load(std::memory_order_acquire);
                return filled ? filled : fillOnDemand(index);
            }
        return level.values + slot * static_cast<std::size_t>(valuesPerTile_);
    }

    const T* values(const TreeIndex& index) const {
        return static_cast<unsigned>(index.depth) < levels_.size()
                   ? valuesIn(levels_[index.depth], index)
                   : nullptr;
    }

    const T* fillOnDemand(const TreeIndex& index) const;

    Ostrum::String name_;
    T defaultValue_;
    bool pooledMemory_, callElementConstructor_;
    int coarsestAllowed_, finestAllowed_;
    int valuesPerTile_ = 0;
    int minDepth_ = -1, depth_ = -1;
    std::array<Level, Traits::kDepthCount> levels_;
    std::array<ChannelMemory, Traits::kDepthCount> memory_;
    std::unique_ptr<const RestrictedTiles<Traits, T>> restricted_;
    std::unique_ptr<HaloOnDemand<Traits, T>> onDemand_;
    Ostrum::Ptr<const Tree> tree_;
    Ostrum::Ptr<const Layout> layout_;
};

} // namespace KDX::TileTree3D
