// Halo tiles that are filled when somebody first asks for them.
#pragma once

#include "KDX/Channel.h"
#include "KDX/TileArena.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace KDX::TileTree3D {

/// Fills the tiles of one halo channel on demand, from any thread. A tile is filled where nobody
/// else sees it and published by one compare-exchange; a thread that comes second takes what the
/// first one published, and nobody waits. Tiles go by themselves while few are asked for; once some
/// are, those around are filled with them, which costs less than filling each alone.
template <class Traits, class T>
class HaloOnDemand {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    using Halo = Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>;
    using Place = std::atomic<const T*>;

    /// Takes memory for the places of all tiles, which are then empty. Keeps `source` alive.
    HaloOnDemand(std::shared_ptr<const Plain> source, std::size_t valuesPerTile, bool pooled);

    /// Where the tiles of a depth are published, by slot; null for a depth without data.
    const Place* places(int depth) const { return levels_[static_cast<std::size_t>(depth)].places; }

    /// The values of a tile with data, filled unless it is already. `halo` is the channel that this
    /// serves. Throws std::bad_alloc, and leaves the tile for the next who asks.
    const T* fill(const TreeIndex& index, const Halo& halo);

    std::size_t memoryUsage() const;

private:
    // Tiles that follow each other mostly lie side by side in space.
    static constexpr std::size_t kGroup = TileArena::kMostAtOnce;
    // Groups are filled whole once one in so many of a depth's tiles was filled alone.
    static constexpr std::size_t kAloneAtMost = 32;

    struct Level {
        Place* places = nullptr;
        std::atomic<bool>* groupBegun = nullptr;
        std::size_t tileCount = 0;
        std::atomic<std::size_t> filledAlone{0};
    };

    bool beginGroup(Level& level, std::size_t tile);
    void fillTiles(int depth, std::size_t begin, std::size_t end, const Halo& halo);
    Place* placeOf(const TreeIndex& index) const;

    std::shared_ptr<const Plain> source_;
    std::size_t valuesPerTile_;
    ChannelMemory memory_;
    std::array<Level, Traits::kDepthCount> levels_;
    TileArena arena_;
};

} // namespace KDX::TileTree3D
