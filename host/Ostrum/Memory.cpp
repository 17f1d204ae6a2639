#include "Ostrum/Memory.h"

#include "Ostrum/liveAllocations.h"
#include "common/parallel.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace Ostrum {

namespace {
std::atomic<std::uint64_t> requests{0};
std::atomic<std::uint64_t> failingRequest{0};
std::atomic<std::uint64_t> live{0};
constexpr std::size_t kAlignment = 64;

// Blocks from here on are asked to lie in large pages: samples at random places then find the
// addresses of pages in the processor's table instead of in memory.
constexpr std::size_t kLargePage = std::size_t{2} << 20, kLargeBlock = 4 * kLargePage;

void* allocateLarge(std::size_t bytes) {
    void* memory = nullptr;
    if (::posix_memalign(&memory, kLargePage, bytes) != 0)
        return nullptr;
    ::madvise(memory, bytes, MADV_HUGEPAGE); // a wish: without it the block serves as well
    return memory;
}

// A run of copies grows by copying itself, up to what stays in the nearest cache.
void fillRun(std::byte* memory, std::size_t count, const void* value, std::size_t size) {
    constexpr std::size_t kBlockBytes = 4096;
    const std::size_t block = std::max<std::size_t>(1, kBlockBytes / size);
    std::memcpy(memory, value, size);
    for (std::size_t done = 1; done < count;) {
        const std::size_t more = std::min({done, block, count - done});
        std::memcpy(memory + done * size, memory, more * size);
        done += more;
    }
}
} // namespace

void* allocate(std::size_t bytes) {
    const std::uint64_t request = requests.fetch_add(1, std::memory_order_relaxed) + 1;
    std::uint64_t failing = failingRequest.load(std::memory_order_relaxed);
    if (request == failing && failingRequest.compare_exchange_strong(failing, 0))
        throw std::bad_alloc();
    if (bytes > std::numeric_limits<std::size_t>::max() - kAlignment)
        throw std::bad_array_new_length();
    const std::size_t rounded =
        bytes == 0 ? kAlignment : (bytes + kAlignment - 1) / kAlignment * kAlignment;
    void* memory =
        rounded < kLargeBlock ? std::aligned_alloc(kAlignment, rounded) : allocateLarge(rounded);
    if (!memory)
        throw std::bad_alloc();
    live.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void deallocate(void* memory) noexcept {
    if (!memory)
        return;
    live.fetch_sub(1, std::memory_order_relaxed);
    std::free(memory);
}

void fill(void* memory, std::size_t count, const void* value, std::size_t size) {
    const std::size_t share = std::max<std::size_t>(1, kLargePage / size);
    auto* const bytes = static_cast<std::byte*>(memory);
    Stratum::parallelForIsolated((count + share - 1) / share, 1,
                                 [&](const Stratum::IndexRange& range) {
                                     const std::size_t begin = range.begin() * share,
                                                       end = std::min(range.end() * share, count);
                                     if (begin < end)
                                         fillRun(bytes + begin * size, end - begin, value, size);
                                 });
}

void failAllocation(std::uint64_t n) {
    failingRequest = n == 0 ? 0 : requests + n;
}

std::uint64_t allocationCount() {
    return requests;
}

std::uint64_t liveAllocationCount() {
    return live;
}

} // namespace Ostrum
