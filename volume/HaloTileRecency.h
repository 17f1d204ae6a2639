// Halo tiles kept by how recently they were used.
#pragma once

#include "KDX/halo.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <map>
#include <utility>
#include <vector>

namespace KDX::TileTree3D {

/// Up to `size` halo tiles of (W + 3)^3 values, one layer below and two above the tile: all that a
/// four-point stencil needs of a tile. The least recently used one makes room. Memory is taken as
/// slots come into use; a copy has the same size and starts empty.
template <class Traits, class T>
class HaloTileRecency {
public:
    static constexpr int kStride = Traits::kVoxelsPerAxis + 3;

    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;

    explicit HaloTileRecency(std::uint64_t size) : size_(size) {}
    HaloTileRecency(const HaloTileRecency& other) : size_(other.size_) {}
    HaloTileRecency& operator=(const HaloTileRecency& other) {
        size_ = other.size_;
        places_.clear();
        recency_.clear();
        buffers_.clear();
        return *this;
    }

    std::uint64_t size() const { return size_; }

    /// The tile's halo tile: local voxel (i, j, k), each from -1 to W + 1, at
    /// (i + 1) + kStride * ((j + 1) + kStride * (k + 1)). Valid until the next call. The size must
    /// not be 0.
    const T* values(const TreeIndex& index, const Plain& channel, const T& defaultValue,
                    Accessor& accessor) {
        if (!recency_.empty() && recency_.front().tile == index)
            return buffers_[recency_.front().slot].data();
        if (const auto place = places_.find(key(index)); place != places_.end())
            recency_.splice(recency_.begin(), recency_, place->second);
        else
            replace(index, channel, defaultValue, accessor);
        return buffers_[recency_.front().slot].data();
    }

private:
    using Key = std::pair<int, std::int64_t>;
    struct Entry {
        TreeIndex tile;
        std::size_t slot;
    };

    static Key key(const TreeIndex& index) { return {index.depth, index.index}; }

    // Puts the tile at the front, in a free slot or in that of the least recently used one. Should
    // filling fail, the slot is free again and nobody's.
    void replace(const TreeIndex& index, const Plain& channel, const T& defaultValue,
                 Accessor& accessor) {
        const bool spare = !recency_.empty() && !recency_.back().tile.isValid();
        if (!spare && recency_.size() < size_) {
            buffers_.resize(std::max(buffers_.size(), recency_.size() + 1));
            recency_.push_back({{}, recency_.size()});
        }
        const auto last = std::prev(recency_.end());
        places_.erase(key(last->tile));
        last->tile = {};
        setHaloTile<Traits, T, 0, 1, 0, 1>(index, channel, HaloMode::kStandalone, HaloType::kAll,
                                           accessor, buffers_[last->slot], defaultValue, 1.0F,
                                           VoxelOffsetType::kCorner);
        places_.emplace(key(index), last);
        last->tile = index;
        recency_.splice(recency_.begin(), recency_, last);
    }

    std::uint64_t size_;
    std::vector<TileData<T, Traits::kVoxelsPerAxis + 1, 1, 0>> buffers_;
    std::list<Entry> recency_; // most recently used first
    std::map<Key, typename std::list<Entry>::iterator> places_;
};

} // namespace KDX::TileTree3D
