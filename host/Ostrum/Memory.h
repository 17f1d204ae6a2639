// The host's memory: arrays, shared objects, the values of channels and the pages of trees are
// taken here, so that a test can make the n-th request fail.
#pragma once

#include "Ostrum/Export.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace Ostrum {

/// Memory of `bytes`, aligned to a cache line; never null. Throws std::bad_alloc when it cannot be
/// had or when failAllocation() asked for it.
[[nodiscard]] OSTRUM_API void* allocate(std::size_t bytes);

/// Gives back what allocate() returned; null is allowed.
OSTRUM_API void deallocate(void* memory) noexcept;

/// Writes `count` copies of the `size` bytes at `value` one after the other; large amounts in
/// parallel, because fresh memory costs more to touch than to write.
OSTRUM_API void fill(void* memory, std::size_t count, const void* value, std::size_t size);

/// Makes the n-th allocation from now on fail (1: the next one); 0 takes the wish back. Only that
/// one fails. For tests.
OSTRUM_API void failAllocation(std::uint64_t n);

/// Allocations asked for since the process began.
OSTRUM_API std::uint64_t allocationCount();

/// A standard allocator over allocate().
template <class T>
struct Allocator {
    using value_type = T;

    Allocator() = default;
    template <class U>
    Allocator(const Allocator<U>&) {}

    T* allocate(std::size_t count) {
        if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(Ostrum::allocate(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t) noexcept { Ostrum::deallocate(memory); }

    bool operator==(const Allocator&) const = default;
};

} // namespace Ostrum
