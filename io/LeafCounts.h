// Giving back a grid's leaves while tiles are made of them.
#pragma once

#include "io/returnMemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Stratum::io {

/// How often each leaf will still be read; the last time over, its voxels are given back. First all
/// readings are announced, then done; each from many threads.
template <class Region, class Access>
class LeafCounts {
public:
    explicit LeafCounts(const Region& region) : region_(region), left_(region.leafNumberEnd()) {}

    void announce(std::size_t leaf) { left_[leaf].fetch_add(1, std::memory_order_relaxed); }

    /// Gives back what nobody is to read.
    void releaseUnannounced() {
        for (std::size_t i = 0; i < left_.size(); ++i)
            if (left_[i].load(std::memory_order_relaxed) == 0)
                release(i);
    }

    void done(std::size_t leaf) {
        // Whoever reads last must have seen that the others have read.
        if (left_[leaf].fetch_sub(1, std::memory_order_acq_rel) == 1)
            release(leaf);
    }

private:
    // Of voxels, between two times that the system gets memory back: some of it is always held
    // twice, and each time takes a while.
    static constexpr std::size_t kShare = std::size_t{16} << 20;

    void release(std::size_t number) {
        const auto* leaf = region_.leaf(number);
        if (!leaf)
            return;
        Access::release(*leaf);
        constexpr std::size_t kBytes =
            (std::size_t{1} << 3 * Access::kLeafLog2) * sizeof(typename Access::Value);
        const std::size_t before = bytes_.fetch_add(kBytes, std::memory_order_relaxed);
        if (before / kShare != (before + kBytes) / kShare)
            returnMemory();
    }

    const Region& region_;
    std::vector<std::atomic<std::uint16_t>> left_; // a leaf touches far fewer tiles
    std::atomic<std::size_t> bytes_{0};
};

} // namespace Stratum::io
