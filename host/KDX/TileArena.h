// Memory for tiles that come into being one after the other, from any thread.
#pragma once

#include "KDX/ChannelPool.h"
#include "Ostrum/Export.h"

#include <atomic>
#include <cstddef>

namespace KDX::TileTree3D {

/// Hands out memory for runs of tiles of one size. Safe from every thread; no thread waits for
/// another. Memory is taken in chunks, each half as large as all before it, within bounds; it is
/// given back when the arena ends.
class OSTRUM_API TileArena {
public:
    /// `mostTiles` bounds how many tiles a chunk is made for.
    TileArena(std::size_t bytesPerTile, std::size_t mostTiles, bool pooled);
    ~TileArena();
    TileArena(const TileArena&) = delete;
    TileArena& operator=(const TileArena&) = delete;

    /// Memory for `tiles` tiles side by side, at most kMostAtOnce. Throws std::bad_alloc.
    void* take(std::size_t tiles);

    /// Takes a tile back that take(1) gave, unless others were given since.
    void giveBack(void* tile) noexcept;

    std::size_t memoryUsage() const;

    static constexpr std::size_t kMostAtOnce = 64;

private:
    struct Chunk;

    Chunk* addChunk(Chunk* after);

    std::size_t bytesPerTile_, mostTiles_;
    bool pooled_;
    std::atomic<Chunk*> newest_{nullptr};
};

} // namespace KDX::TileTree3D
