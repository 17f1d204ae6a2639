#include "Ostrum/Memory.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdlib>

namespace Ostrum {

namespace {
std::atomic<std::uint64_t> requests{0};
std::atomic<std::uint64_t> failingRequest{0};
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
    return memory;
}

void deallocate(void* memory) noexcept {
    std::free(memory);
}

void failAllocation(std::uint64_t n) {
    failingRequest = n == 0 ? 0 : requests + n;
}

std::uint64_t allocationCount() {
    return requests;
}

} // namespace Ostrum
