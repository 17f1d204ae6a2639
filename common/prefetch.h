// Asking for memory that will be read soon.
#pragma once

namespace Stratum {

/// Asks for the cache line at an address, which need not be valid, to be brought near. Into the
/// second-level cache: a processor can have many more lines on the way there than to the first
/// level, where it drops requests that come faster than lines arrive. For samples at random
/// positions that makes a factor of two.
inline void prefetch(const void* address) {
    __builtin_prefetch(address, 0, 2);
}

} // namespace Stratum
