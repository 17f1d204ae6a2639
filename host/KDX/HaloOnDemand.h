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

/// Fills the tiles of one halo channel on demand, from any thread. Tiles are filled where nobody
/// else sees them and published by one compare-exchange; a thread that comes second takes what the
/// first one published, and nobody waits. Tiles go by themselves while few are asked for, near them
/// or in all; from then on whole groups are filled, which costs less than filling each alone. A
/// tile of such a group may be found in two places, with the same bits.
template <class Traits, class T>
class HaloOnDemand {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    using Halo = Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>;
    using Place = std::atomic<const T*>;

    /// Takes memory for the places of all tiles, which are then empty. Keeps `source` alive.
    HaloOnDemand(std::shared_ptr<const Plain> source, std::size_t valuesPerTile, bool pooled);

    /// Tiles of a group: slots that follow each other.
    static constexpr std::size_t kGroup = TileArena::kMostAtOnce;

    /// Where the groups of a depth are published, by slot / kGroup, with their tiles one after the
    /// other, and where single tiles are, by slot; null for a depth without data.
    const Place* groups(int depth) const { return levels_[static_cast<std::size_t>(depth)].groups; }
    const Place* places(int depth) const { return levels_[static_cast<std::size_t>(depth)].places; }

    /// The values of a tile with data, filled unless it is already. `halo` is the channel that this
    /// serves. Throws std::bad_alloc, and leaves the tile for the next who asks.
    const T* fill(const TreeIndex& index, const Halo& halo);

    std::size_t memoryUsage() const;

private:
    // A group is filled once that many of its tiles were filled alone, which costs about as much,
    // or one in so many of all tiles of the depth.
    static constexpr unsigned kAloneInGroup = 4;
    static constexpr std::size_t kAloneAtMost = 32;

    struct Level {
        Place* groups = nullptr;
        Place* places = nullptr;
        std::atomic<unsigned char>* groupUse = nullptr; // see beginGroup()
        std::size_t slotCount = 0;
        std::atomic<std::size_t> filledAlone{0};

        std::size_t groupCount() const { return (slotCount + kGroup - 1) / kGroup; }
    };

    class Filler;

    static bool beginGroup(Level& level, std::size_t group);
    const T* fillAlone(const TreeIndex& index, std::size_t slot, const Halo& halo);
    const T* fillGroup(const TreeIndex& index, std::size_t slot, const Halo& halo);
    std::int64_t firstTileOf(std::size_t group, const TreeIndex& index, std::size_t slot) const;
    std::size_t slotOf(const TreeIndex& index) const;

    std::shared_ptr<const Plain> source_;
    std::size_t valuesPerTile_;
    ChannelMemory memory_;
    std::array<Level, Traits::kDepthCount> levels_;
    TileArena arena_;
};

} // namespace KDX::TileTree3D
