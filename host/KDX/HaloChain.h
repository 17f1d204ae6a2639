// The halo tiles of what a tile lies in.
#pragma once

#include "KDX/HaloTile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// The halo tiles of a tile's ancestors: those of a halo channel where that has them, and of others
/// one slot a depth, so that while tiles of one parent are filled in turn, each ancestor is made
/// once.
template <class Traits, class T>
class HaloChain {
public:
    using Channel = TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>;

    /// `channel`, if not null, has tiles of the layout of `halo`, and gives them for all depths
    /// coarser than those that are asked about.
    explicit HaloChain(const HaloTile<Traits, T>& halo, const Channel* channel = nullptr)
        : halo_(halo), channel_(channel) {}

    /// The halo tile of the parent of the tile, resolved through its own parents as far as values
    /// call for it. The tile must have a parent.
    const T* parentOf(const TreeIndex& index, const TileTree<Traits>& tree,
                      typename Container<Traits>::ConstTileAccessor& accessor) {
        const TreeIndex parent = tree.tile(index)->parentTreeIndex();
        if (channel_)
            if (const auto known = channel_->tileData(parent))
                return known.data();
        Slot& slot = slots_[parent.depth];
        if (slot.index != parent.index) {
            slot.values.resize(static_cast<std::size_t>(halo_.valueCount()));
            slot.index = -1;
            halo_.fill(
                parent, accessor, [&] { return parentOf(parent, tree, accessor); },
                slot.values.data());
            slot.index = parent.index;
        }
        return slot.values.data();
    }

private:
    struct Slot {
        std::int64_t index = -1;
        std::vector<T, Ostrum::Allocator<T>> values;
    };
    const HaloTile<Traits, T>& halo_;
    const Channel* channel_;
    std::array<Slot, Traits::kDepthCount> slots_;
};

} // namespace KDX::TileTree3D
