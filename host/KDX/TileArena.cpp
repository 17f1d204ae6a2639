#include "KDX/TileArena.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace KDX::TileTree3D {

struct TileArena::Chunk {
    Chunk(std::size_t bytesPerTile, std::size_t tiles, bool pooled, Chunk* before)
        : memory(bytesPerTile * tiles, pooled), capacity(tiles), previous(before),
          capacityBefore(before ? before->capacityBefore + before->capacity : 0) {}

    ChannelMemory memory;
    std::size_t capacity;
    std::atomic<std::size_t> taken{0}; // may pass the capacity: what exceeds it was refused
    Chunk* previous;
    std::size_t capacityBefore;
};

TileArena::TileArena(std::size_t bytesPerTile, std::size_t mostTiles, bool pooled)
    : bytesPerTile_(bytesPerTile), mostTiles_(std::max(mostTiles, kMostAtOnce)), pooled_(pooled) {}

TileArena::~TileArena() {
    for (const Chunk* chunk = newest_; chunk;)
        delete std::exchange(chunk, chunk->previous);
}

void* TileArena::take(std::size_t tiles) {
    for (Chunk* chunk = newest_.load(std::memory_order_acquire);; chunk = addChunk(chunk)) {
        if (!chunk)
            continue;
        // After whatever was written by those who gave it back.
        const std::size_t first = chunk->taken.fetch_add(tiles, std::memory_order_acquire);
        if (first + tiles <= chunk->capacity)
            return static_cast<std::byte*>(chunk->memory.get()) + first * bytesPerTile_;
    }
}

void TileArena::giveBack(void* tile) noexcept {
    Chunk* const chunk = newest_.load(std::memory_order_acquire);
    const auto* const begin = static_cast<const std::byte*>(chunk->memory.get());
    const auto* const given = static_cast<const std::byte*>(tile);
    if (std::less<>()(given, begin) ||
        !std::less<>()(given, begin + chunk->capacity * bytesPerTile_))
        return;
    std::size_t end = static_cast<std::size_t>(given - begin) / bytesPerTile_ + 1;
    chunk->taken.compare_exchange_strong(end, end - 1, std::memory_order_release,
                                         std::memory_order_relaxed);
}

std::size_t TileArena::memoryUsage() const {
    const Chunk* const chunk = newest_.load(std::memory_order_acquire);
    return chunk ? (chunk->capacityBefore + chunk->capacity) * bytesPerTile_ : 0;
}

// The newest chunk, which is a new one unless another thread was first to add one.
TileArena::Chunk* TileArena::addChunk(Chunk* after) {
    const std::size_t before = after ? after->capacityBefore + after->capacity : 0;
    const std::size_t tiles = std::clamp(before / 2, kMostAtOnce, mostTiles_);
    if (bytesPerTile_ > std::numeric_limits<std::size_t>::max() / tiles)
        throw std::bad_array_new_length();
    auto chunk = std::make_unique<Chunk>(bytesPerTile_, tiles, pooled_, after);
    if (newest_.compare_exchange_strong(after, chunk.get(), std::memory_order_acq_rel))
        return chunk.release();
    return after;
}

} // namespace KDX::TileTree3D
