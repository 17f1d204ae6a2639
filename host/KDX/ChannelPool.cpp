#include "KDX/ChannelPool.h"
#include "Ostrum/Memory.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <new>

namespace KDX::TileTree3D {

namespace {
constexpr std::size_t kDefaultLimit = std::size_t{512} << 20;

struct Block {
    std::size_t bytes;
    void* memory;
};

struct Pool {
    std::atomic<bool> enabled{true};
    std::mutex mutex;
    std::deque<Block> unused; // oldest first
    std::size_t retained = 0;
    std::size_t limit = kDefaultLimit;

    void shrinkTo(std::size_t bytes) noexcept {
        while (retained > bytes) {
            retained -= unused.front().bytes;
            Ostrum::deallocate(unused.front().memory);
            unused.pop_front();
        }
    }
};

// Never destroyed: channels may outlive every static object.
Pool& pool() {
    static Pool& instance = *new Pool;
    return instance;
}

std::atomic<bool> channelPoolEnabled{true};
} // namespace

bool ChannelMemoryPool::enabled() {
    return pool().enabled;
}
void ChannelMemoryPool::setEnabled(bool enable) {
    pool().enabled = enable;
}

std::size_t ChannelMemoryPool::retainedLimit() {
    const std::lock_guard lock(pool().mutex);
    return pool().limit;
}

std::size_t ChannelMemoryPool::retained() {
    const std::lock_guard lock(pool().mutex);
    return pool().retained;
}

void ChannelMemoryPool::setRetainedLimit(std::size_t bytes) {
    setRetainedLimit(bytes, false);
}

void ChannelMemoryPool::setRetainedLimit(std::size_t bytes, bool dropAll) {
    Pool& p = pool();
    const std::lock_guard lock(p.mutex);
    p.limit = bytes;
    p.shrinkTo(dropAll ? 0 : bytes);
}

void* ChannelMemoryPool::allocate(std::size_t bytes) {
    {
        Pool& p = pool();
        const std::lock_guard lock(p.mutex);
        const auto found = std::ranges::find(p.unused, bytes, &Block::bytes);
        if (found != p.unused.end()) {
            void* memory = found->memory;
            p.unused.erase(found);
            p.retained -= bytes;
            return memory;
        }
    }
    try {
        return Ostrum::allocate(bytes);
    } catch (const std::bad_alloc&) {
        if (retained() == 0)
            throw;
    }
    trim();
    return Ostrum::allocate(bytes);
}

void ChannelMemoryPool::deallocate(void* memory, std::size_t bytes) noexcept {
    Pool& p = pool();
    const std::lock_guard lock(p.mutex);
    if (!memory || bytes > p.limit)
        return Ostrum::deallocate(memory);
    p.shrinkTo(p.limit - bytes);
    try {
        p.unused.push_back({bytes, memory});
        p.retained += bytes;
    } catch (...) {
        Ostrum::deallocate(memory);
    }
}

bool ChannelPool::enabled() {
    return channelPoolEnabled;
}
void ChannelPool::setEnabled(bool enable) {
    channelPoolEnabled = enable;
}

ChannelMemory::ChannelMemory(std::size_t bytes, bool pooled)
    : memory_(pooled ? ChannelMemoryPool::allocate(bytes) : Ostrum::allocate(bytes)), bytes_(bytes),
      pooled_(pooled) {}

ChannelMemory::~ChannelMemory() {
    if (pooled_)
        ChannelMemoryPool::deallocate(memory_, bytes_);
    else
        Ostrum::deallocate(memory_);
}

} // namespace KDX::TileTree3D
