#pragma once

#include "volume/HaloTileCache.h"

namespace KDX::TileTree3D {

template <class Traits, class T, int Wd, int F>
void HaloTileCache<Traits, T, Wd, F>::find(const TreeIndex& index,
                                           const Container<Traits>& container, const Plain& channel,
                                           Accessor& accessor, std::uint64_t sampleCount) {
    if (entries_.empty())
        entries_.resize(static_cast<std::size_t>(Traits::kDepthCount));
    const auto slot = static_cast<std::size_t>(index.depth);
    Entry& entry = entries_[slot];
    Memo& memo = memos_[slot];
    if (entry.tile != index.index) {
        // Should filling fail, neither slot nor memo may claim a tile.
        entry.tile = memo.tile = -1;
        fill(index, container, channel, accessor, sampleCount, entry.buffer);
        entry.tile = index.index;
    }
    entry.stamp = sampleCount;
    memo = {index.index, slot};
}

template <class Traits, class T, int Wd, int F>
void HaloTileCache<Traits, T, Wd, F>::fill(const TreeIndex& index,
                                           const Container<Traits>& container, const Plain& channel,
                                           Accessor& accessor, std::uint64_t sampleCount,
                                           Buffer& buffer) {
    const auto& tile = container.tile(index);
    const TreeIndex parent = tile.parentTreeIndex();
    buffer.allocate();
    if (index.depth > 0 && parent.isValid() && index.depth > channel.minDepth()) {
        values(parent, container, channel, accessor, sampleCount);
        const auto& parentEntry = entries_[memos_[parent.depth].slot];
        setHaloTile<Traits, T, Wd, F>(tile, &container.tile(parent), channel, &parentEntry.buffer,
                                      HaloMode::kFromParentBuffer, accessor, buffer);
    } else {
        setHaloTile<Traits, T, Wd, F>(tile, nullptr, channel, nullptr, HaloMode::kFromParentBuffer,
                                      accessor, buffer);
    }
}

} // namespace KDX::TileTree3D
