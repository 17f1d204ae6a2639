#include "KDX/ChannelPool.h"
#include "Ostrum/Memory.h"

#include <atomic>
#include <iterator>
#include <map>
#include <mutex>

namespace KDX::TileTree3D {

namespace {
constexpr std::size_t kDefaultLimit = std::size_t{512} << 20;

struct Pool {
    std::atomic<bool> enabled{true};
    std::mutex mutex;
    std::multimap<std::size_t, void*> unused; // by size
    std::size_t retained = 0;
    std::size_t limit = kDefaultLimit;

    ~Pool() { shrinkTo(0); }

    void shrinkTo(std::size_t bytes) {
        while (retained > bytes && !unused.empty()) {
            const auto largest = std::prev(unused.end());
            retained -= largest->first;
            Ostrum::deallocate(largest->second);
            unused.erase(largest);
        }
    }
};

Pool& pool() {
    static Pool instance;
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
        if (const auto found = p.unused.find(bytes); found != p.unused.end()) {
            void* memory = found->second;
            p.unused.erase(found);
            p.retained -= bytes;
            return memory;
        }
    }
    return Ostrum::allocate(bytes);
}

void ChannelMemoryPool::deallocate(void* memory, std::size_t bytes) noexcept {
    Pool& p = pool();
    const std::lock_guard lock(p.mutex);
    if (!memory || bytes > p.limit || p.retained > p.limit - bytes)
        return Ostrum::deallocate(memory);
    try {
        p.unused.emplace(bytes, memory);
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
