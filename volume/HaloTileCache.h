// The halo tiles that a linear sampler makes on demand.
#pragma once

#include "KDX/halo.h"

#include <array>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// One halo tile per depth, with Wd and F as TileData lays them out, made when a sample first needs
/// it and kept until another tile of its depth takes the slot. Slots come to exist on first use,
/// and a copy starts empty, so that samplers are cheap to copy.
template <class Traits, class T, int Wd, int F>
class HaloTileCache {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;
    using Buffer = TileData<T, Wd, F, 0>;

    HaloTileCache() = default;
    HaloTileCache(const HaloTileCache&) {}
    HaloTileCache& operator=(const HaloTileCache&) {
        entries_ = {};
        memos_ = {};
        return *this;
    }

    /// The values of the tile's halo tile. `sampleCount` is the stamp of this use.
    const T* values(const TreeIndex& index, const Container<Traits>& container,
                    const Plain& channel, Accessor& accessor, std::uint64_t sampleCount) {
        Memo& memo = memos_[index.depth];
        if (memo.tile != index.index)
            find(index, container, channel, accessor, sampleCount);
        return entries_[memo.slot].buffer.data();
    }

    /// Whether the tile's halo tile is at hand.
    bool holds(const TreeIndex& index) const { return memos_[index.depth].tile == index.index; }

private:
    // The stamp tells when a slot was last used; with one slot a depth nothing has to choose by it.
    struct Entry {
        std::int64_t tile = -1;
        Buffer buffer;
        std::uint64_t stamp = 0;
    };
    struct Memo {
        std::int64_t tile = -1;
        std::size_t slot = 0;
    };

    // Sets the depth's memo to the tile's slot, filling the slot if it holds another tile.
    void find(const TreeIndex& index, const Container<Traits>& container, const Plain& channel,
              Accessor& accessor, std::uint64_t sampleCount);
    void fill(const TreeIndex& index, const Container<Traits>& container, const Plain& channel,
              Accessor& accessor, std::uint64_t sampleCount, Buffer& buffer);

    std::vector<Entry> entries_;
    std::array<Memo, Traits::kDepthCount> memos_{};
};

} // namespace KDX::TileTree3D
